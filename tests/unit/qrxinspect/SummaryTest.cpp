#include "DocumentReaders.h"
#include "Summary.h"

#include <gmock/gmock.h>

#include <sstream>

namespace qrxinspect {
namespace {

using Outcome = Report::Outcome;

CDeviceInfo deviceWith(int status, const std::string& message) {
    CDeviceInfo device;
    device.setComponentID("C1");
    device.setDeviceName("QRX");
    device.setVersion("V1");
    device.setStatus(status);
    device.setErrorMsg(message);
    return device;
}

Report reportWith(Outcome outcome, std::vector<CDeviceInfo> devices = {}) {
    return {.file = "a.xml",
            .kind = kindWithRoot("SVMExecution"),
            .outcome = outcome,
            .devices = std::move(devices)};
}

TEST(Summary, MakesARowForEveryDevice) {
    const std::vector<Row> rows =
        summaryOf({reportWith(Outcome::Failure, {deviceWith(0, "done"), deviceWith(1, "refused")})});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].report, "a.xml");
    EXPECT_EQ(rows[0].operation, "update");
    EXPECT_EQ(rows[0].outcome, "success");
    EXPECT_EQ(rows[0].component, "C1");
    EXPECT_EQ(rows[0].device, "QRX");
    EXPECT_EQ(rows[0].version, "V1");
    EXPECT_EQ(rows[0].message, "done");
    EXPECT_EQ(rows[1].outcome, "failure");
    EXPECT_EQ(rows[1].message, "refused");
}

TEST(Summary, MentionsTheRebootAfterASuccess) {
    Report report =
        reportWith(Outcome::Failure, {deviceWith(0, "done"), deviceWith(0, ""), deviceWith(1, "refused")});
    report.rebootRequired = true;
    const std::vector<Row> rows = summaryOf({report});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].message, "done (reboot required)");
    EXPECT_EQ(rows[1].message, "reboot required");
    EXPECT_EQ(rows[2].message, "refused");
}

TEST(Summary, MakesARowForAReportWithoutDevices) {
    Report damaged = reportWith(Outcome::Damaged);
    damaged.problem = "line 1";
    damaged.text = "<text";
    const std::vector<Row> rows = summaryOf({reportWith(Outcome::Failure), damaged});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].message, "no device");
    EXPECT_EQ(rows[0].outcome, "failure");
    EXPECT_EQ(rows[1].message, "line 1");
    EXPECT_EQ(rows[1].damagedText, "<text");
    EXPECT_EQ(rows[1].outcome, "damaged");
}

std::vector<std::string> titlesOf(View view) {
    std::vector<std::string> titles;
    for (const Column& column : columnsOf(view)) {
        titles.push_back(column.title);
    }
    return titles;
}

TEST(Summary, KeepsTheOrderOfColumnsInEveryView) {
    EXPECT_THAT(titlesOf(View::Devices),
                testing::ElementsAre("Component", "Device", "Type", "Version", "Outcome", "Message"));
    EXPECT_THAT(titlesOf(View::Reports), testing::ElementsAre("Report", "Operation", "Component", "Device",
                                                              "Version", "Outcome", "Message"));
    EXPECT_THAT(titlesOf(View::Hosts),
                testing::ElementsAre("Chassis", "Host", "Report", "Before", "After", "Outcome", "Cause"));
}

TEST(Summary, PrintsTheRowsUnderHeadings) {
    std::ostringstream out;
    printTable({out, out}, View::Reports, summaryOf({reportWith(Outcome::Success, {deviceWith(0, "done")})}));
    EXPECT_EQ(out.str(),
              "REPORT  OPERATION  COMPONENT  DEVICE  VERSION  OUTCOME  MESSAGE\n"
              "a.xml   update     C1         QRX     V1       success  done\n");
}

TEST(Summary, CountsTheOutcomes) {
    const std::map<Outcome, std::size_t> counts = countOutcomes(
        {reportWith(Outcome::Failure), reportWith(Outcome::Success), reportWith(Outcome::Failure)});
    EXPECT_EQ(counts, (std::map<Outcome, std::size_t>{{Outcome::Success, 1}, {Outcome::Failure, 2}}));
}

TEST(Summary, ReturnsTheStatusOfTheWorstReport) {
    const Report good = reportWith(Outcome::Success);
    const Report failed = reportWith(Outcome::Failure);
    EXPECT_EQ(statusOf({good, good}), tools::ExitStatus::Success);
    EXPECT_EQ(statusOf({good, failed, good}), tools::ExitStatus::Failure);
    EXPECT_EQ(statusOf(Outcome::NotTried), tools::ExitStatus::Failure);
    EXPECT_EQ(statusOf(Outcome::NotReached), tools::ExitStatus::Failure);
    EXPECT_EQ(statusOf({good, reportWith(Outcome::Damaged), failed}), tools::ExitStatus::BadInput);
    EXPECT_EQ(statusOf({reportWith(Outcome::Unreadable), good}), tools::ExitStatus::BadInput);
}

TEST(Summary, PrintsOneLinePerDamagedOrUnreadableReport) {
    Report damaged = reportWith(Outcome::Damaged);
    damaged.problem = "line 1: \x1b[31m\nno";
    Report unreadable = reportWith(Outcome::Unreadable);
    unreadable.file = "b.xml";
    unreadable.problem = "is empty";
    std::ostringstream out;
    std::ostringstream err;
    printProblems({reportWith(Outcome::Failure), damaged, unreadable}, {out, err, "qrxinspect"});
    EXPECT_EQ(err.str(),
              "qrxinspect: a.xml: the update report is damaged: line 1: \\x1b[31m\\nno\n"
              "qrxinspect: b.xml: is empty\n");
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace qrxinspect
