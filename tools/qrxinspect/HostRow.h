#pragma once

#include "HostTable.h"
#include "Summary.h"

#include <vector>

namespace qrxinspect {

/**
 * What the table and its report say of one host.
 *
 * The worse of the two decides the outcome: a table never turns a failure into a success, and "unverified"
 * in the table makes a failure of a report's success.
 *
 * @param reports  those of the host's file; none if the table names no file
 */
Row rowOf(const Host& host, const std::vector<Report>& reports);

}  // namespace qrxinspect
