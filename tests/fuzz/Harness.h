#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/**
 * Feeds the input to the code under test and requires everything that must hold for any input.
 *
 * Each harness defines this function. It runs under libFuzzer and, over the stored corpus, as a plain test.
 * After each call Harness.cpp requires that no descriptor is left open.
 */
void examine(std::string_view input);

/** Aborts the process with the text if the condition is false: a finding. */
void require(bool condition, std::string_view what);

/** The parts of the input between the separators; none for an empty input. */
std::vector<std::string> split(std::string_view input, char separator);

/** Removes the part before the first separator, and the separator, from the input and returns that part; the
 * whole input if there is no separator. */
std::string takeUntil(std::string_view& input, char separator);

/** A temporary folder of this process. The first call makes it the working directory; it is removed at exit.
 */
const std::filesystem::path& workingFolder();

}  // namespace test
