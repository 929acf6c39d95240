#include "base/File.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace vtek {

namespace {

// Bytes that takePieces reads at a time: enough to make the cost of the system calls negligible.
constexpr std::size_t kPieceSize = 256 * 1024;
constexpr std::size_t kBlockSize = 16 * 1024;  // of readWhole, which reads small files

/** Repeats a system call as long as a signal interrupts it. */
template <class Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

/**
 * Reads until a buffer is full or the file ends: one read may return less than it was asked for.
 *
 * @param readSome  reads into (buffer, size) at a distance from the start; returns what read(2) does
 */
template <class ReadSome>
ssize_t readUntilFull(void* buffer, std::size_t size, ReadSome readSome) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n =
            uninterrupted([&] { return readSome(static_cast<char*>(buffer) + done, size - done, done); });
        if (n < 0) {
            return -1;
        }
        if (n == 0) {
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    return static_cast<ssize_t>(done);
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, CloseFolder>;

}  // namespace

const int kWorkingFolder = AT_FDCWD;

void UniqueFd::reset() {
    if (fd_ >= 0) {
        const int before = errno;  // callers report errno after their descriptors are gone
        close(std::exchange(fd_, -1));
        errno = before;
    }
}

UniqueFd openAt(int folder, const std::string& path, int flags, mode_t mode) {
    return aboveStandard(
        UniqueFd(uninterrupted([&] { return openat(folder, path.c_str(), flags | O_CLOEXEC, mode); })));
}

UniqueFd createFileAt(int folder, const std::string& name, mode_t mode) {
    UniqueFd file = openAt(folder, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    return file && fchmod(file.get(), mode) == 0 ? std::move(file) : UniqueFd();
}

bool makeFolderAt(int folder, const std::string& name, mode_t mode) {
    return mkdirat(folder, name.c_str(), mode) == 0 && fchmodat(folder, name.c_str(), mode, 0) == 0;
}

UniqueFd aboveStandard(UniqueFd fd) {
    if (fd && fd.get() <= STDERR_FILENO) {
        return UniqueFd(fcntl(fd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return fd;
}

Result<RegularFile> openRegularFile(int folder, const std::string& path, Links links,
                                    const std::string& shown, ErrorNumber onFailure) {
    // Without O_NONBLOCK, opening a FIFO waits for a writer. O_NOCTTY: a terminal must not become ours.
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | (links == Links::Refused ? O_NOFOLLOW : 0);
    RegularFile file{openAt(folder, path, flags), {}};
    if (!file.fd || fstat(file.fd.get(), &file.info) != 0) {
        return shown.empty() ? Error{onFailure, std::strerror(errno)}
                             : systemError(onFailure, "open " + shown);
    }
    if (!S_ISREG(file.info.st_mode)) {
        return Error{onFailure, shown + (shown.empty() ? "" : " ") + "is not a regular file"};
    }
    return file;
}

Result<std::string> readRegularFile(int folder, const std::string& path, Links links, std::size_t bound,
                                    const std::string& shown, ErrorNumber onFailure) {
    VTEK_ASSIGN(const RegularFile file, openRegularFile(folder, path, links, shown, onFailure));
    std::string content;
    const bool fits = file.size() <= bound;
    if (fits && readWhole(file.fd.get(), bound, content)) {
        return content;
    }
    if (!fits || errno == EFBIG) {
        return Error{onFailure, shown + " is larger than " + std::to_string(bound) + " bytes"};
    }
    return systemError(onFailure, "read " + shown);
}

ssize_t readFully(int fd, void* buffer, std::size_t size) {
    return readUntilFull(buffer, size,
                         [fd](char* to, std::size_t left, std::size_t) { return read(fd, to, left); });
}

ssize_t readFullyAt(int fd, void* buffer, std::size_t size, std::uint64_t offset) {
    return readUntilFull(buffer, size, [fd, offset](char* to, std::size_t left, std::size_t done) {
        return pread(fd, to, left, static_cast<off_t>(offset + done));
    });
}

bool writeFully(int fd, const void* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n =
            uninterrupted([&] { return write(fd, static_cast<const char*>(data) + done, size - done); });
        if (n < 0) {
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool writeFully(int fd, std::string_view text) {
    return writeFully(fd, text.data(), text.size());
}

bool syncFd(int fd) {
    return uninterrupted([&] { return fsync(fd); }) == 0;
}

bool listFolder(int folder, std::vector<std::string>& names) {
    // A descriptor of our own: closedir closes it, and its position does not move the caller's.
    UniqueFd own = openAt(folder, ".", O_RDONLY | O_DIRECTORY);
    if (!own) {
        return false;
    }
    const FolderPtr stream(fdopendir(own.get()));
    if (!stream) {
        return false;
    }
    static_cast<void>(own.release());
    names.clear();
    for (;;) {
        errno = 0;  // the only way to tell the end of the folder from a failure
        const dirent* entry = readdir(stream.get());
        if (entry == nullptr) {
            break;
        }
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    if (errno != 0) {
        return false;
    }
    std::sort(names.begin(), names.end());
    return true;
}

std::int64_t takePieces(int fd, std::uint64_t length, const TakePiece& take) {
    std::string block(kPieceSize, '\0');
    std::uint64_t taken = 0;
    while (taken < length) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), length - taken));
        const ssize_t n = readFullyAt(fd, block.data(), wanted, taken);
        if (n < 0) {
            return -1;
        }
        const auto size = static_cast<std::size_t>(n);
        if (size == 0 || !take({block.data(), size})) {
            break;
        }
        taken += size;
    }
    return static_cast<std::int64_t>(taken);
}

bool readWhole(int fd, std::size_t bound, std::string& content) {
    content.clear();
    char block[kBlockSize];
    for (;;) {
        const ssize_t n = readFully(fd, block, sizeof block);
        if (n < 0) {
            return false;
        }
        content.append(block, static_cast<std::size_t>(n));
        if (content.size() > bound) {
            errno = EFBIG;
            return false;
        }
        if (static_cast<std::size_t>(n) < sizeof block) {
            return true;
        }
    }
}

}  // namespace vtek
