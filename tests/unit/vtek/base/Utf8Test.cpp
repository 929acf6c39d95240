#include "base/Utf8.h"

#include <gtest/gtest.h>

#include <string_view>

namespace vtek {
namespace {

TEST(Utf8, AcceptsEveryLengthAtItsBounds) {
    using namespace std::string_view_literals;
    for (const std::string_view text :
         {""sv, "\0a\x7F"sv, "\xC2\x80\xDF\xBF"sv, "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"sv,
          "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv}) {
        EXPECT_TRUE(isUtf8(text)) << text;
    }
}

TEST(Utf8, RefusesWhatNoEncoderWrites) {
    for (const std::string_view text : {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80",
                                        "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}

TEST(Utf8, RefusesATruncatedCharacter) {
    for (const std::string_view text : {"a\xC2", "a\xE2\x82", "a\xF0\x9F\x98", "\xC2z"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}

}  // namespace
}  // namespace vtek
