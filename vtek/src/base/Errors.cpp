#include "base/Errors.h"

#include "base/Result.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vtek {

namespace {

/** What helps when a file or folder that the user has named cannot be used. */
const char* remedyForArgument(int cause) {
    switch (cause) {
        case ENOENT:
            return "check the name";
        case EACCES:
        case EPERM:
            return "run the command as a user with the right to do this, or name another place";
        case EEXIST:
        case ENOTEMPTY:
            return "choose another name, or move away what is there";
        case EROFS:
            return "name a place on a writable file system";
        case ENOSPC:
        case EDQUOT:
            return "free space, or name a place with more of it";
        default:
            return "";
    }
}

}  // namespace

const std::vector<ErrorInfo>& errorTable() {
    static const std::vector<ErrorInfo> table{
        {ErrorNumber::RootMissing, "no root", "create one with `vtekctl init`, or set VTEK_ROOT"},
        {ErrorNumber::RootUnsafe, "root not safe",
         "make root or the caller own the root, its parents and trust/; remove symlinks and write access for "
         "others"},
        {ErrorNumber::StateUnreadable, "state not readable", "check that state.db exists and is readable"},
        {ErrorNumber::StateCorrupt, "state corrupt", "restore state.db from a backup, or create a new root"},
        {ErrorNumber::StateLayout, "unsupported state layout",
         "use the library version that created this root"},
        {ErrorNumber::StateBusy, "state locked", "try again when the other program has finished"},
        {ErrorNumber::RepositoryAbsent, "repository disabled",
         "enable it with `vtekctl set repository-kind 1`"},

        {ErrorNumber::PayloadMissing, "no payload",
         "start the update in the folder that contains the .fwp file"},
        {ErrorNumber::PayloadAmbiguous, "more than one payload", "leave exactly one .fwp file in the folder"},
        {ErrorNumber::PayloadUnreadable, "payload not readable",
         "make it a regular file that the caller can read"},
        {ErrorNumber::PayloadFormat, "invalid payload",
         "get the package again: the file is truncated, has trailing data, or is not a payload"},
        {ErrorNumber::TrustUnusable, "trust store not usable",
         "check `vtekctl trust list`; add a certificate, or correct owner and mode"},
        {ErrorNumber::SignatureMalformed, "malformed signature", "get the package again, or sign it again"},
        {ErrorNumber::SignatureKind, "signature not SignedData",
         "sign with `vtekctl sign` or `openssl cms -sign -binary`"},
        {ErrorNumber::SignatureWithoutSigner, "no signer in the signature",
         "sign again and include the signer's certificate"},
        {ErrorNumber::SignatureAttached, "signature not detached", "sign again with a detached signature"},
        {ErrorNumber::SignatureMismatch, "signature does not match",
         "get the package again: its contents are not what was signed"},
        {ErrorNumber::SignerUntrusted, "signer not trusted",
         "add the issuer with `vtekctl trust add`, if you trust it"},
        {ErrorNumber::SignerNotYetValid, "signer not yet valid", "check this machine's clock"},
        {ErrorNumber::SignerExpired, "signer expired",
         "get a package with a valid signer; check this machine's clock"},
        {ErrorNumber::SignerRevoked, "signer revoked",
         "do not use this package; get one from another signer"},
        {ErrorNumber::RevocationListMissing, "revocation list missing",
         "add each issuer's revocation list with `vtekctl trust add`"},
        {ErrorNumber::RevocationListExpired, "revocation list not current",
         "add the issuer's current revocation list with `vtekctl trust add`"},
        {ErrorNumber::SignerPurpose, "signer not for code signing",
         "sign with a code-signing certificate, not with a CA certificate"},
        {ErrorNumber::SignerName, "signer name not allowed",
         "allow it with `vtekctl set signer-names`, if you trust it"},
        {ErrorNumber::SignerWeak, "signer's algorithms too weak",
         "sign with SHA-256 and RSA-2048 or P-256, or stronger"},

        {ErrorNumber::ManifestInvalid, "invalid manifest", "build the payload again with `vtekctl sign`"},
        {ErrorNumber::ComponentUnknown, "component not in the inventory",
         "use a package for a component that `vtekctl show` lists"},
        {ErrorNumber::ChassisMismatch, "wrong chassis type", "use the package for this chassis type"},
        {ErrorNumber::VersionBelowFloor, "version below the floor",
         "use a newer package, or allow this version once with `vtekctl set allow-version`"},
        {ErrorNumber::PackageUnreadable, "package.xml not readable",
         "start the update in the package's folder"},
        {ErrorNumber::PackageMismatch, "package.xml does not match", "get the package again; do not edit it"},

        {ErrorNumber::RepositoryBusy, "another update is running",
         "wait until the process named in the log has finished"},
        {ErrorNumber::RepositoryUnwritable, "repository not writable",
         "run as the owner of the root folder, on a writable file system"},
        {ErrorNumber::NoSpace, "no space left", "free space on the root's file system"},

        {ErrorNumber::DestinationInvalid, "invalid source or destination",
         "report it: the program requested an impossible copy"},
        {ErrorNumber::CopyFailed, "copy failed", "check space, quota and disk; start again"},

        {ErrorNumber::ArchiveInvalid, "invalid archive",
         "build the payload again as zip (stored or deflated), tar or tar.gz"},
        {ErrorNumber::EntryName, "forbidden entry name",
         "use relative names of printable ASCII without '..'"},
        {ErrorNumber::EntryKind, "forbidden entry type", "pack only regular files and folders"},
        {ErrorNumber::EntryRepeated, "duplicate entry",
         "pack every file once; names must differ in more than case"},
        {ErrorNumber::ArchiveTooLarge, "archive exceeds the limits",
         "pack less, or raise the unpack limits with `vtekctl set`"},
        {ErrorNumber::UnpackFailed, "unpacking failed", "check space, quota and disk; start again"},
        {ErrorNumber::ManifestDiffers, "archive with two manifests",
         "build the payload again with `vtekctl sign`"},

        {ErrorNumber::SyncFailed, "sync failed", "check the disk; the old firmware is still in force"},
        {ErrorNumber::CommitFailed, "commit failed",
         "check the disk; `vtekctl show` lists the firmware in force"},
        {ErrorNumber::PackageChanged, "package.xml changed after the check",
         "find out what writes to the package's folder; start again"},
        {ErrorNumber::ComponentGone, "component removed after the check",
         "import the inventory again; start again"},

        {ErrorNumber::OutOfOrder, "calls out of order",
         "report it: the program called the library out of order"},
        {ErrorNumber::InvalidArgument, "invalid argument", "correct what the message names"},
        {ErrorNumber::NothingToRollBack, "nothing to roll back",
         "only the last update can be undone, and only once"},
        {ErrorNumber::Internal, "internal error", "check free memory; otherwise report it with the log"},
        {ErrorNumber::IpmiFailed, "IPMI request failed",
         "check the device in `ipmi-transport` and the caller's permissions"},
        {ErrorNumber::UpdateNotPermitted, "update not permitted by the chassis",
         "permit it on chassis and server; in the stand-in with `vtekctl set ipmi-mode 2` and `vtekctl set "
         "ipmi-flag 1`"},
    };
    return table;
}

const ErrorInfo& errorInfo(ErrorNumber number) {
    const auto& table = errorTable();
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const ErrorInfo& info) { return info.number == number; });
    return *row;
}

std::string remedyOf(const Error& error) {
    return error.remedy.empty() ? std::string(errorInfo(error.number).remedy) : error.remedy;
}

Error systemError(ErrorNumber number, const std::string& what) {
    const int cause = errno;
    return {number, what + ": " + std::strerror(cause),
            number == ErrorNumber::InvalidArgument ? remedyForArgument(cause) : ""};
}

Error repositoryError(const std::string& what) {
    const bool full = errno == ENOSPC || errno == EDQUOT;
    return systemError(full ? ErrorNumber::NoSpace : ErrorNumber::RepositoryUnwritable, what);
}

}  // namespace vtek
