#pragma once

#include <string>
#include <string_view>

namespace tools {

/**
 * The text of a damaged report as it may be shown: line by line, printable, each line after indent. Of a long
 * text only the beginning, and how many bytes are left out.
 */
std::string damagedText(std::string_view text, std::string_view indent);

}  // namespace tools
