#include "common/Suggestion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tools {
namespace {

const std::vector<std::string> kWords{"init", "show", "set", "inventory", "--json", "rollback"};

TEST(Suggestion, FindsWordWithOneOrTwoMistakes) {
    EXPECT_EQ(similarWord("shwo", kWords), "show");
    EXPECT_EQ(similarWord("sets", kWords), "set");
    EXPECT_EQ(similarWord("invntry", kWords), "inventory");
    EXPECT_EQ(similarWord("roolback", kWords), "rollback");
    EXPECT_EQ(similarWord("--jsno", kWords), "--json");
}

TEST(Suggestion, FindsNothingWhereMoreIsDifferent) {
    EXPECT_EQ(similarWord("", kWords), "");
    EXPECT_EQ(similarWord("x", kWords), "");
    EXPECT_EQ(similarWord("xyz", kWords), "");
    EXPECT_EQ(similarWord("sh", kWords), "");
    EXPECT_EQ(similarWord(std::string(100000, 'x'), kWords), "");
    EXPECT_EQ(similarWord("show", {}), "");
}

TEST(Suggestion, FindsMostSimilarWord) {
    EXPECT_EQ(similarWord("seat", {"set", "seal", "seats"}), "set");
    EXPECT_EQ(similarWord("sete", {"init", "sets", "set"}), "sets");
}

}  // namespace
}  // namespace tools
