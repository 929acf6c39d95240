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

constexpr std::size_t kPieceSize = 256 * 1024;  // of takePieces: large enough that system calls cost nothing

/** Repeats a system call as long as a signal interrupts it. */
template <class Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};
using FolderPtr = std::unique_ptr<DIR, CloseFolder>;

}  // namespace

const int kWorkingFolder = AT_FDCWD;

void UniqueFd::reset() {
    if (fd_ >= 0) {
        const int before = errno;
        close(std::exchange(fd_, -1));
        errno = before;
    }
}

UniqueFd openAt(int folder, const std::string& path, int flags, mode_t mode) {
    return aboveStandard(
        UniqueFd(uninterrupted([&] { return openat(folder, path.c_str(), flags | O_CLOEXEC, mode); })));
}

UniqueFd aboveStandard(UniqueFd fd) {
    if (fd && fd.get() <= STDERR_FILENO) {
        return UniqueFd(fcntl(fd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    return fd;
}

Result<RegularFile> openRegularFile(int folder, const std::string& path, Links links,
                                    const std::string& shown, ErrorNumber onFailure) {
    // Without O_NONBLOCK the open of a FIFO waits for a writer.
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | (links == Links::Refused ? O_NOFOLLOW : 0);
    RegularFile file{openAt(folder, path, flags), {}};
    if (!file.fd || fstat(file.fd.get(), &file.info) != 0) {
        return systemError(onFailure, "open " + shown);
    }
    if (!S_ISREG(file.info.st_mode)) {
        return Error{onFailure, shown + " is not a regular file"};
    }
    return file;
}

ssize_t readFully(int fd, void* buffer, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n =
            uninterrupted([&] { return read(fd, static_cast<char*>(buffer) + done, size - done); });
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

ssize_t readFullyAt(int fd, void* buffer, std::size_t size, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = uninterrupted([&] {
            return pread(fd, static_cast<char*>(buffer) + done, size - done,
                         static_cast<off_t>(offset + done));
        });
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

bool syncFileSystem(int fd) {
    return syncfs(fd) == 0;
}

bool listFolder(int folder, std::vector<std::string>& names) {
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
        errno = 0;
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
    char block[16384];
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
