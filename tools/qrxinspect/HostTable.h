#pragma once

#include "Report.h"
#include "base/Result.h"

#include <string>
#include <vector>

namespace qrxinspect {

/** One row of a roll-out's table: a host of a chassis, and what is known of its update. */
struct Host {
    std::string chassis = {};
    std::string host = {};
    std::string report = {};   ///< path of its report; empty if there is none
    std::string before = {};   ///< version
    std::string after = {};    ///< version
    std::string outcome = {};  ///< word for word
    std::string cause = {};
};

/**
 * Reads a table of hosts, a CSV file whose first row names the columns: the members of Host, in any order.
 * Other columns are ignored. The paths of the reports begin at the table's folder.
 *
 * An error says what is wrong with the file, but does not name it.
 */
vtek::Result<std::vector<Host>> readHostTable(const std::string& path);

/** What the word for a host's outcome means: of a success, of no try, of no answer; anything else is a
 * failure. */
Report::Outcome meaningOf(const std::string& outcome);

}  // namespace qrxinspect
