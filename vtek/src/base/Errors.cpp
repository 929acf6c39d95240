#include "base/Errors.h"

#include "base/Result.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vtek {

const std::vector<ErrorInfo>& errorTable() {
    static const std::vector<ErrorInfo> table{
        {ErrorNumber::RootMissing, "no root", "make one with `vtekctl init`, or set VTEK_ROOT"},
        {ErrorNumber::RootUnsafe, "root not safe",
         "give root, parents and trust to root or the caller; no links; nobody else may write"},
        {ErrorNumber::StateUnreadable, "state not readable", "check that state.db is there and readable"},
        {ErrorNumber::StateCorrupt, "state corrupt", "restore state.db from a backup, or make a new root"},
        {ErrorNumber::StateLayout, "state of another layout", "use the library version that made this root"},
        {ErrorNumber::StateBusy, "state locked", "try again when the other program has finished"},
        {ErrorNumber::RepositoryAbsent, "repository switched off",
         "switch it on with `vtekctl set repository-kind 1`"},

        {ErrorNumber::PayloadMissing, "no payload",
         "start the update in the package's folder, with its .fwp file"},
        {ErrorNumber::PayloadAmbiguous, "more than one payload", "leave exactly one .fwp file in the folder"},
        {ErrorNumber::PayloadUnreadable, "payload not readable",
         "make it a regular file that the caller may read"},
        {ErrorNumber::PayloadFormat, "payload not in the format",
         "get the package again; it is cut, extended or no payload"},
        {ErrorNumber::TrustUnusable, "trust store not usable",
         "look with `vtekctl trust list`; add a certificate, mend owner and mode"},
        {ErrorNumber::SignatureMalformed, "signature malformed", "get the package again, or sign it again"},
        {ErrorNumber::SignatureKind, "not signed data",
         "sign with `vtekctl sign` or `openssl cms -sign -binary`"},
        {ErrorNumber::SignatureWithoutSigner, "no signer",
         "sign again, with the signer's certificate inside"},
        {ErrorNumber::SignatureAttached, "content attached", "sign again, detached"},
        {ErrorNumber::SignatureMismatch, "signature does not hold",
         "get the package again; its bytes are not the signed ones"},
        {ErrorNumber::SignerUntrusted, "signer not trusted",
         "add the issuer with `vtekctl trust add`, if you trust it"},
        {ErrorNumber::SignerNotYetValid, "signer not yet valid", "check this machine's clock"},
        {ErrorNumber::SignerExpired, "signer expired",
         "get a package with a valid signer; check this machine's clock"},
        {ErrorNumber::SignerRevoked, "signer revoked",
         "do not use this package; get one from another signer"},
        {ErrorNumber::RevocationListMissing, "revocation list missing",
         "add each issuer's list with `vtekctl trust add`"},
        {ErrorNumber::RevocationListExpired, "revocation list not current",
         "add the issuer's current list with `vtekctl trust add`"},
        {ErrorNumber::SignerPurpose, "signer not for code",
         "sign with a certificate for code signing that is no authority"},
        {ErrorNumber::SignerName, "signer's name not allowed",
         "allow it with `vtekctl set signer-names`, if you trust it"},
        {ErrorNumber::SignerWeak, "signer's algorithms too weak",
         "sign with SHA-256 and RSA-2048 or P-256, or better"},

        {ErrorNumber::ManifestInvalid, "manifest not valid", "make the payload again with `vtekctl sign`"},
        {ErrorNumber::ComponentUnknown, "component not in the inventory",
         "use the package of a component that `vtekctl show` lists"},
        {ErrorNumber::ChassisMismatch, "made for another chassis", "use the package for this chassis type"},
        {ErrorNumber::VersionBelowFloor, "version below the floor",
         "use a newer package, or `vtekctl set allow-version` once"},
        {ErrorNumber::PackageUnreadable, "package.xml not readable",
         "start the update in the package's folder"},
        {ErrorNumber::PackageMismatch, "package.xml not the signed one",
         "get the package again; do not edit it"},

        {ErrorNumber::RepositoryBusy, "another update runs", "wait until the holder in the log has finished"},
        {ErrorNumber::RepositoryUnwritable, "repository not writable",
         "run as the root folder's owner, on a writable file system"},
        {ErrorNumber::NoSpace, "no space", "free space on the root's file system"},

        {ErrorNumber::PayloadChanged, "payload changed since the check",
         "find out who writes to the package's folder; start again"},
        {ErrorNumber::DestinationInvalid, "source or destination not valid",
         "report it: the program asked for an impossible copy"},
        {ErrorNumber::CopyFailed, "copy failed", "check space, quota and disk; start again"},

        {ErrorNumber::ArchiveInvalid, "archive not valid",
         "make the payload again: zip (stored, deflated), tar or tar.gz"},
        {ErrorNumber::EntryName, "entry with a forbidden name",
         "use relative names of printable ASCII, without '..'"},
        {ErrorNumber::EntryKind, "entry of a forbidden kind", "pack regular files and folders only"},
        {ErrorNumber::EntryRepeated, "entry twice",
         "pack every file once; names must differ in more than case"},
        {ErrorNumber::ArchiveTooLarge, "archive beyond the bounds",
         "pack less, or raise the unpack bounds with `vtekctl set`"},
        {ErrorNumber::UnpackFailed, "unpacking failed", "check space, quota and disk; start again"},
        {ErrorNumber::ManifestChanged, "manifest changed since the check",
         "find out who writes to the package's folder; start again"},

        {ErrorNumber::SyncFailed, "files not durable", "check the disk; the old firmware is still in force"},
        {ErrorNumber::CommitFailed, "commit failed",
         "check the disk; see `vtekctl show` for what is in force"},
        {ErrorNumber::PackageChanged, "package.xml changed since the check",
         "find out who writes to the package's folder; start again"},
        {ErrorNumber::ComponentGone, "component gone since the check",
         "import the inventory again; start again"},

        {ErrorNumber::OutOfOrder, "calls out of order",
         "report it: the program broke the order of the calls"},
        {ErrorNumber::InvalidArgument, "argument not valid", "see `vtekctl --help`"},
        {ErrorNumber::NothingToRollBack, "nothing to roll back", "only the last update can be undone, once"},
        {ErrorNumber::Internal, "internal failure", "look for lack of memory; else report it with the log"},
        {ErrorNumber::IpmiFailed, "IPMI request failed",
         "check the device of `ipmi-transport` and the caller's rights"},
        {ErrorNumber::UpdateNotPermitted, "update not permitted by the chassis",
         "permit it on chassis and server; here with `vtekctl set ipmi-mode 2` and `vtekctl set ipmi-flag "
         "1`"},
    };
    return table;
}

const ErrorInfo& errorInfo(ErrorNumber number) {
    const auto& table = errorTable();
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const ErrorInfo& info) { return info.number == number; });
    return *row;
}

Error systemError(ErrorNumber number, const std::string& what) {
    return {number, what + ": " + std::strerror(errno)};
}

Error repositoryError(const std::string& what) {
    const bool full = errno == ENOSPC || errno == EDQUOT;
    return systemError(full ? ErrorNumber::NoSpace : ErrorNumber::RepositoryUnwritable, what);
}

}  // namespace vtek
