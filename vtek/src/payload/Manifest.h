#pragma once

#include "base/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/** What a payload says about itself, in manifest.xml, the first entry of its archive. */
struct Manifest {
    std::string componentId;
    std::string version;
    std::vector<std::string> chassisTypes;  ///< at least one
    std::string packageDigest;              ///< SHA-256 of package.xml, 64 lower-case hexadecimal digits

    bool operator==(const Manifest&) const = default;
};

inline constexpr const char* kManifestName = "manifest.xml";
inline constexpr std::size_t kManifestBound = 64 * 1024;  ///< bytes; a real one has a few hundred

/**
 * Reads a manifest. A document type, a missing field and a malformed field are refused with ManifestInvalid.
 *
 * @param xml  must be authentic: its signature was verified
 */
Result<Manifest> parseManifest(std::string_view xml);

/**
 * Reads the first entry of an archive, which must be its manifest.
 *
 * @param start  the first bytes of the archive, which must be authentic
 */
Result<Manifest> readManifest(std::string_view start);

/** The manifest as an XML document. */
std::string formatManifest(const Manifest& manifest);

}  // namespace vtek
