#pragma once

#include "common/Command.h"
#include "common/CommandTree.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tools {

/** What a command line asks for: one of the three. */
struct Request {
    Command* command = nullptr;  ///< to be run; its options have their values
    std::string answer = {};     ///< to --help, --version or --describe
    std::string problem = {};    ///< what is wrong with the command line, in one line
};

/**
 * The parser of a tool's command line, made from its command table.
 *
 * Besides the tool's own options it knows --help, --version and the hidden --describe, by which the build
 * asks for the completion (`bash`) and for the generated parts of the manual page (`scdoc`).
 */
class CommandLine {
public:
    /** @param tool  must outlive the parser */
    explicit CommandLine(const Tool& tool);
    ~CommandLine();

    /** To be called once. */
    Request parse(int argc, const char* const* argv);

    /** What help shows, for the generators. */
    CommandTree tree() const;

private:
    void addDescribe();
    CLI::App& groupNamed(const Tool& tool, const std::string& name);

    std::unique_ptr<CLI::App> app_;
    std::vector<std::pair<const CLI::App*, Command*>> commands_;
};

}  // namespace tools
