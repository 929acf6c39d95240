#pragma once

#include "base/Root.h"

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace tools {

/** How one step of an update went that was only tried. */
struct PlanStep {
    enum class Outcome { Passed, Failed, NotTried };

    const char* name;
    Outcome outcome;
    std::string finding;               ///< what was found, in a few words; the cause of a failure
    std::optional<vtek::Error> error;  ///< of a failure
};

/** What an inventory and an update would come to, step by step. */
struct Plan {
    std::vector<PlanStep> steps;

    /** The first step that failed, or null. */
    const PlanStep* firstFailure() const;
};

/**
 * Tries everything that an update of a package does before it changes the repository, and the unpacking
 * without keeping what comes out. Nothing is written, no lock taken, no line logged.
 *
 * @param root    a root that cannot be used is the first step's failure
 * @param folder  the package's
 * @param now     the moment at which certificates must be valid
 */
Plan planUpdate(const vtek::Result<vtek::Root>& root, const std::string& folder, std::time_t now);

}  // namespace tools
