#include "Summary.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tools {
namespace {

using Operation = Report::Operation;
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
    return {
        .file = "a.xml", .operation = Operation::Update, .outcome = outcome, .devices = std::move(devices)};
}

TEST(Summary, HasARowForEveryDevice) {
    const std::vector<SummaryRow> rows =
        summaryOf({reportWith(Outcome::Failure, {deviceWith(0, "done"), deviceWith(1, "refused")})});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].file, "a.xml");
    EXPECT_EQ(rows[0].operation, "update");
    EXPECT_EQ(rows[0].outcome, Outcome::Success);
    EXPECT_EQ(rows[0].id, "C1");
    EXPECT_EQ(rows[0].device, "QRX");
    EXPECT_EQ(rows[0].version, "V1");
    EXPECT_EQ(rows[0].message, "done");
    EXPECT_EQ(rows[1].outcome, Outcome::Failure);
    EXPECT_EQ(rows[1].message, "refused");
}

TEST(Summary, NamesTheRebootBesideTheSuccess) {
    Report report =
        reportWith(Outcome::Failure, {deviceWith(0, "done"), deviceWith(0, ""), deviceWith(1, "refused")});
    report.rebootRequired = true;
    const std::vector<SummaryRow> rows = summaryOf({report});
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].message, "done (reboot required)");
    EXPECT_EQ(rows[1].message, "reboot required");
    EXPECT_EQ(rows[2].message, "refused");
}

TEST(Summary, HasARowForAReportWithoutDevices) {
    Report damaged = reportWith(Outcome::Damaged);
    damaged.problem = "line 1";
    damaged.text = "<text";
    const std::vector<SummaryRow> rows = summaryOf({reportWith(Outcome::Failure), damaged});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].message, "no device");
    EXPECT_EQ(rows[0].outcome, Outcome::Failure);
    EXPECT_EQ(rows[1].message, "line 1");
    EXPECT_EQ(rows[1].text, "<text");
    EXPECT_EQ(rows[1].outcome, Outcome::Damaged);
}

TEST(Summary, CountsTheOutcomes) {
    const std::map<Outcome, std::size_t> counts = countOutcomes(
        {reportWith(Outcome::Failure), reportWith(Outcome::Success), reportWith(Outcome::Failure)});
    EXPECT_EQ(counts, (std::map<Outcome, std::size_t>{{Outcome::Success, 1}, {Outcome::Failure, 2}}));
}

TEST(Summary, TheWorstReportDecidesTheStatus) {
    const Report good = reportWith(Outcome::Success);
    const Report failed = reportWith(Outcome::Failure);
    EXPECT_EQ(statusOf({good, good}), ExitStatus::Success);
    EXPECT_EQ(statusOf({good, failed, good}), ExitStatus::Finding);
    EXPECT_EQ(statusOf({good, reportWith(Outcome::Damaged), failed}), ExitStatus::BadInput);
    EXPECT_EQ(statusOf({reportWith(Outcome::Unreadable), good}), ExitStatus::BadInput);
}

TEST(Summary, TellsOfWhatIsDamagedOrUnreadableInOneLineEach) {
    Report damaged = reportWith(Outcome::Damaged);
    damaged.problem = "line 1: \x1b[31m\nno";
    Report unreadable = reportWith(Outcome::Unreadable);
    unreadable.file = "b.xml";
    unreadable.problem = "is empty";
    std::ostringstream out;
    std::ostringstream err;
    tellProblems({reportWith(Outcome::Failure), damaged, unreadable}, {out, err});
    EXPECT_EQ(err.str(),
              "qrxinspect: a.xml: the update report is damaged: line 1: \\x1b[31m\\nno\n"
              "qrxinspect: b.xml: is empty\n");
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace tools
