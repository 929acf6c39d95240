#pragma once

#include "Printable.h"

#include <ostream>
#include <string_view>

namespace tools {

/** How a command ended; the numbers are the tool's exit statuses. */
enum class ExitStatus : int {
    Success = 0,
    Finding = 1,  // a failure is reported, something is suspicious, or what was asked for is not there
    BadInput = 2,
    Usage = 64,
    Output = 74,  // the output could not be written
};

/** Where a command writes. */
struct Console {
    std::ostream& out;
    std::ostream& err;

    /** One line on standard error that names the tool. */
    void tell(std::string_view problem) const { err << "qrxinspect: " << toPrintable(problem) << '\n'; }
};

}  // namespace tools
