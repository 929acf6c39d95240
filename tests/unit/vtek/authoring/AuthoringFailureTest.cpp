// Makes certificates and payloads once for each call to the system or to a library, with that call failing:
// the result is whole, or a failure is reported.
#include "FailingCalls.h"
#include "Lab.h"
#include "authoring/PackageDescription.h"
#include "authoring/PayloadWriter.h"
#include "payload/Payload.h"
#include "trust/Signature.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

/** Read by LeakSanitizer: libarchive leaks the buffer of an archive that it could not write. */
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libarchive.so";
}

namespace {

using test::Calls;
using test::FailingCalls;
using test::kDay;
using test::kNow;
using test::Lab;
using vtek::ErrorNumber;

class AuthoringFailure : public testing::TestWithParam<Calls> {
protected:
    AuthoringFailure() {
        std::filesystem::create_directories(folder_ / "content/sub");
        test::writeFile(folder_ / "content/main.bin", std::string(100000, 'm'));
        test::writeFile(folder_ / "content/sub/readme.txt", "hello");
        test::writeFile(folder_ / "content.tar",
                        test::makeArchive(test::Format::Tar, {{"main.bin", std::string(100000, 'm')},
                                                              {"sub", "", 'd'},
                                                              {"sub/readme.txt", "hello"}}));
    }

    std::filesystem::path made() const { return folder_ / "made.tar"; }

    /** Whether writing an archive of the content reports success. */
    bool make(const std::string& content) const {
        const auto file =
            vtek::openAt(vtek::kWorkingFolder, made().string(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        return static_cast<bool>(test::caught([&] {
            return writeArchive(file.get(), vtek::ArchiveFormat::Tar,
                                {"25227", "2.00", {"LAB-CHASSIS"}, std::string(64, 'a')}, folder_ / content);
        }));
    }

    test::TempDir folder_;
};
INSTANTIATE_TEST_SUITE_P(All, AuthoringFailure, testing::Values(Calls::Files, Calls::Archive));

TEST_P(AuthoringFailure, WritesWholeArchiveOrFails) {
    for (const std::string content : {"content", "content.tar"}) {
        ASSERT_TRUE(make(content));
        const std::string whole = test::readFile(made());
        FailingCalls failing(GetParam());
        do {
            const bool isMade = failing.in([&] { return make(content); });
            SCOPED_TRACE(content + ": " + failing.name());
            EXPECT_TRUE(isMade || failing.happened());
            EXPECT_TRUE(!isMade || test::readFile(made()) == whole);
        } while (failing.happened());
    }
}

TEST(AuthoringFailures, MakesValidSignatureOrFails) {
    Lab lab;
    const test::TempDir folder;
    test::writeFile(folder / "archive", "archive");
    std::vector<vtek::CertificatePtr> helpers;
    helpers.emplace_back(X509_dup(lab.authority().certificate.get()));
    FailingCalls failing(Calls::Crypto);
    do {
        const auto signature =
            failing.in([&] { return signFile(folder / "archive", lab.signer(), helpers, kNow); });
        SCOPED_TRACE(failing.name());
        if (!signature) {
            EXPECT_EQ(signature.error().number, ErrorNumber::InvalidArgument);
            EXPECT_TRUE(failing.happened()) << signature.error().message;
            continue;
        }
        test::writeFile(folder / "payload", test::makePayload("archive", *signature));
        const auto payload = vtek::openPayload(vtek::kWorkingFolder, (folder / "payload").string());
        EXPECT_TRUE(checkSignatureFits(*payload));
    } while (failing.happened());
}

TEST(AuthoringFailures, IssuesValidCertificateOrFails) {
    const vtek::Identity authority = test::makeAuthority("Authority");
    FailingCalls failing(Calls::Crypto);
    do {
        const auto issued = failing.in([&]() -> vtek::Status {
            VTEK_ASSIGN(auto key, vtek::makeEcKey());
            VTEK_ASSIGN(const auto signer, issueCertificate(test::goodSigner(), std::move(key), &authority));
            EXPECT_EQ(X509_verify(signer.certificate.get(), authority.key.get()), 1);
            VTEK_ASSIGN(const auto list,
                        makeRevocationList(authority, kNow - kDay, kNow + kDay, {signer.certificate.get()}));
            EXPECT_EQ(X509_CRL_verify(list.get(), authority.key.get()), 1);
            return {};
        });
        SCOPED_TRACE(failing.name());
        EXPECT_EQ(static_cast<bool>(issued), !failing.happened());
        EXPECT_TRUE(issued || issued.error().number == ErrorNumber::Internal);
    } while (failing.happened());
}

class DescriptionFailure : public testing::TestWithParam<Calls> {};
INSTANTIATE_TEST_SUITE_P(All, DescriptionFailure, testing::Values(Calls::Files, Calls::Xml));

TEST_P(DescriptionFailure, ReadsComponentOrFails) {
    const Lab lab;
    FailingCalls failing(GetParam());
    do {
        const auto description = failing.in([&] {
            return vtek::readPackageDescription(vtek::kWorkingFolder,
                                                (lab.package() / "package.xml").string(),
                                                ErrorNumber::PackageUnreadable);
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(description || failing.happened());
        EXPECT_TRUE(!description || (description->componentId == "25227" && description->version == "2.00"));
    } while (failing.happened());
}

}  // namespace
