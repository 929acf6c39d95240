#include "CommandTree.h"
#include "Describe.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tools {
namespace {

/** A tool that has something of everything that is described. */
class Describe : public testing::Test {
protected:
    Describe() {
        tool_.require_subcommand(1);
        tool_.add_option("-r,--root", text_, "the root folder.")->type_name("ROOT_FOLDER");
        addDescribe(tool_);
        CLI::App& command = *tool_.add_subcommand("trust", "")->add_subcommand("add", "trust a_file");
        command.add_option("file", text_, "back\\slash")->required()->type_name("FILE");
        command.add_option("more", texts_, "more files")->type_name("FILE");
        command.add_option("last", text_, "one more")->type_name("FILE");
        command.add_flag("--json", flag_, "print JSON");
        command.footer("May take_long");
        tool_.add_subcommand("init", "begin");
        tool_.footer("Exit status: 0 done; 74 *nothing* was printed.");
    }

    /** What the tool answers; empty when it does not take the command line. */
    std::string answerTo(const std::string& commandLine) {
        try {
            tool_.parse(commandLine);
        } catch (const CLI::CallForVersion& answer) {
            EXPECT_EQ(answer.get_exit_code(), 0);
            return answer.what();
        } catch (const CLI::ParseError&) {
            return "";
        }
        return "";
    }

    std::string text_;
    std::vector<std::string> texts_;
    bool flag_ = false;
    CLI::App tool_{"", "tool"};
};

TEST_F(Describe, AManualPageSaysWhatHelpSays) {
    EXPECT_EQ(manualText(tool_), R"(# OPTIONS

*-h*, *--help*
	Print this help message and exit.

*-r*, *--root* _ROOT\_FOLDER_
	The root folder.

# COMMANDS

## tool trust add FILE [MORE...] [LAST]

Trust a\_file.

_FILE_
	Back\\slash.

_MORE_
	More files.

_LAST_
	One more.

*--json*
	Print JSON.

May take\_long

## tool init

Begin.

# EXIT STATUS

0 done; 74 \*nothing\* was printed.)");
}

TEST_F(Describe, IsAnsweredAtOnceWhateverElseIsAskedForOrFollows) {
    EXPECT_EQ(answerTo("--describe scdoc"), manualText(tool_));
    EXPECT_EQ(answerTo("--describe bash"), bashCompletion(tool_));
    EXPECT_EQ(answerTo("--describe bash --root"), bashCompletion(tool_)) << "a value is missing";
}

TEST_F(Describe, KnowsTwoFormsAndIsNotShown) {
    EXPECT_EQ(answerTo("--describe page"), "");
    EXPECT_EQ(tool_.help().find("--describe"), std::string::npos);
}

}  // namespace
}  // namespace tools
