#include "InspectRun.h"

#include <gtest/gtest.h>

namespace test {
namespace {

/** Runs `qrxinspect result` on a file of this content, named report.xml. */
Outcome resultOf(const std::string& content, std::vector<std::string> flags = {}) {
    const TempDir folder;
    writeFile(folder / "report.xml", content);
    flags.insert(flags.begin(), {"result", "report.xml"});
    return inspect(folder.path(), flags);
}

TEST(InspectResult, ShowsAnInventory) {
    const Outcome outcome = resultOf(report::inventory("25227", "1.40.200"));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "Inventory: success\n"
              "COMPONENT  DEVICE  TYPE  VERSION   OUTCOME  MESSAGE\n"
              "25227      QRX     FRMW  1.40.200  success  -\n");
}

TEST(InspectResult, ShowsAFailedInventory) {
    const Outcome outcome = resultOf(report::failedInventory("QRX reset is not allowed"));
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "Inventory: failure\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "-          -       -     -        failure  QRX reset is not allowed\n");
}

TEST(InspectResult, ShowsInventoryAndUpdateOfOneFile) {
    const Outcome outcome = resultOf(report::inventory("C1", "1.0") + report::update("C1", "2.0", "0"));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "Inventory: success\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "C1         QRX     FRMW  1.0      success  -\n"
              "\n"
              "Update: success\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "C1         QRX     FRMW  2.0      success  Update is successful\n");
}

TEST(InspectResult, ReturnsTheStatusOfTheFailedHalf) {
    const Outcome outcome = resultOf(report::inventory("C1", "1.0") + report::failedUpdate("no payload"));
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output,
              "Inventory: success\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "C1         QRX     FRMW  1.0      success  -\n"
              "\n"
              "Update: failure\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "-          -       -     -        failure  no payload\n");
}

TEST(InspectResult, SaysThatARebootIsRequired) {
    const Outcome outcome = resultOf(report::update("C1", "2.0", "1"));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output,
              "Update: success\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "C1         QRX     FRMW  2.0      success  Update is successful\n"
              "Reboot required\n");
}

TEST(InspectResult, CountsAReportWithoutDevicesAsAFailure) {
    const Outcome outcome = resultOf("<SVMInventory lang=\"en\"></SVMInventory>");
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.output, "Inventory: failure\nno device\n");
}

TEST(InspectResult, ShowsADamagedReportWithItsText) {
    const std::string text = report::failedUpdate("cannot write to <lab & co>");
    const Outcome outcome = resultOf(text);
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.output, "Update: damaged\n  " + text + "\n");
    EXPECT_TRUE(outcome.error.starts_with(
        "qrxinspect: report.xml: the update report is damaged: not well-formed XML, line 1: "))
        << outcome.error;
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
}

TEST(InspectResult, ShowsADamagedHalfAndASoundOne) {
    const std::string damaged = report::failedUpdate("a & b");
    const Outcome outcome = resultOf(report::inventory("C1", "1.0") + damaged);
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.output,
              "Inventory: success\n"
              "COMPONENT  DEVICE  TYPE  VERSION  OUTCOME  MESSAGE\n"
              "C1         QRX     FRMW  1.0      success  -\n"
              "\n"
              "Update: damaged\n  " +
                  damaged + "\n");
}

TEST(InspectResult, EscapesHostileText) {
    const Outcome outcome = resultOf("<SVMInventory>\x1b]0;owned\x07\n\x9b<&\xff");
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_EQ(outcome.output,
              "Inventory: damaged\n"
              "  <SVMInventory>\\x1b]0;owned\\x07\n"
              "  \\x9b<&\\xff\n");
    EXPECT_EQ(outcome.error.find_first_of("\x1b\x07\xff"), std::string::npos) << outcome.error;
}

TEST(InspectResult, CutsAVeryLongDamagedText) {
    const Outcome outcome = resultOf("<SVMInventory>" + std::string(100'000, 'x'));
    EXPECT_EQ(outcome.exitStatus, 2);
    EXPECT_TRUE(outcome.output.ends_with("xxx\n  ... and 34478 bytes more\n"));
}

TEST(InspectResult, PrintsJsonThatProgramsRead) {
    const Outcome outcome = resultOf(report::inventory("C1", "1.0") + report::failedUpdate("no"), {"--json"});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(nlohmann::json::parse(outcome.output), nlohmann::json::parse(R"({
        "format": 1,
        "reports": [
            {"file": "report.xml", "operation": "inventory", "outcome": "success", "rebootRequired": false,
             "devices": [{"id": "C1", "name": "QRX", "type": "FRMW", "version": "1.0", "outcome": "success",
                          "message": ""}],
             "problem": "", "text": ""},
            {"file": "report.xml", "operation": "update", "outcome": "failure", "rebootRequired": false,
             "devices": [{"id": "", "name": "", "type": "", "version": "", "outcome": "failure",
                          "message": "no"}],
             "problem": "", "text": ""}],
        "counts": {"success": 1, "failure": 1, "damaged": 0, "unreadable": 0}})"));
}

TEST(InspectResult, PrintsADamagedReportAsJson) {
    const std::string text = report::failedUpdate("a & b");
    const Outcome outcome = resultOf(text, {"--json"});
    EXPECT_EQ(outcome.exitStatus, 2);
    const nlohmann::json damaged = nlohmann::json::parse(outcome.output)["reports"][0];
    EXPECT_EQ(damaged["outcome"], "damaged");
    EXPECT_EQ(damaged["operation"], "update");
    EXPECT_EQ(damaged["text"], text);
}

}  // namespace
}  // namespace test
