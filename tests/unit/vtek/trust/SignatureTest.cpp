#include "Lab.h"
#include "payload/Manifest.h"
#include "payload/Payload.h"
#include "payload/Unpack.h"
#include "trust/Digest.h"
#include "trust/Signature.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using test::CmsForm;
using test::kDay;
using test::kNow;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;
using vtek::Identity;

const UpdateOutcome kDone{"done"};

/** Signs the lab's archive in a special way and expects the update to end as told, without a trace if
 * refused. */
void expectOutcome(const Lab& lab, const std::string& cms, ErrorNumber number) {
    lab.write(test::makePayload(lab.archive(), cms));
    const auto untouched = lab.snapshot();
    if (number == ErrorNumber::None) {
        EXPECT_EQ(lab.update(), kDone);
    } else {
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", number}));
        EXPECT_EQ(lab.snapshot(), untouched);
    }
}

void expectSigner(const Lab& lab, const Identity& signer, ErrorNumber number, const CmsForm& form = {}) {
    expectOutcome(lab, test::makeCms(lab.archive(), {&signer}, form), number);
}

std::string derOf(const vtek::CmsPtr& cms) {
    std::string der(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)), '\0');
    auto* cursor = reinterpret_cast<unsigned char*>(der.data());
    i2d_CMS_ContentInfo(cms.get(), &cursor);
    return der;
}

// What is no signature over the archive

TEST(Signature, WithoutASignerItIsRefused) {
    const Lab lab;
    expectOutcome(lab, test::makeCms(lab.archive(), {}), ErrorNumber::SignatureWithoutSigner);
}

TEST(Signature, WithoutTheSignersCertificateItIsRefused) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignatureWithoutSigner, {.flags = CMS_NOCERTS});
}

TEST(Signature, PlainDataInsteadOfSignedDataIsRefused) {
    const Lab lab;
    const vtek::BioPtr content(BIO_new_mem_buf("data", 4));
    expectOutcome(lab, derOf(vtek::CmsPtr(CMS_data_create(content.get(), CMS_BINARY))),
                  ErrorNumber::SignatureKind);
}

TEST(Signature, EnvelopedDataIsRefused) {
    Lab lab;
    const vtek::BioPtr content(BIO_new_mem_buf("data", 4));
    const vtek::CertificatesPtr receivers(sk_X509_new_null());
    auto receiver = test::issue(test::goodSigner(), nullptr, test::makeRsaKey(2048));
    sk_X509_push(receivers.get(), receiver.certificate.release());
    const vtek::CmsPtr cms(CMS_encrypt(receivers.get(), content.get(), EVP_aes_128_cbc(), CMS_BINARY));
    expectOutcome(lab, derOf(cms), ErrorNumber::SignatureKind);
}

TEST(Signature, OverSomethingElseThanDataIsRefused) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignatureKind, {.contentType = NID_id_smime_ct_TSTInfo});
}

TEST(Signature, AttachedContentIsRefusedWhetherItDiffersOrNot) {
    Lab lab;
    const std::string small = lab.archiveOf(test::Format::Tar, {});
    lab.write(test::makePayload(small, test::makeCms(small, {&lab.signer()}, {.attached = true})));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::SignatureAttached}));
    expectOutcome(lab, test::makeCms("other content", {&lab.signer()}, {.attached = true}),
                  ErrorNumber::SignatureAttached);
}

TEST(Signature, TheManifestIsReadFromTheVerifiedBytesAndNotFromTheFileAgain) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const auto trust = loadTrustStore(root);
    const auto payload = vtek::openPayload(vtek::kWorkingFolder, lab.payload().string());
    std::uint64_t seen = 0;
    const auto verified =
        verifySignature(*payload, *trust, {kNow, vtek::Revocation::IfPresent, {}}, [&](std::uint64_t bytes) {
            seen += bytes;
            if (seen == payload->signedLength) {
                lab.write(std::string(payload->size, 'e'));
            }
        });
    ASSERT_TRUE(verified);
    EXPECT_EQ(*vtek::readManifest(verified->start), lab.manifest());
}

TEST(Signature, TheDigestIsTheSha256OfTheWholePayloadWhateverWasSigned) {
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

TEST(Signature, OfAnotherFileIsRefused) {
    Lab lab;
    expectOutcome(lab, test::makeCms("another file", {&lab.signer()}), ErrorNumber::SignatureMismatch);
}

TEST(Signature, NoDerAtAllIsRefused) {
    const Lab lab;
    expectOutcome(lab, "not a signature", ErrorNumber::SignatureMalformed);
    expectOutcome(lab, std::string(64, '\0'), ErrorNumber::SignatureMalformed);
}

TEST(Signature, BytesBehindTheSignatureAreRefused) {
    Lab lab;
    expectOutcome(lab, test::makeCms(lab.archive(), {&lab.signer()}) + "x", ErrorNumber::SignatureMalformed);
}

TEST(Signature, WithoutSignedAttributesIsRefused) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignatureMalformed, {.flags = CMS_NOATTR});
}

TEST(Signature, TwoGoodSignersAreAccepted) {
    Lab lab;
    const Identity second = test::issue(test::goodSigner(), &lab.authority());
    expectOutcome(lab, test::makeCms(lab.archive(), {&lab.signer(), &second}), ErrorNumber::None);
}

TEST(Signature, OneBadSignerAmongGoodOnesIsRefusedWhereverItStands) {
    Lab lab;
    for (const std::string& name :
         {std::string("S"), std::string(60, 'S')}) {  // what is shorter stands first
        auto request = test::goodSigner();
        request.commonName = name;
        const Identity stranger = test::issue(request, nullptr);
        expectOutcome(lab, test::makeCms(lab.archive(), {&lab.signer(), &stranger}),
                      ErrorNumber::SignerUntrusted);
    }
}

TEST(Signature, OfMoreThanEightSignersIsRefused) {
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

// Who signed

TEST(Signer, OfAnUnknownAuthorityIsRefused) {
    const Lab lab;
    const Identity other = test::makeAuthority("Other Authority");
    expectSigner(lab, test::issue(test::goodSigner(), &other), ErrorNumber::SignerUntrusted,
                 {.helpers = {other.certificate.get()}});
}

TEST(Signer, OfAnAuthorityThatOnlyBearsTheTrustedNameIsRefused) {
    const Lab lab;
    const Identity twin = test::makeAuthority("Test Authority");
    expectSigner(lab, test::issue(test::goodSigner(), &twin), ErrorNumber::SignerUntrusted,
                 {.helpers = {twin.certificate.get()}});
}

TEST(Signer, SelfSignedAndShippedInsideIsRefused) {
    const Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), nullptr), ErrorNumber::SignerUntrusted);
}

TEST(Signer, BehindAnIntermediateThatCameAlongIsAccepted) {
    Lab lab;
    const Identity middle = test::issue(vtek::authorityRequest("Middle", kNow - kDay, 100), &lab.authority());
    expectSigner(lab, test::issue(test::goodSigner(), &middle), ErrorNumber::None,
                 {.helpers = {middle.certificate.get()}});
}

TEST(Signer, BehindAnIntermediateThatIsNoAuthorityIsRefused) {
    Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), &lab.signer()), ErrorNumber::SignerUntrusted,
                 {.helpers = {lab.signer().certificate.get()}});
}

TEST(Signer, WithoutCodeSigningIsRefused) {
    Lab lab;
    for (const std::string usage : {"", "serverAuth", "emailProtection"}) {
        auto request = test::goodSigner();
        request.extendedKeyUsage = usage;
        expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerPurpose);
    }
}

TEST(Signer, WithoutDigitalSignatureIsRefused) {
    Lab lab;
    for (const std::string usage : {"", "keyEncipherment"}) {
        auto request = test::goodSigner();
        request.keyUsage = usage;
        expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerPurpose);
    }
}

TEST(Signer, ThatIsAnAuthorityIsRefused) {
    Lab lab;
    auto request = test::goodSigner();
    request.authority = true;
    request.keyUsage = "critical,digitalSignature,keyCertSign";
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerPurpose);
}

TEST(Signer, TheAuthorityItselfIsRefused) {
    Lab lab;
    expectSigner(lab, lab.authority(), ErrorNumber::SignerPurpose);
}

TEST(Signer, OfANameThatIsNotAllowedIsRefused) {
    Lab lab;
    lab.set("signer-names", "Somebody;Somebody Else");
    expectSigner(lab, lab.signer(), ErrorNumber::SignerName);
    lab.set("signer-names", "test signer");
    expectSigner(lab, lab.signer(), ErrorNumber::SignerName);
    lab.set("signer-names", "Somebody;Test Signer");
    expectSigner(lab, lab.signer(), ErrorNumber::None);
}

TEST(Signer, WithANulInItsNameIsRefused) {
    Lab lab;
    lab.set("signer-names", "Test Signer");
    auto request = test::goodSigner();
    request.commonName = std::string("Test Signer\0.evil", 17);
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerName);
}

TEST(Signer, WithAControlCharacterInItsNameIsRefusedWhereAnyNameIsAllowed) {
    Lab lab;
    for (const std::string& name : {std::string("Test\0Signer", 11), std::string("Test Signer\n"),
                                    std::string("\x1b[2JTest Signer"), std::string("Test\x1fSigner")}) {
        auto request = test::goodSigner();
        request.commonName = name;
        expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerName);
    }
}

TEST(Signer, WithTwoCommonNamesIsRefused) {
    Lab lab;
    Identity signer = test::issue(test::goodSigner(), &lab.authority());
    X509* const certificate = signer.certificate.get();
    X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), NID_commonName, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Another"), -1, -1, 0);
    ASSERT_GT(X509_sign(certificate, lab.authority().key.get(), EVP_sha256()), 0);
    expectSigner(lab, signer, ErrorNumber::SignerName);
}

TEST(Signer, WithoutACommonNameIsRefused) {
    Lab lab;
    vtek::Identity signer = test::issue(test::goodSigner(), &lab.authority());
    X509_NAME_ENTRY_free(X509_NAME_delete_entry(X509_get_subject_name(signer.certificate.get()), 0));
    X509_sign(signer.certificate.get(), lab.authority().key.get(), EVP_sha256());
    expectSigner(lab, std::move(signer), ErrorNumber::SignerName);
}

// When

TEST(Signer, ExpiredOrNotYetValidIsRefused) {
    Lab lab;
    auto request = test::goodSigner();
    request.validTo = kNow - 1;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerExpired);
    request.validFrom = kNow + 1;
    request.validTo = kNow + kDay;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerNotYetValid);
}

TEST(Signer, IsValidFromItsFirstSecondUpToItsLast) {
    Lab lab;
    auto request = test::goodSigner();
    request.validTo = kNow + 1;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::None);
    request.validFrom = kNow;
    request.validTo = kNow + kDay;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::None);
}

TEST(Signer, AClockInThePastOrTheFutureClosesTheDoor) {
    const Lab lab;
    constexpr std::time_t kYear1970 = 0;
    constexpr std::time_t kYear2100 = 4102444800;
    EXPECT_EQ(lab.update({}, kYear1970), (UpdateOutcome{"check", ErrorNumber::SignerNotYetValid}));
    EXPECT_EQ(lab.update({}, kYear2100), (UpdateOutcome{"check", ErrorNumber::SignerExpired}));
}

// Revocation

TEST(Revocation, ARevokedSignerIsRefused) {
    Lab lab;
    lab.trust("list.crl",
              test::makeList(lab.authority(), kNow - kDay, kNow + kDay, {lab.signer().certificate.get()}));
    expectSigner(lab, lab.signer(), ErrorNumber::SignerRevoked);
}

TEST(Revocation, AnEmptyListIsNoObstacle) {
    Lab lab;
    lab.set("revocation", "required");
    lab.trust("list.crl", test::makeList(lab.authority(), kNow - kDay, kNow + kDay));
    expectSigner(lab, lab.signer(), ErrorNumber::None);
}

TEST(Revocation, ARevokedIntermediateIsRefused) {
    Lab lab;
    const Identity middle = test::issue(vtek::authorityRequest("Middle", kNow - kDay, 100), &lab.authority());
    lab.trust("list.crl",
              test::makeList(lab.authority(), kNow - kDay, kNow + kDay, {middle.certificate.get()}));
    expectSigner(lab, test::issue(test::goodSigner(), &middle), ErrorNumber::SignerRevoked,
                 {.helpers = {middle.certificate.get()}});
}

TEST(Revocation, AListThatIsNotCurrentIsRefused) {
    Lab lab;
    lab.trust("list.crl", test::makeList(lab.authority(), kNow - 2 * kDay, kNow - kDay));
    expectSigner(lab, lab.signer(), ErrorNumber::RevocationListExpired);
    lab.trust("list.crl", test::makeList(lab.authority(), kNow + kDay, kNow + 2 * kDay));
    expectSigner(lab, lab.signer(), ErrorNumber::RevocationListExpired);
}

TEST(Revocation, WhereListsAreRequiredAMissingOneIsRefused) {
    Lab lab;
    lab.set("revocation", "required");
    expectSigner(lab, lab.signer(), ErrorNumber::RevocationListMissing);
}

TEST(Revocation, WhereListsAreRequiredTheWholeChainNeedsOne) {
    Lab lab;
    lab.set("revocation", "required");
    lab.trust("list.crl", test::makeList(lab.authority(), kNow - kDay, kNow + kDay));
    const Identity middle = test::issue(vtek::authorityRequest("Middle", kNow - kDay, 100), &lab.authority());
    const Identity signer = test::issue(test::goodSigner(), &middle);
    const CmsForm form{.helpers = {middle.certificate.get()}};
    expectSigner(lab, signer, ErrorNumber::RevocationListMissing, form);
    lab.trust("middle.crl", test::makeList(middle, kNow - kDay, kNow + kDay));
    expectSigner(lab, signer, ErrorNumber::None, form);
}

TEST(Revocation, AListSignedBySomebodyElseDoesNotCount) {
    Lab lab;
    lab.set("revocation", "required");
    const Identity twin = test::makeAuthority("Test Authority");
    lab.trust("list.crl", test::makeList(twin, kNow - kDay, kNow + kDay));
    lab.write(test::makePayload(lab.archive(), test::makeCms(lab.archive(), {&lab.signer()})));
    EXPECT_EQ(lab.update().step, "check");
}

// How strong

/** Whether a certificate's time is this very second. */
bool isAt(const ASN1_TIME* time, std::time_t second) {
    std::time_t before = second - 1;
    return X509_cmp_time(time, &second) == -1 && X509_cmp_time(time, &before) == 1;
}

TEST(Certificates, AreValidFromAndToWhatWasAskedFor) {
    Lab lab;
    auto request = test::goodSigner();
    request.validFrom = kNow;
    request.validTo = kNow + kDay;
    const auto signer = test::issue(request, &lab.authority());
    EXPECT_TRUE(isAt(X509_get0_notBefore(signer.certificate.get()), kNow));
    EXPECT_TRUE(isAt(X509_get0_notAfter(signer.certificate.get()), kNow + kDay));
}

TEST(Strength, WeakDigestsAreRefused) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignerWeak, {.digest = EVP_sha1()});
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), test::makeRsaKey(2048)),
                 ErrorNumber::SignerWeak, {.digest = EVP_md5()});
    expectSigner(lab, lab.signer(), ErrorNumber::SignerWeak, {.digest = EVP_sha224()});
}

TEST(Strength, StrongDigestsAreAccepted) {
    Lab lab;
    for (const EVP_MD* digest : {EVP_sha256(), EVP_sha384(), EVP_sha512()}) {
        expectSigner(lab, lab.signer(), ErrorNumber::None, {.digest = digest});
    }
}

TEST(Strength, KeysBelowTheBoundAreRefused) {
    Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), test::makeRsaKey(1024)),
                 ErrorNumber::SignerWeak);
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), test::makeRsaKey(2048)),
                 ErrorNumber::None);
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), vtek::KeyPtr(EVP_EC_gen("P-224"))),
                 ErrorNumber::SignerWeak);
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), vtek::KeyPtr(EVP_EC_gen("P-384"))),
                 ErrorNumber::None);
}

TEST(Strength, AKeyOfAnotherKindIsRefused) {
    Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), test::makeDsaKey()),
                 ErrorNumber::SignerWeak);
}

TEST(Strength, AKeyOnACurveThatNobodyKnowsIsRefused) {
    const Lab lab;
    // The object identifier of the curve P-256, and one that is not given to any curve.
    const std::string known("\x2a\x86\x48\xce\x3d\x03\x01\x07", 8);
    const std::string unknown("\x2a\x86\x48\xce\x3d\x03\x01\x7f", 8);
    lab.write(test::patched(test::readFile(lab.payload()), known, unknown));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::SignerWeak}));
}

TEST(Strength, ASignersCertificateSignedWithSha1IsRefused) {
    Lab lab;
    auto request = test::goodSigner();
    request.digest = EVP_sha1();
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerWeak);
}

TEST(Strength, ADigestAlgorithmThatDiffersFromTheSignedAttributesIsRefused) {
    Lab lab;
    // The object identifiers of SHA-256 and SHA-512 differ in their last byte only.
    const std::string sha256("\x60\x86\x48\x01\x65\x03\x04\x02\x01", 9);
    const std::string sha512("\x60\x86\x48\x01\x65\x03\x04\x02\x03", 9);
    const std::string cms = test::patched(test::makeCms(lab.archive(), {&lab.signer()}), sha256, sha512);
    expectOutcome(lab, cms, ErrorNumber::SignatureMismatch);
}

}  // namespace
