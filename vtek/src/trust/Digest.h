#pragma once

#include "base/Result.h"

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <string>

namespace vtek {

/** Computes a SHA-256 piece by piece. */
class Digest {
public:
    Digest();

    /** Goes on from where another SHA-256 stands. */
    explicit Digest(const EVP_MD_CTX& begun);

    void update(const void* data, std::size_t size) noexcept;

    /** The digest of everything so far, 64 lower-case hexadecimal digits; call it once. */
    std::string hex();

private:
    struct Free {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    using Context = std::unique_ptr<EVP_MD_CTX, Free>;
    Context context_;
    int outcome_ = 1;  // of every step so far
};

/** SHA-256 of what a descriptor holds from where it stands to its end; the number is for a failed read. */
Result<std::string> digestOfFile(int fd, ErrorNumber onFailure);

}  // namespace vtek
