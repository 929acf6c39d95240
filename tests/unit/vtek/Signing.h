#pragma once

#include "authoring/Certificates.h"

#include <ctime>
#include <string>
#include <vector>

namespace test {

/** The time at which the tests run their updates. */
inline constexpr std::time_t kNow = 1800000000;
inline constexpr std::time_t kDay = 24 * 60 * 60;

/** A self-signed authority that is valid around kNow. */
vtek::Identity makeAuthority(const std::string& name, std::time_t now = kNow);

/** A request for a signer that satisfies every rule; tests change it before issuing. */
vtek::CertificateRequest goodSigner(std::time_t now = kNow);

/** Issues a certificate for the given key, or for a new P-256 key. */
vtek::Identity issue(const vtek::CertificateRequest& request, const vtek::Identity* issuer,
                     vtek::KeyPtr key = nullptr);

/** A key of a type that the rules cover. */
vtek::KeyPtr makeRsaKey(unsigned int bits);

/** A key of a type that the rules do not cover, as strong as RSA-2048. */
vtek::KeyPtr makeDsaKey();

/**
 * Adds an extension to a certificate, whose issuer signs again. @param issuer  null for a self-signed
 * certificate
 *
 * @param name   a name that OpenSSL knows, or dotted numbers
 * @param value  in the syntax of OpenSSL's configuration file, such as "critical,DER:0500"
 */
void extend(vtek::Identity& identity, const vtek::Identity* issuer, const std::string& name,
            const std::string& value);

/** The form of a signature. */
struct CmsForm {
    const EVP_MD* digest = EVP_sha256();
    const EVP_MD* otherDigest = nullptr;  ///< of all signers but the first; null: the same
    unsigned int flags = 0;               ///< besides CMS_BINARY; CMS_DETACHED is set unless attached
    bool attached = false;
    bool pss = false;                  ///< RSA with the padding PSS
    int contentType = NID_pkcs7_data;  ///< of the signed content
    std::vector<X509*> helpers{};
};

/** A CMS SignedData in DER over the content, by any number of signers, even none. */
std::string makeCms(const std::string& content, const std::vector<const vtek::Identity*>& signers,
                    const CmsForm& form = {});

/** Archive, signature and trailer: a payload. */
std::string makePayload(const std::string& archive, const std::string& cms);

/** An authority's revocation list in PEM. */
std::string makeList(const vtek::Identity& authority, std::time_t from, std::time_t to,
                     const std::vector<const X509*>& revoked = {});

/** An extension for certificates, revocation lists and their entries; see extend. */
struct ExtensionText {
    std::string name;
    std::string value;
};

/** A list that is valid around kNow and revokes the certificates, with these extensions of the list itself
 * and of each of its entries. */
std::string makeList(const vtek::Identity& authority, const std::vector<const X509*>& revoked,
                     const std::vector<ExtensionText>& ofList,
                     const std::vector<ExtensionText>& ofEntries = {});

}  // namespace test
