#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vtek {

/**
 * Makes an untrusted text safe to print on one line. Escapes everything that controls a terminal or changes
 * the reading direction (`\n`, `\x1b`, `\u202e`), and bytes that are not UTF-8 as `\xNN`. Keeps backslashes.
 */
std::string toPrintable(std::string_view text);

/** How many columns a printable text takes, every character counted as one. */
std::size_t columnsOf(std::string_view printable);

/** As much of a printable text as takes this many columns. */
std::string firstColumns(std::string_view printable, std::size_t columns);

}  // namespace vtek
