#pragma once

#include "Report.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tools {

/**
 * Prints one self-contained page: the reports as a table that can be sorted and searched, the damaged ones
 * with their text. No value of a report becomes markup or script.
 */
void printHtmlPage(std::ostream& out, const std::vector<Report>& reports);

/** The value as HTML text: printable, with every character that means something in HTML escaped. */
std::string htmlOf(std::string_view value);

}  // namespace tools
