#pragma once

#include "install/PayloadCheck.h"
#include "install/Repository.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace vtek {

/** The free bytes without which no update starts: for the copy, and at least as much again for what comes out
 * of it. */
std::uint64_t spaceToStart(std::uint64_t payloadSize);

/**
 * One update of the controller's firmware, step by step; each step needs the one before it. Destroyed before
 * commit has succeeded, it leaves no trace.
 */
class Update {
public:
    /**
     * @param root    the chassis; stays the caller's, as the folder does
     * @param folder  holds the payload and package.xml
     * @param now     the moment at which certificates must be valid
     */
    Update(const Root& root, int folder, std::time_t now) : root_(root), folder_(folder), now_(now) {}

    /** Finds the payload and decides whether it may be installed. @return its name in the folder */
    Result<std::string> check();

    /** Takes the repository's lock and makes room for the copy. */
    Status start();

    /** Copies the payload to its place in the new generation; its bytes must be those that were checked. */
    Status add(const std::string& destination);

    /** Unpacks the copy into the folder that holds it. */
    Status unpack();

    /** Makes everything durable and puts it in force. */
    Status commit();

private:
    enum class Step { Nothing, Checked, Started, Added, Unpacked, Committed };

    Status require(Step step) const;
    Result<UniqueFd> createCopy(const std::string& destination);
    Status copyPayload(int copy);

    const Root& root_;
    int folder_;
    std::time_t now_;
    Step step_ = Step::Nothing;
    std::optional<CheckedPayload> checked_;
    std::optional<Repository> repository_;
    UniqueFd staged_;
    UniqueFd copy_;
    std::string place_;  ///< the folder that the destination names
};

}  // namespace vtek
