#pragma once

#include "base/Root.h"

#include <chrono>
#include <string>

namespace vtek {

/**
 * The lock of a root's repository. One process at a time holds it, until the object is destroyed or the
 * process ends. The lock file describes its holder.
 */
class Lock {
public:
    /** Waits for the lock. After the time-out, fails with RepositoryBusy and names the holder. */
    static Result<Lock> acquire(const Root& root, std::chrono::milliseconds patience);

private:
    explicit Lock(UniqueFd file) : file_(std::move(file)) {}
    UniqueFd file_;
};

/** Describes this process in one printable line: its id, start time and command. */
std::string describeProcess();

}  // namespace vtek
