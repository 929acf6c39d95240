#include "MemoryFile.h"
#include "TempDir.h"

#include <gtest/gtest.h>

namespace tools {
namespace {

TEST(MemoryFile, HoldsItsContentUnderItsPath) {
    const std::string content(300'000, 'x');
    const MemoryFile file(content);
    ASSERT_TRUE(file.isUsable());
    EXPECT_EQ(test::readFile(file.path()), content);
}

TEST(MemoryFile, MayBeEmpty) {
    const MemoryFile file("");
    ASSERT_TRUE(file.isUsable());
    EXPECT_EQ(test::readFile(file.path()), "");
}

TEST(MemoryFile, IsGoneWithItsObject) {
    std::string path;
    {
        const MemoryFile file("x");
        path = file.path();
    }
    EXPECT_THROW(test::readFile(path), std::runtime_error);
}

}  // namespace
}  // namespace tools
