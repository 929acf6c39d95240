#include "common/Application.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace tools {
namespace {

/** A command that prints a word and then does what the test says. */
class TestCommand : public Command {
public:
    using End = std::function<vtek::Result<ExitStatus>()>;

    explicit TestCommand(End end) : end_(std::move(end)) {}

    void define(Options&) override {}
    vtek::Result<ExitStatus> run(const Console& console) override {
        console.out << "word";
        return end_();
    }

private:
    End end_;
};

ExitStatus report(const vtek::Error& error, const Console& console) {
    console.report(error.message + ", " + std::to_string(static_cast<int>(error.number)));
    return ExitStatus::BadInput;
}

struct Ended {
    int status;
    std::string output;
    std::string error;

    bool operator==(const Ended&) const = default;
};

/** Shows the parts in the message of a failed comparison. */
void PrintTo(const Ended& ended, std::ostream* out) {
    *out << ended.status << " '" << ended.output << "' '" << ended.error << "'";
}

Ended runWith(TestCommand::End end, std::vector<const char*> words = {"do"},
              std::function<vtek::Status()> prepare = {}, std::ios::iostate outputState = std::ios::goodbit) {
    const Tool tool{.name = "tool",
                    .version = "1",
                    .description = "",
                    .exitStatuses = "",
                    .wrongCommandLine = ExitStatus::Usage,
                    .report = report,
                    .groups = {},
                    .commands = {{"", "do", "", std::make_shared<TestCommand>(std::move(end))}},
                    .prepare = std::move(prepare)};
    std::ostringstream out;
    std::ostringstream err;
    out.setstate(outputState);
    words.insert(words.begin(), "tool");
    const int status = runTool(tool, static_cast<int>(words.size()), words.data(), out, err);
    return {status, out.str(), err.str()};
}

vtek::Result<ExitStatus> succeed() {
    return ExitStatus::Success;
}

TEST(Application, ReturnsTheCommandsStatus) {
    EXPECT_EQ(runWith(succeed), (Ended{0, "word", ""}));
    EXPECT_EQ(runWith([] { return ExitStatus::Failure; }), (Ended{1, "word", ""}));
}

TEST(Application, ReportsTheCommandsError) {
    EXPECT_EQ(runWith([] {
                  return vtek::Error{vtek::ErrorNumber::NoSpace, "full\x1b"};
              }),
              (Ended{2, "word", "tool: full\\x1b, 403\n"}));
}

TEST(Application, ReportsAnExceptionAsAnInternalError) {
    EXPECT_EQ(runWith([]() -> vtek::Result<ExitStatus> { throw std::runtime_error("broken"); }),
              (Ended{2, "word", "tool: broken, 899\n"}));
}

TEST(Application, RunsNothingIfThePreparationFails) {
    const auto prepare = [] { return vtek::Status(vtek::Error{vtek::ErrorNumber::Internal, "unready"}); };
    EXPECT_EQ(runWith(succeed, {"do"}, prepare), (Ended{2, "", "tool: unready, 899\n"}));
    EXPECT_EQ(runWith(succeed, {"--version"}, prepare), (Ended{0, "tool 1\n", ""}));
}

TEST(Application, ReportsAWrongCommandLineInOneLine) {
    EXPECT_EQ(runWith(succeed, {"\x1b"}),
              (Ended{64, "", "tool: no such command: \\x1b; tool has do (see tool --help)\n"}));
}

TEST(Application, ReportsOutputThatIsNotWritten) {
    EXPECT_EQ(runWith(succeed, {"do"}, {}, std::ios::badbit),
              (Ended{74, "", "tool: standard output could not be written\n"}));
}

}  // namespace
}  // namespace tools
