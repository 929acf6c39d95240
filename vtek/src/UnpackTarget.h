#pragma once

#include "File.h"

#include <string>

namespace vtek {

/** Where the files and folders of an archive go, by their relative paths. */
class UnpackTarget {
public:
    virtual ~UnpackTarget() = default;

    /** Makes a folder and those above it; existing folders will do. @return false with errno set on failure
     */
    virtual bool makeFolders(const std::string& path) = 0;

    /** Makes a new file to write to. @return empty on failure, with errno set */
    virtual UniqueFd createFile(const std::string& path) = 0;
};

}  // namespace vtek
