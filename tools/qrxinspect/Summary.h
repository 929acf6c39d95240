#pragma once

#include "Console.h"
#include "Report.h"

#include <map>
#include <string>
#include <vector>

namespace tools {

/** What a summary shows of one device, or of a report without any. */
struct SummaryRow {
    std::string file;
    std::string operation;
    Report::Outcome outcome;
    std::string id;
    std::string device;
    std::string version;
    std::string message;
    std::string text;  // of a damaged report
};

/** One row for every device, failure and empty, damaged or unreadable report, in the order of the reports. */
std::vector<SummaryRow> summaryOf(const std::vector<Report>& reports);

/** How many reports came out how. */
std::map<Report::Outcome, std::size_t> countOutcomes(const std::vector<Report>& reports);

/** The exit status that the worst report asks for. */
ExitStatus statusOf(const std::vector<Report>& reports);

/** One line on standard error for every report that is damaged or unreadable. */
void tellProblems(const std::vector<Report>& reports, const Console& console);

}  // namespace tools
