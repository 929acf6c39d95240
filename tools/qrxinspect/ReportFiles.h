#pragma once

#include "base/Result.h"

#include <string>
#include <vector>

namespace qrxinspect {

/**
 * The files that an operand means: a folder stands for every *.xml below it, sorted by path; anything else,
 * and a folder where none can be found, for itself.
 */
std::vector<std::string> reportFilesOf(const std::string& operand);

/**
 * Reads all of a report's file: a regular file, a pipe, or "-", which is standard input. Never waits for a
 * FIFO that nobody writes to. Refuses more than kInputLimit bytes.
 */
vtek::Result<std::string> readReportFile(const std::string& path);

}  // namespace qrxinspect
