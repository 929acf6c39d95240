#include "trust/SignatureFields.h"

#include <openssl/asn1.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <set>
#include <string_view>

namespace vtek {

namespace {

// OpenSSL reads the versions and the list of digest algorithms, but has no function that returns them: they
// are taken from the DER here. These are the first bytes of its elements.
constexpr unsigned char kCertificates = 0xA0;     // [0]
constexpr unsigned char kRevocationLists = 0xA1;  // [1]
constexpr unsigned char kKeyIdentifier = 0x80;    // [0] of a signer, instead of issuer and serial number

// The versions of RFC 5652 for plain data, of a signature as well as of a signer. Versions 4 and 5 are for
// kinds of certificates that no signer here can have.
constexpr std::string_view kVersion1("\x01", 1);
constexpr std::string_view kVersion3("\x03", 1);  // a signer is named by its key identifier

Error malformed(const char* reason) {
    return {ErrorNumber::SignatureMalformed, std::string("signature: ") + reason};
}

/** Whether a signature was parsed from DER. Its sets may be unsorted, as many signers leave them: so the
 * bytes of OpenSSL's own encoding are compared in any order. */
bool isDer(CMS_ContentInfo* cms, std::vector<unsigned char> der) {
    std::vector<unsigned char> own(static_cast<std::size_t>(std::max(i2d_CMS_ContentInfo(cms, nullptr), 0)));
    unsigned char* cursor = own.data();
    i2d_CMS_ContentInfo(cms, &cursor);
    std::sort(own.begin(), own.end());
    std::sort(der.begin(), der.end());
    return own == der;
}

/** One element of a DER encoding; all parts are empty when there is none. */
struct Element {
    unsigned char tag = 0;
    std::string_view whole{};
    std::string_view content{};
};

/** Takes the first element off an encoding that has already been parsed. */
Element takeElement(std::string_view& der) {
    constexpr int kError = 0x80;
    constexpr int kIndefinite = 0x01;  // length
    const auto* start = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* cursor = start;
    long length = 0;
    int number = 0;
    int tagClass = 0;
    const int form = ASN1_get_object(&cursor, &length, &number, &tagClass, static_cast<long>(der.size()));
    if ((form & (kError | kIndefinite)) != 0) {
        der = {};
        return {};
    }
    const auto header = static_cast<std::size_t>(cursor - start);
    const std::string_view whole = der.substr(0, header + static_cast<std::size_t>(length));
    der.remove_prefix(whole.size());
    return {*start, whole, whole.substr(header)};
}

Status checkSignerVersions(std::string_view signers, bool& byKeyIdentifier) {
    while (!signers.empty()) {
        std::string_view signer = takeElement(signers).content;
        const std::string_view version = takeElement(signer).content;
        const bool isKeyIdentifier = takeElement(signer).tag == kKeyIdentifier;
        if (version != (isKeyIdentifier ? kVersion3 : kVersion1)) {
            return malformed("the version of a signer is wrong");
        }
        byKeyIdentifier = byKeyIdentifier || isKeyIdentifier;
    }
    return {};
}

/** Checks the versions. @return the list of digest algorithms, in DER */
Result<std::string_view> checkVersions(std::string_view der) {
    std::string_view info = takeElement(der).content;
    takeElement(info);  // its type: signed data
    std::string_view tagged = takeElement(info).content;
    std::string_view data = takeElement(tagged).content;
    const std::string_view version = takeElement(data).content;
    const std::string_view digests = takeElement(data).content;
    takeElement(data);  // the signed content: none, as the signature is detached
    Element next = takeElement(data);
    while (next.tag == kCertificates || next.tag == kRevocationLists) {
        next = takeElement(data);
    }
    bool byKeyIdentifier = false;
    VTEK_TRY(checkSignerVersions(next.content, byKeyIdentifier));
    if (version != (byKeyIdentifier ? kVersion3 : kVersion1)) {
        return malformed("its version is wrong");
    }
    return digests;
}

struct FreeAlgorithm {
    void operator()(X509_ALGOR* algorithm) const { X509_ALGOR_free(algorithm); }
    void operator()(RSA_PSS_PARAMS* parameters) const { RSA_PSS_PARAMS_free(parameters); }
};
using AlgorithmPtr = std::unique_ptr<X509_ALGOR, FreeAlgorithm>;
using PssPtr = std::unique_ptr<RSA_PSS_PARAMS, FreeAlgorithm>;

/** The parameters of an algorithm identifier; null if they are not a sequence of this type. */
template <class Owner>
Owner decodeParameters(const X509_ALGOR* identifier, const ASN1_ITEM* type) {
    const void* value = nullptr;
    int kind = V_ASN1_UNDEF;
    X509_ALGOR_get0(nullptr, &kind, &value, identifier);
    if (kind != V_ASN1_SEQUENCE) {
        return nullptr;
    }
    return Owner(
        static_cast<typename Owner::pointer>(ASN1_item_unpack(static_cast<const ASN1_STRING*>(value), type)));
}

/** An algorithm identifier in parts. */
struct Algorithm {
    explicit Algorithm(const X509_ALGOR* identifier) {
        const ASN1_OBJECT* object = nullptr;
        X509_ALGOR_get0(&object, &parameters, nullptr, identifier);
        nid = OBJ_obj2nid(object);
    }

    /** RFC 5754 and RFC 4055 allow both for SHA-2 and RSA. */
    bool hasNoneOrNull() const { return parameters == V_ASN1_UNDEF || parameters == V_ASN1_NULL; }

    int nid;
    int parameters = V_ASN1_UNDEF;  ///< the type of the parameters
};

Status checkDigestList(std::string_view list, const std::set<int>& used) {
    std::set<int> listed;
    while (!list.empty()) {
        const std::string_view whole = takeElement(list).whole;
        const auto* cursor = reinterpret_cast<const unsigned char*>(whole.data());
        const AlgorithmPtr parsed(d2i_X509_ALGOR(nullptr, &cursor, static_cast<long>(whole.size())));
        if (!parsed) {
            return malformed("a digest algorithm cannot be read");
        }
        const Algorithm digest(parsed.get());
        if (!digest.hasNoneOrNull() || !listed.insert(digest.nid).second) {
            return malformed("the list of digest algorithms is malformed");
        }
    }
    if (listed != used) {
        return malformed("the list of digest algorithms is not that of the signers");
    }
    return {};
}

/** Whether the digests that PSS uses have no parameters either. The other values take part in the
 * computation. */
bool hasPlainPss(const X509_ALGOR* identifier) {
    const auto pss = decodeParameters<PssPtr>(identifier, ASN1_ITEM_rptr(RSA_PSS_PARAMS));
    if (!pss || pss->hashAlgorithm == nullptr || pss->maskGenAlgorithm == nullptr) {  // absent ones are SHA-1
        return false;
    }
    const auto mask = decodeParameters<AlgorithmPtr>(pss->maskGenAlgorithm, ASN1_ITEM_rptr(X509_ALGOR));
    return Algorithm(pss->hashAlgorithm).hasNoneOrNull() && mask && Algorithm(mask.get()).hasNoneOrNull();
}

/** Whether a signature algorithm describes what OpenSSL computes for a digest and a type of key. It looks for
 * PSS only, and takes any other identifier for the key's usual algorithm. */
bool describes(const X509_ALGOR* identifier, int digestNid, int keyType) {
    const Algorithm signature(identifier);
    if (signature.nid == NID_rsassaPss) {
        return (keyType == EVP_PKEY_RSA || keyType == EVP_PKEY_RSA_PSS) && hasPlainPss(identifier);
    }
    const bool isRsa = keyType == EVP_PKEY_RSA;
    const bool takesParameters = isRsa ? signature.hasNoneOrNull() : signature.parameters == V_ASN1_UNDEF;
    if (signature.nid == NID_rsaEncryption) {  // names no digest
        return isRsa && takesParameters;
    }
    int namedDigest = NID_undef;
    int namedKey = NID_undef;
    return takesParameters && OBJ_find_sigid_algs(signature.nid, &namedDigest, &namedKey) == 1 &&
           namedDigest == digestNid && namedKey == keyType;
}

bool isSameName(const X509_NAME* one, const X509_NAME* other) {
    const unsigned char* oneDer = nullptr;
    const unsigned char* otherDer = nullptr;
    std::size_t oneSize = 0;
    std::size_t otherSize = 0;
    // Not X509_NAME_cmp: it ignores case, blanks and the kind of string.
    return X509_NAME_get0_der(one, &oneDer, &oneSize) == 1 &&
           X509_NAME_get0_der(other, &otherDer, &otherSize) == 1 &&
           std::string_view(reinterpret_cast<const char*>(oneDer), oneSize) ==
               std::string_view(reinterpret_cast<const char*>(otherDer), otherSize);
}

/** Checks one signer's fields. @return its digest algorithm */
Result<int> checkSignerFields(CMS_SignerInfo* signer) {
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;
    X509_ALGOR* digestField = nullptr;
    X509_ALGOR* signatureField = nullptr;
    CMS_SignerInfo_get0_algs(signer, &key, &certificate, &digestField, &signatureField);
    const Algorithm digest(digestField);
    if (!digest.hasNoneOrNull() || !describes(signatureField, digest.nid, EVP_PKEY_get_base_id(key))) {
        return malformed("a signer's algorithms are not the ones that it has used");
    }

    X509_NAME* issuer = nullptr;  // null when the signer is named by its key identifier
    CMS_SignerInfo_get0_signer_id(signer, nullptr, &issuer, nullptr);
    if (issuer != nullptr && !isSameName(issuer, X509_get_issuer_name(certificate))) {
        return malformed("a signer's issuer is not written as in its certificate");
    }

    if (CMS_signed_get_attr_count(signer) >= 0) {  // -1 without any
        constexpr int kOnlyOne = -3;               // neither a second attribute nor a second value
        const auto* type = static_cast<const ASN1_OBJECT*>(
            CMS_signed_get0_data_by_OBJ(signer, OBJ_nid2obj(NID_pkcs9_contentType), kOnlyOne, V_ASN1_OBJECT));
        if (type == nullptr || OBJ_obj2nid(type) != NID_pkcs7_data) {
            return Error{ErrorNumber::SignatureKind, "signature: a signer has not signed plain data"};
        }
    }
    return digest.nid;
}

}  // namespace

Status checkFields(CMS_ContentInfo* cms, const std::vector<unsigned char>& der) {
    if (!isDer(cms, der)) {
        return malformed("not in DER");
    }
    VTEK_ASSIGN(const std::string_view digests,
                checkVersions({reinterpret_cast<const char*>(der.data()), der.size()}));
    std::set<int> used;
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i) {
        VTEK_ASSIGN(const int digest, checkSignerFields(sk_CMS_SignerInfo_value(signers, i)));
        used.insert(digest);
    }
    return checkDigestList(digests, used);
}

}  // namespace vtek
