#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace vtek {

/** Reads a whole text as a decimal number between two bounds. @return whether it is one */
bool parseNumber(std::string_view text, std::uint64_t least, std::uint64_t most, std::uint64_t& value);

/** A UTC time as 2024-05-31T12:00:00Z. */
std::string utcText(std::time_t time);

/** The text on one line that a terminal shows and does not obey: "?" replaces each control character. */
std::string oneLine(std::string text);

/** A stranger's name as a log shows it: quoted, at most 80 bytes, "?" for each byte that is not printable
 * ASCII. */
std::string shownName(std::string_view name);

}  // namespace vtek
