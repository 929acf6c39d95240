#include "TempDir.h"
#include "base/File.h"
#include "base/FileWriter.h"
#include "base/Tree.h"
#include "trust/Digest.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using Range = std::pair<off64_t, off64_t>;

/** Called when this program has a part of a file written out, with where it begins and how long it is. */
std::function<void(off64_t, off64_t)>& whenWritingOut() {
    static std::function<void(off64_t, off64_t)> action = [](off64_t, off64_t) {};
    return action;
}

}  // namespace

/** Takes the place of the C library's function in this program. */
extern "C" int sync_file_range(int fd, off64_t from, off64_t size, unsigned int flags) {
    whenWritingOut()(from, size);
    return static_cast<int>(syscall(SYS_sync_file_range, fd, from, size, flags));
}

namespace {

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

TEST(FileWriter, AppendsPiecesOfAnySize) {
    const test::TempDir folder;
    const auto file =
        vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    vtek::FileWriter writer(file.get());
    std::string expected;
    for (const std::size_t size : {0U, 1U, 32768U, 32769U, 2097152U, 5000000U, 7U}) {
        const std::string data(size, static_cast<char>('a' + expected.size() % 26));
        EXPECT_TRUE(writer.write(data));
        expected += data;
    }
    EXPECT_EQ(test::readFile(folder / "file"), expected);
}

TEST(FileWriter, StartsWriteOutEveryTwoMebibytes) {
    const test::TempDir folder;
    const auto file =
        vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    vtek::FileWriter writer(file.get());
    std::vector<Range> writtenOut;
    whenWritingOut() = [&](off64_t from, off64_t size) { writtenOut.emplace_back(from, size); };
    constexpr off64_t kMebibyte = 1024 * 1024;
    const std::string data(kMebibyte, 'x');
    EXPECT_TRUE(writer.write(data));
    EXPECT_THAT(writtenOut, ElementsAre());
    EXPECT_TRUE(writer.write(data + data + data + data));
    EXPECT_THAT(writtenOut, ElementsAre(Range(0, 2 * kMebibyte), Range(2 * kMebibyte, 2 * kMebibyte)));
    whenWritingOut() = [](off64_t, off64_t) {};
}

TEST(FileWriter, ReportsFailedWrite) {
    const auto full = vtek::openAt(vtek::kWorkingFolder, "/dev/full", O_WRONLY);
    vtek::FileWriter writer(full.get());
    EXPECT_FALSE(writer.write("x"));
    EXPECT_EQ(errno, ENOSPC);
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

TEST(Digest, ComputesSha256) {
    vtek::Digest empty;
    EXPECT_EQ(empty.hex(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    vtek::Digest abc;
    abc.update("a", 1);
    abc.update("bc", 2);
    EXPECT_EQ(abc.hex(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digest, CoversWholeFile) {
    const test::TempDir folder;
    for (const std::size_t size : {0U, 65535U, 65536U, 65537U, 200000U}) {
        const std::string content(size, 'x');
        test::writeFile(folder / "file", content);
        const auto file = vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_RDONLY);
        vtek::Digest expected;
        expected.update(content.data(), size);
        EXPECT_EQ(*digestOfFile(file.get(), vtek::ErrorNumber::PackageUnreadable), expected.hex()) << size;
    }
}

TEST(Digest, ReportsUnreadableFileWithGivenNumber) {
    const auto folder = vtek::openAt(vtek::kWorkingFolder, "/", O_RDONLY);
    const auto digest = digestOfFile(folder.get(), vtek::ErrorNumber::PackageUnreadable);
    ASSERT_FALSE(digest);
    EXPECT_EQ(digest.error().number, vtek::ErrorNumber::PackageUnreadable);
}

TEST(Tree, RemovesTreeWithoutFollowingSymlinks) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "tree/a/b");
    std::filesystem::create_directories(folder / "kept");
    test::writeFile(folder / "kept/file", "kept");
    test::writeFile(folder / "tree/a/b/file", "x");
    std::filesystem::create_directory_symlink(folder / "kept", folder / "tree/link");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    EXPECT_TRUE(vtek::syncTree(opened.get(), "tree/a"));
    EXPECT_TRUE(vtek::removeTree(opened.get(), "tree"));
    EXPECT_FALSE(std::filesystem::exists(folder / "tree"));
    EXPECT_EQ(test::readFile(folder / "kept/file"), "kept");
    EXPECT_TRUE(vtek::removeTree(opened.get(), "tree"));
}

TEST(Tree, RefusesToSyncSymlinksAndMissingTrees) {
    const test::TempDir folder;
    std::filesystem::create_directories(folder / "tree");
    std::filesystem::create_symlink("/etc/passwd", folder / "tree/link");
    const auto opened = vtek::openAt(vtek::kWorkingFolder, folder.path().string(), O_RDONLY | O_DIRECTORY);
    EXPECT_FALSE(vtek::syncTree(opened.get(), "tree"));
    EXPECT_FALSE(vtek::syncTree(opened.get(), "missing"));
}

}  // namespace
