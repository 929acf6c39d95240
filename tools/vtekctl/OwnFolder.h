#pragma once

#include "base/Result.h"

#include <filesystem>
#include <string>

namespace tools {

/**
 * A folder that comes with this executable, found from where that lies: as installed, or in a build.
 *
 * @param installed, built  relative to the executable's folder
 * @param file              what the folder must hold
 */
vtek::Result<std::filesystem::path> ownFolder(const char* installed, const char* built, const char* file);

}  // namespace tools
