#pragma once

#include "DeviceInfo.h"
#include "Result.h"

#include <string_view>
#include <vector>

namespace tools {

/**
 * The records of a well-formed inventory document. Where the document reports a failure, every record carries
 * it, and there is at least one record.
 */
Result<std::vector<CDeviceInfo>> readInventory(std::string_view text);

}  // namespace tools
