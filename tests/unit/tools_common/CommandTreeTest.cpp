#include "CommandTree.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tools {
namespace {

using testing::ElementsAre;

/** A tool as ours are: options, a command, and a group of two. */
class CommandTree : public testing::Test {
protected:
    CommandTree() {
        tool_.require_subcommand(1);
        tool_.add_option("--root,-r", text_, "")->type_name("FOLDER");
        tool_.add_option("--secret", text_, "")->group("");
        tool_.add_subcommand("init", "");
        group_.require_subcommand(1);
        command_.add_option("file", text_, "")->required()->type_name("FILE");
        group_.add_subcommand("remove", "");
    }

    /** What is told of a command line that is wrong, and what the parser says of it. */
    std::vector<std::string> failureOf(const std::string& commandLine) {
        try {
            tool_.parse(commandLine);
        } catch (const CLI::ParseError& error) {
            return {parseFailure(tool_, error), error.what()};
        }
        return {};
    }

    std::string text_;
    CLI::App tool_{"", "tool"};
    CLI::App& group_ = *tool_.add_subcommand("trust", "");
    CLI::App& command_ = *group_.add_subcommand("add", "");
};

std::vector<std::string> shownOptionsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : optionsOf(app)) {
        names.push_back(namesOf(*option).back());
    }
    return names;
}

TEST_F(CommandTree, ShowsOptionsAndOperandsApartAndWhatIsHiddenNowhere) {
    EXPECT_THAT(shownOptionsOf(tool_), ElementsAre("--help", "--root"));
    EXPECT_THAT(operandsOf(tool_), ElementsAre());
    EXPECT_THAT(shownOptionsOf(command_), ElementsAre("--help"));
    EXPECT_THAT(operandsOf(command_), ElementsAre(command_.get_option("file")));
}

TEST_F(CommandTree, NamesOptionsWithTheirDashesShortOnesFirst) {
    EXPECT_THAT(namesOf(*tool_.get_option("--root")), ElementsAre("-r", "--root"));
}

TEST_F(CommandTree, NamesCommandsWithTheirGroups) {
    EXPECT_THAT(commandsOf(group_).front(), &command_);
    EXPECT_EQ(fullName(command_), "tool trust add");
}

TEST_F(CommandTree, TellsWhatAnOptionTakesAndNotWithinWhichBounds) {
    int number = 0;
    bool flag = false;
    EXPECT_EQ(valueOf(*tool_.get_option("--root")), "FOLDER");
    EXPECT_EQ(valueOf(*tool_.add_option("--days", number)->type_name("DAYS")->check(CLI::Range(1, 9))),
              "DAYS");
    EXPECT_EQ(valueOf(*tool_.add_flag("--json", flag)->type_name("BOOLEAN")), "");
}

TEST_F(CommandTree, AMissingOrUnknownCommandIsToldWithThoseThereAre) {
    EXPECT_EQ(failureOf("").front(), "no command; tool has trust, init");
    EXPECT_EQ(failureOf("trust").front(), "no command; tool trust has add, remove");
    EXPECT_EQ(failureOf("trust ad file").front(), "no such command: ad; tool trust has add, remove");
}

TEST_F(CommandTree, EverythingElseIsToldInTheParsersWords) {
    for (const char* wrong : {"--root", "--unknown init", "trust add", "init more"}) {
        const auto told = failureOf(wrong);
        EXPECT_EQ(told.front(), told.back()) << wrong;
    }
}

}  // namespace
}  // namespace tools
