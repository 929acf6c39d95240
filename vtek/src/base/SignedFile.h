#pragma once

#include "base/File.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vtek {

/**
 * A file with a detached signature at its end: the signed bytes, the signature, a trailer. It stays open from
 * the check to the copy, so that replacing it by another file changes nothing.
 */
struct SignedFile {
    UniqueFd file;
    std::string name;                      ///< in its folder
    std::uint64_t signedLength;            ///< bytes that the signature covers, from offset 0
    std::vector<unsigned char> signature;  ///< CMS in DER
    std::string trailer;                   ///< as it stands at the end of the file
    std::uint64_t size;                    ///< of the whole file, in bytes

    /** What follows the signed bytes: the signature and the trailer. */
    std::array<std::string_view, 2> tail() const {
        return {std::string_view(reinterpret_cast<const char*>(signature.data()), signature.size()), trailer};
    }
};

}  // namespace vtek
