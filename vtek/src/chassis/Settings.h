#pragma once

#include "base/Rules.h"
#include "chassis/Store.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** The settings of a simulated chassis. The settings table explains each. */
struct Settings {
    int repositoryKind;
    std::string chassisType;
    std::string ipmiTransport;  ///< "simulated", or a device such as /dev/ipmi0
    int ipmiCompletion;
    int ipmiMode;
    int ipmiFlag;
    Revocation revocation;
    std::vector<std::string> signerNames;  ///< accepted common names; empty: all
    std::string minimumVersion;            ///< the version floor; empty: none
    std::string allowedVersion;            ///< accepted once although below the floor; empty: none
    int lockWaitSeconds;
    UnpackLimits unpack;
};

/** One row of the settings table. */
struct SettingInfo {
    std::string_view name;
    std::string_view initial;  ///< the default value
    std::string_view form;     ///< the accepted values, in words
    std::string_view meaning;  ///< one line for the help
    bool (*accepts)(std::string_view value);
};

/** All settings, in the order in which they are shown. */
const std::vector<SettingInfo>& settingTable();

/** Returns the row of a setting, or null if there is none of that name. */
const SettingInfo* findSetting(std::string_view name);

/** Reads the settings, with defaults for those never set. Fails with StateCorrupt on a value that is not
 * accepted. */
Result<Settings> loadSettings(Store& store);

/** Returns the value of one setting as text. @param changed  the result of Store::settings */
std::string settingText(const SettingTexts& changed, const SettingInfo& info);

/** Changes one setting. Fails with InvalidArgument if there is none of that name or the value is not
 * accepted. */
Status changeSetting(Store& store, std::string_view name, std::string_view value);

}  // namespace vtek
