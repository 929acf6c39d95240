#include "ReportFiles.h"
#include "TempDir.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace qrxinspect {
namespace {

using testing::ElementsAre;

TEST(ReportFiles, TakesEveryReportBelowAFolder) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "b/c");
    for (const char* name : {"b/c/2.xml", "b/1.xml", "a.xml", "hosts.csv", "b/notes"}) {
        test::writeFile(folder / name, "");
    }
    EXPECT_THAT(reportFilesOf(folder.path().string()),
                ElementsAre((folder / "a.xml").string(), (folder / "b/1.xml").string(),
                            (folder / "b/c/2.xml").string()));
}

TEST(ReportFiles, LeavesOtherOperandsAsTheyAre) {
    const test::TempDir folder;
    for (const std::string& operand : {std::string("-"), std::string("none.xml"), folder.path().string()}) {
        EXPECT_THAT(reportFilesOf(operand), ElementsAre(operand));
    }
}

TEST(ReportFiles, ReadsAPipeToItsEnd) {
    const test::TempDir folder;
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    // Open at both ends, so that neither waits for the other one; its text does not fit into the pipe at
    // once.
    std::fstream holder(pipe, std::ios::in | std::ios::out);
    const std::string text(200'000, 'x');
    std::thread writer([&] {
        std::ofstream(pipe) << text;
        holder.close();
    });
    const auto read = readReportFile(pipe);
    writer.join();
    ASSERT_TRUE(read);
    EXPECT_EQ(*read, text);
}

TEST(ReportFiles, DoesNotWaitForAPipeThatNobodyWritesTo) {
    const test::TempDir folder;
    const std::string pipe = (folder / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(readReportFile(pipe).error().message, "is a pipe that nobody writes to");
}

}  // namespace
}  // namespace qrxinspect
