#include "trust/Signer.h"

#include "trust/Chain.h"

#include <openssl/ec.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <string_view>

namespace vtek {

namespace {

// The signer's own key is judged more strictly: by kind, and by these sizes.
constexpr int kMinRsaBits = 2048;
constexpr int kMinEcBits = 256;

bool isStrongDigest(int nid) {
    return nid == NID_sha256 || nid == NID_sha384 || nid == NID_sha512;
}

/** @param key  null when the certificate's key cannot be read, such as one on an unknown curve */
bool isStrongKey(const EVP_PKEY* key) {
    if (key == nullptr) {
        return false;
    }
    const int bits = EVP_PKEY_get_bits(key);
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
        case EVP_PKEY_RSA_PSS:
            return bits >= kMinRsaBits;
        case EVP_PKEY_EC:
            return bits >= kMinEcBits;
        default:
            return false;
    }
}

/** The security level covers the chain only, not the digest that the signer used. */
Status checkAlgorithms(CMS_SignerInfo* signer, X509* certificate) {
    X509_ALGOR* digest = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, nullptr);
    if (!isStrongDigest(OBJ_obj2nid(digest->algorithm))) {
        return refuseSigner(ErrorNumber::SignerWeak, certificate, "its digest is weaker than SHA-256");
    }
    if (!isStrongKey(X509_get0_pubkey(certificate))) {
        return refuseSigner(ErrorNumber::SignerWeak, certificate, "its key is weaker than RSA-2048 or P-256");
    }
    return {};
}

/** An absent extension means "any purpose" to OpenSSL; here each must be present. */
Status checkPurpose(X509* certificate) {
    if (X509_check_ca(certificate) != 0) {  // by any sign, not only by its basic constraints
        return refuseSigner(ErrorNumber::SignerPurpose, certificate, "its certificate is an authority's");
    }
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_INVALID) != 0) {
        return refuseSigner(ErrorNumber::SignerPurpose, certificate,
                            "its certificate has malformed extensions");
    }
    if ((flags & EXFLAG_XKUSAGE) == 0 || (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) == 0) {
        return refuseSigner(ErrorNumber::SignerPurpose, certificate,
                            "its certificate is not for code signing");
    }
    if ((flags & EXFLAG_KUSAGE) == 0 || (X509_get_key_usage(certificate) & KU_DIGITAL_SIGNATURE) == 0) {
        return refuseSigner(ErrorNumber::SignerPurpose, certificate,
                            "its certificate is not for digital signatures");
    }
    return {};
}

/**
 * The common name of a certificate; empty when there is none, more than one, or one with control characters.
 * A NUL or an escape sequence could make a log or a comparison show another name.
 */
std::string commonName(X509* certificate) {
    const X509_NAME* subject = X509_get_subject_name(certificate);
    const int position = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    if (position < 0 || X509_NAME_get_index_by_NID(subject, NID_commonName, position) >= 0) {
        return {};
    }
    unsigned char* bytes = nullptr;
    const int size =
        ASN1_STRING_to_UTF8(&bytes, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, position)));
    if (size < 0) {
        return {};
    }
    const std::string name(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
    OPENSSL_free(bytes);
    const bool hasControl =
        std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
    return hasControl ? std::string() : name;
}

Status checkName(X509* certificate, const std::vector<std::string>& allowed) {
    const std::string name = commonName(certificate);
    if (name.empty()) {
        return refuseSigner(ErrorNumber::SignerName, certificate,
                            "its certificate has no usable common name");
    }
    if (!allowed.empty() && std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
        return refuseSigner(ErrorNumber::SignerName, certificate, "its name is not allowed");
    }
    return {};
}

}  // namespace

X509* signerCertificate(CMS_SignerInfo* signer) {
    X509* certificate = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, &certificate, nullptr, nullptr);
    return certificate;
}

Status checkSigner(CMS_SignerInfo* signer, STACK_OF(X509) * untrusted, const TrustStore& trust,
                   const SignerPolicy& policy) {
    X509* certificate = signerCertificate(signer);
    // Without this, a signature over the attributes of one payload could pass for a signature over an archive
    // that consists of just those bytes.
    if (CMS_signed_get_attr_count(signer) <= 0) {
        return refuseSigner(ErrorNumber::SignatureMalformed, certificate, "there are no signed attributes");
    }
    VTEK_TRY(checkAlgorithms(signer, certificate));
    VTEK_TRY(checkChain(certificate, untrusted, trust, policy.now, policy.revocation));
    VTEK_TRY(checkPurpose(certificate));
    return checkName(certificate, policy.signerNames);
}

}  // namespace vtek
