#include "Overview.h"

#include "HostRow.h"
#include "ReportReader.h"
#include "base/Progress.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

namespace qrxinspect {
namespace {

/** The reports of a file. An operand is still a folder where no report was found in it. */
std::vector<Report> readOperand(const std::string& file) {
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) {
        return {{.file = file,
                 .outcome = Report::Outcome::Unreadable,
                 .problem = "is a folder without reports (*.xml)"}};
    }
    return readReports(file);
}

}  // namespace

std::map<Report::Outcome, std::size_t> Overview::counts() const {
    if (view == View::Reports) {
        return countOutcomes(reports);
    }
    std::map<Report::Outcome, std::size_t> counts;
    for (const Row& row : rows) {
        ++counts[row.ofWhole];
    }
    return counts;
}

std::string Overview::total() const {
    const std::size_t number = view == View::Reports ? reports.size() : rows.size();
    const std::string noun = view == View::Reports ? " report" : " host";
    return std::to_string(number) + noun + (number == 1 ? "" : "s");
}

Report::Outcome Overview::worst() const {
    Report::Outcome worst = Report::Outcome::Success;
    for (const Row& row : rows) {
        worst = std::max(worst, row.ofWhole);
    }
    return worst;
}

Overview readOverview(const std::vector<std::string>& files) {
    Overview overview{.view = View::Reports, .files = files.size()};
    vtek::Progress progress("read", files.size(), vtek::ProgressUnit::Items);
    for (const std::string& file : files) {
        std::vector<Report> read = readOperand(file);
        std::move(read.begin(), read.end(), std::back_inserter(overview.reports));
        progress.add(1);
    }
    overview.rows = summaryOf(overview.reports);
    return overview;
}

Overview readOverview(const std::vector<Host>& hosts) {
    Overview overview{.view = View::Hosts};
    vtek::Progress progress("read", hosts.size(), vtek::ProgressUnit::Items);
    for (const Host& host : hosts) {
        std::vector<Report> read;
        if (!host.report.empty()) {
            read = readReports(host.report);
            ++overview.files;
        }
        overview.rows.push_back(rowOf(host, read));
        std::move(read.begin(), read.end(), std::back_inserter(overview.reports));
        progress.add(1);
    }
    return overview;
}

}  // namespace qrxinspect
