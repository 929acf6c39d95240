#pragma once

#include "base/Result.h"
#include "base/Rules.h"
#include "base/SignedFile.h"

#include <cstdint>
#include <string>

// A payload is one file: an archive, then a detached DER CMS signature over exactly the archive's bytes, then
// the signature's length in bytes as an 8-byte big-endian number.

namespace vtek {

inline constexpr const char* kPayloadSuffix = ".fwp";
inline constexpr std::uint64_t kSignatureBound = 64 * 1024;  ///< bytes; room for dozens of certificates

/** Opens the only payload in a folder. None, several, and a symbolic link are failures. */
Result<SignedFile> findPayload(int folder);

/** Opens a payload and reads its signature. Nothing in it is authentic yet. */
Result<SignedFile> openPayload(int folder, const std::string& name);

/**
 * Refuses a payload that costs more to read than its archive may unpack to: one that is larger, or one of
 * holes, which counts as compressed. Fails with ArchiveTooLarge; reads nothing.
 */
Status checkPayloadSize(const SignedFile& payload, const UnpackLimits& limits);

/** The last eight bytes of a payload. */
std::string payloadTrailer(std::uint64_t signatureLength);

}  // namespace vtek
