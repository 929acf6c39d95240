#pragma once

#include "Result.h"

#include <cstdint>
#include <string_view>

namespace vtek {

/** Whether an archive that begins with these bytes is a zip. Only they count: what holds a zip behind
 * something else is none. */
bool beginsZip(std::string_view start);

/**
 * Refuses a zip whose end record declares more entries than the bound, before a reader takes its whole
 * directory into memory. A zip without such a record passes: the reader judges it.
 */
Status checkZipDirectory(int fd, std::uint64_t length, std::uint64_t entryBound);

}  // namespace vtek
