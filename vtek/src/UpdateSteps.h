#pragma once

#include "Result.h"
#include "Root.h"

#include <ctime>
#include <string>

namespace vtek {

/**
 * One update of the controller's firmware, step by step; each step needs the one before it. Destroyed before
 * commit has succeeded, it leaves no trace.
 */
class UpdateSteps {
public:
    virtual ~UpdateSteps() = default;

    /** Finds the payload and decides whether it may be installed. @return its name in the folder */
    virtual Result<std::string> check() = 0;

    /** Takes the repository's lock and makes room for the copy. */
    virtual Status start() = 0;

    /** Copies the payload to its place below the new generation; its bytes must be those that were checked.
     */
    virtual Status add(const std::string& destination) = 0;

    /** Unpacks the copy beside itself. */
    virtual Status unpack() = 0;

    /** Makes everything durable and puts it in force. */
    virtual Status commit() = 0;
};

/**
 * Begins an update that the caller owns: what libvtek-update.so exports, under the name below.
 *
 * @param folder  holds the payload and package.xml; both stay the caller's
 * @param now     the moment at which certificates must be valid
 */
using BeginUpdate = UpdateSteps*(const Root& root, int folder, std::time_t now);
inline constexpr const char* kBeginUpdate = "vtek_begin_update";

}  // namespace vtek
