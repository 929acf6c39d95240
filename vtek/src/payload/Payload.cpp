#include "payload/Payload.h"

#include <algorithm>
#include <utility>

namespace vtek {

namespace {

constexpr std::uint64_t kTrailerLength = 8;  // bytes: the length of the signature

Error malformed(const std::string& name, const char* reason) {
    return {ErrorNumber::PayloadFormat, name + ": " + reason};
}

Status readTail(const UniqueFd& file, const std::string& name, void* buffer, std::uint64_t size,
                std::uint64_t offset) {
    const ssize_t n = readFullyAt(file.get(), buffer, size, offset);
    if (n < 0) {
        return systemError(ErrorNumber::PayloadUnreadable, "read " + name);
    }
    if (static_cast<std::uint64_t>(n) < size) {
        return malformed(name, "truncated while it was read");
    }
    return {};
}

}  // namespace

Result<SignedFile> findPayload(int folder) {
    std::vector<std::string> names;
    if (!listFolder(folder, names)) {
        return systemError(ErrorNumber::PayloadUnreadable, "list the working directory");
    }
    std::erase_if(names, [](const std::string& name) { return !name.ends_with(kPayloadSuffix); });
    if (names.empty()) {
        return Error{ErrorNumber::PayloadMissing, "the working directory has no *.fwp file"};
    }
    if (names.size() > 1) {
        return Error{ErrorNumber::PayloadAmbiguous,
                     "the working directory has " + names[0] + " and " + names[1]};
    }
    return openPayload(folder, names.front());
}

Result<SignedFile> openPayload(int folder, const std::string& name) {
    VTEK_ASSIGN(RegularFile opened,
                openRegularFile(folder, name, Links::Refused, name, ErrorNumber::PayloadUnreadable));
    const std::uint64_t size = opened.size();
    const UniqueFd& file = opened.fd;
    if (size < kTrailerLength) {
        return malformed(name, "too short for a payload");
    }
    std::string trailer(kTrailerLength, '\0');
    VTEK_TRY(readTail(file, name, trailer.data(), kTrailerLength, size - kTrailerLength));
    std::uint64_t length = 0;
    for (const char byte : trailer) {
        length = length << 8 | static_cast<unsigned char>(byte);
    }
    // Compared with what is left, never added up: the sum could overflow. The archive has at least one byte.
    if (length == 0 || length > kSignatureBound || length >= size - kTrailerLength) {
        return malformed(name, "the length of the signature is impossible");
    }
    const std::uint64_t archiveLength = size - kTrailerLength - length;
    std::vector<unsigned char> signature(length);
    VTEK_TRY(readTail(file, name, signature.data(), length, archiveLength));
    return SignedFile{std::move(opened.fd), name, archiveLength, std::move(signature),
                      std::move(trailer),   size};
}

std::string payloadTrailer(std::uint64_t signatureLength) {
    std::string trailer(kTrailerLength, '\0');
    for (auto byte = trailer.rbegin(); byte != trailer.rend(); ++byte) {
        *byte = static_cast<char>(signatureLength & 0xFF);
        signatureLength >>= 8;
    }
    return trailer;
}

}  // namespace vtek
