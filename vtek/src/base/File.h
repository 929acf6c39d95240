#pragma once

#include "base/Result.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vtek {

/** Owns one file descriptor. */
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }

    /** Gives the descriptor away; the caller closes it. */
    [[nodiscard]] int release() { return std::exchange(fd_, -1); }

    /** Closes the descriptor; errno stays as it was. */
    void reset();

private:
    int fd_ = -1;
};

/** The folder that openAt and its like start from when a path is to be taken as it is. */
extern const int kWorkingFolder;

/**
 * Opens a file relative to a folder, with O_CLOEXEC, never as one of the descriptors 0 to 2: what the library
 * opens must not be mistaken for a standard stream that its caller has closed.
 *
 * @return an empty descriptor on failure, with errno set
 */
UniqueFd openAt(int folder, const std::string& path, int flags, mode_t mode = 0);

/** The same open file as a descriptor above 2, or as it is when it is one already or empty. */
UniqueFd aboveStandard(UniqueFd fd);

/** A regular file, open for reading, and its state when it was opened. */
struct RegularFile {
    UniqueFd fd;
    struct stat info;

    std::uint64_t size() const { return static_cast<std::uint64_t>(info.st_size); }
};

/** Whether a symbolic link in place of a file is followed. */
enum class Links { Followed, Refused };

/**
 * Opens a regular file for reading, relative to a folder. Anything else, such as a FIFO that nobody writes
 * to, is refused at once.
 *
 * @param shown      how messages name the file
 * @param onFailure  the number of every failure
 */
Result<RegularFile> openRegularFile(int folder, const std::string& path, Links links,
                                    const std::string& shown, ErrorNumber onFailure);

/** Reads until size bytes are there or the file ends. @return bytes read, or -1 with errno set */
ssize_t readFully(int fd, void* buffer, std::size_t size);

/** Like readFully, from an offset, without moving the descriptor. */
ssize_t readFullyAt(int fd, void* buffer, std::size_t size, std::uint64_t offset);

/** Writes everything. @return false with errno set on failure */
bool writeFully(int fd, const void* data, std::size_t size);
bool writeFully(int fd, std::string_view text);

/** Makes a file's or a folder's content durable. @return false with errno set on failure */
bool syncFd(int fd);

/**
 * Makes everything durable on the file system that a descriptor is on.
 *
 * @return false with errno set on failure, also when something could not be written since the descriptor was
 * opened
 */
bool syncFileSystem(int fd);

/**
 * The names in an open folder without "." and "..", in the order of their bytes.
 *
 * @return false with errno set on failure
 */
bool listFolder(int folder, std::vector<std::string>& names);

/** Takes a piece of a file. @return false to stop */
using TakePiece = std::function<bool(std::string_view)>;

/**
 * Reads a file from its start, piece by piece, without moving the descriptor.
 *
 * @param length  bytes to read at most
 * @return how many bytes were taken, fewer than length where the file ends or a piece was refused; -1 with
 * errno set when the file cannot be read
 */
std::int64_t takePieces(int fd, std::uint64_t length, const TakePiece& take);

/** Everything up to a bound that a file holds. @return false with errno set; EFBIG beyond the bound */
bool readWhole(int fd, std::size_t bound, std::string& content);

}  // namespace vtek
