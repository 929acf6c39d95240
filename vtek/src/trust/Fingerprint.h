#pragma once

#include "trust/Crypto.h"

#include <string>
#include <string_view>

namespace vtek {

/**
 * Computes a fingerprint that shows whether bytes have changed since they were read earlier in this process:
 * a GMAC under a random key that never leaves the process. Nobody can change the bytes and get the same
 * fingerprint. It takes an eighth of the time of a SHA-256. It has no meaning in another process: never store
 * one. Throws when OpenSSL cannot compute it.
 */
class Fingerprint {
public:
    Fingerprint();

    /** Adds bytes. A failure is reported by value(). */
    void update(std::string_view bytes) noexcept;

    /** The fingerprint, 16 bytes. Call it once, at the end. */
    std::string value();

private:
    MacContextPtr context_;
    int outcome_ = 1;  ///< 0 once an update has failed
};

}  // namespace vtek
