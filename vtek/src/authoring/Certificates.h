#pragma once

#include "base/Result.h"
#include "trust/Crypto.h"

#include <ctime>
#include <string>
#include <vector>

namespace vtek {

/** The content of a certificate to be issued. */
struct CertificateRequest {
    std::string commonName;
    std::time_t validFrom;
    std::time_t validTo;
    bool authority = false;
    std::string keyUsage{};          ///< in the syntax of OpenSSL's configuration file; empty for none
    std::string extendedKeyUsage{};  ///< likewise
    const EVP_MD* digest = nullptr;  ///< of its signature; null for SHA-256
};

/** A certificate with its private key. */
struct Identity {
    CertificatePtr certificate;
    KeyPtr key;
};

/** Generates a key on the curve P-256. */
Result<KeyPtr> makeEcKey();

/** Generates an RSA key of 3072 bits. Its signatures over equal bytes are equal. */
Result<KeyPtr> makeRsaKey();

/**
 * Issues a certificate for a key. InvalidArgument when the common name does not have 1 to 64 characters of
 * UTF-8.
 *
 * @param issuer  null for a self-signed certificate
 */
Result<Identity> issueCertificate(const CertificateRequest& request, KeyPtr key, const Identity* issuer);

/** The request of an authority, valid for some days from now. */
CertificateRequest authorityRequest(const std::string& commonName, std::time_t now, int days);

/** The request of a signer that verifySignature accepts. */
CertificateRequest signerRequest(const std::string& commonName, std::time_t now, int days);

/** An authority's list of the certificates that it has revoked, valid between two times. Each certificate
 * counts as revoked from the first of them. */
Result<RevocationListPtr> makeRevocationList(const Identity& authority, std::time_t from, std::time_t to,
                                             const std::vector<const X509*>& revoked);

/** The PEM text of a certificate, a revocation list, or a private key without encryption. */
std::string toPem(X509* certificate);
std::string toPem(X509_CRL* list);
std::string toPem(EVP_PKEY* key);

}  // namespace vtek
