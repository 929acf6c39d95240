#include "authoring/Certificates.h"

#include <openssl/ec.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <array>
#include <memory>
#include <utility>

namespace vtek {

namespace {

constexpr unsigned int kRsaBits = 3072;  // as strong as P-256
constexpr long kSecondsPerDay = 24 * 60 * 60;

struct FreeExtension {
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
    void operator()(X509_REVOKED* entry) const { X509_REVOKED_free(entry); }
};
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, FreeExtension>;
using RevokedPtr = std::unique_ptr<X509_REVOKED, FreeExtension>;

Error failed(const char* what) {
    return {ErrorNumber::Internal, std::string(what) + ": " + cryptoError()};
}

Status setSerial(X509* certificate) {
    std::array<unsigned char, 16> random{};  // at most 20 bytes, by RFC 5280; 8 random ones would do
    if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1) {
        return failed("random serial number");
    }
    // Bit 7 clear: the number is positive. Bit 6 set: it has the same length in every certificate.
    random[0] = static_cast<unsigned char>((random[0] & 0x7F) | 0x40);
    if (ASN1_STRING_set(X509_get_serialNumber(certificate), random.data(), static_cast<int>(random.size())) !=
        1) {
        return failed("serial number");
    }
    return {};
}

/** OpenSSL refuses a name that is empty, longer than 64 characters, or not UTF-8. */
Status setCommonName(X509* certificate, const std::string& name) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(name.data());
    if (X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), NID_commonName, MBSTRING_UTF8, bytes,
                                   static_cast<int>(name.size()), -1, 0) != 1) {
        return Error{ErrorNumber::InvalidArgument, "common name \"" + name + "\": " + cryptoError()};
    }
    return {};
}

Status setLifetime(X509* certificate, std::time_t from, std::time_t to) {
    if (ASN1_TIME_set(X509_getm_notBefore(certificate), from) == nullptr ||
        ASN1_TIME_set(X509_getm_notAfter(certificate), to) == nullptr) {
        return failed("lifetime of a certificate");
    }
    return {};
}

Status addExtension(X509* certificate, X509* issuer, int nid, const std::string& value) {
    if (value.empty()) {
        return {};
    }
    X509V3_CTX context{};
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    if (!extension || X509_add_ext(certificate, extension.get(), -1) != 1) {
        return failed("certificate extension");
    }
    return {};
}

Status revoke(X509_CRL* list, const X509* certificate, ASN1_TIME* since) {
    RevokedPtr entry = required(RevokedPtr(X509_REVOKED_new()));
    auto* serialNumber = const_cast<ASN1_INTEGER*>(X509_get0_serialNumber(certificate));
    if (X509_REVOKED_set_serialNumber(entry.get(), serialNumber) != 1 ||
        X509_REVOKED_set_revocationDate(entry.get(), since) != 1 ||
        X509_CRL_add0_revoked(list, entry.get()) != 1) {
        return failed("revoke a certificate");
    }
    static_cast<void>(entry.release());  // the list owns it
    return {};
}

std::string textOf(BIO* bio) {
    const char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio, &bytes);
    return std::string(bytes, static_cast<std::size_t>(size));
}

}  // namespace

Result<KeyPtr> makeEcKey() {
    startCrypto();
    KeyPtr key(EVP_EC_gen("P-256"));
    if (!key) {
        return failed("make a key");
    }
    return key;
}

Result<KeyPtr> makeRsaKey() {
    startCrypto();
    KeyPtr key(EVP_RSA_gen(kRsaBits));
    if (!key) {
        return failed("make a key");
    }
    return key;
}

Result<Identity> issueCertificate(const CertificateRequest& request, KeyPtr key, const Identity* issuer) {
    CertificatePtr certificate = required(CertificatePtr(X509_new()));
    X509* raw = certificate.get();
    X509* parent = issuer == nullptr ? raw : issuer->certificate.get();
    EVP_PKEY* signingKey = issuer == nullptr ? key.get() : issuer->key.get();

    VTEK_TRY(setSerial(raw));
    VTEK_TRY(setCommonName(raw, request.commonName));
    VTEK_TRY(setLifetime(raw, request.validFrom, request.validTo));
    if (X509_set_version(raw, X509_VERSION_3) != 1 || X509_set_pubkey(raw, key.get()) != 1 ||
        X509_set_issuer_name(raw, X509_get_subject_name(parent)) != 1) {
        return failed("make a certificate");
    }
    VTEK_TRY(addExtension(raw, parent, NID_basic_constraints,
                          request.authority ? "critical,CA:TRUE" : "critical,CA:FALSE"));
    VTEK_TRY(addExtension(raw, parent, NID_key_usage, request.keyUsage));
    VTEK_TRY(addExtension(raw, parent, NID_ext_key_usage, request.extendedKeyUsage));
    VTEK_TRY(addExtension(raw, parent, NID_subject_key_identifier, "hash"));
    if (issuer != nullptr) {
        VTEK_TRY(addExtension(raw, parent, NID_authority_key_identifier, "keyid"));
    }
    if (X509_sign(raw, signingKey, request.digest == nullptr ? EVP_sha256() : request.digest) <= 0) {
        return failed("sign a certificate");
    }
    return Identity{std::move(certificate), std::move(key)};
}

CertificateRequest authorityRequest(const std::string& commonName, std::time_t now, int days) {
    CertificateRequest request{commonName, now, now + days * kSecondsPerDay};
    request.authority = true;
    request.keyUsage = "critical,keyCertSign,cRLSign";
    return request;
}

CertificateRequest signerRequest(const std::string& commonName, std::time_t now, int days) {
    CertificateRequest request{commonName, now, now + days * kSecondsPerDay};
    request.keyUsage = "critical,digitalSignature";
    request.extendedKeyUsage = "codeSigning";
    return request;
}

Result<RevocationListPtr> makeRevocationList(const Identity& authority, std::time_t from, std::time_t to,
                                             const std::vector<const X509*>& revoked) {
    RevocationListPtr list = required(RevocationListPtr(X509_CRL_new()));
    const TimePtr start(ASN1_TIME_set(nullptr, from));
    const TimePtr end(ASN1_TIME_set(nullptr, to));
    if (!start || !end || X509_CRL_set_version(list.get(), X509_CRL_VERSION_2) != 1 ||
        X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(authority.certificate.get())) != 1 ||
        X509_CRL_set1_lastUpdate(list.get(), start.get()) != 1 ||
        X509_CRL_set1_nextUpdate(list.get(), end.get()) != 1) {
        return failed("make a revocation list");
    }
    for (const X509* certificate : revoked) {
        VTEK_TRY(revoke(list.get(), certificate, start.get()));
    }
    X509_CRL_sort(list.get());
    if (X509_CRL_sign(list.get(), authority.key.get(), EVP_sha256()) <= 0) {
        return failed("sign a revocation list");
    }
    return list;
}

std::string toPem(X509* certificate) {
    const auto bio = required(BioPtr(BIO_new(BIO_s_mem())));
    required(PEM_write_bio_X509(bio.get(), certificate));
    return textOf(bio.get());
}

std::string toPem(X509_CRL* list) {
    const auto bio = required(BioPtr(BIO_new(BIO_s_mem())));
    required(PEM_write_bio_X509_CRL(bio.get(), list));
    return textOf(bio.get());
}

std::string toPem(EVP_PKEY* key) {
    const auto bio = required(BioPtr(BIO_new(BIO_s_mem())));
    required(PEM_write_bio_PKCS8PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr));
    return textOf(bio.get());
}

}  // namespace vtek
