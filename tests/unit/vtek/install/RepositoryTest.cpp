#include "Lab.h"
#include "chassis/Store.h"
#include "install/Repository.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <cstdint>
#include <filesystem>

namespace {

using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;
using vtek::Store;

TEST(Repository, RollsBackToPreviousFirmware) {
    const Lab lab;
    ASSERT_EQ(lab.update(), (UpdateOutcome{"done"}));
    ASSERT_EQ(lab.update(), (UpdateOutcome{"done"}));
    const vtek::Root root = lab.root();
    auto repository = vtek::Repository::open(root);
    const auto undone = repository->rollBack();
    ASSERT_TRUE(undone);
    EXPECT_EQ(undone->number, 2);
    EXPECT_EQ(*repository->store().currentGeneration(), 1);
    EXPECT_TRUE(std::filesystem::exists(lab.rootPath() / "repository/1"));
    EXPECT_FALSE(std::filesystem::exists(lab.rootPath() / "repository/2"));
    const auto history = *repository->store().history();
    EXPECT_EQ(history.back().outcome, "rolled back");
    EXPECT_EQ(history.back().generation, 1);
    EXPECT_EQ(repository->rollBack().error().number, ErrorNumber::NothingToRollBack);
}

TEST(Repository, RollsBackFirstUpdate) {
    const Lab lab;
    ASSERT_EQ(lab.update(), (UpdateOutcome{"done"}));
    ASSERT_EQ(lab.version(), "2.00");
    const vtek::Root root = lab.root();
    ASSERT_TRUE(vtek::Repository::open(root)->rollBack());
    EXPECT_EQ(lab.version(), "1.00");
    auto store = Store::open(root, Store::Mode::Read);
    const auto entry = store->history()->back();
    EXPECT_EQ(entry.fromVersion, "2.00");
    EXPECT_EQ(entry.toVersion, "1.00");
    EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "repository"));
}

TEST(Repository, RemovesLeftoversOfDeadProcess) {
    const Lab lab;
    ASSERT_EQ(lab.update(), (UpdateOutcome{"done"}));
    std::filesystem::create_directories(lab.rootPath() / "staging/2/Chassis/deep");
    test::writeFile(lab.rootPath() / "staging/2/Chassis/deep/file", "left over");
    std::filesystem::create_directories(lab.rootPath() / "repository/2/Chassis");
    std::filesystem::create_symlink(lab.package(), lab.rootPath() / "repository/link");
    const vtek::Root root = lab.root();
    const auto repository = vtek::Repository::open(root);
    ASSERT_TRUE(repository);
    EXPECT_EQ(repository->recovered(), 3);
    EXPECT_TRUE(std::filesystem::is_empty(lab.rootPath() / "staging"));
    EXPECT_TRUE(std::filesystem::exists(lab.rootPath() / "repository/1/Chassis/main.bin"));
    EXPECT_FALSE(std::filesystem::exists(lab.rootPath() / "repository/2"));
    EXPECT_TRUE(std::filesystem::exists(lab.payload()));
}

TEST(Repository, RemovesUnfinishedTrustOfDeadProcess) {
    const Lab lab;
    test::writeFile(lab.rootPath() / ".trust-1", "half a certif");
    std::filesystem::create_symlink(lab.package(), lab.rootPath() / ".trust-link");
    test::writeFile(lab.rootPath() / ".trust-2", "half a certif");
    const vtek::Root root = lab.root();
    const vtek::UniqueFd writer = vtek::openAt(root.folder(), ".trust-2", O_RDWR);
    ASSERT_EQ(flock(writer.get(), LOCK_EX), 0);
    const auto repository = vtek::Repository::open(root);
    ASSERT_TRUE(repository);
    EXPECT_EQ(repository->recovered(), 2);
    EXPECT_FALSE(std::filesystem::exists(lab.rootPath() / ".trust-1"));
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(lab.rootPath() / ".trust-link")));
    EXPECT_TRUE(std::filesystem::exists(lab.rootPath() / ".trust-2")) << "its writer is alive";
    EXPECT_TRUE(std::filesystem::exists(lab.payload()));
}

TEST(Repository, RequiresSpace) {
    const Lab lab;
    const vtek::Root root = lab.root();
    EXPECT_TRUE(requireSpace(root, 1));
    EXPECT_EQ(requireSpace(root, std::uint64_t{1} << 60).error().number, ErrorNumber::NoSpace);
}

}  // namespace
