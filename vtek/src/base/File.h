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

/** The folder argument that resolves relative paths from the working directory (AT_FDCWD). */
extern const int kWorkingFolder;

/**
 * Opens a file relative to a folder, with O_CLOEXEC. The descriptor is never 0, 1 or 2, so that it cannot be
 * mistaken for a standard stream that the caller has closed.
 *
 * @return an empty descriptor on failure, with errno set
 */
UniqueFd openAt(int folder, const std::string& path, int flags, mode_t mode = 0);

/**
 * Creates a file, open for reading and writing. It has exactly this mode: a umask could keep even its owner
 * from opening it again.
 *
 * @return empty on failure or if the name exists, with errno set
 */
UniqueFd createFileAt(int folder, const std::string& name, mode_t mode);

/** Makes a folder with exactly this mode. Nobody else may be able to write to the folder above it.
 * @return false with errno set on failure */
bool makeFolderAt(int folder, const std::string& name, mode_t mode);

/** Moves an open file to a descriptor above 2. Returns an empty descriptor, or one above 2, unchanged. */
UniqueFd aboveStandard(UniqueFd fd);

/** A regular file, open for reading, with its metadata from when it was opened. */
struct RegularFile {
    UniqueFd fd;
    struct stat info;

    std::uint64_t size() const { return static_cast<std::uint64_t>(info.st_size); }
};

/** Whether a symbolic link in the place of a file is followed. */
enum class Links { Followed, Refused };

/**
 * Opens a regular file for reading, relative to a folder. Refuses anything else immediately, even a FIFO
 * without a writer.
 *
 * @param shown      the file's name in messages; empty if the caller adds it
 * @param onFailure  the error number for every failure
 */
Result<RegularFile> openRegularFile(int folder, const std::string& path, Links links,
                                    const std::string& shown, ErrorNumber onFailure);

/**
 * Reads all of a regular file, which is opened as by openRegularFile. A larger file than allowed is refused
 * before anything is read, and again if it grows meanwhile.
 *
 * @param bound  bytes
 */
Result<std::string> readRegularFile(int folder, const std::string& path, Links links, std::size_t bound,
                                    const std::string& shown, ErrorNumber onFailure);

/** Reads until the buffer is full or the file ends. @return bytes read, or -1 with errno set */
ssize_t readFully(int fd, void* buffer, std::size_t size);

/** Like readFully, from an offset, without moving the descriptor. */
ssize_t readFullyAt(int fd, void* buffer, std::size_t size, std::uint64_t offset);

/** Writes all of the data. @return false with errno set on failure */
bool writeFully(int fd, const void* data, std::size_t size);
bool writeFully(int fd, std::string_view text);

/** Syncs the content of a file or folder to disk. @return false with errno set on failure */
bool syncFd(int fd);

/**
 * Lists the names in an open folder, without "." and "..", in byte order.
 *
 * @return false with errno set on failure
 */
bool listFolder(int folder, std::vector<std::string>& names);

/** Receives a piece of a file. @return false to stop */
using TakePiece = std::function<bool(std::string_view)>;

/**
 * Reads a file from its start, piece by piece, without moving the descriptor.
 *
 * @param length  maximum number of bytes to read
 * @return the number of bytes taken, less than length if the file ends or a piece is refused; -1 with errno
 * set if the file cannot be read
 */
std::int64_t takePieces(int fd, std::uint64_t length, const TakePiece& take);

/** Reads the rest of a file into content. @return false with errno set; EFBIG if it exceeds bound bytes */
bool readWhole(int fd, std::size_t bound, std::string& content);

}  // namespace vtek
