#pragma once

#include "Report.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/**
 * Reads the reports of one file: one, or two where an inventory and an update were asked for in one run.
 *
 * Never fails and never returns an empty list: a file that cannot be read gives one unreadable report, whose
 * problem says why.
 */
std::vector<Report> readReports(const std::string& file);

/** As readReports, for a text already read; file is only the name that the reports carry. */
std::vector<Report> reportsIn(const std::string& file, std::string_view text);

}  // namespace tools
