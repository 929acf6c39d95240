#include "chassis/Lock.h"

#include "base/Text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <sstream>
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

/** When this process started, in clock ticks since the machine did; 0 when the kernel does not tell. */
long startTicks() {
    const std::string status = ownFile("/proc/self/stat");
    // The command's name may hold anything and ends at the last parenthesis; the start is the 20th field
    // behind.
    std::istringstream fields(status.substr(status.rfind(')') + 1));
    std::string before;
    for (int field = 1; field < 20; ++field) {
        fields >> before;
    }
    long ticks = 0;
    fields >> ticks;
    return ticks;
}

std::string startTime() {
    timespec sinceBoot{};
    clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    const std::time_t age = sinceBoot.tv_sec - startTicks() / sysconf(_SC_CLK_TCK);
    return utcText(std::time(nullptr) - age);
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
        return repositoryError("open " + root.path() + "/" + kLockFile);
    }
    VTEK_TRY(root.checkFile(kLockFile, Root::Presence::Required, ErrorNumber::RepositoryUnwritable));
    return file;
}

/** Whether the process that a description names still runs, as far as this one can see. */
bool isRunning(const std::string& description) {
    int process = 0;
    return std::sscanf(description.c_str(), "process %d,", &process) == 1 && process > 0 &&
           (kill(process, 0) == 0 || errno == EPERM);
}

/** What the holder has written about itself. A new holder writes right after it has taken the lock, so that
 * an empty file, or one that names a dead process, is read again for a while. */
std::string holderOf(const UniqueFd& file) {
    std::string text;
    for (int attempt = 0; attempt < kHolderAttempts && !isRunning(text); ++attempt) {
        if (attempt > 0) {
            std::this_thread::sleep_for(kPause);
        }
        text.assign(kDescriptionBound, '\0');
        const ssize_t n = readFullyAt(file.get(), text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    }
    return text.empty() ? "somebody who has not said who it is" : text;
}

/** Written first and cut to length then, so that nobody finds the file empty between two holders. */
Status signHolder(const UniqueFd& file) {
    const std::string text = describeProcess();
    if (pwrite(file.get(), text.data(), text.size(), 0) < 0 ||
        ftruncate(file.get(), static_cast<off_t>(text.size())) != 0) {
        return repositoryError("write the lock file");
    }
    return {};
}

}  // namespace

Result<Lock> Lock::acquire(const Root& root, std::chrono::milliseconds patience) {
    const auto deadline = Clock::now() + patience;
    for (;;) {
        VTEK_ASSIGN(UniqueFd file, openLockFile(root));
        const bool locked = flock(file.get(), LOCK_EX | LOCK_NB) == 0;
        if (!locked && errno != EWOULDBLOCK && errno != EINTR) {
            return systemError(ErrorNumber::RepositoryUnwritable, "lock the repository");
        }
        if (locked && isCurrent(root, file)) {
            VTEK_TRY(signHolder(file));
            return Lock(std::move(file));
        }
        if (Clock::now() >= deadline) {
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
