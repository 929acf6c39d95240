#include "CommandLineParser.h"
#include "CoutCapture.h"

#include <gmock/gmock.h>

#include <string>
#include <type_traits>
#include <vector>

namespace test {
namespace {

static_assert(std::has_virtual_destructor_v<CCommandLineParser>);

constexpr std::string_view kUsage = R"(
Usage: -h
	Provides detailed help information

Usage: -i [-o <output filename>] [-debug]
	Provides inventory information of all identified devices.
	-o Specifies the output filename.
	-d Specifies to create a debug log file.

Usage: -u [-s <image folder>] [-f] [-o <output filename>] [-debug [filename]]
===========================================================================
)";

/** One call of parseCLI, with the program's name before the arguments; the result and what was printed. */
struct Parsed {
    int result;
    std::string printed;
};

Parsed parse(CCommandLineParser& parser, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "qrxupdate");
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(argument.data());
    }
    const int argc = static_cast<int>(argv.size());
    argv.push_back(nullptr);
    const CoutCapture out;
    const int result = parser.parseCLI(argc, argv.data());
    return {result, out.text()};
}

/** The flags that are set, as their letters in the order f d i u v. */
std::string flags(CCommandLineParser& parser) {
    std::string letters;
    letters += parser.isForceMode() ? "f" : "";
    letters += parser.isDebug() ? "d" : "";
    letters += parser.isInventory() ? "i" : "";
    letters += parser.isUpdate() ? "u" : "";
    letters += parser.isVerify() ? "v" : "";
    return letters;
}

struct Case {
    const char* name;
    std::vector<std::string> arguments;
    int result;
    bool usage;
    const char* flags;
    const char* output = "";
    const char* debug = "debug.log";
};

void PrintTo(const Case& shown, std::ostream* out) {
    *out << ::testing::PrintToString(shown.arguments);
}

// What each argument vector gives.
const std::vector<Case> kCases = {
    // Single options.
    {"NoArguments", {}, 0, true, ""},
    {"Inventory", {"-i"}, 1, false, "i"},
    {"Update", {"-u"}, 1, false, "u"},
    {"Help", {"-h"}, 1, true, ""},
    {"ForceAlone", {"-f"}, 1, false, "f"},
    {"VerifyAlone", {"-v"}, 1, false, "v"},
    {"DebugAlone", {"-d"}, 1, false, "d"},
    {"DebugWithAName", {"-d", "trace.txt"}, 1, false, "d", "", "trace.txt"},
    {"OutputAlone", {"-o", "r.xml"}, 1, false, "", "r.xml"},
    {"OutputWithoutAValue", {"-o"}, 0, true, ""},

    // Orders.
    {"InventoryThenUpdate", {"-i", "-u"}, 1, false, "iu"},
    {"UpdateThenInventory", {"-u", "-i"}, 1, false, "iu"},
    {"InventoryThenOutput", {"-i", "-o", "r.xml"}, 1, false, "i", "r.xml"},
    {"OutputThenInventory", {"-o", "r.xml", "-i"}, 1, false, "i", "r.xml"},
    {"DebugNameThenInventory", {"-d", "trace.txt", "-i"}, 1, false, "di", "", "trace.txt"},
    {"InventoryThenDebugName", {"-i", "-d", "trace.txt"}, 1, false, "di", "", "trace.txt"},
    {"UpdateForceOutputDebug", {"-u", "-f", "-o", "r", "-d", "t"}, 1, false, "fdu", "r", "t"},
    {"DebugOutputForceUpdate", {"-d", "t", "-o", "r", "-f", "-u"}, 1, false, "fdu", "r", "t"},
    {"EveryOption", {"-v", "-f", "-d", "-u", "-o", "r", "-i"}, 1, false, "fdiuv", "r"},
    {"EveryOptionReversed", {"-i", "-o", "r", "-u", "-d", "-f", "-v"}, 1, false, "fdiuv", "r"},
    {"VerifyAndForce", {"-v", "-f"}, 1, false, "fv"},

    // Repeats.
    {"InventoryTwice", {"-i", "-i"}, 1, false, "i"},
    {"UpdateTwice", {"-u", "-u"}, 1, false, "u"},
    {"UpdateThreeTimes", {"-u", "-u", "-u"}, 1, false, "u"},
    {"ForceTwice", {"-f", "-f"}, 1, false, "f"},
    {"VerifyTwice", {"-v", "-v"}, 1, false, "v"},
    {"DebugTwice", {"-d", "-d"}, 1, false, "d"},
    {"SecondOutputReplacesTheFirst", {"-o", "a", "-o", "b"}, 1, false, "", "b"},
    {"SecondDebugNameReplacesTheFirst", {"-d", "a", "-d", "b"}, 1, false, "d", "", "b"},
    {"SecondDebugWithoutANameKeepsTheFirst", {"-d", "a", "-d"}, 1, false, "d", "", "a"},
    {"SecondOutputWithoutAValueKeepsTheFirstAndFails", {"-o", "a", "-o"}, 0, true, "", "a"},

    // The value of -o is whatever follows.
    {"OutputNamedLikeInventory", {"-o", "-i"}, 1, false, "", "-i"},
    {"OutputNamedLikeInventoryThenUpdate", {"-o", "-i", "-u"}, 1, false, "u", "-i"},
    {"OutputNamedLikeOutput", {"-o", "-o"}, 1, false, "", "-o"},
    {"OutputNamedLikeOutputThenAName", {"-o", "-o", "r"}, 0, true, "", "-o"},
    {"OutputNamedLikeHelp", {"-o", "-h"}, 1, false, "", "-h"},
    {"OutputNamedLikeALongForm", {"-o", "-debug"}, 1, false, "", "-debug"},
    {"OutputNamedByADash", {"-o", "-"}, 1, false, "", "-"},
    {"OutputEmpty", {"-o", ""}, 1, false, ""},
    {"OutputWithBlanksAndUtf8", {"-o", " a b\xC3\xA9 "}, 1, false, "", " a b\xC3\xA9 "},
    {"OutputAbsolute", {"-o", "/tmp/r.xml"}, 1, false, "", "/tmp/r.xml"},
    {"InventoryThenOutputWithoutAValue", {"-i", "-o"}, 0, true, "i"},

    // The value of -d is what follows unless it begins with '-'.
    {"DebugThenInventoryKeepsTheDefaultName", {"-d", "-i"}, 1, false, "di"},
    {"DebugThenOutput", {"-d", "-o", "r"}, 1, false, "d", "r"},
    {"DebugThenHelp", {"-d", "-h"}, 1, true, "d"},
    {"DebugThenADash", {"-d", "-"}, 0, true, "d"},
    {"DebugThenALongForm", {"-d", "-trace.txt"}, 0, true, "d"},
    {"DebugWithAnEmptyName", {"-d", ""}, 1, false, "d", "", ""},
    {"DebugWithAnEmptyNameThenInventory", {"-d", "", "-i"}, 1, false, "di", "", ""},
    {"DebugNamedLikeAnOptionWithoutItsDash", {"-d", "i"}, 1, false, "d", "", "i"},
    {"DebugWithANameThatHoldsADash", {"-d", "a-i"}, 1, false, "d", "", "a-i"},
    {"DebugTakesOneNameOnly", {"-d", "a", "b"}, 0, true, "d", "", "a"},

    // -h ends the reading.
    {"HelpFirstHidesWhatFollows", {"-h", "-i"}, 1, true, ""},
    {"HelpFirstHidesAnUnknownArgument", {"-h", "--nonsense"}, 1, true, ""},
    {"HelpTwicePrintsOnce", {"-h", "-h"}, 1, true, ""},
    {"InventoryThenHelp", {"-i", "-h"}, 1, true, "i"},
    {"UpdateThenHelpThenInventory", {"-u", "-h", "-i"}, 1, true, "u"},
    {"DebugAndOutputThenHelp", {"-d", "x", "-o", "f", "-h"}, 1, true, "d", "f", "x"},

    // Unknown arguments.
    {"UpperCaseInventory", {"-I"}, 0, true, ""},
    {"UpperCaseUpdate", {"-U"}, 0, true, ""},
    {"UpperCaseDebug", {"-D"}, 0, true, ""},
    {"TwoDashes", {"--i"}, 0, true, ""},
    {"OptionWithATail", {"-i1"}, 0, true, ""},
    {"UpdateWithATail", {"-u1"}, 0, true, ""},
    {"ForceWithATail", {"-f1"}, 0, true, ""},
    {"VerifyWithATail", {"-v1"}, 0, true, ""},
    {"HelpWithATail", {"-h1"}, 0, true, ""},
    {"OptionWithABlankAfter", {"-i "}, 0, true, ""},
    {"OptionWithABlankBefore", {" -i"}, 0, true, ""},
    {"OptionsInOneArgument", {"-iu"}, 0, true, ""},
    {"AdvertisedLongDebug", {"-debug"}, 0, true, ""},
    {"AdvertisedLongDebugAfterInventory", {"-i", "-debug"}, 0, true, "i"},
    {"AdvertisedImageFolder", {"-u", "-s", "folder"}, 0, true, "u"},
    {"ImageFolderAlone", {"-s"}, 0, true, ""},
    {"LongHelp", {"--help"}, 0, true, ""},
    {"LongInventory", {"--inventory"}, 0, true, ""},
    {"OutputWithAnEqualsSign", {"-o=r.xml"}, 0, true, ""},
    {"OutputWithTheValueAttached", {"-or.xml"}, 0, true, ""},
    {"FileNameAlone", {"r.xml"}, 0, true, ""},
    {"FileNameAfterInventory", {"-i", "r.xml"}, 0, true, "i"},
    {"FileNameAfterForce", {"-f", "r.xml"}, 0, true, "f"},
    {"FileNameAfterTheOutput", {"-o", "r.xml", "s.xml"}, 0, true, "", "r.xml"},
    {"EmptyArgument", {""}, 0, true, ""},
    {"DashAlone", {"-"}, 0, true, ""},
    {"TwoDashesAlone", {"--"}, 0, true, ""},
    {"SlashOption", {"/i"}, 0, true, ""},
    {"NothingAfterAnUnknownArgumentIsRead", {"-x", "-i", "-o", "r"}, 0, true, ""},
    {"UnknownArgumentBeforeHelp", {"-x", "-h"}, 0, true, ""},
};

class CommandLineParserCases : public ::testing::TestWithParam<Case> {};

TEST_P(CommandLineParserCases, ReturnsResultFlagsAndNames) {
    const Case& expected = GetParam();
    CCommandLineParser parser;
    const Parsed parsed = parse(parser, expected.arguments);
    EXPECT_EQ(parsed.result, expected.result);
    EXPECT_EQ(parsed.printed, expected.usage ? kUsage : "");
    EXPECT_EQ(flags(parser), expected.flags);
    EXPECT_EQ(parser.getOutputFileName(), expected.output);
    EXPECT_EQ(parser.getDebugFilename(), expected.debug);
}

INSTANTIATE_TEST_SUITE_P(Grammar, CommandLineParserCases, ::testing::ValuesIn(kCases),
                         [](const auto& shown) { return shown.param.name; });

TEST(CommandLineParser, HasDefaultsBeforeParsing) {
    CCommandLineParser parser;
    EXPECT_EQ(flags(parser), "");
    EXPECT_EQ(parser.getOutputFileName(), "");
    EXPECT_EQ(parser.getDebugFilename(), "debug.log");
}

TEST(CommandLineParser, PrintsUsageTextByteForByte) {
    CCommandLineParser parser;
    const CoutCapture out;
    parser.printUsage();
    EXPECT_EQ(out.text(), kUsage);
    EXPECT_EQ(out.text().size(), 381U);
}

TEST(CommandLineParser, RefusesAnArgumentCountOfZero) {
    char name[] = "qrxupdate";
    char option[] = "-i";
    char* argv[] = {name, option, nullptr};
    for (const int argc : {1, 0, -1}) {
        CCommandLineParser parser;
        const CoutCapture out;
        EXPECT_EQ(parser.parseCLI(argc, argv), 0) << argc;
        EXPECT_EQ(out.text(), kUsage) << argc;
        EXPECT_EQ(flags(parser), "") << argc;
    }
}

TEST(CommandLineParser, RefusesANullVector) {
    for (const int argc : {0, 1, 2, 5}) {
        CCommandLineParser parser;
        const CoutCapture out;
        EXPECT_EQ(parser.parseCLI(argc, nullptr), 0) << argc;
        EXPECT_EQ(out.text(), kUsage) << argc;
    }
}

TEST(CommandLineParser, ReadsNoFurtherThanTheArgumentCount) {
    char name[] = "qrxupdate";
    char inventory[] = "-i";
    char output[] = "-o";
    char file[] = "r.xml";
    char* argv[] = {name, inventory, output, file, nullptr};
    CCommandLineParser two;
    EXPECT_EQ(two.parseCLI(2, argv), 1);
    EXPECT_EQ(flags(two), "i");
    CCommandLineParser three;
    const CoutCapture out;
    EXPECT_EQ(three.parseCLI(3, argv), 0);
    EXPECT_EQ(three.getOutputFileName(), "");
}

TEST(CommandLineParser, AcceptsASecondParseOfTheSameArguments) {
    CCommandLineParser parser;
    parse(parser, {"-i", "-o", "r"});
    const Parsed again = parse(parser, {"-u", "-o", "s"});
    EXPECT_EQ(again.result, 1);
    EXPECT_EQ(again.printed, "");
    EXPECT_EQ(flags(parser), "i");
    EXPECT_EQ(parser.getOutputFileName(), "r");
}

TEST(CommandLineParser, ResumesAfterTheLastArgumentRead) {
    CCommandLineParser parser;
    parse(parser, {"-i"});
    const Parsed again = parse(parser, {"--skipped", "-u", "-d", "t"});
    EXPECT_EQ(again.result, 1);
    EXPECT_EQ(again.printed, "");
    EXPECT_EQ(flags(parser), "diu");
    EXPECT_EQ(parser.getDebugFilename(), "t");
}

TEST(CommandLineParser, ResumesAfterAValue) {
    CCommandLineParser parser;
    parse(parser, {"-o", "r"});
    EXPECT_EQ(parse(parser, {"-x", "-x", "-u"}).result, 1);
    EXPECT_EQ(flags(parser), "u");
    CCommandLineParser debugging;
    parse(debugging, {"-d", "t"});
    EXPECT_EQ(parse(debugging, {"-x", "-x", "-u"}).result, 1);
    EXPECT_EQ(flags(debugging), "du");
}

TEST(CommandLineParser, RefusesTheUnknownArgumentAgain) {
    CCommandLineParser parser;
    parse(parser, {"-i", "-x"});
    const Parsed again = parse(parser, {"-i", "-x", "-u"});
    EXPECT_EQ(again.result, 0);
    EXPECT_EQ(again.printed, kUsage);
    EXPECT_EQ(flags(parser), "i");
}

TEST(CommandLineParser, PrintsHelpAgain) {
    CCommandLineParser parser;
    parse(parser, {"-h", "-i"});
    const Parsed again = parse(parser, {"-h", "-i"});
    EXPECT_EQ(again.result, 1);
    EXPECT_EQ(again.printed, kUsage);
    EXPECT_EQ(flags(parser), "");
}

TEST(CommandLineParser, AcceptsASecondParseAfterAMissingValue) {
    CCommandLineParser parser;
    EXPECT_EQ(parse(parser, {"-o"}).result, 0);
    const Parsed again = parse(parser, {"-o"});
    EXPECT_EQ(again.result, 1);
    EXPECT_EQ(again.printed, "");
}

TEST(CommandLineParser, RefusesMissingArgumentsAgain) {
    CCommandLineParser parser;
    parse(parser, {"-i"});
    const Parsed again = parse(parser, {});
    EXPECT_EQ(again.result, 0);
    EXPECT_EQ(again.printed, kUsage);
}

}  // namespace
}  // namespace test
