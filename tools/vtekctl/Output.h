#pragma once

#include <string>
#include <vector>

namespace tools {

/** Prints rows as columns, the first row being their titles; characters that could confuse a terminal become
 * "?". */
void printTable(const std::vector<std::vector<std::string>>& rows);

}  // namespace tools
