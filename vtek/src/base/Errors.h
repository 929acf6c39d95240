#pragma once

#include <string_view>
#include <vector>

namespace vtek {

/**
 * Every cause of a failure. The hundreds group the causes: 1 the root and its state, 2 the payload and its
 * signature, 3 what the payload is for, 4 the start of the copy, 5 the copy, 6 unpacking, 7 the commit, 8 the
 * use of the library, 9 IPMI. A number never changes its meaning.
 */
enum class ErrorNumber : int {
    None = 0,

    RootMissing = 101,
    RootUnsafe = 102,
    StateUnreadable = 111,
    StateCorrupt = 112,
    StateLayout = 113,
    StateBusy = 114,
    RepositoryAbsent = 115,

    PayloadMissing = 201,
    PayloadAmbiguous = 202,
    PayloadUnreadable = 203,
    PayloadFormat = 204,
    TrustUnusable = 211,
    SignatureMalformed = 221,
    SignatureKind = 222,
    SignatureWithoutSigner = 223,
    SignatureAttached = 224,
    SignatureMismatch = 225,
    SignerUntrusted = 231,
    SignerNotYetValid = 232,
    SignerExpired = 233,
    SignerRevoked = 234,
    RevocationListMissing = 235,
    RevocationListExpired = 236,
    SignerPurpose = 237,
    SignerName = 238,
    SignerWeak = 239,

    ManifestInvalid = 301,
    ComponentUnknown = 302,
    ChassisMismatch = 303,
    VersionBelowFloor = 304,
    PackageUnreadable = 305,
    PackageMismatch = 306,

    RepositoryBusy = 401,
    RepositoryUnwritable = 402,
    NoSpace = 403,

    // 501 is retired: what is installed was copied while it was checked.
    DestinationInvalid = 502,
    CopyFailed = 503,

    ArchiveInvalid = 601,
    EntryName = 602,
    EntryKind = 603,
    EntryRepeated = 604,
    ArchiveTooLarge = 605,
    UnpackFailed = 606,
    ManifestDiffers = 607,

    SyncFailed = 701,
    CommitFailed = 702,
    PackageChanged = 703,
    ComponentGone = 704,

    OutOfOrder = 801,
    InvalidArgument = 802,
    NothingToRollBack = 803,
    // 804 is retired: it belonged to a library that no longer exists.
    Internal = 899,

    IpmiFailed = 901,
    UpdateNotPermitted = 902,
};

/** One row of the error table. */
struct ErrorInfo {
    ErrorNumber number;
    std::string_view cause;   ///< what is wrong, in a few words
    std::string_view remedy;  ///< how the administrator can fix it, in the imperative
};

/** All errors except None, ordered by number. */
const std::vector<ErrorInfo>& errorTable();

/** Returns the row of an error, which must not be None. */
const ErrorInfo& errorInfo(ErrorNumber number);

}  // namespace vtek
