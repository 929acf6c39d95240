#include "SignedUpdate.h"
#include "payload/Manifest.h"
#include "payload/Payload.h"
#include "trust/Digest.h"
#include "trust/Signature.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using test::expectOutcome;
using test::expectSigner;
using test::kNow;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;
using vtek::Identity;

std::string derOf(const vtek::CmsPtr& cms) {
    std::string der(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)), '\0');
    auto* cursor = reinterpret_cast<unsigned char*>(der.data());
    i2d_CMS_ContentInfo(cms.get(), &cursor);
    return der;
}

TEST(Signature, RejectsNoSigner) {
    const Lab lab;
    expectOutcome(lab, test::makeCms(lab.archive(), {}), ErrorNumber::SignatureWithoutSigner);
}

TEST(Signature, RejectsMissingCertificate) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignatureWithoutSigner, {.flags = CMS_NOCERTS});
}

TEST(Signature, RejectsPlainData) {
    const Lab lab;
    const vtek::BioPtr content(BIO_new_mem_buf("data", 4));
    expectOutcome(lab, derOf(vtek::CmsPtr(CMS_data_create(content.get(), CMS_BINARY))),
                  ErrorNumber::SignatureKind);
}

TEST(Signature, RejectsEnvelopedData) {
    Lab lab;
    const vtek::BioPtr content(BIO_new_mem_buf("data", 4));
    const vtek::CertificatesPtr receivers(sk_X509_new_null());
    auto receiver = test::issue(test::goodSigner(), nullptr, test::makeRsaKey(2048));
    sk_X509_push(receivers.get(), receiver.certificate.release());
    const vtek::CmsPtr cms(CMS_encrypt(receivers.get(), content.get(), EVP_aes_128_cbc(), CMS_BINARY));
    expectOutcome(lab, derOf(cms), ErrorNumber::SignatureKind);
}

TEST(Signature, RejectsOtherContentType) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignatureKind, {.contentType = NID_id_smime_ct_TSTInfo});
}

TEST(Signature, RejectsAttachedContent) {
    Lab lab;
    const std::string small = lab.archiveOf(test::Format::Tar, {});
    lab.write(test::makePayload(small, test::makeCms(small, {&lab.signer()}, {.attached = true})));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::SignatureAttached}));
    expectOutcome(lab, test::makeCms("other content", {&lab.signer()}, {.attached = true}),
                  ErrorNumber::SignatureAttached);
}

TEST(Signature, KeepsVerifiedBytesForManifestAndCopy) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const auto trust = loadTrustStore(root);
    const auto payload = vtek::openPayload(vtek::kWorkingFolder, lab.payload().string());
    std::string seen;
    const auto verified = verifySignature(*payload, *trust, {kNow, vtek::Revocation::IfPresent, {}},
                                          [&](std::string_view piece) {
                                              seen += piece;
                                              if (seen.size() == payload->signedLength) {
                                                  lab.write(std::string(payload->size, 'e'));
                                              }
                                          });
    ASSERT_TRUE(verified);
    EXPECT_EQ(*vtek::readManifest(verified->start), lab.manifest());
    EXPECT_EQ(seen, lab.archive());
}

TEST(Signature, ReportsSha256OfWholePayload) {
    Lab lab;
    const vtek::Root root = lab.root();
    const auto trust = loadTrustStore(root);
    for (const EVP_MD* digest : {EVP_sha256(), EVP_sha512()}) {
        const std::string cms = test::makeCms(lab.archive(), {&lab.signer()}, {.digest = digest});
        const std::string bytes = test::makePayload(lab.archive(), cms);
        lab.write(bytes);
        const auto payload = vtek::openPayload(vtek::kWorkingFolder, lab.payload().string());
        const auto verified =
            verifySignature(*payload, *trust, {kNow, vtek::Revocation::IfPresent, {}}, [](auto) {});
        ASSERT_TRUE(verified);
        vtek::Digest whole;
        whole.update(bytes.data(), bytes.size());
        EXPECT_EQ(verified->digest, whole.hex());
    }
}

TEST(Signature, RejectsSignatureOfAnotherFile) {
    Lab lab;
    expectOutcome(lab, test::makeCms("another file", {&lab.signer()}), ErrorNumber::SignatureMismatch);
}

TEST(Signature, RejectsWhatIsNotDer) {
    const Lab lab;
    expectOutcome(lab, "not a signature", ErrorNumber::SignatureMalformed);
    expectOutcome(lab, std::string(64, '\0'), ErrorNumber::SignatureMalformed);
}

TEST(Signature, RejectsTrailingBytes) {
    Lab lab;
    expectOutcome(lab, test::makeCms(lab.archive(), {&lab.signer()}) + "x", ErrorNumber::SignatureMalformed);
}

TEST(Signature, RejectsMissingAttributes) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignatureMalformed, {.flags = CMS_NOATTR});
}

TEST(Signature, AcceptsTwoGoodSigners) {
    Lab lab;
    const Identity second = test::issue(test::goodSigner(), &lab.authority());
    expectOutcome(lab, test::makeCms(lab.archive(), {&lab.signer(), &second}), ErrorNumber::None);
}

TEST(Signature, RejectsOneBadSignerInAnyPlace) {
    Lab lab;
    for (const std::string& name :
         {std::string("S"), std::string(60, 'S')}) {  // DER sorts signers: the shorter is first
        auto request = test::goodSigner();
        request.commonName = name;
        const Identity stranger = test::issue(request, nullptr);
        expectOutcome(lab, test::makeCms(lab.archive(), {&lab.signer(), &stranger}),
                      ErrorNumber::SignerUntrusted);
    }
}

TEST(Signature, RejectsMoreThanEightSigners) {
    Lab lab;
    std::vector<Identity> identities;
    std::vector<const Identity*> signers;
    for (int i = 0; i < 9; ++i) {
        identities.push_back(test::issue(test::goodSigner(), &lab.authority()));
    }
    for (const Identity& identity : identities) {
        signers.push_back(&identity);
    }
    expectOutcome(lab, test::makeCms(lab.archive(), signers), ErrorNumber::SignatureMalformed);
    signers.pop_back();
    expectOutcome(lab, test::makeCms(lab.archive(), signers), ErrorNumber::None);
}

TEST(Signature, RejectsDigestThatDiffersFromAttributes) {
    Lab lab;
    // The object identifiers of SHA-256 and SHA-512 differ in their last byte only.
    const std::string sha256("\x60\x86\x48\x01\x65\x03\x04\x02\x01", 9);
    const std::string sha512("\x60\x86\x48\x01\x65\x03\x04\x02\x03", 9);
    const std::string cms = test::patched(test::makeCms(lab.archive(), {&lab.signer()}), sha256, sha512);
    expectOutcome(lab, cms, ErrorNumber::SignatureMismatch);
}

}  // namespace
