#pragma once

#include "base/Root.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace vtekctl {

/** The outcome of one step of an update that was only tried. */
struct PlanStep {
    enum class Outcome { Passed, Failed, NotTried };

    const char* name;
    Outcome outcome;
    std::string finding;               ///< what the step found, in a few words; the cause of a failure
    std::optional<vtek::Error> error;  ///< of a failure
};

/** What an inventory and an update would do, step by step. */
struct Plan {
    std::vector<PlanStep> steps;

    /** The first step that failed, or null. */
    const PlanStep* firstFailure() const;
};

/**
 * Tries each step of a package's update without changing the repository; unpacked files are discarded. Writes
 * nothing, takes no lock and logs nothing.
 *
 * @param root    an error here is the failure of the first step
 * @param folder  the package's folder
 * @param now     when certificates must be valid
 */
Plan planUpdate(const vtek::Result<vtek::Root>& root, const std::string& folder, std::time_t now);

}  // namespace vtekctl
