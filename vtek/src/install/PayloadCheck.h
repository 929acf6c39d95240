#pragma once

#include "base/Root.h"
#include "base/SignedFile.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"
#include "install/Policy.h"
#include "payload/Manifest.h"
#include "trust/Signature.h"

#include <ctime>
#include <string>

namespace vtek {

/** A payload that may be installed, still open. */
struct CheckedPayload {
    SignedFile payload;
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
Result<CheckedPayload> checkPayload(const Root& root, Store& store, SignedFile payload, int folder,
                                    std::time_t now);

/** Refuses with one number a package.xml that cannot be read, with the other one that is not the manifest's.
 */
Status checkPackage(int folder, const Manifest& manifest, ErrorNumber unreadable, ErrorNumber mismatch);

}  // namespace vtek
