#pragma once

#include "UpdateSteps.h"

#include <memory>

namespace vtek {

/**
 * Begins an update; loads the library of updates, which lies beside this one and stays loaded. What only an
 * update needs, OpenSSL and libarchive before all, so costs no other start of a program anything.
 */
Result<std::unique_ptr<UpdateSteps>> beginUpdate(const Root& root, int folder, std::time_t now);

}  // namespace vtek
