#pragma once

#include "DeviceInfo.h"
#include "common/Console.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>
#include <vector>

namespace qrxinspect {

/** Everything that an update package's description says. */
struct PackageFacts {
    std::string componentId;
    std::string type;
    std::string version;
    std::string display;
    bool rollback = false;
    std::vector<SPCIInfo> pciDevices = {};
    std::map<std::string, std::string> names = {};  // by component id
    std::vector<CDeviceInfo> dependencies = {};
};

/** Reads "package.xml" of the working directory, which must be well-formed. */
PackageFacts readPackageFacts();

/** For people, and for programs. */
void printFacts(const tools::Console& console, const PackageFacts& facts);
nlohmann::ordered_json toJson(const PackageFacts& facts);

}  // namespace qrxinspect
