#pragma once

#include <string>

namespace vtek {

/** Who runs this process: name and number. */
std::string realUser();

/** Who logged in to start it, however it was started since; "unknown" where the system does not tell. */
std::string loginUser();

}  // namespace vtek
