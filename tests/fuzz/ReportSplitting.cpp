// Reads the input as a file of reports, as qrxinspect does.

#include "Harness.h"
#include "ReportReader.h"

namespace test {
namespace {

using qrxinspect::Report;

void requireSensible(const Report& report) {
    const bool isReadable =
        report.outcome == Report::Outcome::Success || report.outcome == Report::Outcome::Failure;
    require(report.file == "name", "the name of the file");
    require(report.problem.empty() == isReadable, "a problem if and only if the report is unreadable");
    require(report.problem.find('\n') == std::string::npos, "a problem of one line");
    require(!isReadable || report.kind != nullptr, "a readable report has an operation");
    bool anyFailed = false;
    for (const CDeviceInfo& device : report.devices) {
        anyFailed = anyFailed || !qrxinspect::isSuccess(device);
    }
    require(report.outcome != Report::Outcome::Success || !anyFailed, "no success with a failed device");
}

bool sameReport(const Report& one, const Report& other) {
    return one.kind == other.kind && one.outcome == other.outcome && one.problem == other.problem &&
           one.text == other.text && one.devices.size() == other.devices.size();
}

}  // namespace

void examine(std::string_view input) {
    const std::vector<Report> reports = qrxinspect::reportsIn("name", input);
    require(!reports.empty(), "at least one report");
    for (const Report& report : reports) {
        requireSensible(report);
    }
    const std::vector<Report> again = qrxinspect::reportsIn("name", input);
    require(again.size() == reports.size(), "as many reports when read again");
    for (std::size_t i = 0; i < reports.size(); ++i) {
        require(sameReport(reports[i], again[i]), "the same reports when read again");
    }
}

}  // namespace test
