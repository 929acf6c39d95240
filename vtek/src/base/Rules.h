#pragma once

#include <cstddef>
#include <cstdint>

namespace vtek {

/** Whether to accept a certificate whose issuer has no revocation list in the trust store. */
enum class Revocation { IfPresent, Required };

/** Limits on what an archive may unpack to. */
struct UnpackLimits {
    std::uint64_t entries;     ///< files and folders
    std::uint64_t depth;       ///< folders above an entry, at most
    std::uint64_t totalBytes;  ///< of all files together, unpacked
    std::uint64_t ratio;       ///< unpacked bytes per byte of the archive, beyond the first MiB
};

/** The largest package.xml that is read, in bytes. One with 10,000 dependencies has a few MiB. */
inline constexpr std::size_t kPackageBound = std::size_t{16} * 1024 * 1024;

}  // namespace vtek
