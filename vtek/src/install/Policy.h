#pragma once

#include "chassis/Settings.h"
#include "payload/Manifest.h"

namespace vtek {

/** Why a manifest fits a chassis: its version reaches the floor, or was allowed once. */
enum class Fit { Regular, ByOverride };

/**
 * Decides whether a manifest fits the chassis: the controller's inventory contains the component, the chassis
 * type is one of the manifest's, and the version is not below the floor, or is allowed once.
 */
Result<Fit> checkPolicy(Store& store, const Manifest& manifest);

}  // namespace vtek
