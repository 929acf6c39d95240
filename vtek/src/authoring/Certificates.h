#pragma once

#include "base/Result.h"
#include "trust/Crypto.h"

#include <ctime>
#include <string>
#include <vector>

namespace vtek {

/** What a new certificate is to say. */
struct CertificateRequest {
    std::string commonName;
    std::time_t validFrom;
    std::time_t validTo;
    bool authority = false;
    std::string keyUsage{};          ///< as in OpenSSL's configuration; empty for none
    std::string extendedKeyUsage{};  ///< as in OpenSSL's configuration; empty for none
    const EVP_MD* digest = nullptr;  ///< null for SHA-256
};

/** A certificate with its private key. */
struct Identity {
    CertificatePtr certificate;
    KeyPtr key;
};

/** A key on the curve P-256. */
Result<KeyPtr> makeEcKey();

/** An RSA key of 3072 bits, whose signatures over equal bytes are equal. */
Result<KeyPtr> makeRsaKey();

/** Makes a certificate for a key. The common name has 1 to 64 characters of UTF-8; another one is an invalid
 * argument. @param issuer  null for one that is signed by itself */
Result<Identity> issueCertificate(const CertificateRequest& request, KeyPtr key, const Identity* issuer);

/** A request for an authority, and for a signer that this system accepts. */
CertificateRequest authorityRequest(const std::string& commonName, std::time_t now, int days);
CertificateRequest signerRequest(const std::string& commonName, std::time_t now, int days);

/** An authority's list of the certificates that it has revoked; their lifetime is the list's. */
Result<RevocationListPtr> makeRevocationList(const Identity& authority, std::time_t from, std::time_t to,
                                             const std::vector<const X509*>& revoked);

std::string toPem(X509* certificate);
std::string toPem(X509_CRL* list);
std::string toPem(EVP_PKEY* key);

}  // namespace vtek
