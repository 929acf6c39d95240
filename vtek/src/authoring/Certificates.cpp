#include "Certificates.h"

#include <openssl/ec.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <array>
#include <memory>
#include <utility>

namespace vtek {

namespace {

constexpr unsigned int kRsaBits = 3072;
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
    std::array<unsigned char, 16> random{};
    if (RAND_bytes(random.data(), static_cast<int>(random.size())) != 1) {
        return failed("random serial number");
    }
    random[0] = static_cast<unsigned char>((random[0] & 0x7F) | 0x40);  // positive, and never shorter
    if (ASN1_STRING_set(X509_get_serialNumber(certificate), random.data(), static_cast<int>(random.size())) !=
        1) {
        return failed("serial number");
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
    CertificatePtr certificate(X509_new());
    X509* raw = certificate.get();
    X509* parent = issuer == nullptr ? raw : issuer->certificate.get();
    EVP_PKEY* signingKey = issuer == nullptr ? key.get() : issuer->key.get();

    X509_set_version(raw, X509_VERSION_3);
    VTEK_TRY(setSerial(raw));
    ASN1_TIME_set(X509_getm_notBefore(raw), request.validFrom);
    ASN1_TIME_set(X509_getm_notAfter(raw), request.validTo);
    X509_set_pubkey(raw, key.get());
    X509_NAME_add_entry_by_NID(X509_get_subject_name(raw), NID_commonName, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(request.commonName.data()),
                               static_cast<int>(request.commonName.size()), -1, 0);
    X509_set_issuer_name(raw, X509_get_subject_name(parent));
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
    RevocationListPtr list(X509_CRL_new());
    const TimePtr start(ASN1_TIME_set(nullptr, from));
    const TimePtr end(ASN1_TIME_set(nullptr, to));
    X509_CRL_set_version(list.get(), X509_CRL_VERSION_2);
    X509_CRL_set_issuer_name(list.get(), X509_get_subject_name(authority.certificate.get()));
    X509_CRL_set1_lastUpdate(list.get(), start.get());
    X509_CRL_set1_nextUpdate(list.get(), end.get());
    for (const X509* certificate : revoked) {
        RevokedPtr entry(X509_REVOKED_new());
        X509_REVOKED_set_serialNumber(entry.get(),
                                      const_cast<ASN1_INTEGER*>(X509_get0_serialNumber(certificate)));
        X509_REVOKED_set_revocationDate(entry.get(), start.get());
        X509_CRL_add0_revoked(list.get(), entry.release());
    }
    X509_CRL_sort(list.get());
    if (X509_CRL_sign(list.get(), authority.key.get(), EVP_sha256()) <= 0) {
        return failed("sign a revocation list");
    }
    return list;
}

std::string toPem(X509* certificate) {
    const auto bio = required(BioPtr(BIO_new(BIO_s_mem())));
    PEM_write_bio_X509(bio.get(), certificate);
    return textOf(bio.get());
}

std::string toPem(X509_CRL* list) {
    const auto bio = required(BioPtr(BIO_new(BIO_s_mem())));
    PEM_write_bio_X509_CRL(bio.get(), list);
    return textOf(bio.get());
}

std::string toPem(EVP_PKEY* key) {
    const auto bio = required(BioPtr(BIO_new(BIO_s_mem())));
    PEM_write_bio_PKCS8PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    return textOf(bio.get());
}

}  // namespace vtek
