#include "DamagedText.h"
#include "HtmlPage.h"
#include "Json.h"
#include "Overview.h"
#include "Qrxinspect.h"
#include "ReportFiles.h"
#include "common/InputFile.h"
#include "common/PrintJson.h"

#include <ctime>
#include <iterator>
#include <utility>

namespace qrxinspect {
namespace {

std::vector<std::string> filesOf(const std::vector<std::string>& operands) {
    std::vector<std::string> files;
    for (const std::string& operand : operands) {
        std::vector<std::string> found = reportFilesOf(operand);
        std::move(found.begin(), found.end(), std::back_inserter(files));
    }
    return files;
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
void printCounts(std::ostream& out, const Overview& overview) {
    out << '\n' << overview.total();
    const char* separator = ": ";
    for (const auto& [outcome, count] : overview.counts()) {
        out << separator << count << ' ' << nameOf(outcome);
        separator = ", ";
    }
    out << '\n';
}

class ReportCommand : public tools::Command {
public:
    void define(Options& options) override {
        const tools::Option files =
            options
                .values("FILE", files_,
                        "The reports; a folder stands for every *.xml in it, - for standard input")
                .takes("FILE");
        options.value("--hosts", table_, "Instead of reports: a table (CSV) of the hosts and their reports")
            .excludes(files)
            .takes("FILE");
        const tools::Option json = options.flag("--json", json_, "Print JSON");
        options.flag("--html", html_, "Print one self-contained page").excludes(json);
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        if (files_.empty() && table_.empty()) {
            console.report("name reports, or a table with --hosts (see qrxinspect --help)");
            return ExitStatus::Usage;
        }
        if (table_.empty()) {
            return show(console, readOverview(filesOf(files_)));
        }
        const vtek::Result<std::vector<Host>> hosts = readHostTable(table_);
        if (!hosts) {
            return tools::inputError(table_ + ": " + hosts.error().message);
        }
        return show(console, readOverview(*hosts));
    }

private:
    ExitStatus show(const Console& console, const Overview& overview) const {
        printProblems(overview.reports, console);
        if (json_) {
            tools::printJson(console.out, toJson(overview));
        } else if (html_) {
            printHtmlPage(console.out, overview, std::time(nullptr));
        } else {
            printTable(console, overview.view, overview.rows);
            printDamagedTexts(console, overview.reports);
            printCounts(console.out, overview);
        }
        return statusOf(overview.worst());
    }

    std::vector<std::string> files_;
    std::string table_;
    bool json_ = false;
    bool html_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makeReport() {
    return std::make_unique<ReportCommand>();
}

}  // namespace qrxinspect
