#pragma once

#include <fstream>
#include <string>

/**
 * The debug log of the process: time-stamped, source-located lines, appended to one text file.
 *
 * Logging is off until Initialize has opened a file; lines logged before are dropped. A failure of the log
 * never changes what the program does. Not thread-safe.
 */
class CLogger {
public:
    CLogger();
    ~CLogger();
    CLogger(const CLogger&) = delete;
    CLogger& operator=(const CLogger&) = delete;

    /** The log of the process, created on first use and never destroyed. */
    static CLogger* GetInstance();

    /**
     * Opens fileName, emptying an existing file, and switches logging on if that succeeds. A failure is not
     * reported. If a file is already open, the call opens nothing and silences the log for good.
     *
     * @return always 0
     */
    int Initialize(const std::string& fileName);

    /**
     * As Initialize, for a log that a marker file in the working directory switches on, where others may have
     * put something in its place: opens only a new file, or a regular file that has no other name. Follows no
     * link, waits for no reader, and changes nothing before the check.
     */
    int InitializeFromMarker(const std::string& fileName);

    /** The part of path after its last '/'; the whole path if it has none. */
    std::string getFileName(const std::string& path);

    /** Whether a file has been opened. While false, log does nothing and callers need not build a text. */
    bool isEnabled() const { return m_bEnabled; }

    /**
     * Appends one line and flushes it.
     *
     * @param sourceFile  path of the source that logs; its base name stands in the line
     * @param line        line of the call in that source
     * @param message     the text, written as it is
     */
    void log(const char* sourceFile, unsigned int line, const std::string& message);

private:
    static CLogger* m_ptrInstance;

    std::string m_strFileName;
    std::ofstream m_logStream;
    bool m_bEnabled;
};
