#include "install/Policy.h"

#include "chassis/Inventory.h"

#include <algorithm>
#include <cstring>

namespace vtek {

namespace {

Status checkComponent(Store& store, const Manifest& manifest) {
    VTEK_ASSIGN(const auto version, Inventory(store.database()).version(manifest.componentId));
    if (!version) {
        return Error{ErrorNumber::ComponentUnknown,
                     "the controller's inventory has no component " + manifest.componentId};
    }
    return {};
}

Status checkChassis(const Settings& settings, const Manifest& manifest) {
    const auto& types = manifest.chassisTypes;
    if (std::find(types.begin(), types.end(), settings.chassisType) == types.end()) {
        return Error{ErrorNumber::ChassisMismatch,
                     "the payload is not for chassis type " + settings.chassisType};
    }
    return {};
}

}  // namespace

Result<Fit> checkPolicy(Store& store, const Manifest& manifest) {
    VTEK_ASSIGN(const Settings settings, loadSettings(store));
    VTEK_TRY(checkComponent(store, manifest));
    VTEK_TRY(checkChassis(settings, manifest));
    // strverscmp compares runs of digits as numbers: 9.0 is below 10.0.
    if (strverscmp(manifest.version.c_str(), settings.minimumVersion.c_str()) >= 0) {
        return Fit::Regular;
    }
    if (manifest.version == settings.allowedVersion) {
        return Fit::ByOverride;
    }
    return Error{ErrorNumber::VersionBelowFloor,
                 "version " + manifest.version + " is below " + settings.minimumVersion};
}

}  // namespace vtek
