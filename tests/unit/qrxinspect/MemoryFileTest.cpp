#include "MemoryFile.h"
#include "TempDir.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

namespace tools {
namespace {

TEST(MemoryFile, HoldsItsContentUnderItsPath) {
    const std::string content(300'000, 'x');
    const MemoryFile file(content);
    ASSERT_TRUE(file.isUsable());
    EXPECT_EQ(test::readFile(file.path()), content);
}

TEST(MemoryFile, MayBeEmpty) {
    const MemoryFile file("");
    ASSERT_TRUE(file.isUsable());
    EXPECT_EQ(test::readFile(file.path()), "");
}

TEST(MemoryFile, IsGoneWithItsObject) {
    std::string path;
    {
        const MemoryFile file("x");
        path = file.path();
    }
    EXPECT_THROW(test::readFile(path), std::runtime_error);
}

TEST(MemoryFile, IsKeptFromOtherPrograms) {
    const MemoryFile file("x");
    const int fd = std::stoi(std::filesystem::path(file.path()).filename().string());
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
}

TEST(MemoryFile, IsNotUsableWithAPartOfItsContent) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit narrow{1000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &narrow);
    const bool usable = MemoryFile(std::string(1001, 'x')).isUsable();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(usable);
}

}  // namespace
}  // namespace tools
