#include "FailingCalls.h"
#include "trust/Fingerprint.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>

namespace {

/** The fingerprint of two pieces; none when it cannot be made. */
std::optional<std::string> fingerprint() {
    try {
        vtek::Fingerprint made;
        made.update("one");
        made.update("other");
        return made.value();
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

TEST(FingerprintFailure, LeavesNoneAndNeverThatOfAPart) {
    const auto whole = fingerprint();
    ASSERT_TRUE(whole);
    test::FailingCalls failing(test::Calls::Crypto);
    do {
        const auto made = failing.in(fingerprint);
        EXPECT_EQ(made, failing.happened() ? std::nullopt : whole) << failing.name();
    } while (failing.happened());
}

}  // namespace
