#include "base/Text.h"

#include <algorithm>
#include <charconv>

namespace vtek {

namespace {

constexpr std::size_t kShownBytes = 80;  // of a name in a message: enough to recognise it, no more

}  // namespace

bool parseNumber(std::string_view text, std::uint64_t least, std::uint64_t most, std::uint64_t& value) {
    // cppcheck-suppress danglingTemporaryLifetime ; the caller keeps the text alive
    const char* end = text.data() + text.size();
    const auto [reached, failure] = std::from_chars(text.data(), end, value);
    return failure == std::errc() && reached == end && value >= least && value <= most;
}

std::string utcText(std::time_t time) {
    tm utc{};
    char text[32] = "";  // 20 characters, or more in the year 10000
    if (gmtime_r(&time, &utc) != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    }
    return text;
}

std::string shownName(std::string_view name) {
    std::string text(name.substr(0, kShownBytes));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + text + "'";
}

}  // namespace vtek
