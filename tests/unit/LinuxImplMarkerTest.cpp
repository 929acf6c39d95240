// The marker file "enabledebug.txt", as the platform object sees it. Each test runs in a process of its own,
// whose log is still off.
#include "ChildProcess.h"
#include "LinuxImpl.h"
#include "LogText.h"
#include "Logger.h"
#include "TempDir.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace test {
namespace {

using ::testing::ElementsAre;

class LinuxImplMarker : public ::testing::Test {
protected:
    /** Runs `body` in the folder. */
    template <typename Body>
    void run(Body body) {
        const Outcome outcome = runInChild([&] {
            std::filesystem::current_path(folder_.path());
            body();
            return 0;
        });
        EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
    }

    std::string check(std::string_view name) const {
        return "CLinuxImpl::IsFileExistsAbs() File name " + (folder_ / name).string();
    }

    std::vector<std::string> messagesOf(std::string_view log) const {
        std::vector<std::string> messages;
        for (const LogLine& line : parseLog(readFile(folder_ / log))) {
            messages.push_back(line.message);
        }
        return messages;
    }

    TempDir folder_;
};

TEST_F(LinuxImplMarker, OpensTheLogAfterItsOwnExistenceCheck) {
    writeFile(folder_ / "enabledebug.txt", "");
    run([] { const CLinuxImpl platform; });
    EXPECT_EQ(readFile(folder_ / "baseutils_DBG.log"), "");
}

TEST_F(LinuxImplMarker, LetsTheNextLinesIntoTheLog) {
    writeFile(folder_ / "enabledebug.txt", "");
    run([] {
        CLinuxImpl platform;
        platform.IsFileExits("x");
    });
    EXPECT_THAT(messagesOf("baseutils_DBG.log"), ElementsAre(check("x") + " doesnt exist"));
}

TEST_F(LinuxImplMarker, LeavesTheLogOffWithoutTheMarker) {
    run([] {
        CLinuxImpl platform;
        platform.IsFileExits("x");
    });
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(LinuxImplMarker, SilencesAnOpenLogAfterTheExistenceCheck) {
    writeFile(folder_ / "enabledebug.txt", "");
    run([] {
        CLogger::GetInstance()->Initialize("mine.log");
        CLinuxImpl platform;
        platform.IsFileExits("x");
    });
    EXPECT_THAT(messagesOf("mine.log"), ElementsAre(check("enabledebug.txt") + " exist"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "baseutils_DBG.log"));
}

TEST_F(LinuxImplMarker, LooksInTheWorkingDirectory) {
    std::filesystem::create_directory(folder_ / "below");
    writeFile(folder_ / "enabledebug.txt", "");
    run([] {
        std::filesystem::current_path("below");
        const CLinuxImpl platform;
    });
    EXPECT_TRUE(std::filesystem::is_empty(folder_ / "below"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "baseutils_DBG.log"));
}

TEST_F(LinuxImplMarker, FollowsNoLinkInPlaceOfTheLog) {
    writeFile(folder_ / "other", "kept");
    std::filesystem::create_symlink("other", folder_ / "baseutils_DBG.log");
    writeFile(folder_ / "enabledebug.txt", "");
    run([] { const CLinuxImpl platform; });
    EXPECT_EQ(readFile(folder_ / "other"), "kept");
}

TEST_F(LinuxImplMarker, TakesAFifoForNoMarker) {
    ASSERT_EQ(mkfifo((folder_ / "enabledebug.txt").c_str(), 0600), 0);
    run([] { const CLinuxImpl platform; });
    EXPECT_FALSE(std::filesystem::exists(folder_ / "baseutils_DBG.log"));
}

}  // namespace
}  // namespace test
