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

TEST_F(ReportFolder, EscapesFileNames) {
    const Outcome outcome = inspect(folder_.path(), {"report", "\x1b[31m.xml"});
    EXPECT_EQ(outcome.error, "qrxinspect: \\x1b[31m.xml: No such file or directory\n");
    EXPECT_EQ(outcome.output.find('\x1b'), std::string::npos);
}

}  // namespace
}  // namespace test
