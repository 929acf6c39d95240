#include "DamagedText.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

constexpr std::size_t kBound = 65536;

TEST(DamagedText, IndentsEveryLine) {
    EXPECT_EQ(damagedText("<a>\n\n<b", "  "), "  <a>\n  \n  <b\n");
    EXPECT_EQ(damagedText("<a>\n", "  "), "  <a>\n");
    EXPECT_EQ(damagedText("", "  "), "");
}

TEST(DamagedText, EscapesControlCharacters) {
    EXPECT_EQ(damagedText("\x1b[31m", ""), "\\x1b[31m\n");
}

TEST(DamagedText, ShowsATextUpToTheBound) {
    EXPECT_EQ(damagedText(std::string(kBound, 'x'), " "), " " + std::string(kBound, 'x') + "\n");
}

TEST(DamagedText, SaysHowMuchIsLeftOutBeyondTheBound) {
    EXPECT_EQ(damagedText(std::string(kBound + 10, 'x'), " "),
              " " + std::string(kBound, 'x') + "\n ... and 10 bytes more\n");
}

}  // namespace
}  // namespace qrxinspect
