#include "LogText.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

constexpr const char* kEntry =
    "[2026-11-15T12:41:20] :                QRXManager:   67: CQRXManager::UpdateInventory() Logger "
    "initialized\n";

TEST(LogText, ReadsAnEntry) {
    EXPECT_EQ(test::parseLog(kEntry),
              (std::vector<test::LogLine>{
                  {"QRXManager", 67, "CQRXManager::UpdateInventory() Logger initialized"}}));
}

TEST(LogText, ReadsFieldsThatOutgrowTheirWidth) {
    const std::string source(30, 'S');
    EXPECT_EQ(test::parseLog("[2026-11-15T12:41:20] : " + source + ":123456: m"),
              (std::vector<test::LogLine>{{source, 123456, "m"}}));
}

TEST(LogText, KeepsTheLineEndsOfAMessage) {
    const std::string head = "[2026-11-15T12:41:20] :                 QRXUpdate:    7: ";
    EXPECT_EQ(test::parseLog(head + "one\n\n" + head + "two\nthree\n" + head + "\n"),
              (std::vector<test::LogLine>{
                  {"QRXUpdate", 7, "one\n"}, {"QRXUpdate", 7, "two\nthree"}, {"QRXUpdate", 7, ""}}));
}

TEST(LogText, ReadsNoEntriesFromAnEmptyLog) {
    EXPECT_TRUE(test::parseLog("").empty());
}

TEST(LogText, RefusesATextThatDoesNotStartWithAnEntry) {
    EXPECT_THROW(test::parseLog("<?xml version=\"1.0\"?>"), std::runtime_error);
    EXPECT_THROW(test::parseLog("[2026-11-15 12:41:20] :                QRXManager:   67: m\n"),
                 std::runtime_error);
    EXPECT_THROW(test::parseLog("[2026-11-15T12:41:20]:                QRXManager:   67: m\n"),
                 std::runtime_error);
    EXPECT_THROW(test::parseLog("[2026-11-15T12:41:20] :                QRXManager:67: m\n"),
                 std::runtime_error);
    EXPECT_THROW(test::parseLog("[2026-11-15T12:41:20] :                QRXManager:  6 7: m\n"),
                 std::runtime_error);
    EXPECT_THROW(test::parseLog("[2026-11-15T12:41:20] :                QRXManager:   67 m\n"),
                 std::runtime_error);
}

TEST(LogText, MasksTimeAndLineAtTheirWidthAndNothingElse) {
    EXPECT_EQ(
        test::maskLog(kEntry),
        "[yyyy-mm-ddThh:mm:ss] :                QRXManager:nnnnn: CQRXManager::UpdateInventory() Logger "
        "initialized\n");
    EXPECT_EQ(test::maskLog("[2026-11-15T12:41:20] :  S:123456: [2026-11-15T12:41:20] : x:    1: y"),
              "[yyyy-mm-ddThh:mm:ss] :  S:123456: [2026-11-15T12:41:20] : x:    1: y");
    EXPECT_EQ(test::maskLog("no entry\n\nof a log"), "no entry\n\nof a log");
    EXPECT_EQ(test::maskLog(""), "");
}

}  // namespace
