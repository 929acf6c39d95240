#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/**
 * One harness: feeds the input to the code that it is named after and requires what must hold for every
 * input.
 *
 * Each harness defines it. The same function runs under libFuzzer and, over the stored corpus, as a plain
 * test. Around each call, Harness.cpp requires that no descriptor is left open.
 */
void examine(std::string_view input);

/** Ends the process with the text when the condition is false: a finding. */
void require(bool condition, std::string_view what);

/** The pieces of the input between separators; none for an empty input. */
std::vector<std::string> split(std::string_view input, char separator);

/** The part of the input before the first separator; the input keeps what follows it. Everything when there
 * is no separator. */
std::string takeUntil(std::string_view& input, char separator);

/** A folder of this process, which is its working directory from the first call on; gone when it exits. */
const std::filesystem::path& workingFolder();

}  // namespace test
