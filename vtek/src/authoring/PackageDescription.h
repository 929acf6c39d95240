#pragma once

#include "base/Result.h"

#include <string>

namespace vtek {

/** What a package.xml says about the component that the package is for. */
struct PackageDescription {
    std::string componentId;  ///< of the first supported device
    std::string version;
};

/**
 * Reads a package.xml as the update program does.
 *
 * @param onFailure  the number for a file that cannot be read, is no such document or names no component
 */
Result<PackageDescription> readPackageDescription(int folder, const std::string& path, ErrorNumber onFailure);

}  // namespace vtek
