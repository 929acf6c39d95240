#pragma once

#include "Result.h"

#include <optional>

namespace tools {

/**
 * Makes the base utilities fit for a tool that only looks: from now on their debug log never makes a file,
 * whatever marker file lies about, and libxml2 prints nothing.
 *
 * To be called once, before any other use of them. Returns a problem where the log cannot be kept quiet.
 */
[[nodiscard]] std::optional<Problem> silenceBaseUtils();

/**
 * Whether the platform layer can be used in the working directory: it opens the log's marker file there,
 * which waits for ever where that is a FIFO. Returns the problem if so.
 */
[[nodiscard]] std::optional<Problem> checkMarkerFile();

}  // namespace tools
