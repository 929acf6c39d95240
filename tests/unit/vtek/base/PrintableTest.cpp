#include "base/Printable.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace vtek {
namespace {

TEST(Printable, KeepsOrdinaryText) {
    EXPECT_EQ(toPrintable(""), "");
    EXPECT_EQ(toPrintable("plain \\text\\ \"<&'~"), "plain \\text\\ \"<&'~");
    EXPECT_EQ(toPrintable("Gehäuse €  \U0001F600"), "Gehäuse €  \U0001F600");
}

TEST(Printable, EscapesControlCharacters) {
    EXPECT_EQ(toPrintable("\x1b[31mred\x1b]0;title\x07"), "\\x1b[31mred\\x1b]0;title\\x07");
    EXPECT_EQ(toPrintable("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(toPrintable("\0\x7f"s), "\\x00\\x7f");
    EXPECT_EQ(toPrintable("\xc2\x9b"
                          "31m"),
              "\\u009b31m");
    EXPECT_EQ(toPrintable("\xc2\x80\xc2\x9f\xc2\xa1"), "\\u0080\\u009f\xc2\xa1");
}

TEST(Printable, EscapesInvisibleCharacters) {
    EXPECT_EQ(toPrintable("a\u202eb\u2066c\u200bd\ufeff"), "a\\u202eb\\u2066c\\u200bd\\ufeff");
    EXPECT_EQ(toPrintable("a\u2028b\u061c"), "a\\u2028b\\u061c");
    EXPECT_EQ(toPrintable("\U000e0041"), "\\ue0041");
}

TEST(Printable, EscapesNoMoreThanTheRangesThatSteer) {
    for (const std::string text : {" ", "~", "\u00a0", "\u200a", "\u2010", "\u2027", "\u202f", "\u205f",
                                   "\u2070", "\U000dffff", "\U000e0080"}) {
        EXPECT_EQ(toPrintable(text), text);
    }
    EXPECT_EQ(toPrintable("\x1f"), "\\x1f");
    EXPECT_EQ(toPrintable("\u200f\u2060\u206f"), "\\u200f\\u2060\\u206f");
    EXPECT_EQ(toPrintable("\U000e0000\U000e007f"), "\\ue0000\\ue007f");
}

TEST(Printable, KeepsTheFirstAndTheLastCharacterOfEachLength) {
    for (const std::string text :
         {"\u07ff", "\u0800", "\ud7ff", "\ue000", "\uffff", "\U00010000", "\U0010ffff"}) {
        EXPECT_EQ(toPrintable(text), text);
    }
    EXPECT_EQ(toPrintable("\xe0\x9f\xbf"), "\\xe0\\x9f\\xbf");           // overlong
    EXPECT_EQ(toPrintable("\xf0\x8f\xbf\xbf"), "\\xf0\\x8f\\xbf\\xbf");  // overlong
}

TEST(Printable, EscapesBytesThatAreNotUtf8) {
    EXPECT_EQ(toPrintable("\xff\xfe"), "\\xff\\xfe");
    EXPECT_EQ(toPrintable("caf\xe9"), "caf\\xe9");
    EXPECT_EQ(toPrintable("\x80"), "\\x80");
    EXPECT_EQ(toPrintable("\xc0\xaf"), "\\xc0\\xaf");                    // overlong
    EXPECT_EQ(toPrintable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");           // overlong
    EXPECT_EQ(toPrintable("\xed\xa0\x80"), "\\xed\\xa0\\x80");           // the first surrogate
    EXPECT_EQ(toPrintable("\xed\xbf\xbf"), "\\xed\\xbf\\xbf");           // the last one
    EXPECT_EQ(toPrintable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");  // beyond the last character
    EXPECT_EQ(toPrintable("\xe2\x82"), "\\xe2\\x82");                    // cut short
    EXPECT_EQ(toPrintable("\xe2(\xa1"), "\\xe2(\\xa1");                  // broken in the middle
}

TEST(Printable, ReadsNothingBeyondTheText) {
    EXPECT_EQ(toPrintable(std::string_view("\xe2\x82\xac").substr(0, 2)), "\\xe2\\x82");
}

TEST(Printable, CountsCharacters) {
    EXPECT_EQ(columnsOf(""), 0u);
    EXPECT_EQ(columnsOf("abc"), 3u);
    EXPECT_EQ(columnsOf("Gehäuse €"), 9u);
}

TEST(Printable, TakesTheFirstCharacters) {
    EXPECT_EQ(firstColumns("", 3), "");
    EXPECT_EQ(firstColumns("abc", 3), "abc");
    EXPECT_EQ(firstColumns("Gehäuse", 3), "Geh");
    EXPECT_EQ(firstColumns("Gehäuse", 4), "Gehä");
    EXPECT_EQ(firstColumns("€", 0), "");
}

}  // namespace
}  // namespace vtek
