// Whether a signature covers an archive: for any bytes, our verdict must be that of OpenSSL's CMS_verify.

#include "CmsVerdict.h"
#include "Signing.h"
#include "TempDir.h"
#include "trust/Signature.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using test::CmsForm;
using test::cmsVerifies;
using test::makeCms;
using vtek::ErrorNumber;

const std::string kArchive = "what was signed";

// Object identifiers in DER: SHA-256; then SHA-384, SHA-512, SHA-224, and one that is not assigned.
const std::string kSha256("\x60\x86\x48\x01\x65\x03\x04\x02\x01", 9);
const std::string kOtherDigests[] = {
    std::string("\x60\x86\x48\x01\x65\x03\x04\x02\x02", 9),
    std::string("\x60\x86\x48\x01\x65\x03\x04\x02\x03", 9),
    std::string("\x60\x86\x48\x01\x65\x03\x04\x02\x04", 9),
    std::string("\x60\x86\x48\x01\x65\x03\x04\x02\x7f", 9),
};

/** A payload with one archive and a signature that the tests exchange. */
class SignatureFit : public testing::Test {
protected:
    ErrorNumber verdict(const std::string& der) {
        payload_.signature.assign(der.begin(), der.end());
        const vtek::Status fits = checkSignatureFits(payload_);
        return fits ? ErrorNumber::None : fits.error().number;
    }

    /** Compares the two verdicts, unless the signature is refused for another reason before. */
    void expectSameVerdict(const std::string& der) {
        const ErrorNumber number = verdict(der);
        if (number == ErrorNumber::None || number == ErrorNumber::SignatureMismatch) {
            const bool fits = number == ErrorNumber::None;
            EXPECT_EQ(fits, cmsVerifies(der, archive_));
            ++(fits ? fitting_ : mismatching_);
        }
    }

    void useArchive(const std::string& archive) {
        archive_ = archive;
        test::writeFile(folder_ / "archive", archive);
        payload_.file = vtek::openAt(vtek::kWorkingFolder, (folder_ / "archive").string(), O_RDONLY);
        payload_.signedLength = archive.size();
    }

    void SetUp() override { useArchive(kArchive); }

    /** Valid signatures over the archive: with and without attributes, with one and two signers and digests.
     */
    std::vector<std::string> signatures() const {
        std::vector<std::string> all;
        for (const EVP_MD* digest : {EVP_sha1(), EVP_sha256(), EVP_sha512()}) {
            for (const unsigned int flags : {0U, unsigned{CMS_NOATTR}}) {
                all.push_back(makeCms(kArchive, {&one_}, {.digest = digest, .flags = flags}));
            }
        }
        const CmsForm mixed{.digest = EVP_sha512(), .otherDigest = EVP_sha256()};
        all.push_back(makeCms(kArchive, {&one_, &other_}, mixed));
        all.push_back(makeCms(kArchive, {&one_, &other_}, {.digest = EVP_sha384()}));
        return all;
    }

    const vtek::Identity one_ = test::issue(test::goodSigner(), nullptr);
    const vtek::Identity other_ = test::issue(test::goodSigner(), nullptr);
    int fitting_ = 0;
    int mismatching_ = 0;

private:
    const test::TempDir folder_;
    std::string archive_;
    vtek::SignedFile payload_{{}, "fw.fwp", 0, {}, {}, 0};
};

TEST_F(SignatureFit, AcceptsEveryKindOverItsArchive) {
    for (const std::string& der : signatures()) {
        EXPECT_TRUE(cmsVerifies(der, kArchive));
        EXPECT_EQ(verdict(der), ErrorNumber::None);
    }
}

TEST_F(SignatureFit, RejectsSignatureOfAnotherArchive) {
    const auto all = signatures();
    for (const std::string archive : {"", "What was signed", "what was signe", "what was signed "}) {
        useArchive(archive);
        for (const std::string& der : all) {
            EXPECT_FALSE(cmsVerifies(der, archive));
            EXPECT_EQ(verdict(der), ErrorNumber::SignatureMismatch);
        }
    }
}

TEST_F(SignatureFit, AgreesWithCmsVerifyOnEveryChangedByte) {
    for (const std::string& der : signatures()) {
        for (std::size_t at = 0; at < der.size(); ++at) {
            SCOPED_TRACE(at);
            std::string changed = der;
            changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
            expectSameVerdict(changed);
        }
    }
    EXPECT_GT(fitting_, 100) << "changes outside the signed bytes";
    EXPECT_GT(mismatching_, 1000);
}

TEST_F(SignatureFit, AgreesWithCmsVerifyOnExchangedDigests) {
    for (const std::string& der : signatures()) {
        for (auto at = der.find(kSha256); at != std::string::npos; at = der.find(kSha256, at + 1)) {
            for (const std::string& digest : kOtherDigests) {
                std::string changed = der;
                expectSameVerdict(changed.replace(at, digest.size(), digest));
            }
        }
    }
    EXPECT_GT(mismatching_, 20);
}

TEST_F(SignatureFit, RejectsDigestThatIsNotListed) {
    std::string der = makeCms(kArchive, {&one_}, {.digest = EVP_sha256()});
    der.replace(der.find(kSha256), kSha256.size(), kOtherDigests[1]);  // the list comes first
    EXPECT_FALSE(cmsVerifies(der, kArchive));
    EXPECT_EQ(verdict(der), ErrorNumber::SignatureMismatch);
}

}  // namespace
