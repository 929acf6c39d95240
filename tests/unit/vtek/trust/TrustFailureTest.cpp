// Verifies a payload once for each call to the system or to OpenSSL, with that call failing: nothing
// untrusted is ever accepted.
#include "FailingCalls.h"
#include "Lab.h"
#include "payload/Payload.h"
#include "trust/Digest.h"
#include "trust/Signature.h"
#include "trust/TrustStore.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <exception>
#include <optional>
#include <string>

namespace {

using test::Calls;
using test::FailingCalls;
using test::kDay;
using test::kNow;
using test::Lab;
using vtek::ErrorNumber;

/** What work returns, or nothing when it throws. */
template <class Work>
auto unlessThrown(Work work) -> std::optional<decltype(work())> {
    try {
        return work();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

class TrustFailure : public testing::TestWithParam<Calls> {
protected:
    TrustFailure() { lab_.trust("list.crl", test::makeList(lab_.authority(), kNow - kDay, kNow + kDay)); }

    /** The digest of the payload when its signature is accepted; empty otherwise. */
    std::string verifiedDigest() const {
        const auto verified = unlessThrown([&]() -> vtek::Result<vtek::VerifiedSignature> {
            VTEK_ASSIGN(const auto payload, vtek::openPayload(vtek::kWorkingFolder, lab_.payload().string()));
            VTEK_ASSIGN(const auto trust, vtek::loadTrustStore(root_));
            return verifySignature(payload, trust, {kNow, vtek::Revocation::IfPresent, {"Test Signer"}},
                                   [](auto) {});
        });
        return verified && *verified ? (*verified)->digest : "";
    }

    Lab lab_;
    vtek::Root root_ = lab_.root();
};
INSTANTIATE_TEST_SUITE_P(All, TrustFailure, testing::Values(Calls::Files, Calls::Crypto));

TEST_P(TrustFailure, AcceptsGoodPayloadOrFails) {
    const std::string digest = verifiedDigest();
    ASSERT_EQ(digest.size(), 64U);
    FailingCalls failing(GetParam());
    do {
        const std::string found = failing.in([&] { return verifiedDigest(); });
        EXPECT_TRUE(found == digest || failing.happened()) << failing.name();
        EXPECT_TRUE(found == digest || found.empty()) << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, NeverAcceptsRevokedSigner) {
    lab_.trust("list.crl",
               test::makeList(lab_.authority(), kNow - kDay, kNow + kDay, {lab_.signer().certificate.get()}));
    FailingCalls failing(GetParam());
    do {
        EXPECT_EQ(failing.in([&] { return verifiedDigest(); }), "") << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, NeverAcceptsSignatureOfAnotherFile) {
    lab_.write(test::makePayload(lab_.archive(), test::makeCms("another file", {&lab_.signer()})));
    FailingCalls failing(GetParam());
    do {
        EXPECT_EQ(failing.in([&] { return verifiedDigest(); }), "") << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, LoadsWholeStoreOrNone) {
    FailingCalls failing(GetParam());
    do {
        const auto trust = failing.in([&] { return unlessThrown([&] { return loadTrustStore(root_); }); });
        SCOPED_TRACE(failing.name());
        if (trust && *trust) {
            EXPECT_EQ((*trust)->authorities, 1);
            EXPECT_EQ((*trust)->revocationLists, 1);
        } else {
            EXPECT_TRUE(failing.happened());
            EXPECT_TRUE(!trust || trust->error().number == ErrorNumber::TrustUnusable);
        }
    } while (failing.happened());
}

TEST_P(TrustFailure, ChecksContentOrFails) {
    FailingCalls failing(GetParam());
    do {
        const auto fits = failing.in([&] {
            return unlessThrown([&]() -> vtek::Status {
                VTEK_ASSIGN(const auto payload,
                            vtek::openPayload(vtek::kWorkingFolder, lab_.payload().string()));
                return checkSignatureFits(payload);
            });
        });
        EXPECT_TRUE((fits && *fits) || failing.happened()) << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, FindsPayloadOrReportsItUnreadable) {
    const auto folder = vtek::openAt(vtek::kWorkingFolder, lab_.package().string(), O_RDONLY | O_DIRECTORY);
    FailingCalls failing(GetParam());
    do {
        const auto payload = failing.in([&] { return vtek::findPayload(folder.get()); });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(payload ? payload->name == "fw.fwp"
                            : payload.error().number == ErrorNumber::PayloadUnreadable);
        EXPECT_TRUE(payload || failing.happened());
    } while (failing.happened());
}

TEST(DigestFailure, NeverReturnsAnotherDigest) {
    FailingCalls failing(Calls::Crypto);
    do {
        const auto digest = failing.in([] {
            return unlessThrown([] {
                vtek::Digest abc;
                abc.update("a", 1);
                abc.update("bc", 2);
                return abc.hex();
            });
        });
        EXPECT_EQ(digest.has_value(), !failing.happened()) << failing.name();
        EXPECT_TRUE(!digest || *digest == "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    } while (failing.happened());
}

}  // namespace
