#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** What a payload says about itself: its archive's first entry, manifest.xml. */
struct Manifest {
    std::string componentId;
    std::string version;
    std::vector<std::string> chassisTypes;  ///< at least one
    std::string packageDigest;              ///< SHA-256 of package.xml, 64 lower-case hexadecimal digits

    bool operator==(const Manifest&) const = default;
};

inline constexpr const char* kManifestName = "manifest.xml";
inline constexpr std::size_t kManifestBound = 64 * 1024;  ///< bytes

/** Reads a manifest that is authentic already; a document type, a missing or malformed field is refused. */
Result<Manifest> parseManifest(std::string_view xml);

/**
 * Reads an archive's first entry, which must be its manifest.
 *
 * @param start  the archive's first bytes, whose signature was verified
 */
Result<Manifest> readManifest(std::string_view start);

/** The manifest as an XML document. */
std::string formatManifest(const Manifest& manifest);

}  // namespace vtek
