#pragma once

#include "Console.h"

namespace tools {

/** The whole tool: reads the command line, runs the command and returns the exit status. */
int inspect(int argc, const char* const* argv, const Console& console);

}  // namespace tools
