#include "Summary.h"

#include <algorithm>

namespace tools {
namespace {

/** What stands in the message's place where a report has no record. */
std::string messageWithoutDevice(const Report& report) {
    return report.problem.empty() ? "no device" : report.problem;
}

std::string messageOf(const Report& report, const CDeviceInfo& device) {
    const std::string message = device.getErrorMsg();
    if (!report.rebootRequired || !isSuccess(device)) {
        return message;
    }
    return message.empty() ? "reboot required" : message + " (reboot required)";
}

}  // namespace

std::vector<SummaryRow> summaryOf(const std::vector<Report>& reports) {
    std::vector<SummaryRow> rows;
    for (const Report& report : reports) {
        const std::string operation = nameOf(report.operation);
        if (report.devices.empty()) {
            rows.push_back({report.file, operation, report.outcome, "", "", "", messageWithoutDevice(report),
                            report.text});
        }
        for (const CDeviceInfo& device : report.devices) {
            rows.push_back({report.file, operation,
                            isSuccess(device) ? Report::Outcome::Success : Report::Outcome::Failure,
                            idOf(device), device.getDeviceName(), device.getVersion(),
                            messageOf(report, device), ""});
        }
    }
    return rows;
}

std::map<Report::Outcome, std::size_t> countOutcomes(const std::vector<Report>& reports) {
    std::map<Report::Outcome, std::size_t> counts;
    for (const Report& report : reports) {
        ++counts[report.outcome];
    }
    return counts;
}

ExitStatus statusOf(const std::vector<Report>& reports) {
    const auto better = [](const Report& a, const Report& b) { return a.outcome < b.outcome; };
    switch (std::max_element(reports.begin(), reports.end(), better)->outcome) {
        case Report::Outcome::Success:
            return ExitStatus::Success;
        case Report::Outcome::Failure:
            return ExitStatus::Finding;
        case Report::Outcome::Damaged:
        case Report::Outcome::Unreadable:
            break;
    }
    return ExitStatus::BadInput;
}

void tellProblems(const std::vector<Report>& reports, const Console& console) {
    for (const Report& report : reports) {
        if (report.outcome == Report::Outcome::Damaged) {
            console.tell(report.file + ": the " + nameOf(report.operation) +
                         " report is damaged: " + report.problem);
        } else if (report.outcome == Report::Outcome::Unreadable) {
            console.tell(report.file + ": " + report.problem);
        }
    }
}

}  // namespace tools
