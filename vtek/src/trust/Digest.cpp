#include "trust/Digest.h"

#include <array>

namespace vtek {

namespace {

constexpr const char* kName = "SHA-256";

}  // namespace

Digest::Digest() : context_(required(DigestContextPtr(EVP_MD_CTX_new()))) {
    startCrypto();
    requireStep(EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr), kName);
}

Digest::Digest(const EVP_MD_CTX& begun) : context_(required(DigestContextPtr(EVP_MD_CTX_new()))) {
    requireStep(EVP_MD_CTX_copy_ex(context_.get(), &begun), kName);
}

void Digest::update(const void* data, std::size_t size) noexcept {
    outcome_ &= EVP_DigestUpdate(context_.get(), data, size);
}

std::string Digest::hex() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> raw{};
    unsigned int size = 0;
    requireStep(outcome_, kName);
    requireStep(EVP_DigestFinal_ex(context_.get(), raw.data(), &size), kName);

    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += kDigits[raw[i] >> 4];
        text += kDigits[raw[i] & 0xF];
    }
    return text;
}

std::string digestOfText(std::string_view text) {
    Digest digest;
    digest.update(text.data(), text.size());
    return digest.hex();
}

}  // namespace vtek
