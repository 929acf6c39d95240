#pragma once

#include "Report.h"

#include <nlohmann/json.hpp>

#include <ostream>
#include <string>
#include <vector>

namespace tools {

/** Prints one JSON value in pure ASCII; bytes that are not UTF-8 become U+FFFD. */
void printJson(std::ostream& out, const nlohmann::ordered_json& value);

/** The reports with their devices and a count per outcome, as `result` and `report` print them. */
nlohmann::ordered_json toJson(const std::vector<Report>& reports);

}  // namespace tools
