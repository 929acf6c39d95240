#pragma once

#include "ArchiveReader.h"
#include "Manifest.h"
#include "Settings.h"
#include "Signature.h"
#include "UnpackTarget.h"

#include <string>
#include <string_view>

namespace vtek {

/**
 * Reads an archive's first entry, which must be its manifest.
 *
 * @param start  the archive's first bytes, whose signature was verified
 */
Result<Manifest> readManifest(std::string_view start);

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
