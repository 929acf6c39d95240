#include "Signature.h"

#include "Digest.h"
#include "Signer.h"

#include <openssl/obj_mac.h>
#include <openssl/objects.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vtek {

namespace {

constexpr int kSignerBound = 8;
constexpr std::size_t kStartBound = 256 * 1024;

/** The archive's bytes as OpenSSL reads them: every byte once, in order, hashed for our own use on the way.
 */
struct ArchiveSource {
    const Payload& payload;
    const ByteCounter& counter;
    Digest digest{};
    std::string start{};  ///< up to a bound; its memory is there beforehand, since nothing may be thrown
                          ///< through OpenSSL
    std::uint64_t position = 0;
    int failure = 0;  ///< errno of a failed read
};

int readArchive(BIO* bio, char* buffer, std::size_t size, std::size_t* done) {
    auto& source = *static_cast<ArchiveSource*>(BIO_get_data(bio));
    const std::uint64_t left = source.payload.archiveLength - source.position;
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, left));
    const ssize_t n = readFullyAt(source.payload.file.get(), buffer, wanted, source.position);
    if (n < 0) {
        source.failure = errno;
        return -1;
    }
    *done = static_cast<std::size_t>(n);
    source.digest.update(buffer, *done);
    source.start.append(buffer, std::min(*done, kStartBound - source.start.size()));
    source.position += *done;
    source.counter(*done);
    return *done > 0 ? 1 : 0;
}

long controlArchive(BIO* bio, int command, long, void*) {
    const auto& source = *static_cast<ArchiveSource*>(BIO_get_data(bio));
    switch (command) {
        case BIO_CTRL_EOF:
            return source.position == source.payload.archiveLength ? 1 : 0;
        case BIO_CTRL_FLUSH:
            return 1;
        default:
            return 0;
    }
}

BioMethodPtr makeArchiveMethod() {
    auto method = required(BioMethodPtr(BIO_meth_new(BIO_TYPE_SOURCE_SINK, "archive")));
    BIO_meth_set_read_ex(method.get(), readArchive);
    BIO_meth_set_ctrl(method.get(), controlArchive);
    return method;
}

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

Status checkContent(CMS_ContentInfo* cms, ArchiveSource& source) {
    const BioMethodPtr method = makeArchiveMethod();
    const auto archive = required(BioPtr(BIO_new(method.get())));
    BIO_set_data(archive.get(), &source);
    BIO_set_init(archive.get(), 1);
    constexpr unsigned int kFlags =
        CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY;  // the signers were judged already
    const bool holds = CMS_verify(cms, nullptr, nullptr, archive.get(), nullptr, kFlags) == 1;
    if (source.failure != 0) {
        errno = source.failure;
        return systemError(ErrorNumber::PayloadUnreadable, "read " + source.payload.name);
    }
    if (!holds || source.position != source.payload.archiveLength) {
        return Error{ErrorNumber::SignatureMismatch,
                     source.payload.name + ": the signature does not hold: " + cryptoError()};
    }
    return {};
}

}  // namespace

Status checkSignatureFits(const Payload& payload) {
    startCrypto();
    VTEK_ASSIGN(const CmsPtr cms, parseSignature(payload.signature));
    VTEK_TRY(findSigners(cms.get()));
    const ByteCounter nobody = [](std::uint64_t) {};
    ArchiveSource source{payload, nobody};
    return checkContent(cms.get(), source);
}

Result<VerifiedSignature> verifySignature(const Payload& payload, const TrustStore& trust,
                                          const SignaturePolicy& policy, const ByteCounter& counter) {
    startCrypto();
    VTEK_ASSIGN(const CmsPtr cms, parseSignature(payload.signature));
    VTEK_TRY(checkSigners(cms.get(), trust, policy));
    ArchiveSource source{payload, counter};
    source.start.reserve(std::min<std::uint64_t>(payload.archiveLength, kStartBound));
    VTEK_TRY(checkContent(cms.get(), source));

    source.digest.update(payload.signature.data(), payload.signature.size());
    const std::string trailer = payloadTrailer(payload.signature.size());
    source.digest.update(trailer.data(), trailer.size());
    X509* certificate = signerCertificate(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0));
    return VerifiedSignature{nameText(X509_get_subject_name(certificate)), source.digest.hex(),
                             std::move(source.start)};
}

}  // namespace vtek
