#include "BaseUtils.h"
#include "LogSource.h"
#include "TempDir.h"
#include "WorkingDirectory.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <sys/stat.h>

#include <filesystem>

namespace qrxinspect {
namespace {

TEST(BaseUtils, MakesNoLogFileOnceSilenced) {
    const test::TempDir folder;
    ASSERT_TRUE(silenceBaseUtils());
    CLogger::GetInstance()->Initialize((folder / "some.log").string());
    CLogSource("source")("text");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

/** How many files in memory of qrxinspect this process has open; each must be empty. */
int emptyMemoryFiles() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;  // the folder's own descriptor is gone by now
        const std::string target = std::filesystem::read_symlink(entry, ignored).string();
        if (target.find("memfd:qrxinspect") != std::string::npos) {
            EXPECT_EQ(std::filesystem::file_size(entry), 0u);
            ++count;
        }
    }
    return count;
}

TEST(BaseUtils, KeepsNoLogInMemoryOnceSilenced) {
    ASSERT_TRUE(silenceBaseUtils());
    CLogSource("source")("text");
    EXPECT_EQ(emptyMemoryFiles(), 1);
}

TEST(BaseUtils, PrintsNothingFromLibxml2OnceSilenced) {
    ASSERT_TRUE(silenceBaseUtils());
    testing::internal::CaptureStderr();
    const char text[] = "<a";
    EXPECT_EQ(xmlParseMemory(text, sizeof text - 1), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(BaseUtils, RefusesAMarkerFileThatIsAFifo) {
    const test::TempDir folder;
    const test::WorkingDirectory inside(folder.path());
    ASSERT_EQ(mkfifo("enabledebug.txt", 0600), 0);
    ASSERT_FALSE(checkMarkerFile());
    EXPECT_EQ(checkMarkerFile().error().message, "enabledebug.txt: is a FIFO");
}

TEST(BaseUtils, AcceptsAnOrdinaryMarkerFileOrNone) {
    const test::TempDir folder;
    const test::WorkingDirectory inside(folder.path());
    EXPECT_TRUE(checkMarkerFile());
    test::writeFile("enabledebug.txt", "");
    EXPECT_TRUE(checkMarkerFile());
}

}  // namespace
}  // namespace qrxinspect
