#include "trust/Signer.h"

#include <openssl/ec.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <string_view>

namespace vtek {

namespace {

constexpr int kSecurityLevel = 2;  // 112 bits: no MD5 or SHA-1, RSA from 2048 bits, in the whole chain
constexpr int kRsaBits = 2048;
constexpr int kEcBits = 256;

Error refused(ErrorNumber number, X509* certificate, const std::string& reason) {
    return {number, "signer " + nameText(X509_get_subject_name(certificate)) + ": " + reason};
}

bool isStrongDigest(int nid) {
    return nid == NID_sha256 || nid == NID_sha384 || nid == NID_sha512;
}

/** @param key  null when the certificate's key cannot be read */
bool isStrongKey(const EVP_PKEY* key) {
    if (key == nullptr) {
        return false;
    }
    const int bits = EVP_PKEY_get_bits(key);
    switch (EVP_PKEY_get_base_id(key)) {
        case EVP_PKEY_RSA:
        case EVP_PKEY_RSA_PSS:
            return bits >= kRsaBits;
        case EVP_PKEY_EC:
            return bits >= kEcBits;
        default:
            return false;
    }
}

Status checkAlgorithms(CMS_SignerInfo* signer, X509* certificate) {
    X509_ALGOR* digest = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, nullptr);
    if (!isStrongDigest(OBJ_obj2nid(digest->algorithm))) {
        return refused(ErrorNumber::SignerWeak, certificate, "digest weaker than SHA-256");
    }
    if (!isStrongKey(X509_get0_pubkey(certificate))) {
        return refused(ErrorNumber::SignerWeak, certificate, "key weaker than RSA-2048 or P-256");
    }
    return {};
}

Status checkPurpose(X509* certificate) {
    if (isAuthority(certificate)) {
        return refused(ErrorNumber::SignerPurpose, certificate, "is a certificate authority");
    }
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_INVALID) != 0) {
        return refused(ErrorNumber::SignerPurpose, certificate, "malformed extensions");
    }
    if ((flags & EXFLAG_XKUSAGE) == 0 || (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) == 0) {
        return refused(ErrorNumber::SignerPurpose, certificate, "not for code signing");
    }
    if ((flags & EXFLAG_KUSAGE) == 0 || (X509_get_key_usage(certificate) & KU_DIGITAL_SIGNATURE) == 0) {
        return refused(ErrorNumber::SignerPurpose, certificate, "not for digital signatures");
    }
    return {};
}

/** The only common name of a certificate; empty when there is none, more than one, or one that could deceive.
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
    const bool deceiving =
        std::any_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
    return deceiving ? std::string() : name;
}

Status checkName(X509* certificate, const std::vector<std::string>& allowed) {
    const std::string name = commonName(certificate);
    if (name.empty()) {
        return refused(ErrorNumber::SignerName, certificate, "no usable common name");
    }
    if (!allowed.empty() && std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
        return refused(ErrorNumber::SignerName, certificate, "not one of the names that are allowed");
    }
    return {};
}

ErrorNumber numberOf(int chainError) {
    switch (chainError) {
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return ErrorNumber::SignerNotYetValid;
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return ErrorNumber::SignerExpired;
        case X509_V_ERR_CERT_REVOKED:
            return ErrorNumber::SignerRevoked;
        case X509_V_ERR_UNABLE_TO_GET_CRL:
            return ErrorNumber::RevocationListMissing;
        case X509_V_ERR_CRL_NOT_YET_VALID:
        case X509_V_ERR_CRL_HAS_EXPIRED:
            return ErrorNumber::RevocationListExpired;
        case X509_V_ERR_EE_KEY_TOO_SMALL:
        case X509_V_ERR_CA_KEY_TOO_SMALL:
        case X509_V_ERR_CA_MD_TOO_WEAK:
            return ErrorNumber::SignerWeak;
        default:
            return ErrorNumber::SignerUntrusted;
    }
}

/** Whether the trust store holds a revocation list of a certificate's issuer. */
bool hasList(X509_STORE* store, X509* certificate) {
    STACK_OF(X509_OBJECT)* objects = X509_STORE_get0_objects(store);
    for (int i = 0; i < sk_X509_OBJECT_num(objects); ++i) {
        const X509_CRL* list = X509_OBJECT_get0_X509_CRL(sk_X509_OBJECT_value(objects, i));
        if (list != nullptr &&
            X509_NAME_cmp(X509_CRL_get_issuer(list), X509_get_issuer_name(certificate)) == 0) {
            return true;
        }
    }
    return false;
}

/** Lets a revocation list pass that is not there, and nothing else: one that is there and was not found, for
 * lack of memory, may revoke. */
int passMissingList(int ok, X509_STORE_CTX* context) {
    const bool isUnfound = X509_STORE_CTX_get_error(context) == X509_V_ERR_UNABLE_TO_GET_CRL;
    const bool isMissing =
        isUnfound && !hasList(X509_STORE_CTX_get0_store(context), X509_STORE_CTX_get_current_cert(context));
    return ok == 1 || isMissing ? 1 : 0;
}

Status checkChain(X509* certificate, STACK_OF(X509) * helpers, const TrustStore& trust,
                  const SignerPolicy& policy) {
    const X509StoreContextPtr context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), trust.store.get(), certificate, helpers) != 1) {
        return Error{ErrorNumber::Internal, "no context for the chain: " + cryptoError()};
    }
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_ANY);
    X509_VERIFY_PARAM_set_auth_level(parameters, kSecurityLevel);
    X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL);
    X509_VERIFY_PARAM_set_time(parameters, policy.now);
    if (policy.revocation == Revocation::IfPresent) {
        X509_STORE_CTX_set_verify_cb(context.get(), passMissingList);
    }
    if (X509_verify_cert(context.get()) == 1) {
        return {};
    }
    const int code = X509_STORE_CTX_get_error(context.get());
    cryptoError();
    return refused(numberOf(code), certificate, X509_verify_cert_error_string(code));
}

}  // namespace

X509* signerCertificate(CMS_SignerInfo* signer) {
    X509* certificate = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, &certificate, nullptr, nullptr);
    return certificate;
}

Status checkSigner(CMS_SignerInfo* signer, STACK_OF(X509) * certificates, const TrustStore& trust,
                   const SignerPolicy& policy) {
    X509* certificate = signerCertificate(signer);
    if (CMS_signed_get_attr_count(signer) <= 0) {
        return refused(ErrorNumber::SignatureMalformed, certificate, "signed without attributes");
    }
    VTEK_TRY(checkAlgorithms(signer, certificate));
    VTEK_TRY(checkChain(certificate, certificates, trust, policy));
    VTEK_TRY(checkPurpose(certificate));
    return checkName(certificate, policy.signerNames);
}

}  // namespace vtek
