#include "payload/ConfinedFolder.h"

#include "payload/EntryNames.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace vtek {

namespace {

// The archive's modes are not applied: nothing becomes executable, set-user-ID or writable for others.
constexpr mode_t kFileMode = 0644;
constexpr mode_t kFolderMode = 0755;

/**
 * Resolves the path in the kernel, in one step: somebody who exchanges a folder for a link at the same time
 * can make the call fail, but cannot lead it elsewhere.
 */
UniqueFd openWithOpenat2(int folder, const std::string& path, int flags, mode_t mode) {
    open_how how{};
    how.flags = static_cast<__u64>(flags | O_CLOEXEC);
    how.mode = mode;
    // Never outside the folder, through a link, or on another file system that is mounted in it: syncing the
    // repository's own file system would not make files there durable.
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_XDEV;
    long fd = -1;
    // glibc has no wrapper. EAGAIN: somebody renamed a folder meanwhile, and the kernel is not sure.
    do {
        fd = syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
    } while (fd == -1 && (errno == EINTR || errno == EAGAIN));
    return aboveStandard(UniqueFd(static_cast<int>(fd)));
}

/** Opens one folder after the other, never through a link, at the price of a system call for each. */
UniqueFd openBySteps(int folder, std::string_view path, int flags, mode_t mode) {
    UniqueFd reached;
    for (;;) {
        const int from = reached ? reached.get() : folder;
        const auto slash = path.find('/');
        const std::string name(path.substr(0, slash));
        if (name.empty() || name == "..") {
            errno = EXDEV;  // as openat2 reports a path that leads outside
            return {};
        }
        if (slash == std::string_view::npos) {
            return openAt(from, name, flags | O_NOFOLLOW, mode);
        }
        reached = openAt(from, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
        if (!reached) {
            return {};
        }
        path.remove_prefix(slash + 1);
    }
}

}  // namespace

UniqueFd ConfinedFolder::open(const std::string& path, int flags, mode_t mode) {
    if (method_ == Method::Openat2) {
        UniqueFd fd = openWithOpenat2(folder_, path, flags, mode);
        // ENOSYS: a kernel before 5.6. EPERM: a sandbox whose filter does not know the call.
        if (fd || (errno != ENOSYS && errno != EPERM)) {
            return fd;
        }
        method_ = Method::Steps;
    }
    return openBySteps(folder_, path, flags, mode);
}

UniqueFd ConfinedFolder::openFolder(const std::string& path) {
    return open(path.empty() ? "." : path, O_RDONLY | O_DIRECTORY, 0);
}

bool ConfinedFolder::makeFolders(const std::string& path) {
    if (path.empty()) {
        return true;
    }
    if (const UniqueFd present = openFolder(path)) {
        return true;
    }
    if (errno != ENOENT) {
        return false;
    }
    const std::string parent(parentOf(path));
    if (!makeFolders(parent)) {
        return false;
    }
    const UniqueFd above = openFolder(parent);
    const std::string name = parent.empty() ? path : path.substr(parent.size() + 1);
    return above && makeFolderAt(above.get(), name, kFolderMode);
}

UniqueFd ConfinedFolder::createFile(const std::string& path) {
    UniqueFd file = open(path, O_RDWR | O_CREAT | O_EXCL, kFileMode);
    // The umask may have taken rights that the owner needs to read the firmware.
    return file && fchmod(file.get(), kFileMode) == 0 ? std::move(file) : UniqueFd();
}

bool ConfinedFolder::linkFile(int file, const std::string& path) {
    const std::string parent(parentOf(path));
    const UniqueFd above = openFolder(parent);
    const std::string name = parent.empty() ? path : path.substr(parent.size() + 1);
    if (!above || fchmod(file, kFileMode) != 0) {
        return false;
    }
    // By descriptor only root may link, at least until Linux 6.10; everybody may through /proc, if it is
    // mounted.
    const std::string magicLink = "/proc/self/fd/" + std::to_string(file);
    return linkat(file, "", above.get(), name.c_str(), AT_EMPTY_PATH) == 0 ||
           linkat(AT_FDCWD, magicLink.c_str(), above.get(), name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace vtek
