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

constexpr std::chrono::milliseconds kPause{20};  // between two attempts to take the lock
constexpr int kHolderAttempts = 50;              // with kPause between them, one second
constexpr std::size_t kDescriptionBound = 512;   // bytes of a holder's description; its command gets half
constexpr std::size_t kProcFileBound = 8192;     // bytes of a file in /proc/self
constexpr int kStartTimeField = 20;              // of /proc/self/stat, counted behind the command's name

/** Reads a file in /proc/self; empty if it cannot be read. */
std::string procFile(const char* path) {
    std::string content;
    const UniqueFd file = openAt(kWorkingFolder, path, O_RDONLY);
    if (file) {
        readWhole(file.get(), kProcFileBound, content);
    }
    return content;
}

/** The start of this process in clock ticks since boot; 0 if /proc cannot be read. */
long startTicks() {
    const std::string status = procFile("/proc/self/stat");
    // The command's name may contain blanks and parentheses; it ends at the last closing parenthesis.
    std::istringstream fields(status.substr(status.rfind(')') + 1));
    std::string before;
    for (int field = 1; field < kStartTimeField; ++field) {
        fields >> before;
    }
    long ticks = 0;
    fields >> ticks;
    return ticks;
}

std::string startTime() {
    // Start ticks count from boot, so the wall clock's start is now minus the age of the process.
    timespec sinceBoot{};
    clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    const std::time_t age = sinceBoot.tv_sec - startTicks() / sysconf(_SC_CLK_TCK);
    return utcText(std::time(nullptr) - age);
}

/** Whether the lock file in the root is still the open one, and not a new file of the same name. */
bool isCurrent(const Root& root, const UniqueFd& file) {
    struct stat opened {};
    struct stat present {};
    return fstat(file.get(), &opened) == 0 &&
           fstatat(root.folder(), kLockFile, &present, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == present.st_dev && opened.st_ino == present.st_ino;
}

Result<UniqueFd> openLockFile(const Root& root) {
    // A planted symlink must not be followed (O_NOFOLLOW), and a planted FIFO must not block (O_NONBLOCK).
    UniqueFd file =
        openAt(root.folder(), kLockFile, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, kPrivateFile);
    if (!file) {
        return repositoryError("open " + root.path() + "/" + kLockFile);
    }
    VTEK_TRY(root.makePrivate(kLockFile, Root::Presence::Required, ErrorNumber::RepositoryUnwritable));
    return file;
}

/** Whether the described process still runs. In another PID namespace it seems not to. */
bool isRunning(const std::string& description) {
    int process = 0;
    return std::sscanf(description.c_str(), "process %d,", &process) == 1 && process > 0 &&
           (kill(process, 0) == 0 || errno == EPERM);
}

/** Reads the holder's description. A new holder writes it just after taking the lock; until then the file is
 * empty or describes a dead process, so it is read again for up to a second. */
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
    return text.empty() ? "an unknown process" : text;
}

Status writeHolder(const UniqueFd& file) {
    const std::string text = describeProcess();
    // Written before it is truncated, so that no reader finds the file empty between two holders.
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
        // flock, because the kernel releases it with the process, however it ends.
        const bool locked = flock(file.get(), LOCK_EX | LOCK_NB) == 0;
        if (!locked && errno != EWOULDBLOCK && errno != EINTR) {
            return systemError(ErrorNumber::RepositoryUnwritable, "lock the repository");
        }
        // The file may have been removed and created again between open and flock. Then another process can
        // hold a lock on the new file, and ours protects nothing.
        if (locked && isCurrent(root, file)) {
            VTEK_TRY(writeHolder(file));
            return Lock(std::move(file));
        }
        if (Clock::now() >= deadline) {
            return Error{ErrorNumber::RepositoryBusy, "the repository is held by " + holderOf(file)};
        }
        std::this_thread::sleep_for(kPause);
    }
}

std::string describeProcess() {
    std::string command = procFile("/proc/self/cmdline");
    // The arguments end with a NUL each; those between them become blanks below.
    while (!command.empty() && command.back() == '\0') {
        command.pop_back();
    }
    std::replace_if(
        command.begin(), command.end(), [](char c) { return c < ' ' || c > '~'; }, ' ');
    return "process " + std::to_string(getpid()) + ", started " + startTime() +
           ", command: " + command.substr(0, kDescriptionBound / 2);
}

}  // namespace vtek
