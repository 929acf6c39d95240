// Every call to another library that a judgement of a payload makes, failing in a run of its own: nothing
// that is not trusted is ever taken.
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

/** What work returns, or nothing when it throws for lack of something. */
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

    /** The digest of the payload when its signature is taken; empty when it is not. */
    std::string judge() const {
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
INSTANTIATE_TEST_SUITE_P(Of, TrustFailure, testing::Values(Calls::Files, Calls::Crypto));

TEST_P(TrustFailure, TakesAGoodPayloadForWhatItIsOrNotAtAll) {
    const std::string digest = judge();
    ASSERT_EQ(digest.size(), 64U);
    FailingCalls failing(GetParam());
    do {
        const std::string found = failing.in([&] { return judge(); });
        EXPECT_TRUE(found == digest || failing.happened()) << failing.name();
        EXPECT_TRUE(found == digest || found.empty()) << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, NeverTakesARevokedSigner) {
    lab_.trust("list.crl",
               test::makeList(lab_.authority(), kNow - kDay, kNow + kDay, {lab_.signer().certificate.get()}));
    FailingCalls failing(GetParam());
    do {
        EXPECT_EQ(failing.in([&] { return judge(); }), "") << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, NeverTakesASignatureOverSomethingElse) {
    lab_.write(test::makePayload(lab_.archive(), test::makeCms("another file", {&lab_.signer()})));
    FailingCalls failing(GetParam());
    do {
        EXPECT_EQ(failing.in([&] { return judge(); }), "") << failing.name();
    } while (failing.happened());
}

TEST_P(TrustFailure, LoadsTheWholeStoreOrNone) {
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

TEST_P(TrustFailure, TellsASignatureThatFitsFromOneThatDoesNot) {
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

TEST_P(TrustFailure, FindsThePayloadOrSaysThatItCannotBeRead) {
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

TEST(DigestFailure, IsNeverAnotherDigest) {
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
