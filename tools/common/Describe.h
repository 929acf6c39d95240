#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace tools {

/**
 * Declares the hidden option --describe, by which the build asks a tool for what is made from its command
 * table: `bash` for the completion, `scdoc` for the manual page's parts on options, commands and exit
 * statuses.
 */
void addDescribe(CLI::App& tool);

/** A bash script that completes the tool's commands, options and file names. */
std::string bashCompletion(const CLI::App& tool);

/** The parts of a manual page that say what --help says, as scdoc source. */
std::string manualText(const CLI::App& tool);

}  // namespace tools
