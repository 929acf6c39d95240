#pragma once

#include <nlohmann/json.hpp>

#include <ostream>

namespace tools {

/** Prints one JSON value in pure ASCII; bytes that are not UTF-8 become U+FFFD. */
void printJson(std::ostream& out, const nlohmann::ordered_json& value);

}  // namespace tools
