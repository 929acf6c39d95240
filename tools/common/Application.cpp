#include "common/Application.h"

#include "common/CommandLine.h"

#include <fcntl.h>
#include <unistd.h>

#include <exception>
#include <iostream>
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

/**
 * Opens each standard descriptor that is closed on /dev/null. Otherwise the first file that a command opens
 * could become standard output and take the results. Read-only: what cannot be written is reported.
 */
void occupyStandardDescriptors() {
    int descriptor = 0;
    do {
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    } while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
}

}  // namespace

int runTool(const Tool& tool, int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    occupyStandardDescriptors();
    const bool isTerminal = out.rdbuf() == std::cout.rdbuf() && isatty(STDOUT_FILENO) == 1;
    const Console console{out, err, tool.name, isTerminal};
    ExitStatus status = parseAndRun(tool, argc, argv, console);
    // A full disk often shows only here, and a cut list must not look like a whole one.
    if (!out.flush()) {
        console.report("standard output could not be written");
        status = ExitStatus::Output;
    }
    return static_cast<int>(status);
}

}  // namespace tools
