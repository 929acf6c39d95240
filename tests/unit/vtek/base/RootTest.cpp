#include "Lab.h"
#include "base/Root.h"
#include "chassis/Store.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>

namespace {

using std::filesystem::perm_options;
using std::filesystem::perms;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;
using vtek::Root;

constexpr uid_t kStranger = 12345;

ErrorNumber openingFails(const std::filesystem::path& path) {
    const auto root = Root::open(path.string(), geteuid());
    return root ? ErrorNumber::None : root.error().number;
}

TEST(Root, ReadsPathFromEnvironment) {
    setenv("VTEK_ROOT", "/some/where", 1);
    EXPECT_EQ(vtek::rootPathFromEnvironment(), "/some/where");
    setenv("VTEK_ROOT", "", 1);
    EXPECT_EQ(vtek::rootPathFromEnvironment(), "/var/lib/vtek");
    unsetenv("VTEK_ROOT");
    EXPECT_EQ(vtek::rootPathFromEnvironment(), "/var/lib/vtek");
}

TEST(Root, DistinguishesMissingFromUnsafe) {
    const test::TempDir folder;
    EXPECT_EQ(openingFails(folder / "missing"), ErrorNumber::RootMissing);
    EXPECT_EQ(openingFails(""), ErrorNumber::RootMissing);
    test::writeFile(folder / "file", "not a folder");
    EXPECT_EQ(openingFails(folder / "file"), ErrorNumber::RootUnsafe);
}

TEST(Root, RefusesWriteAccessForOthers) {
    const Lab lab;
    for (const perms open : {perms::group_write, perms::others_write}) {
        std::filesystem::permissions(lab.rootPath(), open, perm_options::add);
        EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::RootUnsafe);
        std::filesystem::permissions(lab.rootPath(), open, perm_options::remove);
    }
    EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::None);
}

TEST(Root, RefusesStickyRootWritableByOthers) {
    const Lab lab;
    std::filesystem::permissions(lab.rootPath(), perms::others_write | perms::sticky_bit, perm_options::add);
    EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::RootUnsafe);
}

TEST(Root, RefusesParentWritableByOthersUnlessSticky) {
    const Lab lab;
    const auto parent = lab.rootPath().parent_path();
    std::filesystem::permissions(parent, perms::others_write, perm_options::add);
    EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::RootUnsafe);
    std::filesystem::permissions(parent, perms::sticky_bit, perm_options::add);
    EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::None);
}

TEST(Root, RefusesOtherOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "skipped: only root can change the owner of a folder";
    }
    const Lab lab;
    ASSERT_EQ(chown(lab.rootPath().c_str(), kStranger, kStranger), 0);
    EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::RootUnsafe);
    ASSERT_EQ(chown(lab.rootPath().c_str(), 0, 0), 0);
    ASSERT_EQ(chown(lab.rootPath().parent_path().c_str(), kStranger, kStranger), 0);
    EXPECT_EQ(openingFails(lab.rootPath()), ErrorNumber::RootUnsafe);
}

TEST(Root, AcceptsCallerAsOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "skipped: only root can change the owner of a folder";
    }
    const Lab lab;
    ASSERT_EQ(chown(lab.rootPath().c_str(), kStranger, kStranger), 0);
    ASSERT_EQ(chown(lab.rootPath().parent_path().c_str(), kStranger, kStranger), 0);
    EXPECT_TRUE(Root::open(lab.rootPath().string(), kStranger));
}

TEST(Root, RefusesSymlinks) {
    const Lab lab;
    const auto link = lab.aside() / "link";
    std::filesystem::create_directory_symlink(lab.rootPath(), link);
    EXPECT_EQ(openingFails(link), ErrorNumber::RootUnsafe);
    std::filesystem::create_directory_symlink(lab.rootPath().parent_path(), lab.aside() / "above");
    EXPECT_EQ(openingFails(lab.aside() / "above/root"), ErrorNumber::RootUnsafe);
}

TEST(Root, ResolvesRelativePath) {
    const Lab lab;
    std::filesystem::current_path(lab.package());
    const auto root = Root::open("../root/", geteuid());
    ASSERT_TRUE(root);
    EXPECT_EQ(root->path(), lab.rootPath().string());
}

TEST(Root, CreatesOnlyInNewOrEmptyFolder) {
    const test::TempDir folder;
    EXPECT_TRUE(Root::create((folder / "new").string(), geteuid()));
    EXPECT_EQ(Root::create((folder / "new").string(), geteuid()).error().number,
              ErrorNumber::InvalidArgument);
    EXPECT_FALSE(Root::create((folder / "a/b").string(), geteuid()));
}

// The content of the root follows the same rules.

/** Modes by the path below a folder; "." is the folder itself. */
using Modes = std::map<std::string, unsigned int>;

Modes modesIn(const std::filesystem::path& folder) {
    Modes modes{{".", static_cast<unsigned int>(std::filesystem::status(folder).permissions())}};
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
        modes[item.path().lexically_relative(folder)] =
            static_cast<unsigned int>(item.status().permissions());
    }
    return modes;
}

// The last ones would keep the owner of the root from opening it again.
constexpr mode_t kMasks[] = {0, 022, 077, 0100, 0200, 0400, 0777};

TEST(Root, CreatesSameModesWithEveryUmask) {
    for (const mode_t mask : kMasks) {
        const test::TempDir folder;
        const mode_t before = umask(mask);
        const auto root = Root::create((folder / "new").string(), geteuid());
        const bool made = root && vtek::Store::create(*root);
        umask(before);
        ASSERT_TRUE(made) << std::oct << mask;
        EXPECT_EQ(modesIn(folder / "new"), (Modes{{".", 0755},
                                                  {"log", 0755},
                                                  {"repository", 0755},
                                                  {"staging", 0700},
                                                  {"state.db", 0600},
                                                  {"trust", 0755}}))
            << std::oct << mask;
    }
}

TEST(Root, GetsSameModesFromUpdateWithEveryUmask) {
    for (const mode_t mask : kMasks) {
        const Lab lab;
        const mode_t before = umask(mask);
        const UpdateOutcome outcome = lab.update();
        umask(before);
        EXPECT_EQ(outcome, (UpdateOutcome{"done"})) << std::oct << mask;
        EXPECT_EQ(modesIn(lab.rootPath() / "repository"), (Modes{{".", 0755},
                                                                 {"1", 0755},
                                                                 {"1/Chassis", 0755},
                                                                 {"1/Chassis/fw.fwp", 0644},
                                                                 {"1/Chassis/main.bin", 0644},
                                                                 {"1/Chassis/manifest.xml", 0644},
                                                                 {"1/Chassis/sub", 0755},
                                                                 {"1/Chassis/sub/readme.txt", 0644}}))
            << std::oct << mask;
        EXPECT_EQ(std::filesystem::status(lab.rootPath() / "lock").permissions(), perms(0600));
    }
}

TEST(Root, MakesNothingInFolderThatOthersCanWrite) {
    const test::TempDir folder;
    std::filesystem::permissions(folder.path(), perms::others_write, perm_options::add);
    const auto root = Root::create((folder / "new").string(), geteuid());
    ASSERT_FALSE(root);
    EXPECT_EQ(root.error().number, ErrorNumber::RootUnsafe);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Root, RefusesUnsafeStateFile) {
    const Lab lab;
    const auto state = lab.rootPath() / "state.db";
    std::filesystem::permissions(state, perms::others_write, perm_options::add);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
    std::filesystem::permissions(state, perms::others_write, perm_options::remove);
    std::filesystem::create_hard_link(state, lab.aside() / "state.db");
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
    std::filesystem::remove(state);
    std::filesystem::create_symlink(lab.aside() / "state.db", state);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
    std::filesystem::remove(state);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
}

TEST(Root, RefusesUnsafeLockFile) {
    const Lab lab;
    const auto lock = lab.rootPath() / "lock";
    std::filesystem::create_symlink(lab.aside() / "target", lock);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::RepositoryUnwritable}));
    EXPECT_FALSE(std::filesystem::exists(lab.aside() / "target"));
    std::filesystem::remove(lock);
    test::writeFile(lock, "");
    std::filesystem::permissions(lock, perms::others_write, perm_options::add);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::RepositoryUnwritable}));
    std::filesystem::permissions(lock, perms::others_write, perm_options::remove);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"done"}));
}

TEST(Root, RefusesFifoAsStateOrLock) {
    const Lab lab;
    ASSERT_EQ(mkfifo((lab.rootPath() / "lock").c_str(), 0644), 0);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::RepositoryUnwritable}));
    std::filesystem::remove(lab.rootPath() / "lock");
    std::filesystem::remove(lab.rootPath() / "state.db");
    ASSERT_EQ(mkfifo((lab.rootPath() / "state.db").c_str(), 0644), 0);
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::StateUnreadable}));
}

TEST(Root, RefusesStagingOrRepositoryWritableByOthers) {
    for (const std::string name : {"staging", "repository"}) {
        const Lab lab;
        std::filesystem::permissions(lab.rootPath() / name, perms::others_write, perm_options::add);
        EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::RepositoryUnwritable})) << name;
    }
}

TEST(Root, RefusesSymlinkAsStagingOrRepository) {
    for (const std::string name : {"staging", "repository"}) {
        const Lab lab;
        std::filesystem::remove(lab.rootPath() / name);
        std::filesystem::create_directory_symlink(lab.aside(), lab.rootPath() / name);
        EXPECT_EQ(lab.update(), (UpdateOutcome{"start", ErrorNumber::RepositoryUnwritable})) << name;
        EXPECT_TRUE(std::filesystem::is_empty(lab.aside()));
    }
}

}  // namespace
