#pragma once

#include "Report.h"

#include <libxml/tree.h>

namespace tools {

/**
 * Reads the devices, failures and the need for a reboot out of an execution document.
 *
 * A device counts as updated only where the document says so; one without a status counts as failed.
 */
void readExecution(const xmlNode& root, Report& report);

}  // namespace tools
