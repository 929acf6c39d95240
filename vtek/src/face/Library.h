#pragma once

#include "base/Log.h"
#include "base/Root.h"
#include "chassis/Store.h"

namespace vtek {

/** What all public functions of the library share: the root, opened once per process, and its log. */
class Library {
public:
    /** Returns the only instance; the first call creates it. */
    static Library& instance();

    /** The root, or the error of opening it. */
    const Result<Root>& root() const { return root_; }

    /** Opens the root's state for reading. */
    Result<Store> openStore() const;

    Log& log() { return log_; }

private:
    Library();

    Result<Root> root_;
    Log log_;
};

}  // namespace vtek
