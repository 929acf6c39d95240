#pragma once

#include "common/Printable.h"

#include <ostream>
#include <string_view>

namespace tools {

/** How a tool ends. The help of each tool says what the numbers mean to its users. */
enum class ExitStatus : int {
    Success = 0,
    Failure = 1,   ///< refused or failed; or the input reports a failure
    BadInput = 2,  ///< a file cannot be used
    Usage = 64,    ///< the command line is wrong, in tools that keep this apart from bad input
    Output = 74,   ///< standard output could not be written
};

/** Where a command writes. */
struct Console {
    std::ostream& out;
    std::ostream& err;
    std::string_view tool = "";

    /** Prints one line on standard error, after the tool's name. */
    void report(std::string_view problem) const { err << tool << ": " << toPrintable(problem) << '\n'; }
};

}  // namespace tools
