#include "CmsVerdict.h"
#include "Lab.h"
#include "trust/Signature.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using test::CmsForm;
using test::cmsVerifies;
using test::kNow;
using test::Lab;
using test::makeCms;
using vtek::ErrorNumber;
using vtek::Identity;

const std::string kArchive = "what was signed";

// Object identifiers in DER. The last byte of those of RSA names the digest.
const std::string kRsaEncryption("\x2a\x86\x48\x86\xf7\x0d\x01\x01\x01", 9);
constexpr char kMd5WithRsa = 0x04;
constexpr char kSha1WithRsa = 0x05;
constexpr char kSha256WithRsa = 0x0B;
constexpr char kSha512WithRsa = 0x0D;

/** A chassis that verifies signatures over one archive. */
class SignatureFields : public testing::Test {
protected:
    SignatureFields() {
        test::writeFile(lab_.aside() / "archive", kArchive);
        payload_.file = vtek::openAt(vtek::kWorkingFolder, (lab_.aside() / "archive").string(), O_RDONLY);
        payload_.signedLength = kArchive.size();
    }

    ErrorNumber verdict(const std::string& der) {
        payload_.signature.assign(der.begin(), der.end());
        const auto verified = verifySignature(payload_, trust_, {kNow, vtek::Revocation::IfPresent, {}},
                                              [](std::string_view) {});
        return verified ? ErrorNumber::None : verified.error().number;
    }

    /** Expects a refusal of what OpenSSL's CMS_verify accepts. */
    void expectMalformed(const std::string& der, ErrorNumber number = ErrorNumber::SignatureMalformed) {
        EXPECT_TRUE(cmsVerifies(der, kArchive));
        EXPECT_EQ(verdict(der), number);
    }

    void expectRefusedFlip(const std::string& der, std::size_t at, int bit) {
        std::string flipped = der;
        flipped[at] = static_cast<char>(flipped[at] ^ (1 << bit));
        EXPECT_NE(verdict(flipped), ErrorNumber::None) << "byte " << at << ", bit " << bit;
    }

    /** Flips each bit from the first byte up to the end, one after another. */
    void expectRefusedFlips(const std::string& der, std::size_t first, std::size_t end) {
        for (std::size_t bit = 8 * first; bit < 8 * end; ++bit) {
            expectRefusedFlip(der, bit / 8, static_cast<int>(bit % 8));
        }
    }

    Identity makeSigner(vtek::KeyPtr key = nullptr) {
        return test::issue(test::goodSigner(), &lab_.authority(), std::move(key));
    }

    Lab lab_;
    vtek::TrustStore trust_ = std::move(*loadTrustStore(lab_.root()));

private:
    vtek::SignedFile payload_{{}, "fw.fwp", 0, {}, {}, 0};
};

std::string derOf(const vtek::CmsPtr& cms) {
    std::string der(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)), '\0');
    auto* cursor = reinterpret_cast<unsigned char*>(der.data());
    i2d_CMS_ContentInfo(cms.get(), &cursor);
    return der;
}

vtek::CmsPtr parse(const std::string& der) {
    const auto* cursor = reinterpret_cast<const unsigned char*>(der.data());
    return vtek::CmsPtr(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(der.size())));
}

/** Changes what is read from a signature, and writes it again. */
std::string rewritten(const std::string& der, const std::function<void(CMS_ContentInfo*)>& change) {
    const vtek::CmsPtr cms = parse(der);
    change(cms.get());
    return derOf(cms);
}

/** Changes an algorithm identifier of the first signer. */
std::string withAlgorithms(const std::string& der, int digest, int digestParameters, int signature,
                           int signatureParameters) {
    return rewritten(der, [&](CMS_ContentInfo* cms) {
        X509_ALGOR* digestField = nullptr;
        X509_ALGOR* signatureField = nullptr;
        CMS_SignerInfo_get0_algs(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms), 0), nullptr, nullptr,
                                 &digestField, &signatureField);
        X509_ALGOR_set0(digestField, OBJ_nid2obj(digest), digestParameters, nullptr);
        X509_ALGOR_set0(signatureField, OBJ_nid2obj(signature), signatureParameters, nullptr);
    });
}

/** Replaces the last byte of the last place where a text is found. */
std::string withLastByte(std::string der, const std::string& text, char byte) {
    der.at(der.rfind(text) + text.size() - 1) = byte;
    return der;
}

std::string derOf(const Identity& signer) {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(signer.certificate.get(), &bytes);
    std::string der(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(size));
    OPENSSL_free(bytes);
    return der;
}

TEST_F(SignatureFields, RejectsFlippedBitInEveryByte) {
    const std::string der = makeCms(kArchive, {&lab_.signer()});
    ASSERT_EQ(verdict(der), ErrorNumber::None);
    for (std::size_t at = 0; at < der.size(); ++at) {
        expectRefusedFlip(der, at, static_cast<int>(at % 8));
    }
}

TEST_F(SignatureFields, RejectsEveryFlippedBitOfItsFields) {
    const Identity rsa = makeSigner(test::makeRsaKey(2048));
    const std::pair<const Identity*, CmsForm> forms[] = {
        {&lab_.signer(), {.flags = CMS_NOSMIMECAP}},
        {&rsa, {.digest = EVP_sha512(), .flags = CMS_NOSMIMECAP | CMS_USE_KEYID}},
        {&rsa, {.flags = CMS_NOSMIMECAP, .pss = true}}};
    for (const auto& [signer, form] : forms) {
        const std::string der = makeCms(kArchive, {signer}, form);
        ASSERT_EQ(verdict(der), ErrorNumber::None);
        // The certificate and, at the end, the signature itself are left to the other test.
        const std::string certificate = derOf(*signer);
        const std::size_t start = der.find(certificate);
        ASSERT_NE(start, std::string::npos);
        const std::size_t signatureSize = signer == &rsa ? 256 : 70;
        expectRefusedFlips(der, 0, start);
        expectRefusedFlips(der, start + certificate.size(), der.size() - signatureSize);
    }
}

TEST_F(SignatureFields, RejectsWrongVersions) {
    for (const bool byKeyIdentifier : {false, true}) {
        const std::string der =
            makeCms(kArchive, {&lab_.signer()}, {.flags = byKeyIdentifier ? unsigned{CMS_USE_KEYID} : 0U});
        const char right = byKeyIdentifier ? '\x03' : '\x01';
        const std::string version{'\x02', '\x01', right};
        const std::size_t ofSignature = der.find(version + '\x31');  // followed by a SET
        const std::size_t ofSigner = der.rfind(version + (byKeyIdentifier ? '\x80' : '\x30'));
        ASSERT_LT(ofSignature, ofSigner);
        ASSERT_NE(ofSigner, std::string::npos);
        for (const std::size_t at : {ofSignature, ofSigner}) {
            for (const char wrong : {'\x00', '\x01', '\x02', '\x03', '\x04', '\x05', '\x7f', '\xff'}) {
                std::string changed = der;
                changed[at + 2] = wrong;
                EXPECT_EQ(verdict(changed),
                          wrong == right ? ErrorNumber::None : ErrorNumber::SignatureMalformed);
            }
        }
    }
}

TEST_F(SignatureFields, RejectsAlgorithmsThatWereNotUsed) {
    const Identity rsa = makeSigner(test::makeRsaKey(2048));
    const std::string byRsa = makeCms(kArchive, {&rsa});
    for (const char other : {kMd5WithRsa, kSha1WithRsa, kSha512WithRsa}) {
        expectMalformed(withLastByte(byRsa, kRsaEncryption, other));
    }
    EXPECT_EQ(verdict(withLastByte(byRsa, kRsaEncryption, kSha256WithRsa)), ErrorNumber::None);
    EXPECT_EQ(verdict(withAlgorithms(byRsa, NID_sha256, V_ASN1_UNDEF, NID_ecdsa_with_SHA256, V_ASN1_UNDEF)),
              ErrorNumber::SignatureMismatch);

    const std::string byCurve = makeCms(kArchive, {&lab_.signer()});
    for (const int other : {NID_rsaEncryption, NID_sha256WithRSAEncryption, NID_ecdsa_with_SHA512,
                            NID_ecdsa_with_SHA1, NID_dsa_with_SHA256, NID_X9_62_id_ecPublicKey}) {
        expectMalformed(withAlgorithms(byCurve, NID_sha256, V_ASN1_UNDEF, other, V_ASN1_UNDEF));
    }
}

TEST_F(SignatureFields, AcceptsAbsentAndNullParameters) {
    const Identity rsa = makeSigner(test::makeRsaKey(2048));
    const std::string byRsa = makeCms(kArchive, {&rsa});
    for (const int parameters : {V_ASN1_UNDEF, V_ASN1_NULL}) {
        for (const int signature : {NID_rsaEncryption, NID_sha256WithRSAEncryption}) {
            EXPECT_EQ(verdict(withAlgorithms(byRsa, NID_sha256, parameters, signature, parameters)),
                      ErrorNumber::None);
        }
    }
    const std::string byCurve = makeCms(kArchive, {&lab_.signer()});
    EXPECT_EQ(verdict(withAlgorithms(byCurve, NID_sha256, V_ASN1_NULL, NID_ecdsa_with_SHA256, V_ASN1_UNDEF)),
              ErrorNumber::None);
    expectMalformed(withAlgorithms(byCurve, NID_sha256, V_ASN1_UNDEF, NID_ecdsa_with_SHA256, V_ASN1_NULL));
}

TEST_F(SignatureFields, RejectsDigestThatNoSignerUses) {
    const Identity second = makeSigner();
    const std::string der =
        makeCms(kArchive, {&lab_.signer(), &second}, {.digest = EVP_sha256(), .otherDigest = EVP_sha512()});
    ASSERT_EQ(verdict(der), ErrorNumber::None);
    expectMalformed(rewritten(der, [](CMS_ContentInfo* cms) {
        // Freeing the signer is left to the end of the program.
        static_cast<void>(sk_CMS_SignerInfo_delete(CMS_get0_SignerInfos(cms), 1));
    }));
}

TEST_F(SignatureFields, RejectsOtherSignedContentType) {
    const std::string other = makeCms(kArchive, {&lab_.signer()}, {.contentType = NID_id_smime_ct_TSTInfo});
    std::string der = rewritten(
        other, [](CMS_ContentInfo* cms) { CMS_set1_eContentType(cms, OBJ_nid2obj(NID_pkcs7_data)); });
    der.at(der.find("\x02\x01\x03\x31") + 2) = '\x01';  // the version that goes with plain data
    expectMalformed(der, ErrorNumber::SignatureKind);
}

TEST_F(SignatureFields, RejectsIssuerWrittenInAnotherWay) {
    std::string der = makeCms(kArchive, {&lab_.signer()});
    der.at(der.rfind("Test Authority")) = 't';
    expectMalformed(der);
}

TEST_F(SignatureFields, RejectsLengthsThatAreNotDer) {
    const std::string der = makeCms(kArchive, {&lab_.signer()});
    ASSERT_EQ(der.substr(0, 2), "\x30\x82");  // a sequence; its length has two bytes
    expectMalformed(std::string("\x30\x83\0", 3) + der.substr(2));
    expectMalformed(std::string("\x30\x80", 2) + der.substr(4) + std::string(2, '\0'));
}

TEST_F(SignatureFields, PassesOverWhatNothingUses) {
    const std::string der =
        makeCms(kArchive, {&lab_.signer()}, {.helpers = {lab_.authority().certificate.get()}});
    const auto list = vtek::makeRevocationList(lab_.authority(), kNow - test::kDay, kNow + test::kDay,
                                               {lab_.signer().certificate.get()});
    EXPECT_EQ(verdict(rewritten(der,
                                [&](CMS_ContentInfo* cms) {
                                    CMS_add1_crl(cms, list->get());
                                    CMS_unsigned_add1_attr_by_NID(
                                        sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms), 0),
                                        NID_friendlyName, V_ASN1_UTF8STRING, "name", 4);
                                })),
              ErrorNumber::None);
}

}  // namespace
