#include "common/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace tools {
namespace {

/** Levenshtein's distance: how many characters must be inserted, removed or replaced. */
std::size_t distance(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);  // distances from the part of `one` that has been read
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char c : one) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < other.size(); ++i) {
            const std::size_t replaced = diagonal + (c == other[i] ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, row[i] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string similarWord(const std::string& typed, const std::vector<std::string>& words) {
    constexpr std::size_t kLongest = 64;  // nobody means a name of ours by a longer word
    // Two mistakes, but less than half of the word.
    const std::size_t bound = std::min<std::size_t>(2, typed.size() / 2);
    if (bound == 0 || typed.size() > kLongest || words.empty()) {
        return "";
    }
    const auto nearest = std::min_element(
        words.begin(), words.end(),
        [&](const auto& one, const auto& other) { return distance(typed, one) < distance(typed, other); });
    return distance(typed, *nearest) <= bound ? *nearest : "";
}

}  // namespace tools
