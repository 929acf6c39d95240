#include "Lab.h"
#include "base/Log.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using test::Lab;
using testing::MatchesRegex;
using vtek::ErrorNumber;

std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::vector<std::string> lines;
    std::istringstream text(test::readFile(file));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

class LogTest : public testing::Test {
protected:
    LogTest() : root_(lab_.root()), log_(&root_) {}

    std::filesystem::path file() const { return lab_.rootPath() / "log/vtek.log"; }

    Lab lab_;
    vtek::Root root_;
    vtek::Log log_;
};

constexpr const char* kStamp = "[0-9-]+T[0-9:]+Z \\[[0-9]+\\] ";

TEST_F(LogTest, StartsWithSimulationNotice) {
    log_.write("../src/Source", 12, "message");
    const auto lines = linesOf(file());
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "This log belongs to a SIMULATED platform library (stand-in for libvtek.so.0).");
    EXPECT_THAT(lines[1], MatchesRegex(std::string(kStamp) + "../src/Source:12: message"));
}

TEST_F(LogTest, HasSameModeWithEveryUmask) {
    for (const mode_t mask : {0U, 077U, 0777U}) {
        std::filesystem::remove(file());
        const mode_t before = umask(mask);
        vtek::Log(&root_).write("a", 1, "line");
        umask(before);
        EXPECT_EQ(std::filesystem::status(file()).permissions(), std::filesystem::perms(0640));
    }
}

TEST_F(LogTest, AppendsToExistingFile) {
    log_.write("a", 1, "first");
    vtek::Log(&root_).write("b", 2, "second");
    EXPECT_EQ(linesOf(file()).size(), 3U);
}

TEST_F(LogTest, KeepsLinesOfConcurrentRuns) {
    vtek::Log other(&root_);
    log_.write("a", 1, "first");
    other.write("b", 2, "second");
    log_.write("a", 3, "third");
    const auto lines = linesOf(file());
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[2], MatchesRegex(std::string(kStamp) + "b:2: second"));
    EXPECT_THAT(lines[3], MatchesRegex(std::string(kStamp) + "a:3: third"));
}

TEST_F(LogTest, EscapesWhatWouldBreakTheLineOrSteerATerminal) {
    log_.write("a\nb", 1, "two\nlines\r\x1b[31m\x7f\xC2\x9B\u202E and \xC3\xBC");
    const auto lines = linesOf(file());
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[1], MatchesRegex(std::string(kStamp) +
                                       R"(a\\nb:1: two\\nlines\\r\\x1b\[31m\\x7f\\u009b\\u202e and ü)"));
}

TEST_F(LogTest, WritesHintForFailure) {
    log_.failure("IsPayloadSigned", {ErrorNumber::PayloadMissing, "details"});
    EXPECT_THAT(
        linesOf(file()).back(),
        MatchesRegex(std::string(kStamp) + "IsPayloadSigned: error 201, no payload: details; hint: start the "
                                           "update in the folder that contains the .fwp file"));
}

TEST_F(LogTest, LimitsItsSize) {
    const std::string message(10000, 'm');
    for (int i = 0; i < 350; ++i) {
        log_.write("a", 1, message);
    }
    std::size_t files = 0;
    for (const auto& item : std::filesystem::directory_iterator(lab_.rootPath() / "log")) {
        EXPECT_LE(item.file_size(), 1024U * 1024 + message.size() + 100);
        ++files;
    }
    EXPECT_EQ(files, 2U);
    EXPECT_EQ(linesOf(file())[0].substr(0, 8), "This log");
}

TEST_F(LogTest, RefusesSymlink) {
    std::filesystem::create_symlink(lab_.aside() / "target", file());
    log_.write("a", 1, "message");
    EXPECT_FALSE(std::filesystem::exists(lab_.aside() / "target"));
}

TEST_F(LogTest, ReportsFailureOnStandardErrorWithoutFile) {
    std::filesystem::remove_all(lab_.rootPath() / "log");
    testing::internal::CaptureStderr();
    log_.failure("IsPayloadSigned", {ErrorNumber::PayloadMissing, "a\nb"});
    log_.write("a", 1, "no failure");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        "libvtek (simulation): IsPayloadSigned: error 201, no payload: a\\nb; hint: start the update in the "
        "folder that contains the .fwp file\n");
}

TEST_F(LogTest, ReportsFailureOnStandardErrorAfterShortWrite) {
    log_.write("a", 1, "message");
    EXPECT_EXIT(
        {
            rlimit limit{};
            limit.rlim_cur = limit.rlim_max = 100;
            setrlimit(RLIMIT_FSIZE, &limit);
            signal(SIGXFSZ, SIG_IGN);
            log_.failure("IsPayloadSigned", {ErrorNumber::PayloadMissing, "details"});
            _exit(0);
        },
        testing::ExitedWithCode(0),
        "libvtek .simulation.: IsPayloadSigned: error 201, no payload: details; hint: ");
}

TEST(Log, DropsLinesWithoutRoot) {
    vtek::Log(nullptr).write("a", 1, "message");
}

}  // namespace
