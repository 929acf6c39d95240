#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace qrxinspect {

/**
 * Reads comma-separated values as RFC 4180 has them: the rows, each with as many cells as the first one.
 *
 * A line ends with LF, CRLF or CR; empty lines, a byte order mark, and blanks around a value that is not
 * quoted are left out. The error names the line.
 */
vtek::Result<std::vector<std::vector<std::string>>> parseCsv(std::string_view text);

}  // namespace qrxinspect
