#pragma once

#include "base/Signals.h"
#include "install/PayloadCheck.h"
#include "install/PayloadCopy.h"
#include "install/Repository.h"
#include "payload/Unpack.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace vtek {

/** Free bytes that an update needs to start: room for the copy, as much again for its unpacked files, and a
 * reserve. Both sizes are in bytes. */
std::uint64_t spaceToStart(std::uint64_t payloadSize);

/** Refuses a destination that Update::add refuses, with DestinationInvalid. */
Status checkDestination(const std::string& destination);

/**
 * Unpacks a payload as Update::unpack does. Fails with ManifestDiffers if the archive's manifest is not the
 * checked one.
 *
 * @param fd           the copy of the payload, or the payload itself
 * @param destination  of the copy in the target
 */
Result<UnpackedContent> unpackChecked(const CheckedPayload& checked, int fd, UnpackTarget& target,
                                      const std::string& destination, const UnpackLimits& limits,
                                      const ByteCounter& counter);

/**
 * One update of the controller's firmware. The steps must be called once each, in this order. If the object
 * is destroyed before commit has succeeded, nothing of the update remains. Signals that end the program are
 * held back from start to the end, and let the update fail while it unpacks, so that they leave nothing
 * behind either.
 */
class Update {
public:
    /**
     * @param root    the chassis; must outlive the update
     * @param folder  contains the payload and package.xml; remains owned by the caller
     * @param now     the time at which the certificates must be valid
     */
    Update(const Root& root, int folder, std::time_t now) : root_(root), folder_(folder), now_(now) {}

    /** Finds the payload, checks whether it may be installed, and copies the verified bytes meanwhile.
     * @return its name in the folder */
    Result<std::string> check();

    /** Locks the repository and creates the folder for the copy. Fails with NoSpace if the disk is too full.
     */
    Status start();

    /**
     * Puts the copy into the new generation. Where none could be made during the check, copies the payload
     * now; fails with SignatureMismatch if its bytes differ from those that were checked.
     *
     * @param destination  a relative path within the generation
     */
    Status add(const std::string& destination);

    /** Unpacks the copy into the folder that contains it. */
    Status unpack();

    /** Syncs the new generation to disk and puts it in force. */
    Status commit();

private:
    enum class Step { Nothing, Checked, Started, Added, Unpacked, Committed };

    Status require(Step step) const;
    Status copyNow(ConfinedFolder& staging, const std::string& destination);

    const Root& root_;
    int folder_;
    std::time_t now_;
    Step step_ = Step::Nothing;
    std::optional<CheckedPayload> checked_;
    std::optional<HeldSignals> held_;  ///< outlives the repository, which cleans up
    std::optional<Repository> repository_;
    UniqueFd staged_;
    PayloadCopy unnamed_;  ///< until it gets its name
    UniqueFd copy_;
    std::string destination_;
};

}  // namespace vtek
