// Parses a payload and verifies its signature. payload/make-payload made the trusted authority and the only
// archive that was ever signed for it.

#include "CmsVerdict.h"
#include "Harness.h"
#include "TempDir.h"
#include "base/File.h"
#include "payload/Payload.h"
#include "trust/Digest.h"
#include "trust/Signature.h"
#include "trust/TrustStore.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace test {
namespace {

constexpr std::time_t kNow = 1'800'000'000;  // within the ten years of the stored certificates
constexpr std::size_t kTrailerLength = 8;
constexpr std::size_t kLongestSignature = 64 * 1024;

/** The lengths of a payload's parts according to its last eight bytes; nothing if they are impossible. */
std::optional<std::pair<std::size_t, std::size_t>> partsOf(std::string_view payload) {
    if (payload.size() < kTrailerLength) {
        return std::nullopt;
    }
    const std::string_view body = payload.substr(0, payload.size() - kTrailerLength);
    std::uint64_t signature = 0;
    for (const char byte : payload.substr(body.size())) {
        signature = signature * 256 + static_cast<unsigned char>(byte);
    }
    if (signature == 0 || signature > kLongestSignature || signature >= body.size()) {
        return std::nullopt;
    }
    const auto length = static_cast<std::size_t>(signature);
    return std::pair(body.size() - length, length);
}

std::string digestOf(std::string_view text) {
    vtek::Digest digest;
    digest.update(text.data(), text.size());
    return digest.hex();
}

/** Trusts the authority whose certificate and empty revocation list are in the folder. */
vtek::TrustStore loadTrust(const std::filesystem::path& folder) {
    vtek::TrustStore trust{vtek::X509StorePtr(X509_STORE_new())};
    const auto authority = vtek::parseTrustFile("authority.pem", readFile(folder / "authority.pem"));
    const auto list = vtek::parseTrustFile("authority.crl", readFile(folder / "authority.crl"));
    require(authority && list, "the authority of the stored payloads");
    X509_STORE_add_cert(trust.store.get(), authority->certificates.at(0).get());
    X509_STORE_add_crl(trust.store.get(), list->revocationLists.at(0).get());
    trust.authorities = 1;
    trust.revocationLists = 1;
    return trust;
}

/** Requires OpenSSL's verdict on whether the signature matches the archive, unless it is refused earlier. */
void compareWithCms(const vtek::SignedFile& payload, std::string_view archive, std::string_view signature) {
    const auto fits = vtek::checkSignatureFits(payload);
    if (fits || fits.error().number == vtek::ErrorNumber::SignatureMismatch) {
        require(static_cast<bool>(fits) == cmsVerifies(signature, archive), "the verdict of CMS_verify");
    }
}

}  // namespace

void examine(std::string_view input) {
    static const std::filesystem::path kept = FUZZ_PAYLOAD;
    static const vtek::TrustStore trust = loadTrust(kept);
    static const std::string authentic = digestOf(readFile(kept / "signed-archive"));
    const vtek::SignerPolicy policy{kNow, vtek::Revocation::Required, {"Lab Signer"}};

    const std::filesystem::path file = workingFolder() / "fw.fwp";
    writeFile(file, input);
    const auto payload = vtek::openPayload(vtek::kWorkingFolder, file.string());
    const auto parts = partsOf(input);
    require(static_cast<bool>(payload) == parts.has_value(),
            "parsed if and only if the lengths are possible");
    if (!payload) {
        require(payload.error().number == vtek::ErrorNumber::PayloadFormat, "refused as malformed");
        return;
    }
    const std::string_view archive = input.substr(0, parts->first);
    require(payload->size == input.size() && payload->signedLength == archive.size(), "the lengths");
    const std::string_view signature = input.substr(parts->first, parts->second);
    require(std::string_view(reinterpret_cast<const char*>(payload->signature.data()),
                             payload->signature.size()) == signature,
            "the signature");
    compareWithCms(*payload, archive, signature);

    std::string seen;
    const auto verified =
        vtek::verifySignature(*payload, trust, policy, [&seen](std::string_view piece) { seen += piece; });
    require(seen.size() <= archive.size(), "no byte of the archive is read twice");
    if (!verified) {
        require(!verified.error().message.empty(), "a reason for a refusal");
        return;
    }
    // The signer's key was deleted, so nothing but this archive can have a valid signature.
    require(digestOf(archive) == authentic, "only what the signer has signed is accepted");
    require(seen == archive, "the copy has every byte of the archive");
    require(verified->digest == digestOf(input), "the digest is the whole file's");
    require(verified->signer == "CN=Lab Signer", "the signer's name");
}

}  // namespace test
