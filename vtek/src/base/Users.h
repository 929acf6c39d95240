#pragma once

#include <string>

namespace vtek {

/** The real user of this process, as "name (number)", or the number alone. */
std::string realUser();

/** The user who logged in, even if the process now runs as another user, for example through sudo; "unknown"
 * if the system does not record it. */
std::string loginUser();

}  // namespace vtek
