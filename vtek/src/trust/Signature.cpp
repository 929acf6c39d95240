#include "trust/Signature.h"

#include "base/File.h"
#include "trust/Digest.h"
#include "trust/SignatureFields.h"

#include <openssl/obj_mac.h>
#include <openssl/objects.h>

#include <new>
#include <utility>

namespace vtek {

namespace {

// Why not CMS_verify: it takes purpose, time and revocation from the store, reports every cause as the same
// failure, and gives no access to the bytes that it reads. Here each cause has its number, and one pass over
// the archive yields the verdict, the SHA-256, the start and the bytes to be copied. The tests compare this
// verdict on the content with that of CMS_verify, for damaged signatures as well.

constexpr int kMaxSigners = 8;                   // each costs a chain
constexpr std::size_t kStartBound = 256 * 1024;  // bytes: the manifest, at most 64 KiB, and its headers

Result<CmsPtr> parseSignature(const std::vector<unsigned char>& der) {
    const unsigned char* cursor = der.data();
    CmsPtr cms(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(der.size())));
    if (!cms || cursor != der.data() + der.size()) {
        return Error{ErrorNumber::SignatureMalformed,
                     "signature: not a DER-encoded CMS, or trailing data: " + cryptoError()};
    }
    if (OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed) {
        return Error{ErrorNumber::SignatureKind, "signature: not CMS signed data"};
    }
    if (OBJ_obj2nid(CMS_get0_eContentType(cms.get())) != NID_pkcs7_data) {
        return Error{ErrorNumber::SignatureKind, "signature: the signed content is not plain data"};
    }
    if (CMS_is_detached(cms.get()) != 1) {
        return Error{ErrorNumber::SignatureAttached,
                     "signature: not detached: it contains the signed content"};
    }
    return cms;
}

/** Sets the certificate of each signer. There must be at least one signer. */
Status findSigners(CMS_ContentInfo* cms) {
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    const int count = sk_CMS_SignerInfo_num(signers);
    if (count < 1) {
        return Error{ErrorNumber::SignatureWithoutSigner, "signature: it has no signer"};
    }
    if (count > kMaxSigners) {
        return Error{ErrorNumber::SignatureMalformed, "signature: too many signers"};
    }
    CMS_set1_signers_certs(cms, nullptr, 0);
    for (int i = 0; i < count; ++i) {
        if (signerCertificate(sk_CMS_SignerInfo_value(signers, i)) == nullptr) {
            return Error{ErrorNumber::SignatureWithoutSigner,
                         "signature: it does not contain a signer's certificate"};
        }
    }
    return {};
}

Status checkSigners(CMS_ContentInfo* cms, const TrustStore& trust, const SignerPolicy& policy) {
    VTEK_TRY(findSigners(cms));
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    const CertificatesPtr certificates(CMS_get1_certs(cms));
    for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i) {
        VTEK_TRY(checkSigner(sk_CMS_SignerInfo_value(signers, i), certificates.get(), trust, policy));
    }
    return {};
}

Error mismatch(const SignedFile& file) {
    return {ErrorNumber::SignatureMismatch, file.name + ": signature verification failed: " + cryptoError()};
}

/** A chain with each digest that the signature lists; a write feeds all. Null when one is unknown. */
BioPtr digestsOf(CMS_ContentInfo* cms) {
    auto sink = required(BioPtr(BIO_new(BIO_s_null())));
    BioPtr digests(CMS_dataInit(cms, sink.get()));
    if (digests) {
        static_cast<void>(sink.release());  // the chain owns it
    }
    return digests;
}

/** The SHA-256 in the chain; null when there is none. */
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

/** Puts our own SHA-256 in front of the chain. */
BioPtr withSha256(BioPtr digests) {
    auto own = required(BioPtr(BIO_new(BIO_f_md())));
    if (BIO_set_md(own.get(), EVP_sha256()) != 1) {
        throw std::bad_alloc();
    }
    BIO_push(own.get(), digests.release());
    return own;
}

/** Feeds every byte of the archive to all digests. @return the start of the archive. The manifest is later
 * parsed from there: who writes to the file meanwhile cannot change it. */
Result<std::string> digestContent(const SignedFile& file, BIO* digests, const SeePiece& see) {
    std::string start;
    const auto digest = [&](std::string_view piece) {
        start.append(piece, 0, kStartBound - start.size());
        see(piece);
        const int size = static_cast<int>(piece.size());
        return BIO_write(digests, piece.data(), size) == size;
    };
    const std::int64_t digested = takePieces(file.file.get(), file.signedLength, digest);
    if (digested < 0) {
        return systemError(ErrorNumber::PayloadUnreadable, "read " + file.name);
    }
    if (static_cast<std::uint64_t>(digested) != file.signedLength) {
        return mismatch(file);
    }
    return start;
}

/** Whether each signer's signature is valid: over its attributes and their digest of the content, or over the
 * content itself when there are no attributes. */
bool haveSigned(CMS_ContentInfo* cms, BIO* digests) {
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(cms);
    const int all = sk_CMS_SignerInfo_num(signers);
    for (int i = 0; i < all; ++i) {
        CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, i);
        const bool hasAttributes = CMS_signed_get_attr_count(signer) >= 0;  // -1 without any
        if ((hasAttributes && CMS_SignerInfo_verify(signer) != 1) ||
            CMS_SignerInfo_verify_content(signer, digests) != 1) {
            return false;
        }
    }
    return true;
}

/** An archive whose signature is valid. */
struct SignedArchive {
    Digest digest;
    std::string start;
};

Result<SignedArchive> checkContent(CMS_ContentInfo* cms, const SignedFile& file, const SeePiece& see) {
    BioPtr digests = digestsOf(cms);
    if (!digests) {
        return mismatch(file);
    }
    // Signers are checked against the digests that the signature lists, as CMS_verify does: our own SHA-256
    // must not stand in for one that it does not list.
    BIO* const listed = digests.get();
    if (findSha256(listed) == nullptr) {
        digests = withSha256(std::move(digests));
    }
    VTEK_ASSIGN(std::string start, digestContent(file, digests.get(), see));
    if (!haveSigned(cms, listed)) {
        return mismatch(file);
    }
    VTEK_TRY(checkFields(cms, file.signature));
    return SignedArchive{Digest(*findSha256(digests.get())), std::move(start)};
}

}  // namespace

Status checkSignatureFits(const SignedFile& file) {
    startCrypto();
    VTEK_ASSIGN(const CmsPtr cms, parseSignature(file.signature));
    VTEK_TRY(findSigners(cms.get()));
    VTEK_TRY(checkContent(cms.get(), file, [](std::string_view) {}));
    return {};
}

Result<VerifiedSignature> verifySignature(const SignedFile& file, const TrustStore& trust,
                                          const SignerPolicy& policy, const SeePiece& see) {
    startCrypto();
    VTEK_ASSIGN(const CmsPtr cms, parseSignature(file.signature));
    VTEK_TRY(checkSigners(cms.get(), trust, policy));
    VTEK_ASSIGN(SignedArchive archive, checkContent(cms.get(), file, see));

    // The digest is the whole file's: the rest of it is in memory.
    for (const std::string_view part : file.tail()) {
        archive.digest.update(part.data(), part.size());
    }
    X509* certificate = signerCertificate(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0));
    return VerifiedSignature{nameText(X509_get_subject_name(certificate)), archive.digest.hex(),
                             std::move(archive.start)};
}

}  // namespace vtek
