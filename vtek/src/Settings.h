#pragma once

#include "Store.h"

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** Whether a certificate whose issuer has no revocation list in the trust store is accepted. */
enum class Revocation { IfPresent, Required };

/** Bounds on what an archive may unpack to. */
struct UnpackLimits {
    std::uint64_t entries;
    std::uint64_t depth;       ///< folders above an entry
    std::uint64_t totalBytes;  ///< of all files together
    std::uint64_t ratio;       ///< unpacked bytes per byte of the archive, beyond the first MiB
};

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

/** Reads a whole text as a decimal number between two bounds. @return whether it is one */
bool parseNumber(std::string_view text, std::uint64_t least, std::uint64_t most, std::uint64_t& value);

}  // namespace vtek
