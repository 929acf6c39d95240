#include "trust/Fingerprint.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

std::string fingerprintOf(std::string_view one, std::string_view other = {}) {
    vtek::Fingerprint fingerprint;
    fingerprint.update(one);
    fingerprint.update(other);
    return fingerprint.value();
}

TEST(Fingerprint, DoesNotDependOnPieces) {
    const std::string bytes(100000, 'x');
    EXPECT_EQ(fingerprintOf(bytes), fingerprintOf(bytes));
    for (const std::size_t cut : {0U, 1U, 15U, 16U, 17U, 50000U, 100000U}) {
        EXPECT_EQ(fingerprintOf(std::string_view(bytes).substr(0, cut), std::string_view(bytes).substr(cut)),
                  fingerprintOf(bytes));
    }
}

TEST(Fingerprint, ChangesWithEveryBitAndLength) {
    const std::string bytes = "0123456789abcdef0123456789";
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        std::string changed = bytes;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        EXPECT_NE(fingerprintOf(changed), fingerprintOf(bytes)) << bit;
    }
    EXPECT_NE(fingerprintOf(bytes, std::string(1, '\0')), fingerprintOf(bytes));
    EXPECT_NE(fingerprintOf(""), fingerprintOf(std::string(16, '\0')));
}

TEST(Fingerprint, ReturnsWholeCode) {
    EXPECT_EQ(fingerprintOf("bytes").size(), 16U) << "a shorter one would be equal by chance too often";
}

TEST(FingerprintDeathTest, DiffersBetweenProcesses) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // the child is a new process, with another key
    constexpr const char* kOfParent = "FINGERPRINT_OF_PARENT";
    const std::string own = std::to_string(std::hash<std::string>()(fingerprintOf("bytes")));
    setenv(kOfParent, own.c_str(), 0);
    EXPECT_EXIT(_exit(own == std::getenv(kOfParent) ? 1 : 0), testing::ExitedWithCode(0), "");
    unsetenv(kOfParent);
}

}  // namespace
