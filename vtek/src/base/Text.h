#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace vtek {

/** Parses the whole text as a decimal number. @return whether it is one, between least and most */
bool parseNumber(std::string_view text, std::uint64_t least, std::uint64_t most, std::uint64_t& value);

/** Formats a time in UTC, as 2024-05-31T12:00:00Z. */
std::string utcText(std::time_t time);

/** Quotes an untrusted name for a log: at most 80 bytes, "?" for each byte that is not printable ASCII. */
std::string shownName(std::string_view name);

}  // namespace vtek
