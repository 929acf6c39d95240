#include "Lab.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace {

/** Called with the device whenever the code under test syncs a file system. */
std::function<void(dev_t)>& whenSyncing() {
    static std::function<void(dev_t)> action = [](dev_t) {};
    return action;
}

struct stat infoOf(const std::filesystem::path& path) {
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info;
}

/** Inode and change time of every file and folder, by path: they show any change. */
std::map<std::string, std::pair<ino_t, timespec>> treeOf(const std::filesystem::path& folder) {
    std::map<std::string, std::pair<ino_t, timespec>> tree;
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
        const struct stat info = infoOf(item.path());
        tree[item.path().string()] = {info.st_ino, info.st_ctim};
    }
    return tree;
}

bool isSame(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

}  // namespace

/** Replaces the function of the C library in this program. */
extern "C" int syncfs(int fd) noexcept {
    struct stat info {};
    if (fstat(fd, &info) == 0) {
        whenSyncing()(info.st_dev);
    }
    return static_cast<int>(syscall(SYS_syncfs, fd));
}

namespace {

using test::Lab;

TEST(Durability, SyncsEveryFileBeforeItIsInForce) {
    const Lab lab;
    const auto repository = lab.rootPath() / "repository";
    std::map<std::string, std::pair<ino_t, timespec>> durable;
    std::string inForce;
    whenSyncing() = [&](dev_t device) {
        EXPECT_EQ(device, infoOf(repository).st_dev);
        EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "staging"));
        durable = treeOf(repository);
        inForce = lab.version();
    };
    ASSERT_EQ(lab.update(), test::UpdateOutcome{"done"});
    whenSyncing() = [](dev_t) {};

    EXPECT_EQ(inForce, "1.00");
    const auto installed = treeOf(repository);
    EXPECT_GT(installed.size(), 3U);
    EXPECT_EQ(durable.size(), installed.size());
    for (const auto& [path, state] : installed) {
        EXPECT_EQ(durable[path].first, state.first) << path;
        EXPECT_TRUE(isSame(durable[path].second, state.second)) << path << " was changed later";
    }
}

}  // namespace
