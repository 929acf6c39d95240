#include "DamagedText.h"
#include "DocumentReaders.h"
#include "Json.h"
#include "Qrxinspect.h"
#include "ReportReader.h"
#include "Summary.h"
#include "common/PrintJson.h"

#include <algorithm>
#include <iterator>

namespace qrxinspect {
namespace {

void printDevices(const Console& console, const Report& report) {
    if (report.devices.empty()) {
        console.print("no device");
        return;
    }
    std::vector<Row> rows;
    std::transform(report.devices.begin(), report.devices.end(), std::back_inserter(rows),
                   [&](const CDeviceInfo& device) { return rowOf(report, device); });
    printTable(console, View::Devices, rows);
}

/** Prints nothing for an unreadable file: the line on standard error says it all. */
void printReport(const Console& console, const Report& report) {
    if (report.outcome == Report::Outcome::Unreadable) {
        return;
    }
    console.print(report.kind->heading + (": " + nameOf(report.outcome)));
    if (report.outcome == Report::Outcome::Damaged) {
        console.out << damagedText(report.text, "  ");
        return;
    }
    printDevices(console, report);
    if (report.rebootRequired) {
        console.print("Reboot required");
    }
}

class ResultCommand : public tools::Command {
public:
    void define(Options& options) override {
        options.value("FILE", file_, "The report of an inventory, of an update, or of both")
            .required()
            .takes("FILE");
        options.flag("--json", json_, "Print JSON");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        const std::vector<Report> reports = readReports(file_);
        printProblems(reports, console);
        if (json_) {
            tools::printJson(console.out, toJson(reports));
            return statusOf(reports);
        }
        const char* separator = "";
        for (const Report& report : reports) {
            console.out << separator;
            printReport(console, report);
            separator = "\n";
        }
        return statusOf(reports);
    }

private:
    std::string file_;
    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeResult() {
    return std::make_unique<ResultCommand>();
}

}  // namespace qrxinspect
