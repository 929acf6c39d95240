#pragma once

#include "Result.h"

#include <cstdint>

namespace vtek {

/**
 * Refuses a zip whose end record declares more entries than the bound, before a reader takes its whole
 * directory into memory. What is no zip, or a zip without such a record, passes: the reader judges it.
 */
Status checkZipDirectory(int fd, std::uint64_t length, std::uint64_t entryBound);

}  // namespace vtek
