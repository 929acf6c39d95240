#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tools {

/**
 * The text as it may be shown: everything that would steer a terminal or turn the reading direction stands
 * escaped (`\n`, `\x1b`, `\u202e`), bytes that are not UTF-8 as `\xNN`. Backslashes of the text stay as they
 * are.
 */
std::string toPrintable(std::string_view text);

/** How many columns a printable text takes, every character counted as one. */
std::size_t columnsOf(std::string_view printable);

}  // namespace tools
