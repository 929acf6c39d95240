#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace test {

/** The sections of a case by name; a case that is like another one has the other's sections too. */
using Case = std::map<std::string, std::string>;

/**
 * Reads a case of the whole program; tests/system/README.md describes the format.
 *
 * Throws std::runtime_error when the file cannot be read or is not a case: an unknown, repeated or missing
 * section, or a difference from the other case that is none.
 */
Case readCase(const std::filesystem::path& file);

}  // namespace test
