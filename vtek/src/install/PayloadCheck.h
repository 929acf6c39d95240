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
#include <string_view>

namespace vtek {

/** A payload that passed the check, still open. */
struct CheckedPayload {
    SignedFile payload;
    VerifiedSignature signature;
    Manifest manifest;
    Fit fit;
};

/**
 * Decides whether a payload may be installed on a chassis. Checks the signature first, then the manifest
 * against the inventory and the settings, then package.xml against the manifest.
 *
 * @param folder  the folder that contains package.xml
 * @param now     the time at which the certificates must be valid
 * @param see     gets the signed bytes as they are verified, after the settings' limits on their number
 */
Result<CheckedPayload> checkPayload(
    const Root& root, Store& store, SignedFile payload, int folder, std::time_t now,
    const SeePiece& see = [](std::string_view) {});

/**
 * Checks that the package.xml in a folder has the digest that the manifest states.
 *
 * @param unreadable  the error number if the file cannot be read
 * @param mismatch    the error number if its digest differs
 */
Status checkPackage(int folder, const Manifest& manifest, ErrorNumber unreadable, ErrorNumber mismatch);

}  // namespace vtek
