#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace test {

/** One entry of a debug log. */
struct LogLine {
    std::string source;   // base name of the source file
    unsigned line;        // line of the call
    std::string message;  // with its line ends, if it holds any

    bool operator==(const LogLine&) const = default;
};

/**
 * Reads the text of a debug log.
 *
 * A line without a time stamp continues the message before it: a message that ends in a newline shows as an
 * empty line. Throws std::runtime_error when the text does not start with a whole entry.
 */
std::vector<LogLine> parseLog(std::string_view text);

/**
 * Masks the two things in a log that change from run to run and from edit to edit, and keeps their width:
 * each time stamp reads "[yyyy-mm-ddThh:mm:ss] ", each line number of up to five digits "nnnnn". Everything
 * else, the padding too, stays as it is.
 */
std::string maskLog(std::string_view text);

}  // namespace test
