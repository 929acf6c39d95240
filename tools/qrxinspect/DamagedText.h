#pragma once

#include <string>
#include <string_view>

namespace qrxinspect {

/** The text of a damaged report, printable, each line indented. A long text ends with the number of bytes
 * left out. */
std::string damagedText(std::string_view text, std::string_view indent);

}  // namespace qrxinspect
