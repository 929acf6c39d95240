#pragma once

#include "Report.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace qrxinspect {

/** Prints one self-contained page: a table of the reports to sort and search, with the text of damaged ones.
 * No value of a report becomes markup or script. */
void printHtmlPage(std::ostream& out, const std::vector<Report>& reports);

/** The value as HTML text: printable, with every character that means something in HTML escaped. */
std::string htmlOf(std::string_view value);

}  // namespace qrxinspect
