#include "trust/Fingerprint.h"

#include <openssl/core_names.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace vtek {

namespace {

using Key = std::array<unsigned char, 16>;

void require(int outcome) {
    if (outcome != 1) {
        throw std::runtime_error("GMAC is not available");
    }
}

Key makeKey() {
    startCrypto();
    Key key{};
    require(RAND_bytes(key.data(), static_cast<int>(key.size())));
    return key;
}

}  // namespace

Fingerprint::Fingerprint() {
    static const Key key = makeKey();
    const MacPtr mac(EVP_MAC_fetch(nullptr, "GMAC", nullptr));
    require(mac ? 1 : 0);
    context_ = required(MacContextPtr(EVP_MAC_CTX_new(mac.get())));
    // One number for all: it has to differ only where others see the codes.
    std::array<unsigned char, 12> number{};
    char cipher[] = "AES-128-GCM";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, cipher, 0),
        OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_IV, number.data(), number.size()),
        OSSL_PARAM_construct_end()};
    require(EVP_MAC_init(context_.get(), key.data(), key.size(), parameters));
}

void Fingerprint::update(std::string_view bytes) noexcept {
    outcome_ &=
        EVP_MAC_update(context_.get(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string Fingerprint::value() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> code{};
    std::size_t size = 0;
    require(outcome_);
    require(EVP_MAC_final(context_.get(), code.data(), &size, code.size()));
    return {reinterpret_cast<const char*>(code.data()), size};
}

}  // namespace vtek
