#include "Lab.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

namespace {

/** What was made durable, by inode: a file keeps its inode when it is moved. */
std::set<ino_t>& syncedInodes() {
    static std::set<ino_t> inodes;
    return inodes;
}

ino_t inodeOf(const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info.st_ino;
}

}  // namespace

/** Takes the place of the C library's function in this program, and notes what it is called for. */
extern "C" int fsync(int fd) {
    struct stat info {};
    if (fstat(fd, &info) == 0) {
        syncedInodes().insert(info.st_ino);
    }
    return static_cast<int>(syscall(SYS_fsync, fd));
}

namespace {

using test::Lab;

TEST(Durability, EveryFileAndFolderOfAnUpdateIsDurableBeforeItIsInForce) {
    const Lab lab;
    const auto outcome = lab.update([&](const std::string& step) {
        if (step == "commit") {
            syncedInodes().clear();
        }
    });
    ASSERT_EQ(outcome, test::UpdateOutcome{"done"});
    const auto repository = lab.rootPath() / "repository";
    std::size_t files = 0;
    for (const auto& item : std::filesystem::recursive_directory_iterator(repository)) {
        EXPECT_TRUE(syncedInodes().contains(inodeOf(item.path()))) << item.path();
        ++files;
    }
    EXPECT_GT(files, 3U);
    EXPECT_TRUE(syncedInodes().contains(inodeOf(repository)));
    EXPECT_TRUE(syncedInodes().contains(inodeOf(lab.rootPath() / "staging")));
}

}  // namespace
