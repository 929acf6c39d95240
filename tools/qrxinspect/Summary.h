#pragma once

#include "Report.h"
#include "common/Console.h"

#include <map>
#include <string>
#include <vector>

namespace qrxinspect {

/** One device of a report, a report without devices, or a host, in the words of the tables. */
struct Row {
    Report::Outcome ofWhole = Report::Outcome::Success;  ///< of the whole report, or of the host
    std::string chassis = {};
    std::string host = {};
    std::string report = {};
    std::string operation = {};
    std::string component = {};
    std::string device = {};
    std::string type = {};
    std::string version = {};
    std::string before = {};
    std::string after = {};
    std::string outcome = {};
    std::string message = {};
    std::string damagedText = {};  // of a damaged report
};

/** One column of every table, of the page, and of the devices and hosts in JSON. */
struct Column {
    const char* title;  ///< in capitals the heading of a text table, in small letters the class on the page
    const char* key;    ///< in JSON
    std::string Row::*value;
};

/** Which columns are shown: those of one report's devices, of many reports, or of a roll-out's hosts. */
enum class View { Devices, Reports, Hosts };

/** The columns of a view; their order is the same in each. */
std::vector<Column> columnsOf(View view);

/** The device as its report has it. */
Row rowOf(const Report& report, const CDeviceInfo& device);

/** One row for every device, failure and empty, damaged or unreadable report, in the order of the reports.
 * The messages mention a reboot that is required. */
std::vector<Row> summaryOf(const std::vector<Report>& reports);

/** The rows as a table for people. */
void printTable(const tools::Console& console, View view, const std::vector<Row>& rows);

/** The number of reports by outcome. */
std::map<Report::Outcome, std::size_t> countOutcomes(const std::vector<Report>& reports);

/** The exit status for the outcome of the worst report or host. */
tools::ExitStatus statusOf(Report::Outcome worst);

/** The exit status for the worst report. */
tools::ExitStatus statusOf(const std::vector<Report>& reports);

/** Prints one line on standard error for every damaged or unreadable report. */
void printProblems(const std::vector<Report>& reports, const tools::Console& console);

}  // namespace qrxinspect
