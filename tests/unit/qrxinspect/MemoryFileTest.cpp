#include "MemoryFile.h"
#include "TempDir.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

namespace qrxinspect {
namespace {

TEST(MemoryFile, KeepsItsContentUnderItsPath) {
    const std::string content(300'000, 'x');
    const MemoryFile file(content);
    ASSERT_TRUE(file.isUsable());
    EXPECT_EQ(test::readFile(file.path()), content);
}

TEST(MemoryFile, AcceptsAnEmptyContent) {
    const MemoryFile file("");
    ASSERT_TRUE(file.isUsable());
    EXPECT_EQ(test::readFile(file.path()), "");
}

TEST(MemoryFile, DisappearsWithItsObject) {
    std::string path;
    {
        const MemoryFile file("x");
        path = file.path();
    }
    EXPECT_THROW(test::readFile(path), std::runtime_error);
}

TEST(MemoryFile, ClosesOnExec) {
    const MemoryFile file("x");
    const int fd = std::stoi(std::filesystem::path(file.path()).filename().string());
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
}

TEST(MemoryFile, RefusesAPartOfItsContent) {
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

TEST(MemoryFile, ReportsThatNoDescriptorIsLeft) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const bool usable = MemoryFile("").isUsable();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(usable);
}

}  // namespace
}  // namespace qrxinspect
