#pragma once

#include "Report.h"

#include <string>
#include <string_view>
#include <vector>

namespace qrxinspect {

/**
 * Reads the reports of one file: one, or two if the run made an inventory and an update.
 *
 * Never fails and never returns an empty list: a file that cannot be read gives one unreadable report with
 * the reason as its problem.
 */
std::vector<Report> readReports(const std::string& file);

/** Like readReports, for text that is in memory; file only names the reports. */
std::vector<Report> reportsIn(const std::string& file, std::string_view text);

}  // namespace qrxinspect
