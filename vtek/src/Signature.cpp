#include "Signature.h"

#include "Digest.h"
#include "Signer.h"

#include <openssl/obj_mac.h>
#include <openssl/objects.h>

#include <algorithm>
#include <new>
#include <utility>

namespace vtek {

namespace {

constexpr int kSignerBound = 8;
constexpr std::size_t kStartBound = 256 * 1024;
constexpr std::size_t kBlockSize = 256 * 1024;

Result<CmsPtr> parseSignature(const std::vector<unsigned char>& der) {
    const unsigned char* cursor = der.data();
    CmsPtr cms(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(der.size())));
    if (!cms || cursor != der.data() + der.size()) {
        return Error{ErrorNumber::SignatureMalformed,
                     "signature: no DER CMS, or more than one: " + cryptoError()};
    }
    if (OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed) {
        return Error{ErrorNumber::SignatureKind, "signature: no signed data"};
    }
    if (OBJ_obj2nid(CMS_get0_eContentType(cms.get())) != NID_pkcs7_data) {
        return Error{ErrorNumber::SignatureKind, "signature: over something else than data"};
    }
    if (CMS_is_detached(cms.get()) != 1) {
        return Error{ErrorNumber::SignatureAttached, "signature: it carries content of its own"};
    }
    return cms;
}

/** Gives each signer, of which there must be one, its certificate. */
Status findSigners(CMS_ContentInfo* cms) {
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    const int count = sk_CMS_SignerInfo_num(signers);
    if (count < 1) {
        return Error{ErrorNumber::SignatureWithoutSigner, "signature: no signer"};
    }
    if (count > kSignerBound) {
        return Error{ErrorNumber::SignatureMalformed, "signature: too many signers"};
    }
    CMS_set1_signers_certs(cms, nullptr, 0);
    for (int i = 0; i < count; ++i) {
        if (signerCertificate(sk_CMS_SignerInfo_value(signers, i)) == nullptr) {
            return Error{ErrorNumber::SignatureWithoutSigner,
                         "signature: a signer's certificate is not in it"};
        }
    }
    return {};
}

Status checkSigners(CMS_ContentInfo* cms, const TrustStore& trust, const SignaturePolicy& policy) {
    VTEK_TRY(findSigners(cms));
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    const CertificatesPtr certificates(CMS_get1_certs(cms));
    for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i) {
        VTEK_TRY(checkSigner(sk_CMS_SignerInfo_value(signers, i), certificates.get(), trust, policy));
    }
    return {};
}

Error mismatch(const Payload& payload) {
    return {ErrorNumber::SignatureMismatch, payload.name + ": the signature does not hold: " + cryptoError()};
}

/** The digests that the signature names, fed by writing to them; null where one of them is unknown. */
BioPtr digestsOf(CMS_ContentInfo* cms) {
    auto sink = required(BioPtr(BIO_new(BIO_s_null())));
    BioPtr digests(CMS_dataInit(cms, sink.get()));
    if (digests) {
        static_cast<void>(sink.release());  // the chain's now
    }
    return digests;
}

/** The SHA-256 among the digests; null when there is none. */
EVP_MD_CTX* findSha256(BIO* digests) {
    for (BIO* link = BIO_find_type(digests, BIO_TYPE_MD); link != nullptr;
         link = BIO_find_type(BIO_next(link), BIO_TYPE_MD)) {
        EVP_MD_CTX* context = nullptr;
        BIO_get_md_ctx(link, &context);
        if (EVP_MD_CTX_get_type(context) == NID_sha256) {
            return context;
        }
    }
    return nullptr;
}

/** Puts before the digests a SHA-256 for our own use. */
BioPtr withSha256(BioPtr digests) {
    auto own = required(BioPtr(BIO_new(BIO_f_md())));
    if (BIO_set_md(own.get(), EVP_sha256()) != 1) {
        throw std::bad_alloc();
    }
    BIO_push(own.get(), digests.release());
    return own;
}

/** Reads every byte of the archive once, in order, into all digests. @return its start, up to a bound */
Result<std::string> digestArchive(const Payload& payload, BIO* digests, const ByteCounter& counter) {
    std::string start;
    std::string block(kBlockSize, '\0');
    for (std::uint64_t position = 0; position < payload.archiveLength;) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), payload.archiveLength - position));
        const ssize_t n = readFullyAt(payload.file.get(), block.data(), wanted, position);
        if (n < 0) {
            return systemError(ErrorNumber::PayloadUnreadable, "read " + payload.name);
        }
        if (n == 0 || BIO_write(digests, block.data(), static_cast<int>(n)) != n) {
            return mismatch(payload);
        }
        const auto size = static_cast<std::size_t>(n);
        start.append(block, 0, std::min(size, kStartBound - start.size()));
        position += size;
        counter(size);
    }
    return start;
}

/** Whether each signer has signed its attributes, where it has any, and one of these digests. */
bool haveSigned(CMS_ContentInfo* cms, BIO* digests) {
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    const int all = sk_CMS_SignerInfo_num(signers);
    for (int i = 0; i < all; ++i) {
        CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, i);
        const bool hasAttributes = CMS_signed_get_attr_count(signer) >= 0;
        if ((hasAttributes && CMS_SignerInfo_verify(signer) != 1) ||
            CMS_SignerInfo_verify_content(signer, digests) != 1) {
            return false;
        }
    }
    return true;
}

/** What one pass over the archive gives beside the verdict. */
struct SignedContent {
    Digest digest;      ///< of the archive so far
    std::string start;  ///< up to a bound
};

Result<SignedContent> checkContent(CMS_ContentInfo* cms, const Payload& payload, const ByteCounter& counter) {
    BioPtr digests = digestsOf(cms);
    if (!digests) {
        return mismatch(payload);
    }
    BIO* const named = digests.get();  // nobody may have signed another digest, not even our own
    if (findSha256(named) == nullptr) {
        digests = withSha256(std::move(digests));
    }
    VTEK_ASSIGN(std::string start, digestArchive(payload, digests.get(), counter));
    if (!haveSigned(cms, named)) {
        return mismatch(payload);
    }
    return SignedContent{Digest(*findSha256(digests.get())), std::move(start)};
}

}  // namespace

Status checkSignatureFits(const Payload& payload) {
    startCrypto();
    VTEK_ASSIGN(const CmsPtr cms, parseSignature(payload.signature));
    VTEK_TRY(findSigners(cms.get()));
    VTEK_TRY(checkContent(cms.get(), payload, [](std::uint64_t) {}));
    return {};
}

Result<VerifiedSignature> verifySignature(const Payload& payload, const TrustStore& trust,
                                          const SignaturePolicy& policy, const ByteCounter& counter) {
    startCrypto();
    VTEK_ASSIGN(const CmsPtr cms, parseSignature(payload.signature));
    VTEK_TRY(checkSigners(cms.get(), trust, policy));
    VTEK_ASSIGN(SignedContent content, checkContent(cms.get(), payload, counter));

    content.digest.update(payload.signature.data(), payload.signature.size());
    const std::string trailer = payloadTrailer(payload.signature.size());
    content.digest.update(trailer.data(), trailer.size());
    X509* certificate = signerCertificate(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0));
    return VerifiedSignature{nameText(X509_get_subject_name(certificate)), content.digest.hex(),
                             std::move(content.start)};
}

}  // namespace vtek
