#pragma once

#include "Result.h"

#include <cstddef>
#include <string>

namespace tools {

/** No report or description comes near this size in bytes; a larger file is refused before it is read. */
inline constexpr std::size_t kInputLimit = std::size_t{16} * 1024 * 1024;

/**
 * Everything a regular file holds.
 *
 * Never waits for a writer and never takes more memory than the limit: a FIFO, a folder, a device and a file
 * of more than kInputLimit bytes are refused.
 */
Result<std::string> readInput(const std::string& path);

}  // namespace tools
