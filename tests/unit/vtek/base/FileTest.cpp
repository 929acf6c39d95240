#include "TempDir.h"
#include "base/File.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

TEST(File, KeepsDescriptorsAboveStandardStreams) {
    for (const int standard : {0, 1, 2}) {
        const int saved = dup(standard);
        close(standard);
        const auto file = vtek::openAt(vtek::kWorkingFolder, "/dev/null", O_RDONLY);
        const int left = fcntl(standard, F_GETFD);
        dup2(saved, standard);
        close(saved);
        EXPECT_GT(file.get(), 2);
        EXPECT_EQ(left, -1);
        EXPECT_EQ(fcntl(file.get(), F_GETFD), FD_CLOEXEC);
    }
}

TEST(File, OpensDescriptorsCloseOnExec) {
    const auto file = vtek::openAt(vtek::kWorkingFolder, "/dev/null", O_RDONLY);
    EXPECT_EQ(fcntl(file.get(), F_GETFD), FD_CLOEXEC);
}

TEST(File, RefusesContentBeyondTheBound) {
    const test::TempDir folder;
    test::writeFile(folder / "file", std::string(20000, 'x'));
    std::string content;
    auto file = vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_RDONLY);
    EXPECT_TRUE(vtek::readWhole(file.get(), 20000, content));
    EXPECT_EQ(content.size(), 20000U);
    file = vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_RDONLY);
    EXPECT_FALSE(vtek::readWhole(file.get(), 19999, content));
    EXPECT_EQ(errno, EFBIG);
}

TEST(File, ReportsFailedSync) {
    const auto device = vtek::openAt(vtek::kWorkingFolder, "/dev/null", O_WRONLY);
    EXPECT_FALSE(vtek::syncFd(device.get()));
    EXPECT_EQ(errno, EINVAL);
}

TEST(File, ListsFolderInByteOrder) {
    const test::TempDir folder;
    for (const char* name : {"b", "a", ".hidden", "c"}) {
        test::writeFile(folder / name, "");
    }
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    std::vector<std::string> names;
    EXPECT_TRUE(vtek::listFolder(opened.get(), names));
    EXPECT_TRUE(vtek::listFolder(opened.get(), names));
    EXPECT_THAT(names, ElementsAre(".hidden", "a", "b", "c"));
}

/** What is read of a file, in order. */
std::int64_t readInPieces(const std::string& path, std::uint64_t length, std::string& read) {
    const auto file = vtek::openAt(vtek::kWorkingFolder, path, O_RDONLY);
    return vtek::takePieces(file.get(), length, [&](std::string_view piece) {
        read += piece;
        return true;
    });
}

TEST(File, ReadsPiecesUpToLengthOrEnd) {
    const test::TempDir folder;
    std::string content(500000, 'x');
    for (std::size_t at = 0; at < content.size(); at += 1000) {
        content[at] = static_cast<char>('a' + at / 1000 % 26);
    }
    test::writeFile(folder / "file", content);
    for (const std::size_t length : {0U, 1U, 262144U, 262145U, 499999U, 500000U, 500001U}) {
        std::string read;
        const std::size_t expected = std::min(length, content.size());
        EXPECT_EQ(readInPieces((folder / "file").string(), length, read),
                  static_cast<std::int64_t>(expected));
        EXPECT_EQ(read, content.substr(0, expected));
    }
}

TEST(File, StopsAtRefusedPiece) {
    const test::TempDir folder;
    test::writeFile(folder / "file", std::string(1000000, 'x'));
    const auto file = vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_RDONLY);
    int pieces = 0;
    const std::int64_t taken =
        vtek::takePieces(file.get(), 1000000, [&](std::string_view) { return ++pieces < 3; });
    EXPECT_EQ(pieces, 3);
    EXPECT_LT(taken, 1000000);
    EXPECT_GT(taken, 0);
}

TEST(File, FailsToReadPiecesOfFolder) {
    std::string read;
    EXPECT_EQ(readInPieces("/", 1, read), -1);
    EXPECT_EQ(errno, EISDIR);
}

}  // namespace
