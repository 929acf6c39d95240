#pragma once

#include "LogText.h"

#include <string>
#include <vector>

namespace test {

/**
 * What the code under test writes to the debug log while the object lives.
 *
 * The first one in a process opens the process-wide CLogger on a temporary file; the log stays open until the
 * process ends, as it does in the program. Code under test that calls CLogger::Initialize itself therefore
 * silences the log, for this object and for every later one of the process.
 */
class LogCapture {
public:
    LogCapture();

    /** The entries since construction, oldest first. */
    std::vector<LogLine> lines() const;

    /** The messages of lines(). */
    std::vector<std::string> messages() const;

private:
    std::size_t start_;  // length of the log file at construction
};

}  // namespace test
