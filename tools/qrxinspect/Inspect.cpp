#include "Inspect.h"

#include "BaseUtils.h"
#include "CommandTable.h"
#include "CommandTree.h"
#include "Describe.h"

#include <CLI/CLI.hpp>

namespace tools {
namespace {

constexpr const char* kDescription =
    "Looks into update packages, reports and the host. Writes nothing but its output.";
constexpr const char* kExitStatuses =
    "Exit status: 0 all is well; 1 a failure is reported, something is suspicious, or there is no such "
    "plug-in;\n"
    "2 unreadable or damaged input; 64 wrong command line; 74 the output could not be written.";

void addOperands(CLI::App& parser, const Command& command, Arguments& arguments) {
    switch (command.operands) {
        case Operands::None:
            break;
        case Operands::OptionalFolder:
            parser.add_option("DIR", arguments.operands, command.operandHelp)
                ->expected(0, 1)
                ->type_name("FOLDER");
            break;
        case Operands::OneFile:
            parser.add_option("FILE", arguments.operands, command.operandHelp)
                ->required()
                ->expected(1)
                ->type_name("FILE");
            break;
        case Operands::Files:
            parser.add_option("FILE", arguments.operands, command.operandHelp)->required()->type_name("FILE");
            break;
    }
}

CLI::Option* addFlag(CLI::App& parser, Flag flag, Arguments& arguments) {
    switch (flag) {
        case Flag::Check:
            return parser.add_flag("--check", arguments.check,
                                   "Say what is missing or suspicious, with line numbers");
        case Flag::Html:
            return parser.add_flag("--html", arguments.html, "Print one self-contained page");
        case Flag::Json:
            break;
    }
    return parser.add_flag("--json", arguments.json, "Print JSON");
}

void addCommand(CLI::App& tool, const Command& command, Arguments& arguments) {
    CLI::App& parser = *tool.add_subcommand(command.name, command.summary);
    addOperands(parser, command, arguments);
    CLI::Option* json = nullptr;
    for (const Flag flag : command.flags) {
        CLI::Option* const option = addFlag(parser, flag, arguments);
        if (flag == Flag::Json) {
            json = option;
        } else if (flag == Flag::Html) {
            option->excludes(json);
        }
    }
}

/** Asking for help or the version ends the parsing as an error does. */
ExitStatus answerParseError(const CLI::App& tool, const CLI::ParseError& error, const Console& console) {
    if (error.get_exit_code() == 0) {
        tool.exit(error, console.out, console.err);
        return ExitStatus::Success;
    }
    console.tell(parseFailure(tool, error) + " (see qrxinspect --help)");
    return ExitStatus::Usage;
}

ExitStatus runCommand(const CLI::App& tool, const Arguments& arguments, const Console& console) {
    if (const std::optional<Problem> problem = silenceBaseUtils()) {
        console.tell(problem->message);
        return ExitStatus::BadInput;
    }
    const std::span<const Command> commands = commandTable();
    const auto chosen = std::find_if(commands.begin(), commands.end(), [&tool](const Command& command) {
        return tool.got_subcommand(command.name);
    });
    return chosen->run(arguments, console);
}

}  // namespace

int inspect(int argc, const char* const* argv, const Console& console) {
    CLI::App tool(kDescription, "qrxinspect");
    tool.footer(kExitStatuses);
    tool.set_version_flag("--version", "qrxinspect " QRX_VERSION);
    tool.require_subcommand(1);
    addDescribe(tool);
    Arguments arguments;
    for (const Command& command : commandTable()) {
        addCommand(tool, command, arguments);
    }
    ExitStatus status = ExitStatus::Success;
    try {
        tool.parse(argc, argv);
        status = runCommand(tool, arguments, console);
    } catch (const CLI::ParseError& error) {
        status = answerParseError(tool, error, console);
    }
    if (!console.out.flush()) {
        console.tell("the output could not be written");
        status = ExitStatus::Output;
    }
    return static_cast<int>(status);
}

}  // namespace tools
