#pragma once

#include "base/Result.h"
#include "base/SignedFile.h"

#include <cstdint>
#include <string>

namespace vtek {

inline constexpr const char* kPayloadSuffix = ".fwp";
inline constexpr std::uint64_t kSignatureBound = 64 * 1024;  ///< bytes

/**
 * A payload is one file: an archive, then a detached DER CMS signature over exactly the archive's bytes, then
 * the signature's length as 8 bytes, big-endian.
 */

/** Opens the only payload in a folder, never through a link. */
Result<SignedFile> findPayload(int folder);

/** Opens one payload file and takes it apart; nothing in it is authentic yet. */
Result<SignedFile> openPayload(int folder, const std::string& name);

/** The last eight bytes of a payload. */
std::string payloadTrailer(std::uint64_t signatureLength);

}  // namespace vtek
