#include "trust/Chain.h"

#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include <set>
#include <string_view>

namespace vtek {

namespace {

// OpenSSL's level 2, at least 112 bits of security, for every certificate of the chain: RSA from 2048 bits,
// elliptic curves from 224, and no signature with MD5 or SHA-1. Level 1 accepts RSA with 1024 bits; level 3
// refuses RSA with 2048 bits, which many authorities have.
constexpr int kSecurityLevel = 2;

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
        case X509_V_ERR_SUBJECT_NAME_EMPTY:
            return ErrorNumber::SignerName;
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

/** Whether a certificate has an extension twice. OpenSSL notices that only for those that it knows. */
bool hasRepeatedExtension(X509* certificate) {
    std::set<std::string_view> seen;
    for (int i = 0; i < X509_get_ext_count(certificate); ++i) {
        const ASN1_OBJECT* object = X509_EXTENSION_get_object(X509_get_ext(certificate, i));
        const auto* bytes = reinterpret_cast<const char*>(OBJ_get0_data(object));
        if (!seen.emplace(bytes, OBJ_length(object)).second) {
            return true;
        }
    }
    return false;
}

/** Whether every critical extension can be decoded. OpenSSL decodes some only when it comes to use them. */
bool hasReadableCriticalExtensions(X509* certificate) {
    for (int i = 0; i < X509_get_ext_count(certificate); ++i) {
        X509_EXTENSION* const extension = X509_get_ext(certificate, i);
        const X509V3_EXT_METHOD* const method = X509V3_EXT_get(extension);
        if (X509_EXTENSION_get_critical(extension) == 0 || method == nullptr || method->it == nullptr) {
            continue;
        }
        auto* const value = static_cast<ASN1_VALUE*>(X509V3_EXT_d2i(extension));
        if (value == nullptr) {
            return false;
        }
        ASN1_item_free(value, ASN1_ITEM_ptr(method->it));
    }
    return true;
}

/** Netscape's certificate type counts as known to OpenSSL, which obeys it only for purposes that it knows. */
bool hasCriticalNetscapeType(X509* certificate) {
    const int position = X509_get_ext_by_NID(certificate, NID_netscape_cert_type, -1);
    return position >= 0 && X509_EXTENSION_get_critical(X509_get_ext(certificate, position)) == 1;
}

/** Checks a certificate of the chain for what OpenSSL passes over, even in its strict mode. */
Status checkForm(X509* signer, X509* certificate) {
    const char* reason = nullptr;
    if (X509_get_version(certificate) != X509_VERSION_3) {
        reason = "is not of X.509 version 3";
    } else if ((X509_get_extension_flags(certificate) & EXFLAG_INVALID) != 0) {
        reason = "has malformed extensions";
    } else if (!hasReadableCriticalExtensions(certificate)) {
        reason = "has a malformed critical extension";
    } else if (hasRepeatedExtension(certificate)) {
        reason = "has an extension twice";
    } else if (hasCriticalNetscapeType(certificate)) {
        reason = "has a critical Netscape certificate type";
    }
    if (reason == nullptr) {
        return {};
    }
    return refuseSigner(ErrorNumber::SignerUntrusted, signer,
                        "the certificate of " + nameText(X509_get_subject_name(certificate)) + " " + reason);
}

/** An authority with an extended key usage may certify only for these purposes. OpenSSL 3.0 has no purpose
 * for code signing, so it leaves this to us. */
Status checkAuthorityPurpose(X509* signer, X509* authority) {
    constexpr std::uint32_t kAllowing = XKU_CODE_SIGN | XKU_ANYEKU;
    const bool isLimited = (X509_get_extension_flags(authority) & EXFLAG_XKUSAGE) != 0;
    if (isLimited && (X509_get_extended_key_usage(authority) & kAllowing) == 0) {
        return refuseSigner(
            ErrorNumber::SignerPurpose, signer,
            "the authority " + nameText(X509_get_subject_name(authority)) + " is not for code signing");
    }
    return {};
}

Status checkVerifiedChain(X509* signer, STACK_OF(X509) * chain) {
    for (int i = 0; i < sk_X509_num(chain); ++i) {
        X509* const certificate = sk_X509_value(chain, i);
        VTEK_TRY(checkForm(signer, certificate));
        if (i > 0) {
            VTEK_TRY(checkAuthorityPurpose(signer, certificate));
        }
    }
    return {};
}

}  // namespace

Error refuseSigner(ErrorNumber number, X509* certificate, const std::string& reason) {
    return {number, "signer " + nameText(X509_get_subject_name(certificate)) + ": " + reason};
}

Status checkChain(X509* certificate, STACK_OF(X509) * untrusted, const TrustStore& trust, std::time_t now,
                  Revocation revocation) {
    const X509StoreContextPtr context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), trust.store.get(), certificate, untrusted) != 1) {
        return Error{ErrorNumber::Internal, "cannot check the certificate chain: " + cryptoError()};
    }
    X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
    // OpenSSL 3.0 has no purpose for code signing, and the default of CMS is e-mail. checkVerifiedChain and
    // the check of the signer decide; the certificates above the signer's must be authorities, whatever the
    // purpose.
    X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_ANY);
    X509_VERIFY_PARAM_set_auth_level(parameters, kSecurityLevel);
    X509_VERIFY_PARAM_set_flags(parameters, X509_V_FLAG_CRL_CHECK | X509_V_FLAG_CRL_CHECK_ALL |
                                                X509_V_FLAG_X509_STRICT | X509_V_FLAG_POLICY_CHECK);
    X509_VERIFY_PARAM_set_time(parameters, now);
    // Any policy will do. Without this, a chain that demands explicit policies is refused, whatever they are.
    required(X509_VERIFY_PARAM_add0_policy(parameters, OBJ_nid2obj(NID_any_policy)));
    if (revocation == Revocation::IfPresent) {
        X509_STORE_CTX_set_verify_cb(context.get(), passMissingList);
    }
    if (X509_verify_cert(context.get()) != 1) {
        const int code = X509_STORE_CTX_get_error(context.get());
        cryptoError();  // clears OpenSSL's queue for later messages
        return refuseSigner(numberOf(code), certificate, X509_verify_cert_error_string(code));
    }
    return checkVerifiedChain(certificate, X509_STORE_CTX_get0_chain(context.get()));
}

}  // namespace vtek
