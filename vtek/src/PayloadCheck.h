#pragma once

#include "Manifest.h"
#include "Payload.h"
#include "Policy.h"
#include "Root.h"
#include "Settings.h"
#include "Signature.h"
#include "Store.h"

#include <ctime>
#include <string>

namespace vtek {

/** A payload that may be installed, still open. */
struct CheckedPayload {
    Payload payload;
    VerifiedSignature signature;
    Manifest manifest;
    Fit fit;
};

/**
 * Decides whether a payload may be installed on a chassis: its signature over every byte, then its manifest
 * against the inventory, the chassis and the settings, then package.xml beside it against the manifest.
 *
 * @param folder  where package.xml is
 * @param now     the moment at which certificates must be valid
 */
Result<CheckedPayload> checkPayload(const Root& root, Store& store, Payload payload, int folder,
                                    std::time_t now);

/** Refuses with one number a package.xml that cannot be read, with the other one that is not the manifest's.
 */
Status checkPackage(int folder, const Manifest& manifest, ErrorNumber unreadable, ErrorNumber mismatch);

}  // namespace vtek
