#pragma once

#include "base/Log.h"
#include "base/Root.h"

namespace vtek {

/** What every entry of the library's face shares: the root, looked for once per process, and its log. */
class Library {
public:
    /** The process's library; made at its first use. */
    static Library& instance();

    /** The root, or why there is none. */
    const Result<Root>& root() const { return root_; }
    Log& log() { return log_; }

private:
    Library();

    Result<Root> root_;
    Log log_;
};

}  // namespace vtek
