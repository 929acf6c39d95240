#include "Lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <thread>

namespace vtek {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPause{20};
constexpr int kHolderAttempts = 50;
constexpr std::size_t kDescriptionBound = 512;

std::string ownFile(const char* path) {
    std::string content;
    const UniqueFd file = openAt(kWorkingFolder, path, O_RDONLY);
    if (file) {
        readWhole(file.get(), 16 * kDescriptionBound, content);
    }
    return content;
}

/** When this process started, from the kernel: its status file was made then. */
std::string startTime() {
    struct stat info {};
    tm utc{};
    char text[32] = "";
    if (stat("/proc/self", &info) == 0 && gmtime_r(&info.st_mtime, &utc) != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    }
    return text;
}

/** Whether the lock file in the root is still the one that is open. */
bool isCurrent(const Root& root, const UniqueFd& file) {
    struct stat opened {};
    struct stat present {};
    return fstat(file.get(), &opened) == 0 &&
           fstatat(root.folder(), kLockFile, &present, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == present.st_dev && opened.st_ino == present.st_ino;
}

Result<UniqueFd> openLockFile(const Root& root) {
    UniqueFd file = openAt(root.folder(), kLockFile, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (!file) {
        return systemError(ErrorNumber::RepositoryUnwritable, "open " + root.path() + "/" + kLockFile);
    }
    VTEK_TRY(root.checkFile(kLockFile, Root::Presence::Required, ErrorNumber::RepositoryUnwritable));
    return file;
}

/** What the holder has written about itself. A new holder writes right after it has taken the lock, so an
 * empty file is read again for a while. */
std::string holderOf(const UniqueFd& file) {
    std::string text(kDescriptionBound, '\0');
    for (int attempt = 0; attempt < kHolderAttempts; ++attempt) {
        const ssize_t n = readFullyAt(file.get(), text.data(), text.size(), 0);
        if (n > 0) {
            return text.substr(0, static_cast<std::size_t>(n));
        }
        std::this_thread::sleep_for(kPause);
    }
    return "somebody who has not said who it is";
}

/** Written first and cut to length then, so that nobody finds the file empty between two holders. */
Status signHolder(const UniqueFd& file) {
    const std::string text = describeProcess();
    if (pwrite(file.get(), text.data(), text.size(), 0) < 0 ||
        ftruncate(file.get(), static_cast<off_t>(text.size())) != 0) {
        return systemError(ErrorNumber::RepositoryUnwritable, "write the lock file");
    }
    return {};
}

}  // namespace

Result<Lock> Lock::acquire(const Root& root, std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        VTEK_ASSIGN(UniqueFd file, openLockFile(root));
        if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            if (isCurrent(root, file)) {
                VTEK_TRY(signHolder(file));
                return Lock(std::move(file));
            }
        } else if (errno != EWOULDBLOCK && errno != EINTR) {
            return systemError(ErrorNumber::RepositoryUnwritable, "lock the repository");
        } else if (Clock::now() >= deadline) {
            return Error{ErrorNumber::RepositoryBusy, "the repository is held by " + holderOf(file)};
        }
        std::this_thread::sleep_for(kPause);
    }
}

std::string describeProcess() {
    std::string command = ownFile("/proc/self/cmdline");
    while (!command.empty() && command.back() == '\0') {
        command.pop_back();
    }
    std::replace_if(
        command.begin(), command.end(), [](char c) { return c < ' ' || c > '~'; }, ' ');
    return "process " + std::to_string(getpid()) + ", started " + startTime() +
           ", command: " + command.substr(0, kDescriptionBound / 2);
}

}  // namespace vtek
