#pragma once

#include "Console.h"

#include <string>
#include <vector>

namespace tools {

/** What the command line gave a command. */
struct Arguments {
    std::vector<std::string> operands = {};
    bool json = false;
    bool html = false;
    bool check = false;
};

/** Each command writes its result to the console's output and what is wrong to its error stream. */
ExitStatus runPackage(const Arguments& arguments, const Console& console);
ExitStatus runResult(const Arguments& arguments, const Console& console);
ExitStatus runReport(const Arguments& arguments, const Console& console);
ExitStatus runPlugin(const Arguments& arguments, const Console& console);
ExitStatus runHost(const Arguments& arguments, const Console& console);

}  // namespace tools
