#pragma once

#include "base/File.h"
#include "base/Progress.h"
#include "base/Result.h"
#include "base/Rules.h"
#include "payload/Manifest.h"

#include <string>
#include <string_view>

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

/** What was unpacked. */
struct UnpackedContent {
    Manifest manifest;
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

/**
 * Unpacks an archive to a target: regular files and folders with plain names only, nothing twice, within
 * the limits. Modes, owners, times and extended attributes in the archive are not applied.
 *
 * @param prefix   the folder, relative to target, that the entries go into; it exists
 * @param counter  told the archive's bytes as they are taken in
 */
Result<UnpackedContent> unpackArchive(int fd, std::uint64_t archiveLength, UnpackTarget& target,
                                      const std::string& prefix, const UnpackLimits& limits,
                                      const ByteCounter& counter);

/** Whether a relative path is made of plain names: printable ASCII, no "." or "..", no backslash, not too
 * long. */
bool isPlainPath(std::string_view path);

}  // namespace vtek
