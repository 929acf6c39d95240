#pragma once

#include "trust/Crypto.h"

#include <string>
#include <string_view>

namespace vtek {

/**
 * Tells whether bytes are still the same as earlier in this process: an authentication code (GMAC) under a
 * key that the process has made at random and keeps to itself, so that nobody who changes the bytes can aim
 * at the same fingerprint. It takes an eighth of the time of a SHA-256, and means nothing outside the
 * process: never write one down.
 */
class Fingerprint {
public:
    Fingerprint();

    void update(std::string_view bytes) noexcept;

    /** The fingerprint of everything so far; call it once. */
    std::string value();

private:
    MacContextPtr context_;
    int outcome_ = 1;  // of every step so far
};

}  // namespace vtek
