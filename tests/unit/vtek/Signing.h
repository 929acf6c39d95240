#pragma once

#include "authoring/Certificates.h"

#include <ctime>
#include <string>
#include <vector>

namespace test {

/** The moment at which the tests' updates happen. */
inline constexpr std::time_t kNow = 1800000000;
inline constexpr std::time_t kDay = 24 * 60 * 60;

/** An authority as a lab has it: self-signed, valid around kNow. */
vtek::Identity makeAuthority(const std::string& name, std::time_t now = kNow);

/** A signer that satisfies every rule; tests bend the request before they issue it. */
vtek::CertificateRequest goodSigner(std::time_t now = kNow);

/** A certificate for a new P-256 key, or for the key that is given. */
vtek::Identity issue(const vtek::CertificateRequest& request, const vtek::Identity* issuer,
                     vtek::KeyPtr key = nullptr);

/** A key of a kind that the rules judge. */
vtek::KeyPtr makeRsaKey(unsigned int bits);

/** A key of a kind that the rules do not name, as strong as RSA-2048. */
vtek::KeyPtr makeDsaKey();

/** How a signature is made. */
struct CmsForm {
    const EVP_MD* digest = EVP_sha256();
    const EVP_MD* otherDigest = nullptr;  ///< of all signers but the first, when it is another one
    unsigned int flags = 0;               ///< besides CMS_BINARY; CMS_DETACHED is set unless attached
    bool attached = false;
    int contentType = NID_pkcs7_data;  ///< what is signed
    std::vector<X509*> helpers{};
};

/** A DER CMS SignedData over the content by all of the signers; none is possible, too. */
std::string makeCms(const std::string& content, const std::vector<const vtek::Identity*>& signers,
                    const CmsForm& form = {});

/** Archive, signature and the signature's length, as a payload has them. */
std::string makePayload(const std::string& archive, const std::string& cms);

/** An authority's revocation list in PEM. */
std::string makeList(const vtek::Identity& authority, std::time_t from, std::time_t to,
                     const std::vector<const X509*>& revoked = {});

}  // namespace test
