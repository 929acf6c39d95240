#pragma once

#include "Report.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace qrxinspect {

/** The reports with their devices and a count per outcome, as `result` and `report` print them. */
nlohmann::ordered_json toJson(const std::vector<Report>& reports);

}  // namespace qrxinspect
