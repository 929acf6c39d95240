#pragma once

#include "base/File.h"
#include "base/FileWriter.h"
#include "base/Root.h"
#include "install/PayloadCheck.h"
#include "payload/ConfinedFolder.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vtek {

/**
 * A copy in an unnamed file on the repository's file system, made while the original is verified: what is
 * installed is then what was verified, whatever happens to the original. Without a name it vanishes with
 * this object.
 *
 * Nothing here is a failure: a copy that cannot be made or finished is empty, and the update then copies
 * under the lock, where the reason is reported.
 */
class PayloadCopy {
public:
    /** An empty copy. */
    PayloadCopy() = default;

    /** Begins a copy, unless fewer bytes are free in the root than are needed. */
    PayloadCopy(const Root& root, std::uint64_t neededBytes);

    /** Appends to the copy; a failure makes it empty. */
    void append(std::string_view piece);

    /** Whether the copy has all that was appended. */
    explicit operator bool() const { return static_cast<bool>(file_); }

    /**
     * Gives the copy a name; it is empty afterwards.
     *
     * @return the named file, open for reading; empty if the copy is, or cannot get this name
     */
    UniqueFd nameIt(ConfinedFolder& folder, const std::string& path);

private:
    UniqueFd file_;
    FileWriter writer_{-1};
};

/**
 * Copies a checked payload into a new file. Fails with SignatureMismatch if its bytes are no longer those
 * that were checked; signature and trailer are written as they were read then.
 */
Status copyVerified(const CheckedPayload& checked, int copy);

}  // namespace vtek
