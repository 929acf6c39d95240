#include "InspectRun.h"

#include <gtest/gtest.h>

namespace test {
namespace {

/** A folder with a sound report of each kind, a damaged one and one that is none. */
class ReportFolder : public testing::Test {
protected:
    ReportFolder() {
        writeFile(folder_ / "chassis-1.xml", report::inventory("25227", "1.30.100"));
        writeFile(folder_ / "chassis-2.xml",
                  report::inventory("25227", "1.30.100") + report::update("25227", "1.40.200", "1"));
        writeFile(folder_ / "chassis-3.xml", report::failedUpdate("The signature is not valid"));
        writeFile(folder_ / "chassis-4.xml", damaged_);
        writeFile(folder_ / "chassis-5.xml", "");
    }

    const std::string damaged_ = report::failedInventory("<script>alert(1)</script> & \x1b[31m");
    const TempDir folder_;
};

TEST_F(ReportFolder, SumsUpSoundReports) {
    const Outcome outcome = inspect(folder_.path(), {"report", "chassis-1.xml", "chassis-2.xml"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "REPORT         OPERATION  COMPONENT  DEVICE  VERSION   OUTCOME  MESSAGE\n"
              "chassis-1.xml  inventory  25227      QRX     1.30.100  success  -\n"
              "chassis-2.xml  inventory  25227      QRX     1.30.100  success  -\n"
              "chassis-2.xml  update     25227      QRX     1.40.200  success  Update is successful (reboot "
              "required)\n"
              "\n"
              "3 reports: 3 success\n");
}

TEST_F(ReportFolder, ReturnsTheStatusOfAFailure) {
    const Outcome outcome = inspect(folder_.path(), {"report", "chassis-3.xml", "chassis-1.xml"});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "REPORT         OPERATION  COMPONENT  DEVICE  VERSION   OUTCOME  MESSAGE\n"
              "chassis-3.xml  update     -          -       -         failure  The signature is not valid\n"
              "chassis-1.xml  inventory  25227      QRX     1.30.100  success  -\n"
              "\n"
              "2 reports: 1 success, 1 failure\n");
}

TEST_F(ReportFolder, ShowsDamagedAndUnreadableReportsWithTheOthers) {
    const Outcome outcome =
        inspect(folder_.path(), {"report", "chassis-3.xml", "chassis-4.xml", "chassis-5.xml", "none.xml"});
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_NE(outcome.output.find(
                  "\nchassis-4.xml  inventory  -          -       -        damaged     not well-formed"),
              std::string::npos)
        << outcome.output;
    EXPECT_NE(
        outcome.output.find("\nchassis-5.xml  -          -          -       -        unreadable  is empty\n"),
        std::string::npos);
    EXPECT_NE(outcome.output.find("\nnone.xml       -          -          -       -        unreadable  No "
                                  "such file or directory\n"),
              std::string::npos);
    EXPECT_TRUE(outcome.output.ends_with(
        "\nchassis-4.xml is damaged. Its text:\n"
        "  <?xml version=\"1.0\" encoding=\"UTF-8\"?><SVMInventory lang=\"en\">"
        "<SPStatus result = \"false\" ><Message id=\"1\"><script>alert(1)</script> & "
        "\\x1b[31m</Message></SPStatus></SVMInventory>\n"
        "\n"
        "4 reports: 1 failure, 1 damaged, 2 unreadable\n"))
        << outcome.output;
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 3) << outcome.error;
    EXPECT_TRUE(
        outcome.error.ends_with("qrxinspect: chassis-5.xml: is empty\n"
                                "qrxinspect: none.xml: No such file or directory\n"))
        << outcome.error;
}

TEST_F(ReportFolder, PrintsJsonThatProgramsRead) {
    const Outcome outcome = inspect(folder_.path(), {"report", "--json", "chassis-1.xml", "chassis-2.xml",
                                                     "chassis-3.xml", "chassis-4.xml", "chassis-5.xml"});
    EXPECT_EQ(outcome.exitStatus, 2);
    const nlohmann::json json = nlohmann::json::parse(outcome.output);
    ASSERT_EQ(json["reports"].size(), 6u);
    EXPECT_EQ(json["counts"],
              nlohmann::json::parse(R"({"success":3,"failure":1,"damaged":1,"unreadable":1})"));
    EXPECT_EQ(json["reports"][2]["rebootRequired"], true);
    EXPECT_EQ(json["reports"][2]["devices"][0]["version"], "1.40.200");
    EXPECT_EQ(json["reports"][4]["text"], damaged_);
    EXPECT_EQ(json["reports"][5]["problem"], "is empty");
}

TEST_F(ReportFolder, PrintsAPageWithoutMarkupFromValues) {
    const Outcome outcome = inspect(folder_.path(), {"report", "--html", "chassis-1.xml", "chassis-4.xml"});
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_TRUE(outcome.output.starts_with("<!DOCTYPE html>\n"));
    EXPECT_TRUE(outcome.output.ends_with("</html>\n"));
    EXPECT_EQ(outcome.output.find("<script>alert"), std::string::npos);
    EXPECT_EQ(outcome.output.find('\x1b'), std::string::npos);
    EXPECT_NE(outcome.output.find("&lt;script&gt;alert(1)&lt;/script&gt; &amp; \\x1b[31m&lt;/Message&gt;"),
              std::string::npos);
    EXPECT_NE(outcome.output.find("<td class=\"version\" data-label=\"Version\">1.30.100</td>"),
              std::string::npos);
}

TEST_F(ReportFolder, ReadsEveryReportInAFolder) {
    std::filesystem::create_directories(folder_ / "all/host-2");
    std::filesystem::create_directories(folder_ / "none");
    std::filesystem::copy(folder_ / "chassis-1.xml", folder_ / "all/1.xml");
    std::filesystem::copy(folder_ / "chassis-3.xml", folder_ / "all/host-2/2.xml");
    const Outcome outcome = inspect(folder_.path(), {"report", "all", "none"});
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.error, "qrxinspect: none: is a folder without reports (*.xml)\n");
    EXPECT_EQ(
        outcome.output,
        "REPORT            OPERATION  COMPONENT  DEVICE  VERSION   OUTCOME     MESSAGE\n"
        "all/1.xml         inventory  25227      QRX     1.30.100  success     -\n"
        "all/host-2/2.xml  update     -          -       -         failure     The signature is not valid\n"
        "none              -          -          -       -         unreadable  is a folder without reports "
        "(*.xml)\n"
        "\n"
        "3 reports: 1 success, 1 failure, 1 unreadable\n");
}

TEST_F(ReportFolder, ReadsStandardInputAndPipes) {
    const std::string lines =
        "cat chassis-1.xml | \"$0\" report - <(cat chassis-3.xml) | sed 's|/dev/fd/[0-9]*|pipe|'";
    const Outcome outcome =
        run({.arguments = {"/bin/bash", "-c", lines, inspectProgram()}, .workingDirectory = folder_.path()});
    EXPECT_EQ(outcome.error, "");
    EXPECT_NE(outcome.output.find("\n-           inventory  25227"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("\npipe  update     -"), std::string::npos) << outcome.output;
    EXPECT_TRUE(outcome.output.ends_with("\n2 reports: 1 success, 1 failure\n")) << outcome.output;
}

/** The table of a roll-out: a host whose success was not read back, and hosts without a report. */
constexpr const char* kHosts =
    "chassis,host,report,before,after,outcome,cause\n"
    "rack-1,h1,chassis-2.xml,1.30.100,1.40.200,updated,\n"
    "rack-1,h2,chassis-1.xml,1.30.100,1.30.100,unverified,\n"
    "rack-2,h3,chassis-3.xml,1.30.100,,,\n"
    "rack-3,h4,,,,unreachable,no route to host\n"
    "rack-4,h5,,,,,\n";

TEST_F(ReportFolder, ShowsTheHostsOfATable) {
    writeFile(folder_ / "hosts.csv", kHosts);
    const Outcome outcome = inspect(folder_.path(), {"report", "--hosts", "hosts.csv"});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "CHASSIS  HOST  REPORT         BEFORE    AFTER     OUTCOME      CAUSE\n"
              "rack-1   h1    chassis-2.xml  1.30.100  1.40.200  success      updated\n"
              "rack-1   h2    chassis-1.xml  1.30.100  1.30.100  failure      unverified\n"
              "rack-2   h3    chassis-3.xml  1.30.100  -         failure      The signature is not valid\n"
              "rack-3   h4    -              -         -         not reached  no route to host\n"
              "rack-4   h5    -              -         -         not tried    -\n"
              "\n"
              "5 hosts: 1 success, 1 not tried, 1 not reached, 2 failure\n");
}

TEST_F(ReportFolder, PrintsTheHostsAsJson) {
    writeFile(folder_ / "hosts.csv", kHosts);
    const nlohmann::json json = inspectJson(folder_.path(), {"report", "--json", "--hosts", "hosts.csv"});
    ASSERT_EQ(json["hosts"].size(), 5u);
    EXPECT_EQ(json["hosts"][2], nlohmann::json::parse(R"({
        "chassis": "rack-2", "host": "h3", "report": "chassis-3.xml", "before": "1.30.100", "after": "",
        "outcome": "failure", "cause": "The signature is not valid"})"));
    EXPECT_EQ(json["reports"].size(), 4u);
}

TEST_F(ReportFolder, PrintsTheHostsAsAPage) {
    writeFile(folder_ / "hosts.csv", kHosts);
    const Outcome outcome = inspect(folder_.path(), {"report", "--html", "--hosts", "hosts.csv"});
    EXPECT_NE(outcome.output.find("<td class=\"host\" data-label=\"Host\">h4</td>"), std::string::npos);
    EXPECT_NE(outcome.output.find("<span class=\"pill\">not reached</span>"), std::string::npos);
}

TEST_F(ReportFolder, TakesNoStandardInputFromATable) {
    writeFile(folder_ / "hosts.csv", "host,report\nh1,-\n");
    EXPECT_EQ(inspect(folder_.path(), {"report", "--hosts", "hosts.csv"}).error,
              "qrxinspect: ./-: No such file or directory\n");
}

TEST_F(ReportFolder, RefusesATableThatCannotBeRead) {
    writeFile(folder_ / "hosts.csv", "server\nh1\n");
    EXPECT_EQ(inspect(folder_.path(), {"report", "--hosts", "hosts.csv"}).error,
              "qrxinspect: hosts.csv: has no column \"host\"\n");
    const Outcome missing = inspect(folder_.path(), {"report", "--hosts", "none.csv"});
    EXPECT_EQ(missing.exitStatus, 2);
    EXPECT_EQ(missing.error, "qrxinspect: none.csv: No such file or directory\n");
}

TEST_F(ReportFolder, EscapesFileNames) {
    const Outcome outcome = inspect(folder_.path(), {"report", "\x1b[31m.xml"});
    EXPECT_EQ(outcome.error, "qrxinspect: \\x1b[31m.xml: No such file or directory\n");
    EXPECT_EQ(outcome.output.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace test
