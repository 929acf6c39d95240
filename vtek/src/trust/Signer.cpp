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

// OpenSSL's level 2, at least 112 bits of security, for every certificate of the chain: RSA from 2048 bits,
// elliptic curves from 224, and no signature with MD5 or SHA-1. Level 1 accepts RSA with 1024 bits; level 3
// refuses RSA with 2048 bits, which many authorities have.
constexpr int kSecurityLevel = 2;

// The signer's own key is judged more strictly: by kind, and by these sizes.
constexpr int kMinRsaBits = 2048;
constexpr int kMinEcBits = 256;

Error refused(ErrorNumber number, X509* certificate, const std::string& reason) {
    return {number, "signer " + nameText(X509_get_subject_name(certificate)) + ": " + reason};
}

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
        return refused(ErrorNumber::SignerWeak, certificate, "its digest is weaker than SHA-256");
    }
    if (!isStrongKey(X509_get0_pubkey(certificate))) {
        return refused(ErrorNumber::SignerWeak, certificate, "its key is weaker than RSA-2048 or P-256");
    }
    return {};
}

/** An absent extension means "any purpose" to OpenSSL; here each must be present. */
Status checkPurpose(X509* certificate) {
    if (isAuthority(certificate)) {
        return refused(ErrorNumber::SignerPurpose, certificate, "its certificate is an authority's");
    }
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    if ((flags & EXFLAG_INVALID) != 0) {
        return refused(ErrorNumber::SignerPurpose, certificate, "its certificate has malformed extensions");
    }
    if ((flags & EXFLAG_XKUSAGE) == 0 || (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) == 0) {
        return refused(ErrorNumber::SignerPurpose, certificate, "its certificate is not for code signing");
    }
    if ((flags & EXFLAG_KUSAGE) == 0 || (X509_get_key_usage(certificate) & KU_DIGITAL_SIGNATURE) == 0) {
        return refused(ErrorNumber::SignerPurpose, certificate,
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
        return refused(ErrorNumber::SignerName, certificate, "its certificate has no usable common name");
    }
    if (!allowed.empty() && std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
        return refused(ErrorNumber::SignerName, certificate, "its name is not allowed");
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

/**
 * Lets X509_verify_cert go on when an issuer has no revocation list in the trust store. OpenSSL reports the
 * same error when it has run out of memory during the search, and the list that it did not find may revoke:
 * so search again.
 */
int passMissingList(int ok, X509_STORE_CTX* context) {
    const bool notFound = X509_STORE_CTX_get_error(context) == X509_V_ERR_UNABLE_TO_GET_CRL;
    const bool isMissing =
        notFound && !hasList(X509_STORE_CTX_get0_store(context), X509_STORE_CTX_get_current_cert(context));
    return ok == 1 || isMissing ? 1 : 0;
}

Status checkChain(X509* certificate, STACK_OF(X509) * untrusted, const TrustStore& trust,
                  const SignerPolicy& policy) {
    const X509StoreContextPtr context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), trust.store.get(), certificate, untrusted) != 1) {
        return Error{ErrorNumber::Internal, "cannot check the certificate chain: " + cryptoError()};
    }
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    // OpenSSL 3.0 has no purpose for code signing, and the default of CMS is e-mail. checkPurpose decides;
    // the certificates above the signer's must be authorities, whatever the purpose.
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
    cryptoError();  // clears OpenSSL's queue for later messages
    return refused(numberOf(code), certificate, X509_verify_cert_error_string(code));
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
        return refused(ErrorNumber::SignatureMalformed, certificate, "there are no signed attributes");
    }
    VTEK_TRY(checkAlgorithms(signer, certificate));
    VTEK_TRY(checkChain(certificate, untrusted, trust, policy));
    VTEK_TRY(checkPurpose(certificate));
    return checkName(certificate, policy.signerNames);
}

}  // namespace vtek
