#pragma once

#include "File.h"
#include "Result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vtek {

inline constexpr const char* kPayloadSuffix = ".fwp";
inline constexpr std::uint64_t kSignatureBound = 64 * 1024;  ///< bytes

/**
 * A payload file, held open from the first look to the last: the archive, then a detached DER CMS signature
 * over exactly the archive's bytes, then the signature's length as 8 bytes, big-endian.
 */
struct Payload {
    UniqueFd file;
    std::string name;  ///< within its folder
    std::uint64_t archiveLength;
    std::vector<unsigned char> signature;  ///< the CMS
    std::uint64_t size;                    ///< of the whole file
};

/** Opens the only payload in a folder, never through a link. */
Result<Payload> findPayload(int folder);

/** Opens one payload file and takes it apart; nothing in it is authentic yet. */
Result<Payload> openPayload(int folder, const std::string& name);

/** The last eight bytes of a payload. */
std::string payloadTrailer(std::uint64_t signatureLength);

}  // namespace vtek
