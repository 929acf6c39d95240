#pragma once

#include <nlohmann/json.hpp>

#include <ostream>

namespace tools {

/** What "format" says. It counts up when a member goes or means something else; members may be added. */
inline constexpr int kJsonFormat = 1;

/** Prints a JSON object with "format" before its members, in pure ASCII; bytes that are not UTF-8 become
 * U+FFFD. */
void printJson(std::ostream& out, const nlohmann::ordered_json& members);

}  // namespace tools
