#pragma once

#include "common/CommandTree.h"

#include <string>

namespace tools {

/** A bash script that completes the tool's commands, options and file names. */
std::string bashCompletion(const CommandTree& tool);

/** The parts of a manual page that repeat --help, as scdoc source: options, commands and exit statuses. */
std::string manualText(const CommandTree& tool);

}  // namespace tools
