#pragma once

#include "HostTable.h"
#include "Summary.h"

#include <map>
#include <string>
#include <vector>

namespace qrxinspect {

/** Everything that `report` shows. */
struct Overview {
    View view = View::Reports;
    std::vector<Row> rows = {};        ///< one a device, or one a host
    std::vector<Report> reports = {};  ///< that the rows rest on
    std::size_t files = 0;             ///< that the reports were in

    /** How many reports, or hosts, have each outcome. */
    std::map<Report::Outcome, std::size_t> counts() const;

    /** "1 report", "40 hosts" */
    std::string total() const;

    /** The outcome of the worst row. */
    Report::Outcome worst() const;
};

/** Reads these reports, and shows a row for every device. */
Overview readOverview(const std::vector<std::string>& files);

/** Reads the reports of these hosts, and shows a row for every host. */
Overview readOverview(const std::vector<Host>& hosts);

}  // namespace qrxinspect
