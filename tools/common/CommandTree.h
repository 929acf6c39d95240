#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tools {

/** The commands right below a tool or a group of commands. */
std::vector<const CLI::App*> commandsOf(const CLI::App& app);

/** What is shown in help: options that begin with a dash, or operands. */
std::vector<const CLI::Option*> optionsOf(const CLI::App& app);
std::vector<const CLI::Option*> operandsOf(const CLI::App& app);

/** The names of an option, each with its dashes, short ones first. */
std::vector<std::string> namesOf(const CLI::Option& option);

/** What an option or operand takes, as help shows it: FILE, FOLDER, a choice such as tar|zip; empty for a
 * flag. */
std::string valueOf(const CLI::Option& option);

/** "vtekctl inventory import" */
std::string fullName(const CLI::App& app);

/** What is wrong with a command line, after parsing: the parser's words, unless a command is missing; then
 * which there are, and which word is none of them. */
std::string parseFailure(const CLI::App& tool, const CLI::ParseError& error);

}  // namespace tools
