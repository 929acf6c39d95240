#pragma once

#include "Overview.h"

#include <ctime>
#include <ostream>
#include <string>
#include <string_view>

namespace qrxinspect {

/**
 * Prints one self-contained page: a table of the reports or hosts to sort, search and filter, the worst
 * first, with the text of damaged reports and the cure of each known failure. No value of a report becomes
 * markup or script.
 *
 * @param made  seconds since 1970; the page shows it as UTC
 */
void printHtmlPage(std::ostream& out, const Overview& overview, std::time_t made);

/** The value as HTML text: printable, with every character that means something in HTML escaped. */
std::string htmlOf(std::string_view value);

}  // namespace qrxinspect
