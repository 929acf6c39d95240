#include "common/Describe.h"

#include <gmock/gmock.h>

#include <string>

namespace tools {
namespace {

using testing::HasSubstr;
using testing::Not;

/** A tool that has something of everything that is described. */
CommandTree toolTree() {
    const OptionText help{{"-h", "--help"}, "", "Print this help message and exit", false, false};
    CommandTree add{"add", "tool trust add", "trust a_file", "May take_long", {}, {}, {}};
    add.options = {help,
                   {{"--json"}, "", "print JSON", false, false},
                   {{"--format"}, "tar|zip", "the format", false, false},
                   {{"--days"}, "DAYS", "how long", false, false}};
    add.operands = {{{"file"}, "FILE", "back\\slash", true, false},
                    {{"more"}, "FILE", "more files", false, true},
                    {{"last"}, "FILE", "one more", false, false}};
    CommandTree trust{"trust", "tool trust", "", "", {help}, {}, {add}};
    CommandTree init{"init", "tool init", "begin", "", {help}, {}, {}};
    CommandTree tool{"tool", "tool", "", "Exit status: 0 done; 74 *nothing* was printed.", {}, {}, {}};
    tool.options = {help, {{"-r", "--root"}, "ROOT_FOLDER", "the root folder.", false, false}};
    tool.commands = {trust, init};
    return tool;
}

TEST(Describe, WritesTheManualPageLikeTheHelp) {
    EXPECT_EQ(manualText(toolTree()), R"(# OPTIONS

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

*--format* _tar|zip_
	The format.

*--days* _DAYS_
	How long.

May take\_long

## tool init

Begin.

# EXIT STATUS

0 done; 74 \*nothing\* was printed.)");
}

TEST(Describe, WritesTheTablesOfTheCompletion) {
    const std::string script = bashCompletion(toolTree());
    EXPECT_THAT(script, HasSubstr("    local -A commands=(\n"
                                  "        ['tool']='trust init'\n"
                                  "        ['tool trust']='add'\n"
                                  "    )\n"));
    EXPECT_THAT(script, HasSubstr("['tool trust add']='-h --help --json --format --days'\n"));
    EXPECT_THAT(script, HasSubstr("['tool trust add --format']='tar zip'\n"));
    EXPECT_THAT(script, HasSubstr("['tool trust add --days']='NOTHING'\n"));
    EXPECT_THAT(script, HasSubstr("['tool trust add']='FILE'\n"));
    EXPECT_THAT(script, Not(HasSubstr("--json']")));
    EXPECT_THAT(script, HasSubstr("complete -F _tool tool"));
}

}  // namespace
}  // namespace tools
