#include "HostRow.h"

#include <algorithm>

namespace qrxinspect {
namespace {

Report::Outcome outcomeOf(const Host& host, const Report* worst) {
    if (worst == nullptr) {
        return host.outcome.empty() ? Report::Outcome::NotTried : meaningOf(host.outcome);
    }
    return host.outcome.empty() ? worst->outcome : std::max(worst->outcome, meaningOf(host.outcome));
}

/** Why a report is no success; empty if it is one. */
std::string causeIn(const Report& report) {
    if (report.outcome == Report::Outcome::Success) {
        return "";
    }
    const std::vector<Row> rows = summaryOf({report});
    const auto failure = std::find_if(rows.begin(), rows.end(), [](const Row& row) {
        return row.outcome != nameOf(Report::Outcome::Success);
    });
    return failure == rows.end() ? "" : failure->message;
}

/** The table's own words, or else the report's, or else the word for the outcome, if it says more than that.
 */
std::string causeOf(const Host& host, const Report* worst, Report::Outcome outcome) {
    if (!host.cause.empty()) {
        return host.cause;
    }
    const std::string reported = worst == nullptr ? "" : causeIn(*worst);
    return reported.empty() && host.outcome != nameOf(outcome) ? host.outcome : reported;
}

}  // namespace

Row rowOf(const Host& host, const std::vector<Report>& reports) {
    const auto worst = std::max_element(reports.begin(), reports.end(), [](const Report& a, const Report& b) {
        return a.outcome < b.outcome;
    });
    const Report* const report = worst == reports.end() ? nullptr : &*worst;
    const Report::Outcome outcome = outcomeOf(host, report);
    return {.ofWhole = outcome,
            .chassis = host.chassis,
            .host = host.host,
            .report = host.report,
            .before = host.before,
            .after = host.after,
            .outcome = nameOf(outcome),
            .message = causeOf(host, report, outcome),
            .damagedText = report == nullptr ? "" : report->text};
}

}  // namespace qrxinspect
