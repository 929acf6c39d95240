#include "TempDir.h"
#include "base/File.h"
#include "base/FileWriter.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using Range = std::pair<off64_t, off64_t>;

/** Called with offset and length whenever the code under test starts a write-out. */
std::function<void(off64_t, off64_t)>& whenWritingOut() {
    static std::function<void(off64_t, off64_t)> action = [](off64_t, off64_t) {};
    return action;
}

}  // namespace

/** Replaces the function of the C library in this program. */
extern "C" int sync_file_range(int fd, off64_t from, off64_t size, unsigned int flags) {
    whenWritingOut()(from, size);
    return static_cast<int>(syscall(SYS_sync_file_range, fd, from, size, flags));
}

namespace {

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

}  // namespace
