#include "TempDir.h"
#include "payload/ConfinedFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using vtek::ConfinedFolder;

/** Every promise holds for both methods of resolving a path. */
class ConfinedFolderMethods : public testing::TestWithParam<ConfinedFolder::Method> {
protected:
    ConfinedFolderMethods()
        : top_(folder_ / "top"),
          fd_((std::filesystem::create_directories(top_ / "inner"),
               vtek::openAt(vtek::kWorkingFolder, top_.string(), O_RDONLY | O_DIRECTORY))),
          confined_(fd_.get(), GetParam()) {
        test::writeFile(folder_ / "outside", "outside");
        std::filesystem::create_directory_symlink("..", top_ / "up");
        std::filesystem::create_symlink("../outside", top_ / "link");
        std::filesystem::create_directory_symlink("inner", top_ / "within");
    }

    test::TempDir folder_;
    std::filesystem::path top_;
    vtek::UniqueFd fd_;
    ConfinedFolder confined_;
};
INSTANTIATE_TEST_SUITE_P(All, ConfinedFolderMethods,
                         testing::Values(ConfinedFolder::Method::Openat2, ConfinedFolder::Method::Steps));

TEST_P(ConfinedFolderMethods, MakesFilesAndFolders) {
    EXPECT_TRUE(confined_.makeFolders("a/b/c"));
    EXPECT_TRUE(confined_.makeFolders("a/b/c"));
    const auto file = confined_.createFile("a/b/c/file");
    ASSERT_TRUE(file);
    EXPECT_TRUE(vtek::writeFully(file.get(), "text"));
    EXPECT_EQ(test::readFile(top_ / "a/b/c/file"), "text");
}

TEST_P(ConfinedFolderMethods, RefusesPathsThatLeadOutside) {
    for (const std::string path : {"../new", "inner/../../new", "/tmp/new", "up/new", "", "inner//new"}) {
        if (path == "inner//new" && GetParam() == ConfinedFolder::Method::Openat2) {
            continue;  // openat2 ignores the second slash
        }
        EXPECT_FALSE(confined_.createFile(path)) << path;
        EXPECT_FALSE(std::filesystem::exists(folder_ / "new"));
    }
    EXPECT_FALSE(confined_.makeFolders("up/new"));
    EXPECT_FALSE(confined_.openFolder("up"));
}

TEST_P(ConfinedFolderMethods, RefusesLinksThatStayInside) {
    EXPECT_FALSE(confined_.createFile("within/new"));
    EXPECT_FALSE(confined_.openFolder("within"));
    EXPECT_TRUE(std::filesystem::is_empty(top_ / "inner"));
}

TEST_P(ConfinedFolderMethods, RefusesExistingPaths) {
    EXPECT_FALSE(confined_.createFile("link"));
    EXPECT_EQ(test::readFile(folder_ / "outside"), "outside");
    EXPECT_TRUE(confined_.createFile("inner/file"));
    EXPECT_FALSE(confined_.createFile("inner/file"));
    EXPECT_FALSE(confined_.makeFolders("inner/file/below"));
}

TEST_P(ConfinedFolderMethods, NamesUnnamedFile) {
    const auto file = vtek::openAt(fd_.get(), ".", O_TMPFILE | O_RDWR, 0600);
    ASSERT_TRUE(vtek::writeFully(file.get(), "text"));
    for (const std::string path : {"../new", "up/new", "link", "inner", "within/new", "absent/new"}) {
        EXPECT_FALSE(confined_.linkFile(file.get(), path)) << path;
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "new"));
    ASSERT_TRUE(confined_.linkFile(file.get(), "inner/new"));
    EXPECT_EQ(test::readFile(top_ / "inner/new"), "text");
    EXPECT_EQ(std::filesystem::status(top_ / "inner/new").permissions(), std::filesystem::perms{0644});
}

TEST_P(ConfinedFolderMethods, KeepsItsMethod) {
    EXPECT_TRUE(confined_.createFile("inner/file"));
    EXPECT_EQ(confined_.method(), GetParam());
}

}  // namespace
