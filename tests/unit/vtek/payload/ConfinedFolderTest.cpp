#include "TempDir.h"
#include "payload/ConfinedFolder.h"
#include "payload/EntryNames.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using vtek::ConfinedFolder;

/** Every promise holds for both ways of walking a path. */
class BothWays : public testing::TestWithParam<ConfinedFolder::Method> {
protected:
    BothWays()
        : top_(folder_ / "top"),
          fd_((std::filesystem::create_directories(top_ / "inner"),
               vtek::openAt(vtek::kWorkingFolder, top_.string(), O_RDONLY | O_DIRECTORY))),
          beneath_(fd_.get(), GetParam()) {
        test::writeFile(folder_ / "outside", "outside");
        std::filesystem::create_directory_symlink("..", top_ / "up");
        std::filesystem::create_symlink("../outside", top_ / "link");
        std::filesystem::create_directory_symlink("inner", top_ / "within");
    }

    test::TempDir folder_;
    std::filesystem::path top_;
    vtek::UniqueFd fd_;
    ConfinedFolder beneath_;
};
INSTANTIATE_TEST_SUITE_P(ConfinedFolder, BothWays,
                         testing::Values(ConfinedFolder::Method::Openat2, ConfinedFolder::Method::Steps));

TEST_P(BothWays, MakesFilesAndFolders) {
    EXPECT_TRUE(beneath_.makeFolders("a/b/c"));
    EXPECT_TRUE(beneath_.makeFolders("a/b/c"));
    const auto file = beneath_.createFile("a/b/c/file");
    ASSERT_TRUE(file);
    EXPECT_TRUE(vtek::writeFully(file.get(), "text"));
    EXPECT_EQ(test::readFile(top_ / "a/b/c/file"), "text");
}

TEST_P(BothWays, RefusesWhatLeadsOutside) {
    for (const std::string path : {"../new", "inner/../../new", "/tmp/new", "up/new", "", "inner//new"}) {
        if (path == "inner//new" && GetParam() == ConfinedFolder::Method::Openat2) {
            continue;  // the same place for the kernel
        }
        EXPECT_FALSE(beneath_.createFile(path)) << path;
        EXPECT_FALSE(std::filesystem::exists(folder_ / "new"));
    }
    EXPECT_FALSE(beneath_.makeFolders("up/new"));
    EXPECT_FALSE(beneath_.openFolder("up"));
}

TEST_P(BothWays, FollowsNoLinkThatStaysInsideEither) {
    EXPECT_FALSE(beneath_.createFile("within/new"));
    EXPECT_FALSE(beneath_.openFolder("within"));
    EXPECT_TRUE(std::filesystem::is_empty(top_ / "inner"));
}

TEST_P(BothWays, RefusesWhatIsThereAlready) {
    EXPECT_FALSE(beneath_.createFile("link"));
    EXPECT_EQ(test::readFile(folder_ / "outside"), "outside");
    EXPECT_TRUE(beneath_.createFile("inner/file"));
    EXPECT_FALSE(beneath_.createFile("inner/file"));
    EXPECT_FALSE(beneath_.makeFolders("inner/file/below"));
}

TEST_P(BothWays, KeepsToTheWayThatItWasGiven) {
    EXPECT_TRUE(beneath_.createFile("inner/file"));
    EXPECT_EQ(beneath_.method(), GetParam());
}

TEST(ParentOf, IsThePartBeforeTheLastSlash) {
    EXPECT_EQ(vtek::parentOf("a/b/c"), "a/b");
    EXPECT_EQ(vtek::parentOf("a"), "");
}

}  // namespace
