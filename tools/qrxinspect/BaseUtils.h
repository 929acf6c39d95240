#pragma once

#include "base/Result.h"

namespace qrxinspect {

/**
 * Makes the base utilities safe for a tool that only reads: their debug log never makes a file, whatever
 * marker file exists, and libxml2 prints nothing.
 *
 * Call it before any other use of them; further calls change nothing. Fails if the log cannot be silenced.
 */
vtek::Status silenceBaseUtils();

/**
 * Refuses a working directory in which the platform layer would hang: it opens the log's marker file there,
 * and the open of a FIFO waits for ever.
 */
vtek::Status checkMarkerFile();

}  // namespace qrxinspect
