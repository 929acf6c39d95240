#include "Logger.h"

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <iomanip>

namespace {

/** Least widths of a line's fields, in characters; longer values push the rest to the right. */
constexpr int kFileNameWidth = 25;
constexpr int kLineWidth = 5;

/** Room for a time stamp, which usually has 22 characters. */
using TimeStamp = std::array<char, 80>;

TimeStamp localTimeStamp() {
    TimeStamp text{};
    const std::time_t now = std::time(nullptr);
    if (const std::tm* local = std::localtime(&now)) {
        std::strftime(text.data(), text.size(), "[%Y-%m-%dT%H:%M:%S] ", local);
    }
    return text;
}

// Owns its descriptor, and can become the buffer of a file stream.
using DescriptorBuffer = __gnu_cxx::stdio_filebuf<char>;

/** Opens the file without a change to it, or makes a new one; -1 for a link, or a FIFO without a reader. */
int openLog(const char* name) {
    constexpr mode_t kAsFileStreams = 0666;  // less the umask
    return open(name, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kAsFileStreams);
}

/** A second name of the file may be one that others must not write to. */
bool isSafeToEmpty(int file) {
    struct stat status {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}

}  // namespace

CLogger* CLogger::m_ptrInstance = nullptr;

CLogger::CLogger() : m_strFileName("debug.log"), m_bEnabled(false) {}

CLogger::~CLogger() {
    m_logStream.close();
}

CLogger* CLogger::GetInstance() {
    if (m_ptrInstance == nullptr) {
        m_ptrInstance = new CLogger;
    }
    return m_ptrInstance;
}

int CLogger::Initialize(const std::string& fileName) {
    m_strFileName = fileName;
    // On a stream that is open already this fails, and from then on the stream takes no more lines.
    m_logStream.open(m_strFileName, std::ios::out | std::ios::trunc);
    if (m_logStream.is_open()) {
        m_bEnabled = true;
    }
    return 0;
}

int CLogger::InitializeFromMarker(const std::string& fileName) {
    if (m_logStream.is_open()) {
        return Initialize(fileName);  // opens nothing, and silences the log
    }
    m_strFileName = fileName;
    DescriptorBuffer file(openLog(fileName.c_str()), std::ios::out);
    if (file.is_open() && isSafeToEmpty(file.fd()) && ftruncate(file.fd(), 0) == 0) {
        m_logStream.rdbuf()->swap(file);
        m_logStream.clear();
        m_bEnabled = true;
    }
    return 0;
}

std::string CLogger::getFileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);  // no '/' gives npos, and npos + 1 is 0
}

void CLogger::log(const char* sourceFile, unsigned int line, const std::string& message) {
    if (!m_bEnabled) {
        return;
    }
    m_logStream.seekp(0, std::ios::end);  // others may have written to the file
    m_logStream << localTimeStamp().data() << ": ";
    m_logStream << std::setw(kFileNameWidth) << getFileName(sourceFile) << ":";
    m_logStream << std::setw(kLineWidth) << line << ": " << message << std::endl;
}
