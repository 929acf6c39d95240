#pragma once

#include "Report.h"
#include "XmlReading.h"

#include <span>
#include <string_view>

namespace qrxinspect {

/** One kind of report. A new kind is one row of the table and one reader. */
struct ReportKind {
    const char* rootElement;
    const char* operation;  ///< its name in tables, JSON and the page
    const char* heading;    ///< its name at the start of a line

    /** Adds to the report what the well-formed document says: devices, failures, the need for a reboot. */
    void (*read)(XmlDocPtr document, Report& report);
};

/** The table of the kinds. */
std::span<const ReportKind> reportKinds();

/** The kind whose documents have this root element, or null. */
const ReportKind* kindWithRoot(std::string_view rootElement);

}  // namespace qrxinspect
