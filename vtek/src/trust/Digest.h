#pragma once

#include "trust/Crypto.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace vtek {

/** Computes a SHA-256. Throws when OpenSSL cannot. */
class Digest {
public:
    Digest();

    /** Continues a copy of an unfinished SHA-256. */
    explicit Digest(const EVP_MD_CTX& begun);

    /** Adds bytes. A failure is reported by hex(). */
    void update(const void* data, std::size_t size) noexcept;

    /** The digest as 64 lower-case hexadecimal digits. Call it once, at the end. */
    std::string hex();

private:
    DigestContextPtr context_;
    int outcome_ = 1;  ///< 0 once an update has failed
};

/** The SHA-256 of a text as 64 lower-case hexadecimal digits. */
std::string digestOfText(std::string_view text);

}  // namespace vtek
