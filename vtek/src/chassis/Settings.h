#pragma once

#include "base/Rules.h"
#include "chassis/Store.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** Everything that can be set on a simulated chassis, with its value. */
struct Settings {
    int repositoryKind;
    std::string chassisType;
    std::string ipmiTransport;  ///< "simulated", or the path of a kernel device
    int ipmiCompletion;
    int ipmiMode;
    int ipmiFlag;
    Revocation revocation;
    std::vector<std::string> signerNames;  ///< empty: any name
    std::string minimumVersion;            ///< empty: no floor
    std::string allowedVersion;            ///< below the floor, allowed once; empty: none
    int lockWaitSeconds;
    UnpackLimits unpack;
};

/** How one setting is called, what it is without being set, and what may be given. */
struct SettingInfo {
    std::string_view name;
    std::string_view initial;
    std::string_view form;  ///< the values that are taken, in words
    std::string_view meaning;
    bool (*accepts)(std::string_view value);
};

/** Every setting, in the order in which they are shown. */
const std::vector<SettingInfo>& settingTable();

/** The row of a setting, or null. */
const SettingInfo* findSetting(std::string_view name);

/** The values in force, with the defaults for what was never set. */
Result<Settings> loadSettings(Store& store);

/** One setting's value as text, out of those that were changed from their defaults. */
std::string settingText(const SettingTexts& changed, const SettingInfo& info);

/** Changes one setting after checking its name and value. */
Status changeSetting(Store& store, std::string_view name, std::string_view value);

}  // namespace vtek
