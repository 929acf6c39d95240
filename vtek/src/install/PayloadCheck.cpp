#include "install/PayloadCheck.h"

#include "base/Progress.h"
#include "base/Rules.h"
#include "payload/Manifest.h"
#include "payload/Payload.h"
#include "payload/Unpack.h"
#include "trust/Digest.h"

#include <utility>

namespace vtek {

namespace {

constexpr const char* kPackageFile = "package.xml";

}  // namespace

Result<CheckedPayload> checkPayload(const Root& root, Store& store, SignedFile payload, int folder,
                                    std::time_t now, const SeePiece& see) {
    VTEK_ASSIGN(const Settings settings, loadSettings(store));
    // Before anything in it is read: anybody may have written it.
    VTEK_TRY(checkPayloadSize(payload, settings.unpack));
    VTEK_ASSIGN(const TrustStore trust, loadTrustStore(root));
    Progress progress("verify", payload.signedLength);
    VTEK_ASSIGN(VerifiedSignature signature,
                verifySignature(payload, trust, {now, settings.revocation, settings.signerNames},
                                [&](std::string_view piece) {
                                    see(piece);
                                    progress.add(piece.size());
                                }));
    // Only now may the content be parsed: its bytes are authentic.
    VTEK_ASSIGN(Manifest manifest, readManifest(signature.start));
    VTEK_ASSIGN(const Fit fit, checkPolicy(store, manifest));
    VTEK_TRY(checkPackage(folder, manifest, ErrorNumber::PackageUnreadable, ErrorNumber::PackageMismatch));
    return CheckedPayload{std::move(payload), std::move(signature), std::move(manifest), fit};
}

Status checkPackage(int folder, const Manifest& manifest, ErrorNumber unreadable, ErrorNumber mismatch) {
    VTEK_ASSIGN(const std::string xml, readRegularFile(folder, kPackageFile, Links::Refused, kPackageBound,
                                                       kPackageFile, unreadable));
    if (digestOfText(xml) != manifest.packageDigest) {
        return Error{mismatch, "package.xml does not match the digest in the signed manifest"};
    }
    return {};
}

}  // namespace vtek
