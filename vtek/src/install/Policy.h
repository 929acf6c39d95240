#pragma once

#include "chassis/Settings.h"
#include "payload/Manifest.h"

namespace vtek {

/** How a manifest fits a chassis. */
enum class Fit { AsItIs, ByOverride };

/**
 * Decides whether what a manifest describes may be installed: its component is in the controller's inventory,
 * it is made for this type of chassis, and its version is not below the floor, or allowed once.
 */
Result<Fit> checkPolicy(Store& store, const Manifest& manifest);

}  // namespace vtek
