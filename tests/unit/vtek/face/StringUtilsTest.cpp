#include "vtek/vtek.h"

#include <gtest/gtest.h>

namespace {

TEST(StringUtils, LowersOnlyAsciiLetters) {
    EXPECT_EQ(CStringUtils::toLowerCase("Blacklist USB_Storage AZaz@[`{09"),
              "blacklist usb_storage azaz@[`{09");
    EXPECT_EQ(CStringUtils::toLowerCase("\xC4\xD6"), "\xC4\xD6");
    EXPECT_EQ(CStringUtils::toLowerCase(""), "");
}

TEST(StringUtils, TrimsWhiteSpaceAtBothEnds) {
    EXPECT_EQ(CStringUtils::trim_string(" \t\n\v\f\rblacklist usb \t\n\v\f\r"), "blacklist usb");
    EXPECT_EQ(CStringUtils::trim_string("# comment"), "# comment");
    EXPECT_EQ(CStringUtils::trim_string(" \t "), "");
    EXPECT_EQ(CStringUtils::trim_string(""), "");
}

}  // namespace
