#pragma once

#include "base/Log.h"
#include "base/Root.h"
#include "chassis/Store.h"

#include <optional>

namespace vtek {

/** What all public functions of the library share: the root and its state, opened once per process, and its
 * log. */
class Library {
public:
    /** Returns the only instance; the first call creates it. */
    static Library& instance();

    /** The root, or the error of opening it. */
    const Result<Root>& root() const { return root_; }

    /** The root's state for reading; the first call that succeeds opens it. Never null on success. */
    Result<Store*> store();

    Log& log() { return log_; }

private:
    Library();

    Result<Root> root_;
    std::optional<Store> store_;
    Log log_;
};

}  // namespace vtek
