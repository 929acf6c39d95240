#include "common/PrintJson.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace tools {
namespace {

TEST(PrintJson, PrintsAsciiOnly) {
    std::ostringstream out;
    printJson(out, {{"bad", "\xff"}, {"control", "\x1b\x7f"}, {"euro", "€"}});
    const std::string text = out.str();
    EXPECT_TRUE(
        std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c < 0x7f); }));
    const nlohmann::json read = nlohmann::json::parse(text);
    EXPECT_EQ(read["bad"], "\ufffd");
    EXPECT_EQ(read["control"], "\x1b\x7f");
    EXPECT_EQ(read["euro"], "€");
}

TEST(PrintJson, BeginsWithTheFormat) {
    std::ostringstream out;
    printJson(out, nlohmann::ordered_json::object());
    EXPECT_EQ(out.str(), "{\n  \"format\": 1\n}\n");
}

TEST(PrintJson, IndentsForPeople) {
    std::ostringstream out;
    printJson(out, {{"counts", {1, 2}}});
    EXPECT_EQ(out.str(), "{\n  \"format\": 1,\n  \"counts\": [\n    1,\n    2\n  ]\n}\n");
}

}  // namespace
}  // namespace tools
