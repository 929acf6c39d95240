#include "TempDir.h"
#include "base/File.h"
#include "base/Tree.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(Tree, RemovesTreeWithoutFollowingSymlinks) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "tree/a/b");
    std::filesystem::create_directories(folder / "kept");
    test::writeFile(folder / "kept/file", "kept");
    test::writeFile(folder / "tree/a/b/file", "x");
    std::filesystem::create_directory_symlink(folder / "kept", folder / "tree/link");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    EXPECT_TRUE(vtek::removeTree(opened.get(), "tree"));
    EXPECT_FALSE(std::filesystem::exists(folder / "tree"));
    EXPECT_EQ(test::readFile(folder / "kept/file"), "kept");
    EXPECT_TRUE(vtek::removeTree(opened.get(), "tree"));
}

TEST(Tree, RefusesToSyncSymlinksAndMissingTrees) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "tree");
    std::filesystem::create_symlink("/etc/passwd", folder / "tree/link");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    EXPECT_FALSE(vtek::syncTree(opened.get(), "tree", "tree", vtek::ErrorNumber::SyncFailed));
    EXPECT_FALSE(vtek::syncTree(opened.get(), "missing", "missing", vtek::ErrorNumber::SyncFailed));
}

}  // namespace
