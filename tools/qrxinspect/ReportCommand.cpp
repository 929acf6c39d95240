#include "Commands.h"
#include "DamagedText.h"
#include "HtmlPage.h"
#include "Json.h"
#include "ReportReader.h"
#include "Summary.h"
#include "TextTable.h"

#include <iterator>

namespace tools {
namespace {

std::vector<Report> readAll(const std::vector<std::string>& files) {
    std::vector<Report> reports;
    for (const std::string& file : files) {
        std::vector<Report> read = readReports(file);
        std::move(read.begin(), read.end(), std::back_inserter(reports));
    }
    return reports;
}

void printTable(std::ostream& out, const std::vector<Report>& reports) {
    TextTable table({"REPORT", "OPERATION", "OUTCOME", "COMPONENT", "DEVICE", "VERSION", "MESSAGE"});
    for (const SummaryRow& row : summaryOf(reports)) {
        table.addRow(
            {row.file, row.operation, nameOf(row.outcome), row.id, row.device, row.version, row.message});
    }
    out << table;
}

void printDamagedTexts(std::ostream& out, const std::vector<Report>& reports) {
    for (const Report& report : reports) {
        if (report.outcome == Report::Outcome::Damaged) {
            out << '\n'
                << toPrintable(report.file) << " is damaged and holds:\n"
                << damagedText(report.text, "  ");
        }
    }
}

/** "3 reports: 2 success, 1 damaged" */
void printCounts(std::ostream& out, const std::vector<Report>& reports) {
    out << '\n' << reports.size() << (reports.size() == 1 ? " report" : " reports");
    const char* separator = ": ";
    for (const auto& [outcome, count] : countOutcomes(reports)) {
        out << separator << count << ' ' << nameOf(outcome);
        separator = ", ";
    }
    out << '\n';
}

}  // namespace

ExitStatus runReport(const Arguments& arguments, const Console& console) {
    const std::vector<Report> reports = readAll(arguments.operands);
    tellProblems(reports, console);
    if (arguments.json) {
        printJson(console.out, toJson(reports));
    } else if (arguments.html) {
        printHtmlPage(console.out, reports);
    } else {
        printTable(console.out, reports);
        printDamagedTexts(console.out, reports);
        printCounts(console.out, reports);
    }
    return statusOf(reports);
}

}  // namespace tools
