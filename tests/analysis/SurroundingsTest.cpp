// The program in hostile surroundings: it does what was asked, or loses only what the documents say, and the
// rest of the run is unaffected.

#include "Workplace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace test {
namespace {

constexpr const char* kCase = "inventory-success";
constexpr std::size_t kLongestArgument = 131'071;  // bytes, as the kernel has it

/** Whether a program that a test needs can be run. */
bool runs(const std::vector<std::string>& arguments) {
    Command command;
    command.arguments = arguments;
    return run(command).exitStatus == 0;
}

class Surroundings : public testing::Test {
protected:
    Surroundings() { place_.takeCase(kCase); }

    /** Runs an inventory with these arguments, through another program if one is given. */
    Outcome inventory(const std::vector<std::string>& arguments,
                      const std::vector<std::string>& starter = {}) {
        Command command = place_.command(arguments);
        command.arguments.insert(command.arguments.begin(), starter.begin(), starter.end());
        return run(command);
    }

    void expectReportOnStandardOutput(const Outcome& outcome) {
        EXPECT_EQ(outcome.exitStatus, 0);
        EXPECT_EQ(outcome.output, place_.readCase("inventory-success").at("after/report.xml"));
        EXPECT_EQ(place_.calls(), place_.readCase("inventory-success").at("calls"));
    }

    void expectReportIn(const std::filesystem::path& file, const Outcome& outcome) {
        EXPECT_EQ(outcome.exitStatus, 0);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(readFile(file), place_.readCase("inventory-success").at("after/report.xml"));
        EXPECT_EQ(place_.calls(), place_.readCase("inventory-success").at("calls"));
    }

    std::filesystem::path inFolder(const char* name) const { return place_.directory() / name; }

    Workplace place_;
};

TEST_F(Surroundings, AcceptsTenThousandArguments) {
    std::vector<std::string> arguments(9'997, "-v");
    arguments.insert(arguments.end(), {"-i", "-o", "report.xml"});
    expectReportIn(inFolder("report.xml"), inventory(arguments));
}

TEST_F(Surroundings, OpensNothingIfTheLastOfTenThousandArgumentsIsWrong) {
    std::vector<std::string> arguments{"-i", "-o", "report.xml", "-d"};
    arguments.resize(9'999, "-v");
    arguments.emplace_back("-V");
    const Outcome outcome = inventory(arguments);
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output.size(), 381U);
    EXPECT_FALSE(std::filesystem::exists(inFolder("report.xml")));
    EXPECT_FALSE(std::filesystem::exists(inFolder("debug.log")));
    EXPECT_EQ(place_.calls(), "");
}

TEST_F(Surroundings, RejectsAnUnknownArgumentOfTheGreatestLength) {
    const Outcome outcome = inventory({"-i", std::string(kLongestArgument, 'i')});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output.size(), 381U);
    EXPECT_EQ(place_.calls(), "");
}

TEST_F(Surroundings, SurvivesAReportNameOfTheGreatestLength) {
    expectReportOnStandardOutput(inventory({"-i", "-o", std::string(kLongestArgument, 'r')}));
}

TEST_F(Surroundings, SurvivesALogNameOfTheGreatestLength) {
    expectReportIn(inFolder("report.xml"),
                   inventory({"-i", "-o", "report.xml", "-d", std::string(kLongestArgument, 'd')}));
}

TEST_F(Surroundings, IgnoresTheLocalesDecimalPointAndGrouping) {
    const TempDir locales;
    if (!runs({"/usr/bin/localedef", "-i", "de_DE", "-f", "UTF-8", (locales / "de_DE.UTF-8").string()})) {
        GTEST_SKIP() << "skipped: needs the locale sources of the package locales";
    }
    Command command = place_.command({"-i", "-d", "-o", "report.xml"});
    command.environment.insert({{"LOCPATH", locales.path().string()}, {"LC_ALL", "de_DE.UTF-8"}});
    expectReportIn(inFolder("report.xml"), run(command));
    EXPECT_EQ(place_.log(), place_.readCase("inventory-success").at("after/debug.log"));
}

TEST_F(Surroundings, WritesTheReportThroughALink) {
    std::filesystem::create_symlink("elsewhere.xml", inFolder("report.xml"));
    expectReportIn(inFolder("elsewhere.xml"), inventory({"-i", "-o", "report.xml"}));
    EXPECT_TRUE(std::filesystem::is_symlink(inFolder("report.xml")));
}

TEST_F(Surroundings, WritesToStandardOutputIfTheReportIsALinkToItself) {
    std::filesystem::create_symlink("report.xml", inFolder("report.xml"));
    expectReportOnStandardOutput(inventory({"-i", "-o", "report.xml"}));
}

/** The command that starts a program without root's right to ignore permissions; empty for other users, who
 * do not have it. */
std::vector<std::string> withoutOverride() {
    if (geteuid() != 0) {
        return {};
    }
    return {"/usr/bin/setpriv", "--bounding-set=-dac_override,-dac_read_search"};
}

TEST_F(Surroundings, WritesToStandardOutputIfTheReportsFolderIsReadOnly) {
    std::filesystem::create_directory(inFolder("locked"));
    ASSERT_EQ(chmod(inFolder("locked").c_str(), S_IRUSR | S_IXUSR), 0);
    const Outcome outcome = inventory({"-i", "-o", "locked/report.xml"}, withoutOverride());
    ASSERT_EQ(chmod(inFolder("locked").c_str(), S_IRWXU), 0);
    expectReportOnStandardOutput(outcome);
    EXPECT_TRUE(std::filesystem::is_empty(inFolder("locked")));
}

TEST_F(Surroundings, LeavesAReadOnlyReportFileUnchanged) {
    writeFile(inFolder("report.xml"), "kept");
    ASSERT_EQ(chmod(inFolder("report.xml").c_str(), S_IRUSR), 0);
    expectReportOnStandardOutput(inventory({"-i", "-o", "report.xml"}, withoutOverride()));
    EXPECT_EQ(readFile(inFolder("report.xml")), "kept");
}

TEST_F(Surroundings, LosesOnlyTheLogInAReadOnlyWorkingFolder) {
    ASSERT_EQ(chmod(place_.directory().c_str(), S_IRUSR | S_IXUSR), 0);
    const Outcome outcome = inventory({"-i", "-d"}, withoutOverride());
    ASSERT_EQ(chmod(place_.directory().c_str(), S_IRWXU), 0);
    expectReportOnStandardOutput(outcome);
    EXPECT_FALSE(std::filesystem::exists(inFolder("debug.log")));
}

TEST_F(Surroundings, TreatsAnUnreadablePackageDescriptionAsMissing) {
    ASSERT_EQ(chmod(inFolder("package.xml").c_str(), 0), 0);
    const Outcome outcome = inventory({"-i"}, withoutOverride());
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, place_.readCase("package-missing-inventory").at("after/report.xml"));
}

/** The report goes to a file system of one page, which is full when the program starts. */
TEST_F(Surroundings, LosesOnlyTheReportOnAFullDisk) {
    const std::vector<std::string> namespaces =
        geteuid() == 0 ? std::vector<std::string>{"/usr/bin/unshare", "--mount"}
                       : std::vector<std::string>{"/usr/bin/unshare", "-Ur", "--mount"};
    std::vector<std::string> starter = namespaces;
    starter.emplace_back("/bin/true");
    if (!runs(starter)) {
        GTEST_SKIP() << "skipped: needs root, or a mount namespace of a user";
    }
    std::filesystem::create_directory(inFolder("disk"));
    const std::string script =
        "mount -t tmpfs -o size=4k none disk && : > disk/report.xml && "
        "{ head -c 8192 /dev/zero > disk/full 2>/dev/null; \"$@\"; status=$?; "
        "cp disk/report.xml lost.xml; exit $status; }";
    starter.back() = "/bin/sh";
    starter.insert(starter.end(), {"-c", script, "sh"});
    const Outcome outcome = inventory({"-i", "-o", "disk/report.xml", "-d"}, starter);
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(readFile(inFolder("lost.xml")), "");
    EXPECT_EQ(place_.log(), place_.readCase("inventory-success").at("after/debug.log"));
    EXPECT_EQ(place_.calls(), place_.readCase("inventory-success").at("calls"));
}

}  // namespace
}  // namespace test
