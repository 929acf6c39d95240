#pragma once

#include "base/Printable.h"
#include "common/TextTable.h"

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

/** Where a command writes. Everything that came from elsewhere goes through print, report or printJson. */
struct Console {
    std::ostream& out;  ///< directly only for text of our own, and for documents with escaping of their own
    std::ostream& err;
    std::string_view tool = "";
    bool isTerminal = false;  ///< whether `out` is one

    /** Prints one line. */
    void print(std::string_view line) const { out << vtek::toPrintable(line) << '\n'; }

    /** Prints a table; a terminal gets long values shortened. */
    void print(const TextTable& table) const { isTerminal ? table.printShortened(out) : table.print(out); }

    /** Prints one line on standard error, after the tool's name. */
    void report(std::string_view problem) const { err << tool << ": " << vtek::toPrintable(problem) << '\n'; }
};

}  // namespace tools
