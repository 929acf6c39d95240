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

TEST(File, RefusesLargeFileBeforeReadingIt) {
    const test::TempDir folder;
    const auto read = [&](std::size_t bound) {
        return vtek::readRegularFile(vtek::kWorkingFolder, (folder / "file").string(), vtek::Links::Refused,
                                     bound, "file", vtek::ErrorNumber::PackageUnreadable);
    };
    test::writeFile(folder / "file", std::string(20000, 'x'));
    EXPECT_EQ(*read(20000), std::string(20000, 'x'));
    EXPECT_EQ(read(19999).error().message, "file is larger than 19999 bytes");
    EXPECT_EQ(read(19999).error().number, vtek::ErrorNumber::PackageUnreadable);
    // A terabyte of nothing takes minutes to read.
    std::filesystem::resize_file(folder / "file", std::uintmax_t{1} << 40);
    EXPECT_EQ(read(20000).error().message, "file is larger than 20000 bytes");
}

TEST(File, RefusesLargeFileWhoseSizeIsUnknown) {
    const auto whole = vtek::readRegularFile(vtek::kWorkingFolder, "/proc/self/maps", vtek::Links::Followed,
                                             10, "maps", vtek::ErrorNumber::InvalidArgument);
    ASSERT_FALSE(whole) << "the kernel reports a size of 0";
    EXPECT_EQ(whole.error().message, "maps is larger than 10 bytes");
}

TEST(File, CreatesFilesAndFoldersWithGivenMode) {
    for (const mode_t mask : {0U, 077U, 0777U}) {
        const test::TempDir folder;
        const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY);
        const mode_t before = umask(mask);
        EXPECT_TRUE(vtek::createFileAt(opened.get(), "file", 0640));
        EXPECT_FALSE(vtek::createFileAt(opened.get(), "file", 0640));
        EXPECT_TRUE(vtek::makeFolderAt(opened.get(), "folder", 0750));
        EXPECT_FALSE(vtek::makeFolderAt(opened.get(), "folder", 0750));
        umask(before);
        EXPECT_EQ(std::filesystem::status(folder / "file").permissions(), std::filesystem::perms(0640));
        EXPECT_EQ(std::filesystem::status(folder / "folder").permissions(), std::filesystem::perms(0750));
    }
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
