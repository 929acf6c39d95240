#pragma once

#include "base/Result.h"

#include <string>

namespace vtek {

/** What a package.xml says about the component that the package updates. */
struct PackageDescription {
    std::string componentId;  ///< of the first supported device
    std::string version;
};

/**
 * Reads a package.xml as the update program does. The file may be a symbolic link.
 *
 * @param folder     the folder that a relative path starts from
 * @param onFailure  the number for a file that cannot be read, is not well-formed, has a document type, or
 * names no component
 */
Result<PackageDescription> readPackageDescription(int folder, const std::string& path, ErrorNumber onFailure);

}  // namespace vtek
