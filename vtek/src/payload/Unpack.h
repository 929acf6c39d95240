#pragma once

#include "base/File.h"
#include "base/Progress.h"
#include "base/Result.h"
#include "base/Rules.h"
#include "payload/Manifest.h"

#include <cstdint>
#include <string>

namespace vtek {

/** Receives the files and folders of an archive by their relative paths. */
class UnpackTarget {
public:
    virtual ~UnpackTarget() = default;

    /** Makes a folder and its parents; existing folders are kept. @return false with errno set on failure */
    virtual bool makeFolders(const std::string& path) = 0;

    /** Creates a new file, open for writing. @return empty on failure, with errno set */
    virtual UniqueFd createFile(const std::string& path) = 0;
};

/** What an archive held. */
struct UnpackedContent {
    Manifest manifest;
    std::uint64_t files = 0;  ///< the manifest included
    std::uint64_t bytes = 0;  ///< of all files together
};

/**
 * Unpacks an archive: regular files and folders with plain names only, no name twice, within the limits.
 * Modes, owners, times and extended attributes are not applied. A refusal leaves what was unpacked before it
 * in the target; the caller removes that.
 *
 * @param fd             a regular file that starts with the archive; stays the caller's
 * @param archiveLength  of the archive in bytes; later bytes of the file are not read
 * @param copy           the path of the payload's copy in the target. Entries go into its folder, which
 * exists, and none may have its name. Empty: entries go into the target itself, which has no copy
 * @param counter        called with the number of archive bytes read, from one thread at a time
 */
Result<UnpackedContent> unpackArchive(int fd, std::uint64_t archiveLength, UnpackTarget& target,
                                      const std::string& copy, const UnpackLimits& limits,
                                      const ByteCounter& counter);

}  // namespace vtek
