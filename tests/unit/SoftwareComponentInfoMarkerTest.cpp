// The marker file "enabledebug.txt", as the package reader sees it. Each test runs in a process of its own,
// whose log is still off.
#include "ChildProcess.h"
#include "LogText.h"
#include "Logger.h"
#include "PlatformLayer.h"
#include "SoftwareComponentInfo.h"
#include "TempDir.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace test {
namespace {

using ::testing::ElementsAre;

class SoftwareComponentInfoMarker : public ::testing::Test {
protected:
    /** Runs `body` in the package's folder. */
    template <typename Body>
    void run(Body body) {
        const Outcome outcome = runInChild([&] {
            std::filesystem::current_path(folder_.path());
            body();
            return 0;
        });
        EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
    }

    void setMarker() { writeFile(folder_ / "enabledebug.txt", ""); }
    bool holds(std::string_view name) const { return std::filesystem::exists(folder_ / name); }

    std::vector<std::string> messagesOf(std::string_view log) const {
        std::vector<std::string> messages;
        for (const LogLine& line : parseLog(readFile(folder_ / log))) {
            messages.push_back(line.message);
        }
        return messages;
    }

    TempDir folder_;
};

TEST_F(SoftwareComponentInfoMarker, OpensBaseutilsLogIfSetAfterThePlatformObject) {
    run([this] {
        CPlatformLayer::GetPlatform();
        setMarker();
        const CSoftwareComponentInfo reader;
    });
    EXPECT_THAT(messagesOf("baseutils.log"),
                ElementsAre("CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",
                            "CLinuxImpl::IsFileExistsAbs() File name " + (folder_ / "package.xml").string() +
                                " doesnt exist"));
    EXPECT_FALSE(holds("baseutils_DBG.log"));
}

TEST_F(SoftwareComponentInfoMarker, LeavesTheLogOffWithoutTheMarker) {
    run([] { const CSoftwareComponentInfo reader; });
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(SoftwareComponentInfoMarker, LeavesTheCallersLogOnWithoutTheMarker) {
    run([] {
        CLogger::GetInstance()->Initialize("mine.log");
        const CSoftwareComponentInfo reader;
    });
    EXPECT_EQ(messagesOf("mine.log").back(), "CLinuxImpl::IsFileExistsAbs() File name " +
                                                 (folder_ / "package.xml").string() + " doesnt exist");
    EXPECT_FALSE(holds("baseutils.log"));
}

TEST_F(SoftwareComponentInfoMarker, LetsThePlatformObjectWinIfSetFromTheStart) {
    setMarker();
    run([] { const CSoftwareComponentInfo reader; });
    EXPECT_THAT(messagesOf("baseutils_DBG.log"),
                ElementsAre("CLinuxImpl::IsFileExistsAbs() File name " +
                            (folder_ / "enabledebug.txt").string() + " exist"));
    EXPECT_FALSE(holds("baseutils.log"));
}

TEST_F(SoftwareComponentInfoMarker, SilencesAnOpenLog) {
    setMarker();
    run([] {
        CLogger::GetInstance()->Initialize("mine.log");
        CLogger::GetInstance()->log("a", 1, "kept");
        const CSoftwareComponentInfo reader;
        CLogger::GetInstance()->log("a", 2, "dropped");
    });
    EXPECT_THAT(messagesOf("mine.log"),
                ElementsAre("kept", "CLinuxImpl::IsFileExistsAbs() File name " +
                                        (folder_ / "enabledebug.txt").string() + " exist"));
    EXPECT_FALSE(holds("baseutils.log"));
    EXPECT_FALSE(holds("baseutils_DBG.log"));
}

TEST_F(SoftwareComponentInfoMarker, IgnoresAMarkerInAnotherDirectory) {
    std::filesystem::create_directory(folder_ / "below");
    writeFile(folder_ / "below/enabledebug.txt", "");
    run([] { const CSoftwareComponentInfo reader; });
    EXPECT_FALSE(holds("baseutils.log"));
    EXPECT_FALSE(holds("baseutils_DBG.log"));
}

TEST_F(SoftwareComponentInfoMarker, FollowsNoLinkInPlaceOfTheLog) {
    writeFile(folder_ / "other", "kept");
    std::filesystem::create_symlink("other", folder_ / "baseutils.log");
    run([this] {
        CPlatformLayer::GetPlatform();
        setMarker();
        const CSoftwareComponentInfo reader;
    });
    EXPECT_EQ(readFile(folder_ / "other"), "kept");
}

TEST_F(SoftwareComponentInfoMarker, TakesAFifoForNoMarker) {
    ASSERT_EQ(mkfifo((folder_ / "enabledebug.txt").c_str(), 0600), 0);
    run([] { const CSoftwareComponentInfo reader; });
    EXPECT_FALSE(std::filesystem::exists(folder_ / "baseutils.log"));
}

}  // namespace
}  // namespace test
