#include "Process.h"
#include "base/Version.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using vtek::Version;

/** The relation of two versions as a sign. */
std::string relation(const std::string& left, const std::string& right) {
    const auto order = Version(left) <=> Version(right);
    return order < 0 ? "<" : order > 0 ? ">" : "==";
}

/** The relation that systemd-analyze reports; empty if it cannot be run. */
std::string published(const std::string& left, const std::string& right) {
    const test::Outcome ended =
        test::run({.arguments = {"/usr/bin/env", "systemd-analyze", "compare-versions", "--", left, right}});
    switch (ended.exitStatus.value_or(-1)) {
        case 0:
            return "==";
        case 11:
            return ">";
        case 12:
            return "<";
        default:
            return "";
    }
}

// Each is lower than the next.
const std::vector<std::string> kAscending{"~",
                                          "~1",
                                          "",
                                          "0~",
                                          "0",
                                          "1~rc1",
                                          "1~rc2",
                                          "1",
                                          "1-a",
                                          "1-a.1",
                                          "1-1",
                                          "1-1.1",
                                          "1^post1",
                                          "1^post2",
                                          "1.",
                                          "1.a",
                                          "1.a-1",
                                          "1.0",
                                          "1.1",
                                          "1.9",
                                          "1.10",
                                          "1A",
                                          "1a",
                                          "1ab",
                                          "1b",
                                          "2",
                                          "2.0~alpha",
                                          "2.0",
                                          "2.0.0",
                                          "2.01",
                                          "2.2",
                                          "10",
                                          "99",
                                          "99999999999999999999",
                                          "100000000000000000000"};

TEST(Version, OrdersPublishedExamples) {
    for (std::size_t i = 0; i < kAscending.size(); ++i) {
        for (std::size_t j = 0; j < kAscending.size(); ++j) {
            EXPECT_EQ(relation(kAscending[i], kAscending[j]), i < j   ? "<"
                                                              : i > j ? ">"
                                                                      : "==")
                << kAscending[i] << " and " << kAscending[j];
        }
    }
}

TEST(Version, TakesLeadingZerosForNothing) {
    EXPECT_EQ(relation("2.0", "2.01"), "<");
    EXPECT_EQ(relation("2.01", "2.0"), ">");
    EXPECT_EQ(relation("2.01", "2.1"), "==");
    EXPECT_EQ(relation("2.00", "2.0"), "==");
    EXPECT_EQ(relation("002", "2"), "==");
    EXPECT_EQ(relation("2.009", "2.01"), ">");
}

TEST(Version, SkipsOtherCharacters) {
    EXPECT_EQ(relation("1_2", "12"), "<");  // but each ends a number
    EXPECT_EQ(relation("a_b", "ab"), "<");
    EXPECT_EQ(relation("_1", "1"), "==");
    EXPECT_EQ(relation("1+", "1"), "==");
    EXPECT_EQ(relation("\xC3\xA9"
                       "1",
                       "1"),
              "==");
    EXPECT_EQ(relation("+", ""), "==");
}

TEST(Version, AgreesWithPublishedCommand) {
    if (published("1", "1").empty()) {
        GTEST_SKIP() << "skipped: systemd-analyze is not installed";
    }
    // Short texts of few characters: they often share a start, and differ in what the rules are about.
    constexpr std::string_view kCharacters = "0019aAb-.~^_";
    std::mt19937 random(16);
    const auto character = [&] { return kCharacters[random() % kCharacters.size()]; };
    for (int i = 0; i < 100; ++i) {
        std::string left;
        for (std::size_t size = random() % 7; left.size() < size;) {
            left += character();
        }
        std::string right = left;
        for (std::size_t changes = 1 + random() % 2; changes > 0; --changes) {
            right.insert(random() % (right.size() + 1), 1, character());
        }
        EXPECT_EQ(relation(left, right), published(left, right)) << left << " and " << right;
    }
    for (std::size_t i = 1; i < kAscending.size(); ++i) {
        EXPECT_EQ(published(kAscending[i - 1], kAscending[i]), "<") << kAscending[i];
    }
}

}  // namespace
