#include "XmlReading.h"

#include <gtest/gtest.h>

#include <limits>
#include <string_view>

namespace test {
namespace {

TEST(XmlReading, RefusesATextThatLibxml2CannotCount) {
    const std::string_view sound = "<r/>";
    ASSERT_NE(parseXmlText(sound), nullptr);
    // Nobody may look behind the text's end to see that it is none.
    const std::string_view beyond(sound.data(), std::size_t{std::numeric_limits<int>::max()} + 1);
    EXPECT_EQ(parseXmlText(beyond), nullptr);
}

}  // namespace
}  // namespace test
