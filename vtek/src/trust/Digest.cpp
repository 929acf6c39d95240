#include "trust/Digest.h"

#include "base/File.h"
#include "trust/Crypto.h"

#include <array>
#include <stdexcept>

namespace vtek {

namespace {

constexpr std::size_t kBlockSize = 64 * 1024;

void require(int outcome) {
    if (outcome != 1) {
        throw std::runtime_error("SHA-256 is not available");
    }
}

}  // namespace

Digest::Digest() : context_(required(Context(EVP_MD_CTX_new()))) {
    startCrypto();
    require(EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr));
}

Digest::Digest(const EVP_MD_CTX& begun) : context_(required(Context(EVP_MD_CTX_new()))) {
    require(EVP_MD_CTX_copy_ex(context_.get(), &begun));
}

void Digest::update(const void* data, std::size_t size) noexcept {
    outcome_ &= EVP_DigestUpdate(context_.get(), data, size);
}

std::string Digest::hex() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> raw{};
    unsigned int size = 0;
    require(outcome_);
    require(EVP_DigestFinal_ex(context_.get(), raw.data(), &size));

    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += kDigits[raw[i] >> 4];
        text += kDigits[raw[i] & 0xF];
    }
    return text;
}

Result<std::string> digestOfFile(int fd, ErrorNumber onFailure) {
    Digest digest;
    std::string block(kBlockSize, '\0');
    for (;;) {
        const ssize_t n = readFully(fd, block.data(), block.size());
        if (n < 0) {
            return systemError(onFailure, "read");
        }
        digest.update(block.data(), static_cast<std::size_t>(n));
        if (static_cast<std::size_t>(n) < block.size()) {
            return digest.hex();
        }
    }
}

}  // namespace vtek
