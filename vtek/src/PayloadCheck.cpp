#include "PayloadCheck.h"

#include "Digest.h"
#include "Inventory.h"
#include "Progress.h"
#include "Unpack.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace vtek {

namespace {

constexpr const char* kPackageFile = "package.xml";

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

/** @return whether the version needs the override */
Result<bool> checkVersion(const Settings& settings, const Manifest& manifest) {
    const bool below = strverscmp(manifest.version.c_str(), settings.minimumVersion.c_str()) < 0;
    if (below && manifest.version != settings.allowedVersion) {
        return Error{ErrorNumber::VersionBelowFloor,
                     "version " + manifest.version + " is below " + settings.minimumVersion};
    }
    return below;
}

}  // namespace

Result<CheckedPayload> checkPayload(const Root& root, Store& store, Payload payload, int folder,
                                    std::time_t now) {
    VTEK_ASSIGN(const Settings settings, loadSettings(store));
    VTEK_ASSIGN(const TrustStore trust, loadTrustStore(root));
    Progress progress("verify", payload.archiveLength);
    VTEK_ASSIGN(VerifiedSignature signature,
                verifySignature(payload, trust, {now, settings.revocation, settings.signerNames},
                                [&](std::uint64_t bytes) { progress.add(bytes); }));
    VTEK_ASSIGN(Manifest manifest, readManifest(payload.file.get(), payload.archiveLength, settings.unpack));
    VTEK_TRY(checkComponent(store, manifest));
    VTEK_TRY(checkChassis(settings, manifest));
    VTEK_ASSIGN(const bool override, checkVersion(settings, manifest));
    VTEK_TRY(checkPackage(folder, manifest, ErrorNumber::PackageUnreadable, ErrorNumber::PackageMismatch));
    return CheckedPayload{std::move(payload), std::move(signature), std::move(manifest), override};
}

Status checkPackage(int folder, const Manifest& manifest, ErrorNumber unreadable, ErrorNumber mismatch) {
    const UniqueFd file = openAt(folder, kPackageFile, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    struct stat info {};
    if (!file || fstat(file.get(), &info) != 0) {
        return systemError(unreadable, kPackageFile);
    }
    if (!S_ISREG(info.st_mode)) {
        return Error{unreadable, "package.xml is no plain file"};
    }
    VTEK_ASSIGN(const std::string digest, digestOfFile(file.get(), unreadable));
    if (digest != manifest.packageDigest) {
        return Error{mismatch, "package.xml is not the one that the payload was signed with"};
    }
    return {};
}

}  // namespace vtek
