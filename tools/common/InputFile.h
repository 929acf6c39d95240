#pragma once

#include "base/Result.h"

#include <cstddef>
#include <string>

namespace tools {

/** Bytes; no file that the tools read whole comes near it. A larger one is refused before it is read. */
inline constexpr std::size_t kInputLimit = std::size_t{16} * 1024 * 1024;

/** The error of an input that cannot be used. @param remedy  what to do; empty if the message says it */
vtek::Error inputError(std::string message, std::string remedy = {});

/**
 * Reads all of a regular file. Refuses anything else, such as a FIFO that nobody writes to, at once, and a
 * file of more than kInputLimit bytes.
 *
 * @param shown  how messages name the file; empty where the caller names it
 */
vtek::Result<std::string> readInput(const std::string& path, const std::string& shown);

}  // namespace tools
