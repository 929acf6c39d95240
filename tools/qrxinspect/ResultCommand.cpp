#include "Commands.h"
#include "DamagedText.h"
#include "Json.h"
#include "ReportReader.h"
#include "Summary.h"
#include "TextTable.h"

namespace tools {
namespace {

std::string headingOf(const Report& report) {
    return (report.operation == Report::Operation::Update ? "Update: " : "Inventory: ") +
           nameOf(report.outcome);
}

void printDevices(std::ostream& out, const Report& report) {
    if (report.devices.empty()) {
        out << "no device\n";
        return;
    }
    TextTable table({"COMPONENT", "DEVICE", "TYPE", "VERSION", "OUTCOME", "MESSAGE"});
    for (const CDeviceInfo& device : report.devices) {
        table.addRow({idOf(device), device.getDeviceName(), device.getComponentType(), device.getVersion(),
                      nameOf(isSuccess(device) ? Report::Outcome::Success : Report::Outcome::Failure),
                      device.getErrorMsg()});
    }
    out << table;
}

/** Nothing for a file that is no report: the line on standard error says it all. */
void printReport(std::ostream& out, const Report& report) {
    if (report.outcome == Report::Outcome::Unreadable) {
        return;
    }
    out << headingOf(report) << '\n';
    if (report.outcome == Report::Outcome::Damaged) {
        out << damagedText(report.text, "  ");
        return;
    }
    printDevices(out, report);
    if (report.rebootRequired) {
        out << "Reboot required\n";
    }
}

}  // namespace

ExitStatus runResult(const Arguments& arguments, const Console& console) {
    const std::vector<Report> reports = readReports(arguments.operands.front());
    tellProblems(reports, console);
    if (arguments.json) {
        printJson(console.out, toJson(reports));
        return statusOf(reports);
    }
    const char* separator = "";
    for (const Report& report : reports) {
        console.out << separator;
        printReport(console.out, report);
        separator = "\n";
    }
    return statusOf(reports);
}

}  // namespace tools
