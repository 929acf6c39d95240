#pragma once

#include "Command.h"

namespace tools {

/** How vtekctl ends. */
enum ExitStatus : int {
    kDone = 0,     ///< the command did what it was asked to
    kRefused = 1,  ///< it did not; standard error says why
    kUsage = 2,    ///< the command line is wrong, or names a file that cannot be used
    kOutput = 74,  ///< standard output could not be written; what the command changes is changed
};

/** Parses the command line, runs the command it names, and reports a failure on standard error. */
int runApplication(int argc, char** argv);

}  // namespace tools
