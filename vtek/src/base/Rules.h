#pragma once

#include <cstdint>

namespace vtek {

/** Whether a certificate whose issuer has no revocation list in the trust store is accepted. */
enum class Revocation { IfPresent, Required };

/** Bounds on what an archive may unpack to. */
struct UnpackLimits {
    std::uint64_t entries;
    std::uint64_t depth;       ///< folders above an entry
    std::uint64_t totalBytes;  ///< of all files together
    std::uint64_t ratio;       ///< unpacked bytes per byte of the archive, beyond the first MiB
};

}  // namespace vtek
