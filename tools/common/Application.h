#pragma once

#include "common/Command.h"

#include <ostream>

namespace tools {

/**
 * Runs a tool: parses the command line, runs the command that it names, reports a failure and flushes the
 * output.
 *
 * @return the exit status
 */
int runTool(const Tool& tool, int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace tools
