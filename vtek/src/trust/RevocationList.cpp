#include "trust/RevocationList.h"

#include <openssl/evp.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include <array>
#include <memory>

namespace vtek {

namespace {

using Reason = std::optional<std::string>;

struct FreeExtensionValue {
    void operator()(ISSUING_DIST_POINT* point) const { ISSUING_DIST_POINT_free(point); }
    void operator()(ASN1_ENUMERATED* number) const { ASN1_ENUMERATED_free(number); }
};
using DistributionPointPtr = std::unique_ptr<ISSUING_DIST_POINT, FreeExtensionValue>;
using EnumeratedPtr = std::unique_ptr<ASN1_ENUMERATED, FreeExtensionValue>;

constexpr const char* kIndirect = "is indirect: it may cover other issuers' certificates";

std::string nameOf(const ASN1_OBJECT* extension) {
    std::array<char, 80> text{};  // enough for every name that OpenSSL knows; longer numbers are cut
    OBJ_obj2txt(text.data(), static_cast<int>(text.size()), extension, 0);
    return text.data();
}

/** The limit that an issuing distribution point sets; each one sets some limit. */
std::string limitOf(X509_CRL* list) {
    const DistributionPointPtr point(static_cast<ISSUING_DIST_POINT*>(
        X509_CRL_get_ext_d2i(list, NID_issuing_distribution_point, nullptr, nullptr)));
    if (!point) {
        return "has a malformed issuing distribution point";
    }
    if (point->indirectCRL > 0) {
        return kIndirect;
    }
    if (point->onlysomereasons != nullptr) {
        return "is limited to some reasons for a revocation";
    }
    return "is limited to some of its issuer's certificates";
}

Reason whyListExtension(X509_CRL* list, const X509_EXTENSION* extension) {
    const ASN1_OBJECT* object = X509_EXTENSION_get_object(const_cast<X509_EXTENSION*>(extension));
    switch (OBJ_obj2nid(object)) {
        case NID_delta_crl:
            return "is a delta: it lists only changes to another list";
        case NID_issuing_distribution_point:
            return limitOf(list);
        case NID_authority_key_identifier:  // OpenSSL compares it with the issuer's key
            return {};
        default:
            break;
    }
    if (X509_EXTENSION_get_critical(extension) == 1) {
        return "has an unknown critical extension: " + nameOf(object);
    }
    return {};
}

Reason whyEntryExtension(const X509_EXTENSION* extension) {
    const ASN1_OBJECT* object = X509_EXTENSION_get_object(const_cast<X509_EXTENSION*>(extension));
    if (OBJ_obj2nid(object) == NID_certificate_issuer) {
        return kIndirect;
    }
    if (X509_EXTENSION_get_critical(extension) == 1) {
        return "has an entry with an unknown critical extension: " + nameOf(object);
    }
    return {};
}

/** OpenSSL lets a certificate pass whose entry has the reason removeFromCRL, even in a complete list. */
Reason whyEntryReason(const X509_REVOKED* entry) {
    constexpr int kAbsent = -1;
    int critical = 0;
    const EnumeratedPtr reason(
        static_cast<ASN1_ENUMERATED*>(X509_REVOKED_get_ext_d2i(entry, NID_crl_reason, &critical, nullptr)));
    if (!reason && critical != kAbsent) {
        return "has an entry with a malformed reason";
    }
    if (reason && ASN1_ENUMERATED_get(reason.get()) == CRL_REASON_REMOVE_FROM_CRL) {
        return "has an entry that takes a revocation back, as only a delta can";
    }
    return {};
}

Reason whyEntry(const X509_REVOKED* entry) {
    for (int i = 0; i < X509_REVOKED_get_ext_count(entry); ++i) {
        if (Reason why = whyEntryExtension(X509_REVOKED_get_ext(entry, i))) {
            return why;
        }
    }
    return whyEntryReason(entry);
}

/** OpenSSL asks certificates for such a digest, but not revocation lists. */
bool hasStrongDigest(X509_CRL* list) {
    constexpr int kLeastBytes = 28;  // SHA-224's, with 112 bits of security
    int digest = NID_undef;
    OBJ_find_sigid_algs(X509_CRL_get_signature_nid(list), &digest, nullptr);
    const EVP_MD* method = EVP_get_digestbynid(digest);  // null for algorithms with a digest of their own
    return method == nullptr || EVP_MD_get_size(method) >= kLeastBytes;
}

}  // namespace

std::optional<std::string> whyUnusable(X509_CRL* list) {
    if (X509_CRL_get_version(list) > X509_CRL_VERSION_2) {
        return "has an unknown version";
    }
    if (!hasStrongDigest(list)) {
        return "is signed with a weak digest";
    }
    for (int i = 0; i < X509_CRL_get_ext_count(list); ++i) {
        if (Reason why = whyListExtension(list, X509_CRL_get_ext(list, i))) {
            return why;
        }
    }
    STACK_OF(X509_REVOKED)* entries = X509_CRL_get_REVOKED(list);
    for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i) {  // -1 without entries
        if (Reason why = whyEntry(sk_X509_REVOKED_value(entries, i))) {
            return why;
        }
    }
    return {};
}

}  // namespace vtek
