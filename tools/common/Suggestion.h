#pragma once

#include <string>
#include <vector>

namespace tools {

/** The word of a list that somebody may have meant who typed another one; empty if none is similar. */
std::string similarWord(const std::string& typed, const std::vector<std::string>& words);

}  // namespace tools
