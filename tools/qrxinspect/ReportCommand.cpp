#include "DamagedText.h"
#include "HtmlPage.h"
#include "Json.h"
#include "Qrxinspect.h"
#include "ReportReader.h"
#include "Summary.h"
#include "base/Progress.h"
#include "common/PrintJson.h"

#include <iterator>
#include <utility>

namespace qrxinspect {
namespace {

std::vector<Report> readAll(const std::vector<std::string>& files) {
    std::vector<Report> reports;
    vtek::Progress progress("read", files.size(), vtek::ProgressUnit::Items);
    for (const std::string& file : files) {
        std::vector<Report> read = readReports(file);
        std::move(read.begin(), read.end(), std::back_inserter(reports));
        progress.add(1);
    }
    return reports;
}

void printDamagedTexts(const Console& console, const std::vector<Report>& reports) {
    for (const Report& report : reports) {
        if (report.outcome == Report::Outcome::Damaged) {
            console.out << '\n';
            console.print(report.file + " is damaged. Its text:");
            console.out << damagedText(report.text, "  ");
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

class ReportCommand : public tools::Command {
public:
    void define(Options& options) override {
        options.values("FILE", files_, "The reports").required().takes("FILE");
        const tools::Option json = options.flag("--json", json_, "Print JSON");
        options.flag("--html", html_, "Print one self-contained page").excludes(json);
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        const std::vector<Report> reports = readAll(files_);
        printProblems(reports, console);
        if (json_) {
            tools::printJson(console.out, toJson(reports));
        } else if (html_) {
            printHtmlPage(console.out, reports);
        } else {
            printTable(console, View::Reports, summaryOf(reports));
            printDamagedTexts(console, reports);
            printCounts(console.out, reports);
        }
        return statusOf(reports);
    }

private:
    std::vector<std::string> files_;
    bool json_ = false;
    bool html_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeReport() {
    return std::make_unique<ReportCommand>();
}

}  // namespace qrxinspect
