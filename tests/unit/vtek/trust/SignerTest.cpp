#include "SignedUpdate.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using test::CmsForm;
using test::expectSigner;
using test::kDay;
using test::kNow;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;
using vtek::Identity;

TEST(Signer, RejectsUnknownAuthority) {
    const Lab lab;
    const Identity other = test::makeAuthority("Other Authority");
    expectSigner(lab, test::issue(test::goodSigner(), &other), ErrorNumber::SignerUntrusted,
                 {.helpers = {other.certificate.get()}});
}

TEST(Signer, RejectsOtherAuthorityWithTrustedName) {
    const Lab lab;
    const Identity twin = test::makeAuthority("Test Authority");
    expectSigner(lab, test::issue(test::goodSigner(), &twin), ErrorNumber::SignerUntrusted,
                 {.helpers = {twin.certificate.get()}});
}

TEST(Signer, RejectsSelfSignedCertificate) {
    const Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), nullptr), ErrorNumber::SignerUntrusted);
}

TEST(Signer, AcceptsIntermediateFromSignature) {
    Lab lab;
    const Identity middle = test::issue(vtek::authorityRequest("Middle", kNow - kDay, 100), &lab.authority());
    expectSigner(lab, test::issue(test::goodSigner(), &middle), ErrorNumber::None,
                 {.helpers = {middle.certificate.get()}});
}

TEST(Signer, RejectsIntermediateThatIsNotAuthority) {
    Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), &lab.signer()), ErrorNumber::SignerUntrusted,
                 {.helpers = {lab.signer().certificate.get()}});
}

TEST(Signer, RejectsCertificateNotForCodeSigning) {
    Lab lab;
    for (const std::string usage : {"", "serverAuth", "emailProtection"}) {
        auto request = test::goodSigner();
        request.extendedKeyUsage = usage;
        expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerPurpose);
    }
}

TEST(Signer, RejectsCertificateNotForDigitalSignatures) {
    Lab lab;
    for (const std::string usage : {"", "keyEncipherment"}) {
        auto request = test::goodSigner();
        request.keyUsage = usage;
        expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerPurpose);
    }
}

TEST(Signer, RejectsAuthorityAsSigner) {
    Lab lab;
    auto request = test::goodSigner();
    request.authority = true;
    request.keyUsage = "critical,digitalSignature,keyCertSign";
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerPurpose);
}

TEST(Signer, RejectsTrustedAuthorityAsSigner) {
    Lab lab;
    expectSigner(lab, lab.authority(), ErrorNumber::SignerPurpose);
}

TEST(Signer, RejectsNameThatIsNotAllowed) {
    Lab lab;
    lab.set("signer-names", "Somebody;Somebody Else");
    expectSigner(lab, lab.signer(), ErrorNumber::SignerName);
    lab.set("signer-names", "test signer");
    expectSigner(lab, lab.signer(), ErrorNumber::SignerName);
    lab.set("signer-names", "Somebody;Test Signer");
    expectSigner(lab, lab.signer(), ErrorNumber::None);
}

TEST(Signer, RejectsNulInName) {
    Lab lab;
    lab.set("signer-names", "Test Signer");
    auto request = test::goodSigner();
    request.commonName = std::string("Test Signer\0.evil", 17);
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerName);
}

TEST(Signer, RejectsControlCharacterInName) {
    Lab lab;
    for (const std::string& name : {std::string("Test\0Signer", 11), std::string("Test Signer\n"),
                                    std::string("\x1b[2JTest Signer"), std::string("Test\x1fSigner")}) {
        auto request = test::goodSigner();
        request.commonName = name;
        expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerName);
    }
}

TEST(Signer, RejectsTwoCommonNames) {
    Lab lab;
    Identity signer = test::issue(test::goodSigner(), &lab.authority());
    X509* const certificate = signer.certificate.get();
    X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), NID_commonName, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Another"), -1, -1, 0);
    ASSERT_GT(X509_sign(certificate, lab.authority().key.get(), EVP_sha256()), 0);
    expectSigner(lab, signer, ErrorNumber::SignerName);
}

TEST(Signer, RejectsMissingCommonName) {
    Lab lab;
    vtek::Identity signer = test::issue(test::goodSigner(), &lab.authority());
    X509_NAME_ENTRY_free(X509_NAME_delete_entry(X509_get_subject_name(signer.certificate.get()), 0));
    X509_sign(signer.certificate.get(), lab.authority().key.get(), EVP_sha256());
    expectSigner(lab, std::move(signer), ErrorNumber::SignerName);
}

TEST(Signer, RejectsExpiredAndNotYetValid) {
    Lab lab;
    auto request = test::goodSigner();
    request.validTo = kNow - 1;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerExpired);
    request.validFrom = kNow + 1;
    request.validTo = kNow + kDay;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerNotYetValid);
}

TEST(Signer, AcceptsFirstAndLastSecond) {
    Lab lab;
    auto request = test::goodSigner();
    request.validTo = kNow + 1;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::None);
    request.validFrom = kNow;
    request.validTo = kNow + kDay;
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::None);
}

TEST(Signer, RejectsClockInPastAndFuture) {
    const Lab lab;
    constexpr std::time_t kYear1970 = 0;
    constexpr std::time_t kYear2100 = 4102444800;
    EXPECT_EQ(lab.update({}, kYear1970), (UpdateOutcome{"check", ErrorNumber::SignerNotYetValid}));
    EXPECT_EQ(lab.update({}, kYear2100), (UpdateOutcome{"check", ErrorNumber::SignerExpired}));
}

TEST(Signer, RejectsRevokedSigner) {
    Lab lab;
    lab.trust("list.crl",
              test::makeList(lab.authority(), kNow - kDay, kNow + kDay, {lab.signer().certificate.get()}));
    expectSigner(lab, lab.signer(), ErrorNumber::SignerRevoked);
}

TEST(Signer, AcceptsEmptyRevocationList) {
    Lab lab;
    lab.set("revocation", "required");
    lab.trust("list.crl", test::makeList(lab.authority(), kNow - kDay, kNow + kDay));
    expectSigner(lab, lab.signer(), ErrorNumber::None);
}

TEST(Signer, RejectsRevokedIntermediate) {
    Lab lab;
    const Identity middle = test::issue(vtek::authorityRequest("Middle", kNow - kDay, 100), &lab.authority());
    lab.trust("list.crl",
              test::makeList(lab.authority(), kNow - kDay, kNow + kDay, {middle.certificate.get()}));
    expectSigner(lab, test::issue(test::goodSigner(), &middle), ErrorNumber::SignerRevoked,
                 {.helpers = {middle.certificate.get()}});
}

TEST(Signer, RejectsRevocationListThatIsNotCurrent) {
    Lab lab;
    lab.trust("list.crl", test::makeList(lab.authority(), kNow - 2 * kDay, kNow - kDay));
    expectSigner(lab, lab.signer(), ErrorNumber::RevocationListExpired);
    lab.trust("list.crl", test::makeList(lab.authority(), kNow + kDay, kNow + 2 * kDay));
    expectSigner(lab, lab.signer(), ErrorNumber::RevocationListExpired);
}

TEST(Signer, RejectsMissingListWhereRequired) {
    Lab lab;
    lab.set("revocation", "required");
    expectSigner(lab, lab.signer(), ErrorNumber::RevocationListMissing);
}

TEST(Signer, RequiresListsForWholeChain) {
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

TEST(Signer, RejectsListSignedByAnother) {
    Lab lab;
    lab.set("revocation", "required");
    const Identity twin = test::makeAuthority("Test Authority");
    lab.trust("list.crl", test::makeList(twin, kNow - kDay, kNow + kDay));
    lab.write(test::makePayload(lab.archive(), test::makeCms(lab.archive(), {&lab.signer()})));
    EXPECT_EQ(lab.update().step, "check");
}

TEST(Signer, RejectsWeakDigests) {
    Lab lab;
    expectSigner(lab, lab.signer(), ErrorNumber::SignerWeak, {.digest = EVP_sha1()});
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), test::makeRsaKey(2048)),
                 ErrorNumber::SignerWeak, {.digest = EVP_md5()});
    expectSigner(lab, lab.signer(), ErrorNumber::SignerWeak, {.digest = EVP_sha224()});
}

TEST(Signer, AcceptsStrongDigests) {
    Lab lab;
    for (const EVP_MD* digest : {EVP_sha256(), EVP_sha384(), EVP_sha512()}) {
        expectSigner(lab, lab.signer(), ErrorNumber::None, {.digest = digest});
    }
}

TEST(Signer, RejectsSmallKeys) {
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

TEST(Signer, RejectsOtherKindOfKey) {
    Lab lab;
    expectSigner(lab, test::issue(test::goodSigner(), &lab.authority(), test::makeDsaKey()),
                 ErrorNumber::SignerWeak);
}

TEST(Signer, RejectsKeyOnUnknownCurve) {
    const Lab lab;
    // The object identifier of the curve P-256, and one that is not given to any curve.
    const std::string known("\x2a\x86\x48\xce\x3d\x03\x01\x07", 8);
    const std::string unknown("\x2a\x86\x48\xce\x3d\x03\x01\x7f", 8);
    lab.write(test::patched(test::readFile(lab.payload()), known, unknown));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::SignerWeak}));
}

TEST(Signer, RejectsCertificateSignedWithSha1) {
    Lab lab;
    auto request = test::goodSigner();
    request.digest = EVP_sha1();
    expectSigner(lab, test::issue(request, &lab.authority()), ErrorNumber::SignerWeak);
}

}  // namespace
