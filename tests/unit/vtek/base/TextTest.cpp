#include "base/Text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

TEST(Text, ParsesWholeNumbersWithinTheBounds) {
    std::uint64_t value = 0;
    EXPECT_TRUE(vtek::parseNumber("42", 0, 100, value));
    EXPECT_EQ(value, 42U);
    EXPECT_TRUE(vtek::parseNumber("0", 0, 100, value));
    EXPECT_TRUE(vtek::parseNumber("100", 0, 100, value));
    for (const char* text : {"", " 42", "42 ", "+42", "-1", "0x2A", "4.2", "101", "18446744073709551616"}) {
        EXPECT_FALSE(vtek::parseNumber(text, 0, 100, value)) << text;
    }
}

TEST(Text, WritesTimesInUtc) {
    EXPECT_EQ(vtek::utcText(0), "1970-01-01T00:00:00Z");
    EXPECT_EQ(vtek::utcText(1717156800), "2024-05-31T12:00:00Z");
}

TEST(Text, QuotesAndShortensUntrustedNames) {
    EXPECT_EQ(vtek::shownName("fw\x1b\xff"),
              "'fw?"
              "?'");
    EXPECT_EQ(vtek::shownName(std::string(81, 'a')), "'" + std::string(80, 'a') + "'");
}

}  // namespace
