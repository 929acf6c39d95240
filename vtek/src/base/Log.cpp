#include "base/Log.h"

#include "base/Printable.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <ctime>

namespace vtek {

namespace {

constexpr const char* kFile = "vtek.log";
constexpr const char* kOlderFile = "vtek.log.1";
constexpr off_t kSizeBound = 1024 * 1024;  // a full log is renamed: at most two of them exist
constexpr mode_t kLogMode = 0640;          // readable by the group, not by others
constexpr const char* kBanner =
    "This log belongs to a SIMULATED platform library (stand-in for libvtek.so.0).";

std::string failureText(const char* call, const Error& error) {
    const ErrorInfo& info = errorInfo(error.number);
    return std::string(call) + ": error " + std::to_string(static_cast<int>(error.number)) + ", " +
           std::string(info.cause) + ": " + error.message + "; hint: " + remedyOf(error);
}

}  // namespace

void Log::write(const std::string& sourceFile, unsigned int line, const std::string& message) {
    writeLine(sourceFile + ":" + std::to_string(line) + ": " + message);
}

void Log::failure(const char* call, const Error& error) {
    if (root_ != nullptr && !writeLine(failureText(call, error))) {
        reportFailure(call, error);
    }
}

bool Log::writeLine(const std::string& line) {
    if (root_ == nullptr) {
        return false;
    }
    if (!file_ || isFull()) {
        open();
    }
    const std::string text = utcText(std::time(nullptr)) + " [" + std::to_string(getpid()) + "] " + line;
    return file_ && writeFully(file_.get(), toPrintable(text) + "\n");
}

void Log::open() {
    file_.reset();
    // The folder is checked each time: its owner may have been changed since the last line.
    const auto folder = root_->openFolder(kLogFolder, ErrorNumber::RootUnsafe);
    if (!folder) {
        return;
    }
    // O_NOFOLLOW and O_NONBLOCK: a planted symlink or FIFO must neither redirect nor block the log.
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    file_ = openAt(folder->get(), kFile, kFlags, kLogMode);
    if (file_ && isFull()) {
        renameat(folder->get(), kFile, folder->get(), kOlderFile);
        file_ = openAt(folder->get(), kFile, kFlags, kLogMode);
    }
    struct stat info {};
    if (file_ && fstat(file_.get(), &info) == 0 && info.st_size == 0) {
        // The umask may have taken rights that the next process needs. A failure shows then.
        static_cast<void>(fchmod(file_.get(), kLogMode));
        writeFully(file_.get(), std::string(kBanner) + "\n");
    }
}

bool Log::isFull() const {
    struct stat info {};
    return fstat(file_.get(), &info) == 0 && info.st_size >= kSizeBound;
}

void reportFailure(const char* call, const Error& error) {
    const std::string text = toPrintable("libvtek (simulation): " + failureText(call, error));
    writeFully(STDERR_FILENO, text + "\n");
    syslog(LOG_USER | LOG_ERR, "%s", text.c_str());
}

}  // namespace vtek
