#include "PayloadCheck.h"

#include "Digest.h"
#include "Progress.h"
#include "Unpack.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

namespace vtek {

namespace {

constexpr const char* kPackageFile = "package.xml";

}  // namespace

Result<CheckedPayload> checkPayload(const Root& root, Store& store, Payload payload, int folder,
                                    std::time_t now) {
    VTEK_ASSIGN(const Settings settings, loadSettings(store));
    VTEK_ASSIGN(const TrustStore trust, loadTrustStore(root));
    Progress progress("verify", payload.archiveLength);
    VTEK_ASSIGN(VerifiedSignature signature,
                verifySignature(payload, trust, {now, settings.revocation, settings.signerNames},
                                [&](std::uint64_t bytes) { progress.add(bytes); }));
    VTEK_ASSIGN(Manifest manifest, readManifest(signature.start));
    VTEK_ASSIGN(const Fit fit, checkPolicy(store, manifest));
    VTEK_TRY(checkPackage(folder, manifest, ErrorNumber::PackageUnreadable, ErrorNumber::PackageMismatch));
    return CheckedPayload{std::move(payload), std::move(signature), std::move(manifest), fit};
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
