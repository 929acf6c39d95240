#include "Lab.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace {

/** Called with the metadata of each file and folder that the code under test syncs, by one thread at a time.
 */
std::function<void(const struct stat&)>& whenSyncing() {
    static std::function<void(const struct stat&)> action = [](const struct stat&) {};
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
extern "C" int fsync(int fd) {
    static std::mutex oneAtATime;
    const int outcome = static_cast<int>(syscall(SYS_fsync, fd));
    struct stat info {};
    if (fstat(fd, &info) == 0) {
        const std::lock_guard lock(oneAtATime);
        whenSyncing()(info);
    }
    return outcome;
}

namespace {

using test::Lab;

TEST(Durability, SyncsEveryFileBeforeItIsInForce) {
    const Lab lab;
    const auto repository = lab.rootPath() / "repository";
    std::map<ino_t, timespec> durable;
    std::set<std::string> versions;
    whenSyncing() = [&](const struct stat& info) {
        durable[info.st_ino] = info.st_ctim;
        versions.insert(lab.version());
    };
    ASSERT_EQ(lab.update(), test::UpdateOutcome{"done"});
    whenSyncing() = [](const struct stat&) {};

    EXPECT_EQ(versions, std::set<std::string>{"1.00"});
    const auto installed = treeOf(repository);
    EXPECT_GT(installed.size(), 3U);
    for (const auto& [path, state] : installed) {
        EXPECT_TRUE(durable.contains(state.first)) << path;
        EXPECT_TRUE(isSame(durable[state.first], state.second)) << path << " was changed later";
    }
    EXPECT_TRUE(durable.contains(infoOf(repository).st_ino));
    EXPECT_TRUE(durable.contains(infoOf(lab.rootPath() / "staging").st_ino));
}

TEST(Durability, SyncsNothingOfOtherPrograms) {
    const Lab lab;
    std::set<ino_t> synced;
    whenSyncing() = [&](const struct stat& info) { synced.insert(info.st_ino); };
    ASSERT_EQ(lab.update(), test::UpdateOutcome{"done"});
    whenSyncing() = [](const struct stat&) {};

    std::set<ino_t> own{infoOf(lab.rootPath()).st_ino};
    for (const auto& item : std::filesystem::recursive_directory_iterator(lab.rootPath())) {
        own.insert(infoOf(item.path()).st_ino);
    }
    EXPECT_TRUE(std::includes(own.begin(), own.end(), synced.begin(), synced.end()));
}

}  // namespace
