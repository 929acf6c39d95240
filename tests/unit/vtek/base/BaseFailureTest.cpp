// Lets each call to another library fail once: every failure is reported, and interrupted calls are repeated.
#include "FailingCalls.h"
#include "Lab.h"
#include "base/File.h"
#include "base/Log.h"
#include "base/Root.h"
#include "base/Tree.h"
#include "base/Users.h"
#include "chassis/Store.h"
#include "install/Repository.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using test::Calls;
using test::FailingCalls;
using test::Lab;
using testing::HasSubstr;
using vtek::ErrorNumber;
using vtek::Store;

TEST(RootFailure, CreatesWholeRootOrReportsFailure) {
    const test::TempDir folder;
    FailingCalls failing(Calls::Files);
    do {
        const auto path = folder / "root";
        const vtek::Status made = failing.in([&]() -> vtek::Status {
            VTEK_ASSIGN(const vtek::Root root, vtek::Root::create(path.string(), geteuid()));
            return Store::create(root);
        });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(made || failing.happened());
        if (made) {
            const auto root = vtek::Root::open(path.string(), geteuid());
            ASSERT_TRUE(root);
            EXPECT_TRUE(vtek::Repository::open(*root));
        }
        std::filesystem::remove_all(path);
    } while (failing.happened());
}

TEST(RootFailure, TreatsUnreadableFolderAsUnsafe) {
    const Lab lab;
    FailingCalls failing(Calls::Files);
    do {
        const auto root = failing.in([&] { return vtek::Root::open(lab.rootPath().string(), geteuid()); });
        SCOPED_TRACE(failing.name());
        EXPECT_TRUE(root ? !failing.happened() : root.error().number == ErrorNumber::RootUnsafe);
    } while (failing.happened());
}

std::string contentOf(const std::filesystem::path& file) {
    return std::filesystem::exists(file) ? test::readFile(file) : "";
}

TEST(LogFailure, LosesNoFailure) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const auto file = lab.rootPath() / "log/vtek.log";
    FailingCalls failing(Calls::Files);
    do {
        std::filesystem::remove(file);
        vtek::Log log(&root);
        testing::internal::CaptureStderr();
        failing.in([&] { log.failure("AddFile", {ErrorNumber::CopyFailed, "details"}); });
        const std::string output = testing::internal::GetCapturedStderr();
        SCOPED_TRACE(failing.name());
        EXPECT_THAT(contentOf(file) + output, HasSubstr("AddFile: error 503, copy failed: details; hint: "));
    } while (failing.happened());
}

TEST(LogFailure, LosesNoFailureWhenLogIsFull) {
    const Lab lab;
    const vtek::Root root = lab.root();
    const auto file = lab.rootPath() / "log/vtek.log";
    const std::string full(1024 * 1024, 'x');
    FailingCalls failing(Calls::Files);
    do {
        test::writeFile(file, full);
        vtek::Log log(&root);
        testing::internal::CaptureStderr();
        failing.in([&] { log.failure("AddFile", {ErrorNumber::CopyFailed, "details"}); });
        const std::string output = testing::internal::GetCapturedStderr();
        SCOPED_TRACE(failing.name());
        EXPECT_THAT(contentOf(file) + output, HasSubstr("AddFile: error 503, copy failed: details"));
    } while (failing.happened());
}

TEST(UsersFailure, ReportsNumberIfLookUpFails) {
    const std::string number = std::to_string(getuid());
    FailingCalls failing(Calls::Files);
    EXPECT_EQ(failing.in([] { return vtek::realUser(); }), number);
    EXPECT_TRUE(failing.happened());
    EXPECT_THAT(failing.in([] { return vtek::realUser(); }), HasSubstr(" (" + number + ")"));
}

TEST(UsersFailure, ReportsUnknownIfLoginIsUnreadable) {
    FailingCalls failing(Calls::Files);
    EXPECT_EQ(failing.in([] { return vtek::loginUser(); }), "unknown");
    EXPECT_STREQ(failing.name(), "openat");
    EXPECT_EQ(failing.in([] { return vtek::loginUser(); }), "unknown");
    EXPECT_STREQ(failing.name(), "read");
}

/** Whether a piece of work gets through with each of its calls interrupted. */
template <class Work>
void expectUninterrupted(Work work) {
    FailingCalls failing(Calls::Files, EINTR);
    do {
        EXPECT_TRUE(failing.in(work)) << failing.name();
    } while (failing.happened());
}

TEST(FileFailure, RepeatsInterruptedCalls) {
    const test::TempDir folder;
    const std::string path = (folder / "file").string();
    expectUninterrupted([&] {
        const auto file = vtek::openAt(vtek::kWorkingFolder, path, O_RDWR | O_CREAT | O_TRUNC, 0600);
        return file && vtek::writeFully(file.get(), "text") && vtek::syncFd(file.get());
    });
    expectUninterrupted([&] {
        const auto file = vtek::openAt(vtek::kWorkingFolder, path, O_RDONLY);
        char text[4];
        return file && vtek::readFully(file.get(), text, 4) == 4 &&
               vtek::readFullyAt(file.get(), text, 4, 0) == 4;
    });
}

TEST(FileFailure, ReportsIncompleteFolderListing) {
    const test::TempDir folder;
    test::writeFile(folder / "a", "");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    FailingCalls failing(Calls::Files);
    do {
        std::vector<std::string> names;
        const bool listed = failing.in([&] { return vtek::listFolder(opened.get(), names); });
        SCOPED_TRACE(failing.name());
        EXPECT_EQ(listed, !failing.happened());
    } while (failing.happened());
}

TEST(TreeFailure, SyncsWholeTreeOrReportsFailure) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "tree/inner");
    test::writeFile(folder / "tree/file", "");
    test::writeFile(folder / "tree/inner/file", "");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    FailingCalls failing(Calls::Files);
    int synced = 0;
    do {
        const vtek::Status durable = failing.in(
            [&] { return vtek::syncTree(opened.get(), "tree", "the tree", vtek::ErrorNumber::SyncFailed); });
        SCOPED_TRACE(failing.name());
        EXPECT_EQ(static_cast<bool>(durable), !failing.happened());
        if (failing.name() == std::string("fsync")) {
            EXPECT_THAT(durable.error().message,
                        testing::MatchesRegex("sync the tree(/file|/inner|/inner/file)?: .*"));
            ++synced;
        }
    } while (failing.happened());
    EXPECT_GT(synced, 0);
}

}  // namespace
