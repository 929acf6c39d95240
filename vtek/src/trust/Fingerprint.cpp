#include "trust/Fingerprint.h"

#include <openssl/core_names.h>
#include <openssl/params.h>
#include <openssl/rand.h>

#include <array>

namespace vtek {

namespace {

using Key = std::array<unsigned char, 16>;    // of AES-128
using Nonce = std::array<unsigned char, 12>;  // the length that GCM takes as it stands
constexpr const char* kName = "GMAC";

Key makeKey() {
    startCrypto();
    Key key{};
    requireStep(RAND_bytes(key.data(), static_cast<int>(key.size())), kName);
    return key;
}

}  // namespace

Fingerprint::Fingerprint() {
    static const Key key = makeKey();
    const MacPtr mac(EVP_MAC_fetch(nullptr, "GMAC", nullptr));
    requireStep(mac ? 1 : 0, kName);
    context_ = required(MacContextPtr(EVP_MAC_CTX_new(mac.get())));
    // The same nonce every time, or two fingerprints could not be compared. Elsewhere that breaks GMAC: who
    // sees two codes can compute its authentication key. Here nobody sees a code.
    Nonce nonce{};
    char cipher[] = "AES-128-GCM";
    const OSSL_PARAM parameters[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_CIPHER, cipher, 0),
        OSSL_PARAM_construct_octet_string(OSSL_MAC_PARAM_IV, nonce.data(), nonce.size()),
        OSSL_PARAM_construct_end()};
    requireStep(EVP_MAC_init(context_.get(), key.data(), key.size(), parameters), kName);
}

void Fingerprint::update(std::string_view bytes) noexcept {
    outcome_ &=
        EVP_MAC_update(context_.get(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string Fingerprint::value() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> code{};
    std::size_t size = 0;
    requireStep(outcome_, kName);
    requireStep(EVP_MAC_final(context_.get(), code.data(), &size, code.size()), kName);
    return {reinterpret_cast<const char*>(code.data()), size};
}

}  // namespace vtek
