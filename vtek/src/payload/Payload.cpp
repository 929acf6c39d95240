#include "payload/Payload.h"

#include "payload/UnpackBudget.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vtek {

namespace {

constexpr std::uint64_t kTrailerLength = 8;  // bytes: the length of the signature

// A tar has two blocks of 512 bytes per entry, a zip two headers; the rest is room for long names.
constexpr std::uint64_t kOverheadPerEntry = 4096;

/** Whether a file has at least so many bytes outside of holes. Stops as soon as it has: there may be millions
 * of holes. */
bool hasData(int fd, std::uint64_t wanted) {
    std::uint64_t found = 0;
    off_t end = 0;
    while (found < wanted) {
        const off_t begin = lseek(fd, end, SEEK_DATA);
        end = begin < 0 ? begin : lseek(fd, begin, SEEK_HOLE);
        if (end < 0) {
            // ENXIO: no data follows. Anything else: this file system has no notion of holes.
            return errno != ENXIO;
        }
        found += static_cast<std::uint64_t>(end - begin);
    }
    return true;
}

Error malformed(const std::string& name, const char* reason) {
    return {ErrorNumber::PayloadFormat, name + ": " + reason};
}

Status readTail(const UniqueFd& file, const std::string& name, void* buffer, std::size_t size,
                std::uint64_t offset) {
    const ssize_t n = readFullyAt(file.get(), buffer, size, offset);
    if (n < 0) {
        return systemError(ErrorNumber::PayloadUnreadable, "read " + name);
    }
    if (static_cast<std::size_t>(n) < size) {
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
    std::vector<unsigned char> signature(static_cast<std::size_t>(length));  // within the bound
    VTEK_TRY(readTail(file, name, signature.data(), signature.size(), archiveLength));
    return SignedFile{std::move(opened.fd), name, archiveLength, std::move(signature),
                      std::move(trailer),   size};
}

Status checkPayloadSize(const SignedFile& payload, const UnpackLimits& limits) {
    // What an archive holds besides content: headers and padding, and a zip's directory.
    const std::uint64_t overhead = limits.entries * kOverheadPerEntry;
    if (payload.size > limits.totalBytes + overhead + kSignatureBound + kTrailerLength) {
        return archiveTooLarge("it has more bytes than it may unpack to");
    }
    const std::uint64_t limited = payload.size - std::min(payload.size, kFreeBytes);
    if (!hasData(payload.file.get(), limited / limits.ratio)) {
        return archiveTooLarge("it consists of holes");
    }
    return {};
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
