#include "common/CommandLine.h"
#include "common/Describe.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tools {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/** A command whose options are the test's. */
class TestCommand : public Command {
public:
    explicit TestCommand(std::function<void(Options&)> define) : define_(std::move(define)) {}

    void define(Options& options) override { define_(options); }
    vtek::Result<ExitStatus> run(const Console&) override { return ExitStatus::Success; }

private:
    std::function<void(Options&)> define_;
};

/** A tool like ours: options, a command, and a group of two. */
class CommandLineTest : public testing::Test {
protected:
    Request requestFor(std::vector<const char*> words) const {
        words.insert(words.begin(), "tool");
        return CommandLine(tool_).parse(static_cast<int>(words.size()), words.data());
    }

    std::string root_;
    std::string file_;
    bool json_ = false;
    int days_ = 1;
    std::shared_ptr<Command> add_ = std::make_shared<TestCommand>([this](Options& options) {
        options.value("file", file_, "").required().takes("FILE");
        options.value("--days", days_, "").takes("DAYS").within(1, 9);
        options.flag("--json", json_, "");
    });
    std::shared_ptr<Command> simple_ = std::make_shared<TestCommand>([](Options&) {});
    Tool tool_{
        .name = "tool",
        .version = "1.2",
        .description = "Does things.",
        .exitStatuses = "Exit status: 0 done.",
        .wrongCommandLine = ExitStatus::Usage,
        .report = nullptr,
        .groups = {{"trust", "the trust store"}},
        .commands = {{"trust", "add", "add a file", add_},
                     {"trust", "remove", "remove a file", simple_},
                     {"", "init", "begin", simple_}},
        .define = [this](Options& options) { options.value("--root,-r", root_, "").takes("FOLDER"); },
    };
};

std::vector<std::string> lastNames(const std::vector<OptionText>& options) {
    std::vector<std::string> names;
    for (const OptionText& option : options) {
        names.push_back(option.names.back());
    }
    return names;
}

TEST_F(CommandLineTest, FindsTheCommandAndSetsItsOptions) {
    const Request request = requestFor({"-r", "/x", "trust", "add", "a.pem", "--days", "3", "--json"});
    EXPECT_EQ(request.command, add_.get());
    EXPECT_EQ(request.answer, "");
    EXPECT_EQ(request.problem, "");
    EXPECT_EQ(root_, "/x");
    EXPECT_EQ(file_, "a.pem");
    EXPECT_EQ(days_, 3);
    EXPECT_TRUE(json_);
}

TEST_F(CommandLineTest, AnswersVersionAndHelp) {
    EXPECT_EQ(requestFor({"--version"}).answer, "tool 1.2\n");
    const std::string help = requestFor({"--help"}).answer;
    EXPECT_THAT(help, HasSubstr("Does things."));
    EXPECT_THAT(help, HasSubstr("the trust store"));
    EXPECT_THAT(help, HasSubstr("Exit status: 0 done."));
    EXPECT_THAT(requestFor({"trust", "add", "--help"}).answer, HasSubstr("add a file"));
}

TEST_F(CommandLineTest, DescribesItselfBeforeTheRestOfTheCommandLineIsRead) {
    const CommandTree tree = CommandLine(tool_).tree();
    EXPECT_EQ(requestFor({"--describe", "scdoc"}).answer, manualText(tree) + "\n");
    EXPECT_EQ(requestFor({"--describe", "bash"}).answer, bashCompletion(tree) + "\n");
    EXPECT_EQ(requestFor({"--describe", "bash", "--root"}).answer, bashCompletion(tree) + "\n");
}

TEST_F(CommandLineTest, HidesDescribeAndRefusesOtherForms) {
    EXPECT_THAT(requestFor({"--help"}).answer, Not(HasSubstr("--describe")));
    EXPECT_NE(requestFor({"--describe", "page"}).problem, "");
}

TEST_F(CommandLineTest, ShowsOptionsAndOperandsApart) {
    const CommandTree tree = CommandLine(tool_).tree();
    EXPECT_THAT(lastNames(tree.options), ElementsAre("--help", "--root", "--version"));
    EXPECT_THAT(lastNames(tree.operands), ElementsAre());
    const CommandTree& add = tree.commands.front().commands.front();
    EXPECT_THAT(lastNames(add.options), ElementsAre("--help", "--days", "--json"));
    EXPECT_THAT(lastNames(add.operands), ElementsAre("file"));
    EXPECT_TRUE(add.operands.front().isRequired);
}

TEST_F(CommandLineTest, NamesOptionsWithTheirDashesShortOnesFirst) {
    EXPECT_THAT(CommandLine(tool_).tree().options[1].names, ElementsAre("-r", "--root"));
}

TEST_F(CommandLineTest, NamesCommandsWithTheirGroups) {
    const CommandTree tree = CommandLine(tool_).tree();
    const CommandTree& add = tree.commands.front().commands.front();
    EXPECT_EQ(add.word, "add");
    EXPECT_EQ(add.fullName, "tool trust add");
}

TEST_F(CommandLineTest, ShowsWhatAnOptionTakesWithoutItsBounds) {
    const CommandTree tree = CommandLine(tool_).tree();
    const CommandTree& add = tree.commands.front().commands.front();
    EXPECT_EQ(tree.options[1].value, "FOLDER");
    EXPECT_EQ(add.options[1].value, "DAYS");
    EXPECT_EQ(add.options[2].value, "");
}

TEST_F(CommandLineTest, ListsTheCommandsIfOneIsMissingOrUnknown) {
    EXPECT_EQ(requestFor({}).problem, "no command; tool has trust, init");
    EXPECT_EQ(requestFor({"trust"}).problem, "no command; tool trust has add, remove");
    EXPECT_EQ(requestFor({"trust", "list", "x"}).problem,
              "no such command: list; tool trust has add, remove");
}

TEST_F(CommandLineTest, SuggestsSimilarCommand) {
    EXPECT_EQ(requestFor({"int"}).problem, "no such command: int, did you mean init? tool has trust, init");
    EXPECT_EQ(requestFor({"trust", "remov", "x"}).problem,
              "no such command: remov, did you mean remove? tool trust has add, remove");
}

TEST_F(CommandLineTest, SuggestsSimilarOptionOfCommandAndTool) {
    EXPECT_THAT(requestFor({"trust", "add", "a", "--jsn"}).problem, EndsWith("--jsn, did you mean --json?"));
    EXPECT_THAT(requestFor({"trust", "add", "a", "--roots", "x"}).problem,
                EndsWith(", did you mean --root?"));
    EXPECT_THAT(requestFor({"--jsn", "init"}).problem, Not(HasSubstr("did you mean")));
}

TEST_F(CommandLineTest, NamesEveryMissingOperandAndOption) {
    add_ = std::make_shared<TestCommand>([this](Options& options) {
        options.value("file", file_, "").required();
        options.value("-k,--key", root_, "").required();
        options.value("--days", days_, "").required();
    });
    tool_.commands.front().command = add_;
    EXPECT_EQ(requestFor({"trust", "add"}).problem, "file, --key and --days are required");
    EXPECT_EQ(requestFor({"trust", "add", "a", "--days", "1"}).problem, "--key is required");
}

TEST_F(CommandLineTest, AnswersHelpAsACommand) {
    EXPECT_EQ(requestFor({"help"}).answer, requestFor({"--help"}).answer);
    EXPECT_EQ(requestFor({"help", "trust", "add"}).answer, requestFor({"trust", "add", "--help"}).answer);
    EXPECT_EQ(requestFor({"trust", "add", "help"}).command, add_.get())
        << "elsewhere it is a word like others";
}

TEST_F(CommandLineTest, TakesOptionsOfTheToolBehindTheCommand) {
    EXPECT_EQ(requestFor({"trust", "add", "a.pem", "--root", "/x"}).command, add_.get());
    EXPECT_EQ(root_, "/x");
}

TEST_F(CommandLineTest, LeavesOptionsBehindTheFirstOperandToIt) {
    std::vector<std::string> words;
    add_ = std::make_shared<TestCommand>([&](Options& options) {
        options.values("command", words, "").required();
        options.operandsLast();
    });
    tool_.commands.front().command = add_;
    EXPECT_EQ(requestFor({"trust", "add", "--root", "/x", "./program", "-i", "--root", "--"}).problem, "");
    EXPECT_THAT(words, ElementsAre("./program", "-i", "--root", "--"));
    EXPECT_EQ(root_, "/x");
    words.clear();
    EXPECT_EQ(requestFor({"trust", "add", "--", "./program", "-i"}).problem, "");
    EXPECT_THAT(words, ElementsAre("./program", "-i"));
}

TEST_F(CommandLineTest, ReportsEveryOtherMistakeInTheParsersWords) {
    EXPECT_EQ(requestFor({"trust", "add"}).problem, "file is required");
    EXPECT_THAT(requestFor({"--root"}).problem, HasSubstr("--root"));
    EXPECT_THAT(requestFor({"--unknown", "init"}).problem, HasSubstr("--unknown"));
    EXPECT_THAT(requestFor({"init", "more"}).problem, HasSubstr("more"));
    EXPECT_THAT(requestFor({"trust", "add", "a", "--days", "10"}).problem, HasSubstr("--days"));
}

}  // namespace
}  // namespace tools
