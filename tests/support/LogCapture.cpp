#include "LogCapture.h"

#include "Logger.h"
#include "TempDir.h"

#include <filesystem>

namespace test {
namespace {

/** The log file of this process, open since the first call. */
const std::filesystem::path& logFile() {
    static const TempDir folder;
    static const std::filesystem::path file = [] {
        const std::filesystem::path path = folder / "debug.log";
        CLogger::GetInstance()->Initialize(path.string());
        return path;
    }();
    return file;
}

}  // namespace

LogCapture::LogCapture() : start_(std::filesystem::file_size(logFile())) {}

std::vector<LogLine> LogCapture::lines() const {
    return parseLog(readFile(logFile()).substr(start_));
}

std::vector<std::string> LogCapture::messages() const {
    std::vector<std::string> messages;
    for (const LogLine& line : lines()) {
        messages.push_back(line.message);
    }
    return messages;
}

}  // namespace test
