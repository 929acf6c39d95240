#pragma once

#include "base/Root.h"

#include <chrono>
#include <string>

namespace vtek {

/**
 * The right to change a root's repository: held by one process at a time, given back when the object or its
 * process goes, and telling who holds it.
 */
class Lock {
public:
    /** Waits for the lock; when the time is over, the error names the holder. */
    static Result<Lock> acquire(const Root& root, std::chrono::milliseconds patience);

private:
    explicit Lock(UniqueFd file) : file_(std::move(file)) {}
    UniqueFd file_;
};

/** This process as it is named to others: its id, start time and command. */
std::string describeProcess();

}  // namespace vtek
