#pragma once

#include "Overview.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace qrxinspect {

/** The reports with their devices and a count per outcome, as `result` and `report` print them. */
nlohmann::ordered_json toJson(const std::vector<Report>& reports);

/** The same of an overview's reports; before them its hosts, if it has any. */
nlohmann::ordered_json toJson(const Overview& overview);

}  // namespace qrxinspect
