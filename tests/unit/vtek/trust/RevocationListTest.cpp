#include "SignedUpdate.h"
#include "trust/TrustStore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using test::ExtensionText;
using test::kDay;
using test::kNow;
using test::Lab;
using test::makeList;
using test::UpdateOutcome;
using vtek::ErrorNumber;

const UpdateOutcome kUnusable{"check", ErrorNumber::TrustUnusable};

// Values in DER.
const std::string kEmptyNames = "DER:3000";
const ExtensionText kDelta{"deltaCRL", "critical,DER:020101"};  // to list number 1

/** An issuing distribution point with one field. */
ExtensionText limitedTo(const std::string& field) {
    return {"issuingDistributionPoint", "critical,DER:" + field};
}
const ExtensionText kNamedPoint = limitedTo("300FA00DA00B8609687474703A2F2F612F");  // the URI http://a/
const ExtensionText kUserCertificates = limitedTo("30038101FF");
const ExtensionText kAuthorityCertificates = limitedTo("30038201FF");
const ExtensionText kSomeReasons = limitedTo("300483020640");
const ExtensionText kIndirect = limitedTo("30038401FF");
const ExtensionText kAttributeCertificates = limitedTo("30038501FF");

/** Why a list is refused; empty if it is not. */
std::string refusalOf(const std::string& pem) {
    const auto parsed = vtek::parseTrustFile("list.crl", pem);
    if (parsed) {
        return "";
    }
    EXPECT_EQ(parsed.error().number, ErrorNumber::TrustUnusable);
    return parsed.error().message;
}

std::string refusalOf(Lab& lab, const std::vector<ExtensionText>& ofList,
                      const std::vector<ExtensionText>& ofEntries = {}) {
    return refusalOf(makeList(lab.authority(), {lab.signer().certificate.get()}, ofList, ofEntries));
}

TEST(RevocationList, RefusesDeltaThatHidesRevocation) {
    Lab lab;
    lab.trust("base.crl",
              makeList(lab.authority(), kNow - 2 * kDay, kNow + kDay, {lab.signer().certificate.get()}));
    test::expectSigner(lab, lab.signer(), ErrorNumber::SignerRevoked);
    lab.trust("delta.crl", makeList(lab.authority(), {}, {{"crlNumber", "DER:020102"}, kDelta}));
    for (const char* revocation : {"if-present", "required"}) {
        lab.set("revocation", revocation);
        EXPECT_EQ(lab.update(), kUnusable);
    }
}

TEST(RevocationList, RefusesDeltaWhereListIsRequired) {
    Lab lab;
    lab.set("revocation", "required");
    lab.trust("delta.crl", makeList(lab.authority(), {}, {kDelta}));
    EXPECT_EQ(lab.update(), kUnusable);
}

TEST(RevocationList, NamesReason) {
    Lab lab;
    const std::string start = "trust/list.crl: the revocation list ";
    EXPECT_EQ(refusalOf(lab, {kDelta}), start + "is a delta: it lists only changes to another list");
    EXPECT_EQ(refusalOf(lab, {kIndirect}), start + "is indirect: it may cover other issuers' certificates");
    EXPECT_EQ(refusalOf(lab, {kSomeReasons}), start + "is limited to some reasons for a revocation");
    for (const auto& scope :
         {kNamedPoint, kUserCertificates, kAuthorityCertificates, kAttributeCertificates}) {
        EXPECT_EQ(refusalOf(lab, {scope}), start + "is limited to some of its issuer's certificates");
    }
    EXPECT_EQ(refusalOf(lab, {limitedTo("0500")}), start + "has a malformed issuing distribution point");
    EXPECT_EQ(refusalOf(lab, {{"1.2.3.4", "critical,DER:0500"}}),
              start + "has an unknown critical extension: 1.2.3.4");
    EXPECT_EQ(refusalOf(lab, {}, {{"1.2.3.4", "critical,DER:0500"}}),
              start + "has an entry with an unknown critical extension: 1.2.3.4");
    EXPECT_EQ(refusalOf(lab, {}, {{"CRLReason", "DER:0A0108"}}),
              start + "has an entry that takes a revocation back, as only a delta can");
    EXPECT_EQ(refusalOf(lab, {}, {{"CRLReason", "DER:0500"}}),
              start + "has an entry with a malformed reason");
}

TEST(RevocationList, RefusesLimitsThatAreNotMarkedCritical) {
    Lab lab;
    for (ExtensionText limit : {kDelta, kNamedPoint, kUserCertificates, kSomeReasons, kIndirect}) {
        limit.value = limit.value.substr(std::string("critical,").size());
        EXPECT_NE(refusalOf(lab, {limit}), "") << limit.value;
    }
}

TEST(RevocationList, RefusesEntryOfAnotherIssuer) {
    Lab lab;
    for (const std::string& value : {"critical," + kEmptyNames, kEmptyNames}) {
        EXPECT_EQ(
            refusalOf(lab, {}, {{"certificateIssuer", value}}),
            "trust/list.crl: the revocation list is indirect: it may cover other issuers' certificates");
    }
}

TEST(RevocationList, RefusesCriticalExtensionsOfAnyKind) {
    Lab lab;
    EXPECT_NE(refusalOf(lab, {{"crlNumber", "critical,DER:020101"}}), "");
    EXPECT_NE(refusalOf(lab, {{"freshestCRL", "critical,URI:http://a/"}}), "");
    EXPECT_NE(refusalOf(lab, {{"issuerAltName", "critical,URI:http://a/"}}), "");
    EXPECT_NE(refusalOf(lab, {}, {{"CRLReason", "critical,DER:0A0101"}}), "");
    EXPECT_NE(refusalOf(lab, {}, {{"invalidityDate", "critical,DER:180F32303235303130313030303030305A"}}),
              "");
}

TEST(RevocationList, RefusesUnknownVersion) {
    Lab lab;
    const auto list = vtek::makeRevocationList(lab.authority(), kNow - kDay, kNow + kDay, {});
    EXPECT_EQ(refusalOf(vtek::toPem(list->get())), "");
    X509_CRL_set_version(list->get(), 2);  // of version 3
    X509_CRL_sign(list->get(), lab.authority().key.get(), EVP_sha256());
    EXPECT_EQ(refusalOf(vtek::toPem(list->get())),
              "trust/list.crl: the revocation list has an unknown version");
}

TEST(RevocationList, RefusesWeakDigest) {
    Lab lab;
    const auto list = vtek::makeRevocationList(lab.authority(), kNow - kDay, kNow + kDay, {});
    const auto refusalOfListWith = [&](const EVP_MD* digest) {
        EXPECT_GT(X509_CRL_sign(list->get(), lab.authority().key.get(), digest), 0);
        return refusalOf(vtek::toPem(list->get()));
    };
    EXPECT_EQ(refusalOfListWith(EVP_sha1()),
              "trust/list.crl: the revocation list is signed with a weak digest");
    EXPECT_EQ(refusalOfListWith(EVP_sha224()), "");
    EXPECT_EQ(refusalOfListWith(EVP_sha512()), "");
}

TEST(RevocationList, UsesCompleteListWithUsualExtensions) {
    Lab lab;
    const std::vector<ExtensionText> usual{{"crlNumber", "DER:020101"},
                                           {"freshestCRL", "URI:http://a/"},
                                           {"issuerAltName", "URI:http://a/"},
                                           {"1.2.3.4", "DER:0500"}};
    const std::vector<ExtensionText> ofEntries{{"CRLReason", "DER:0A0101"},
                                               {"invalidityDate", "DER:180F32303235303130313030303030305A"},
                                               {"1.2.3.4", "DER:0500"}};
    lab.set("revocation", "required");
    lab.trust("list.crl", makeList(lab.authority(), {}, usual));
    test::expectSigner(lab, lab.signer(), ErrorNumber::None);
    lab.trust("list.crl", makeList(lab.authority(), {lab.signer().certificate.get()}, usual, ofEntries));
    test::expectSigner(lab, lab.signer(), ErrorNumber::SignerRevoked);
}

}  // namespace
