#pragma once

#include "base/File.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vtek {

/**
 * A file that carries a detached signature over its first bytes, held open from the first look to the last:
 * the signed bytes, then the signature, then a trailer.
 */
struct SignedFile {
    UniqueFd file;
    std::string name;                      ///< within its folder
    std::uint64_t signedLength;            ///< bytes that the signature covers
    std::vector<unsigned char> signature;  ///< a DER CMS
    std::string trailer;
    std::uint64_t size;  ///< of the whole file
};

}  // namespace vtek
