#include "install/Policy.h"

#include "base/Version.h"
#include "chassis/Inventory.h"

#include <algorithm>

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
    const std::string& floor = settings.minimumVersion;  // empty: none, and not a version that "~" is below
    if (floor.empty() || Version(manifest.version) >= Version(floor)) {
        return Fit::Regular;
    }
    if (manifest.version ==
        settings.allowedVersion) {  // by its text: one version, not all that are equal to it
        return Fit::ByOverride;
    }
    return Error{ErrorNumber::VersionBelowFloor,
                 "version " + manifest.version + " is below " + settings.minimumVersion};
}

}  // namespace vtek
