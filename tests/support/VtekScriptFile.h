#pragma once

#include "VtekDouble.h"

#include <filesystem>

namespace test {

/**
 * Reads a script for VtekDouble from a text file.
 *
 * Each line is the name of a member of VtekScript, a blank and its value, which reaches to the end of the
 * line: numbers as C++ writes them, booleans as true and false, ipmiAnswer as its bytes in hexadecimal
 * between blanks or the word none, inventory as the name of a file next to the script. Empty lines and lines
 * that begin with # are ignored; what a file does not name keeps its default. Throws std::runtime_error
 * on anything else.
 */
VtekScript readVtekScript(const std::filesystem::path& file);

}  // namespace test
