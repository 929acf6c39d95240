#pragma once

#include "base/Result.h"
#include "common/Console.h"
#include "common/Options.h"

#include <functional>
#include <memory>
#include <vector>

namespace tools {

/** One command of a tool: its options, and what it does. */
class Command {
public:
    virtual ~Command() = default;

    /** Declares the options; called once, before parsing. */
    virtual void define(Options& options) = 0;

    /** Does the work and writes its data to the console. The tool reports an error. */
    virtual vtek::Result<ExitStatus> run(const Console& console) = 0;
};

/** One row of a tool's command table; parsing, dispatch, help, manual page and completion come from it. */
struct CommandInfo {
    const char* group;  ///< "trust" for `vtekctl trust add`; empty for a command outside every group
    const char* name;
    const char* summary;
    std::shared_ptr<Command> command;
};

/** A word that several commands begin with. */
struct CommandGroup {
    const char* name;
    const char* summary;
};

/** Everything that is special about one tool. */
struct Tool {
    const char* name;
    const char* version;
    const char* description;
    const char* exitStatuses;  ///< the last paragraph of help; begins with "Exit status: "
    ExitStatus wrongCommandLine;

    /** Tells the user of an error that a command returned, and chooses the exit status. */
    ExitStatus (*report)(const vtek::Error& error, const Console& console);

    std::vector<CommandGroup> groups;
    std::vector<CommandInfo> commands;

    /** Declares the options that stand before the command; may be empty. */
    std::function<void(Options&)> define = {};

    /** Called once before a command runs; may be empty. Its error ends the tool. */
    std::function<vtek::Status()> prepare = {};
};

}  // namespace tools
