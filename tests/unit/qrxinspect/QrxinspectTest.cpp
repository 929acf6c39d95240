#include "Qrxinspect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace qrxinspect {
namespace {

using testing::HasSubstr;

struct Outcome {
    int status;
    std::string output;
    std::string error;
};

Outcome inspectWith(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "qrxinspect");
    std::ostringstream out;
    std::ostringstream err;
    const int status = run(static_cast<int>(arguments.size()), arguments.data(), out, err);
    return {status, out.str(), err.str()};
}

TEST(Qrxinspect, PrintsItsVersion) {
    const Outcome outcome = inspectWith({"--version"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "qrxinspect " QRX_VERSION "\n");
    EXPECT_EQ(outcome.error, "");
}

TEST(Qrxinspect, ListsEveryCommandAndTheExitStatusesInHelp) {
    const Outcome outcome = inspectWith({"--help"});
    EXPECT_EQ(outcome.status, 0);
    for (const tools::CommandInfo& command : commandTable()) {
        EXPECT_THAT(outcome.output, HasSubstr(command.name));
        EXPECT_THAT(outcome.output, HasSubstr(command.summary));
    }
    EXPECT_THAT(outcome.output, HasSubstr("Exit status: 0 all is well; 1 a failure is reported"));
    EXPECT_EQ(outcome.error, "");
}

TEST(Qrxinspect, PrintsHelpForEveryCommand) {
    for (const tools::CommandInfo& command : commandTable()) {
        const Outcome outcome = inspectWith({command.name, "--help"});
        EXPECT_EQ(outcome.status, 0) << command.name;
        EXPECT_THAT(outcome.output, HasSubstr(command.summary));
        EXPECT_THAT(outcome.output, HasSubstr("--json"));
    }
}

TEST(Qrxinspect, RefusesAWrongCommandLine) {
    const std::vector<std::vector<const char*>> wrong{
        {},
        {"unknown"},
        {"--unknown"},
        {"result"},
        {"result", "a", "b"},
        {"report"},
        {"plugin"},
        {"package", "a", "b"},
        {"package", "--html"},
        {"host", "operand"},
        {"result", "--check", "a"},
        {"report", "--json", "--html", "a"},
        {"host", "\x1b[31m\n"},
    };
    for (const std::vector<const char*>& arguments : wrong) {
        const Outcome outcome = inspectWith(arguments);
        EXPECT_EQ(outcome.status, 64) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.output, "") << testing::PrintToString(arguments);
        EXPECT_TRUE(outcome.error.starts_with("qrxinspect: ")) << outcome.error;
        EXPECT_TRUE(outcome.error.ends_with(" (see qrxinspect --help)\n")) << outcome.error;
        EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
    }
}

TEST(Qrxinspect, ListsTheCommandsIfOneIsMissingOrUnknown) {
    const std::string commands =
        "qrxinspect has package, result, report, plugin, host (see qrxinspect --help)\n";
    EXPECT_EQ(inspectWith({}).error, "qrxinspect: no command; " + commands);
    EXPECT_EQ(inspectWith({"reprot", "a.xml"}).error,
              "qrxinspect: no such command: reprot, did you mean report? " + commands);
}

TEST(Qrxinspect, AcceptsAFileNamedLikeACommandOrAnOption) {
    EXPECT_EQ(inspectWith({"result", "report"}).error, "qrxinspect: report: No such file or directory\n");
    EXPECT_EQ(inspectWith({"result", "result"}).error, "qrxinspect: result: No such file or directory\n");
    EXPECT_EQ(inspectWith({"result", "--", "--json"}).error,
              "qrxinspect: --json: No such file or directory\n");
}

}  // namespace
}  // namespace qrxinspect
