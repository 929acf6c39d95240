#pragma once

#include "XmlReading.h"
#include "base/Result.h"

#include <string_view>

namespace qrxinspect {

/**
 * Parses one document of a report, blanks included.
 *
 * Refuses everything that two XML parsers may read differently and that no report has: document types,
 * comments, CDATA sections, processing instructions, namespaces, encodings other than UTF-8, names that are
 * not ASCII, more than 1 MiB, more than 64 elements inside each other. The Ansible collection's judge
 * (report.py) follows the same rules; a test compares the two.
 */
vtek::Result<XmlDocPtr> parseReport(std::string_view text);

}  // namespace qrxinspect
