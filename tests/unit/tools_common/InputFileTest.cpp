#include "TempDir.h"
#include "common/InputFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace tools {
namespace {

std::string problemWith(const std::filesystem::path& path) {
    const vtek::Result<std::string> content = readInput(path.string(), "");
    return content ? "read" : content.error().message;
}

TEST(InputFile, ReadsEveryByte) {
    const test::TempDir folder;
    const std::string bytes("a\0b\xff\n", 5);
    test::writeFile(folder / "file", bytes);
    const vtek::Result<std::string> content = readInput((folder / "file").string(), "file");
    ASSERT_TRUE(content);
    EXPECT_EQ(*content, bytes);
}

TEST(InputFile, ReadsAFileOfTheLimit) {
    const test::TempDir folder;
    test::writeFile(folder / "file", std::string(kInputLimit, 'x'));
    const vtek::Result<std::string> content = readInput((folder / "file").string(), "file");
    ASSERT_TRUE(content);
    EXPECT_EQ(content->size(), kInputLimit);
}

TEST(InputFile, RefusesAFileBeyondTheLimit) {
    const test::TempDir folder;
    test::writeFile(folder / "file", std::string(kInputLimit + 1, 'x'));
    EXPECT_EQ(problemWith(folder / "file"), "is larger than 16 MiB");
}

TEST(InputFile, RefusesAGigabyteWithoutReadingIt) {
    const test::TempDir folder;
    test::writeFile(folder / "file", "");
    std::filesystem::resize_file(folder / "file", 1024L * 1024 * 1024);
    EXPECT_EQ(problemWith(folder / "file"), "is larger than 16 MiB");
}

TEST(InputFile, RefusesAFifoWithoutWaiting) {
    const test::TempDir folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(problemWith(folder / "fifo"), "is not a regular file");
}

TEST(InputFile, RefusesAFolderAndADevice) {
    const test::TempDir folder;
    EXPECT_EQ(problemWith(folder.path()), "is not a regular file");
    EXPECT_EQ(problemWith("/dev/zero"), "is not a regular file");
}

TEST(InputFile, NamesTheFileAsTheCallerShowsIt) {
    const test::TempDir folder;
    test::writeFile(folder / "large", std::string(kInputLimit + 1, 'x'));
    EXPECT_EQ(readInput((folder / "large").string(), "a").error().message, "a is larger than 16 MiB");
    EXPECT_EQ(readInput(folder.path().string(), "a").error().message, "a is not a regular file");
    EXPECT_EQ(readInput((folder / "none").string(), "a").error().message,
              "open a: No such file or directory");
}

TEST(InputFile, ReportsAMissingFile) {
    const test::TempDir folder;
    EXPECT_EQ(problemWith(folder / "none"), "No such file or directory");
    EXPECT_EQ(problemWith(""), "No such file or directory");
}

}  // namespace
}  // namespace tools
