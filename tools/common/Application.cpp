#include "common/Application.h"

#include "common/CommandLine.h"

#include <exception>
#include <string>

namespace tools {
namespace {

vtek::Result<ExitStatus> prepareAndRun(const Tool& tool, Command& command, const Console& console) {
    if (tool.prepare) {
        VTEK_TRY(tool.prepare());
    }
    return command.run(console);
}

ExitStatus dispatch(const Tool& tool, Command& command, const Console& console) {
    try {
        const vtek::Result<ExitStatus> ended = prepareAndRun(tool, command, console);
        return ended ? *ended : tool.report(ended.error(), console);
    } catch (const std::exception& failure) {
        return tool.report({vtek::ErrorNumber::Internal, failure.what()}, console);
    }
}

ExitStatus parseAndRun(const Tool& tool, int argc, const char* const* argv, const Console& console) {
    CommandLine commandLine(tool);
    const Request request = commandLine.parse(argc, argv);
    if (request.command != nullptr) {
        return dispatch(tool, *request.command, console);
    }
    if (!request.problem.empty()) {
        console.report(request.problem + " (see " + tool.name + " --help)");
        return tool.wrongCommandLine;
    }
    console.out << request.answer;
    return ExitStatus::Success;
}

}  // namespace

int runTool(const Tool& tool, int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    const Console console{out, err, tool.name};
    ExitStatus status = parseAndRun(tool, argc, argv, console);
    // A full disk often shows only here, and a cut list must not look like a whole one.
    if (!out.flush()) {
        console.report("standard output could not be written");
        status = ExitStatus::Output;
    }
    return static_cast<int>(status);
}

}  // namespace tools
