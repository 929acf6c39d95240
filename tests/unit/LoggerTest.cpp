#include "ChildProcess.h"
#include "Logger.h"
#include "TempDir.h"
#include "WorkingDirectory.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <type_traits>

namespace test {
namespace {

using namespace std::string_literals;

static_assert(!std::is_polymorphic_v<CLogger>);

constexpr std::size_t kStampLength = std::string_view("[2026-11-15T12:41:20] ").size();

/** A logger of its own on a file of its own. */
class Logger : public ::testing::Test {
protected:
    /** The line that a call writes, without the time stamp. */
    std::string lineOf(const char* source, unsigned int line, const std::string& message) {
        logger_.Initialize(file_.string());
        logger_.log(source, line, message);
        return readFile(file_).substr(kStampLength);
    }

    TempDir folder_;
    std::filesystem::path file_ = folder_ / "trace.log";
    CLogger logger_;
};

TEST_F(Logger, ReturnsThePartAfterTheLastSlash) {
    EXPECT_EQ(logger_.getFileName("../src/QRXManager"), "QRXManager");
    EXPECT_EQ(logger_.getFileName("/a"), "a");
    EXPECT_EQ(logger_.getFileName("a/b/"), "");
}

TEST_F(Logger, ReturnsTheWholePathWithoutASlash) {
    EXPECT_EQ(logger_.getFileName("QRXManager"), "QRXManager");
    EXPECT_EQ(logger_.getFileName("a\\b.c"), "a\\b.c");
    EXPECT_EQ(logger_.getFileName(""), "");
}

TEST_F(Logger, StartsALineWithTheTimeStamp) {
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "m");
    EXPECT_THAT(readFile(file_),
                ::testing::MatchesRegex(R"(\[[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\] : .*)"
                                        "\n"));
}

TEST_F(Logger, LaysOutALineAsDocumented) {
    EXPECT_EQ(lineOf("../src/QRXManager", 67, "CQRXManager::UpdateInventory() Logger initialized"),
              ":                QRXManager:   67: CQRXManager::UpdateInventory() Logger initialized\n");
}

TEST_F(Logger, PadsShortFieldsAndPrintsLongOnesWhole) {
    const struct {
        const char* source;
        unsigned int line;
        const char* message;
        const char* written;
    } kLines[] = {
        {"QRXMain", 1, "m", ":                   QRXMain:    1: m\n"},  // a source without a slash
        {"../src/", 1, "m", ":                          :    1: m\n"},
        {"x/abcdefghijklmnopqrstuvwx", 1, "m", ":  abcdefghijklmnopqrstuvwx:    1: m\n"},
        {"x/abcdefghijklmnopqrstuvwxy", 1, "m", ": abcdefghijklmnopqrstuvwxy:    1: m\n"},
        {"x/abcdefghijklmnopqrstuvwxyz", 1, "m", ": abcdefghijklmnopqrstuvwxyz:    1: m\n"},
        {"a", 12345, "m", ":                         a:12345: m\n"},
        {"a", 123456, "m", ":                         a:123456: m\n"},
        {"a", std::numeric_limits<unsigned int>::max(), "m", ":                         a:4294967295: m\n"},
        {"a", 1, "", ":                         a:    1: \n"},
    };
    logger_.Initialize(file_.string());
    std::size_t read = 0;
    for (const auto& [source, line, message, written] : kLines) {
        logger_.log(source, line, message);
        const std::string text = readFile(file_);
        EXPECT_EQ(text.substr(read + kStampLength), written);
        read = text.size();
    }
}

TEST_F(Logger, WritesAMessageAsGiven) {
    const std::string message = "tab\t, percent %s %n, <&>\", \xC3\xA9, NUL \0, bell \a"s;
    EXPECT_EQ(lineOf("a", 1, message), ":                         a:    1: " + message + "\n");
}

TEST_F(Logger, AddsItsOwnNewlineToAMessage) {
    EXPECT_EQ(lineOf("a", 1, "Entering SignedUpdate \n"),
              ":                         a:    1: Entering SignedUpdate \n\n");
}

TEST_F(Logger, WritesLinesOneAfterAnother) {
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "first");
    logger_.log("b", 2, "second");
    const std::string text = readFile(file_);
    const std::size_t second = text.find('\n') + 1;
    EXPECT_EQ(text.substr(kStampLength, second - kStampLength), ":                         a:    1: first\n");
    EXPECT_EQ(text.substr(second + kStampLength), ":                         b:    2: second\n");
}

TEST_F(Logger, FlushesEachLine) {
    logger_.Initialize(file_.string());
    EXPECT_EQ(readFile(file_), "");
    logger_.log("a", 1, "m");
    EXPECT_THAT(readFile(file_), ::testing::EndsWith("a:    1: m\n"));
}

TEST_F(Logger, AppendsToAFileThatOthersChanged) {
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "first");
    std::ofstream(file_, std::ios::app) << "written by another\n";
    logger_.log("a", 2, "second");
    EXPECT_THAT(readFile(file_),
                ::testing::MatchesRegex("\\[.*\\] :                         a:    1: first\n"
                                        "written by another\n"
                                        "\\[.*\\] :                         a:    2: second\n"));
}

TEST_F(Logger, CreatesNoFileBeforeInitialize) {
    const WorkingDirectory here(folder_.path());
    logger_.log("a", 1, "m");
    EXPECT_FALSE(logger_.isEnabled());
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(Logger, DropsLinesLoggedBeforeInitialize) {
    logger_.log("a", 1, "early");
    EXPECT_EQ(lineOf("a", 2, "late"), ":                         a:    2: late\n");
}

TEST_F(Logger, SwitchesLoggingOnInInitialize) {
    EXPECT_EQ(logger_.Initialize(file_.string()), 0);
    EXPECT_TRUE(logger_.isEnabled());
    EXPECT_EQ(readFile(file_), "");
}

TEST_F(Logger, EmptiesAnExistingFile) {
    writeFile(file_, "old contents, longer than what is written afterwards");
    EXPECT_EQ(lineOf("a", 1, "new"), ":                         a:    1: new\n");
}

TEST_F(Logger, ResolvesARelativeNameAgainstTheWorkingDirectory) {
    const WorkingDirectory here(folder_.path());
    logger_.Initialize("relative.log");
    logger_.log("a", 1, "m");
    EXPECT_THAT(readFile(folder_ / "relative.log"), ::testing::EndsWith(" m\n"));
}

TEST_F(Logger, LeavesLoggingOffForAMissingDirectory) {
    const Outcome outcome = runInChild([this] {
        CLogger logger;
        const int result = logger.Initialize((folder_ / "missing/trace.log").string());
        logger.log("a", 1, "m");
        return result != 0 || logger.isEnabled() ? 1 : 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output + outcome.error, "");
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(Logger, LeavesLoggingOffForAnEmptyName) {
    EXPECT_EQ(logger_.Initialize(""), 0);
    EXPECT_FALSE(logger_.isEnabled());
}

TEST_F(Logger, OpensTheLogAfterAFailedInitialize) {
    logger_.Initialize((folder_ / "missing/trace.log").string());
    EXPECT_EQ(lineOf("a", 1, "m"), ":                         a:    1: m\n");
}

TEST_F(Logger, SilencesTheLogInASecondInitialize) {
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "kept");
    const std::string before = readFile(file_);
    EXPECT_EQ(logger_.Initialize((folder_ / "second.log").string()), 0);
    logger_.log("a", 2, "dropped");
    logger_.log("a", 3, "dropped too");
    EXPECT_TRUE(logger_.isEnabled());
    EXPECT_EQ(readFile(file_), before);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "second.log"));
}

TEST_F(Logger, KeepsTheFileInASecondInitializeWithTheSameName) {
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "kept");
    const std::string before = readFile(file_);
    logger_.Initialize(file_.string());
    logger_.log("a", 2, "dropped");
    EXPECT_EQ(readFile(file_), before);
}

TEST_F(Logger, KeepsTheLogSilentInAThirdInitialize) {
    logger_.Initialize(file_.string());
    logger_.Initialize((folder_ / "second.log").string());
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "dropped");
    EXPECT_EQ(readFile(file_), "");
}

TEST_F(Logger, IgnoresAWriteError) {
    EXPECT_EQ(logger_.Initialize("/dev/full"), 0);
    EXPECT_NO_THROW(logger_.log("a", 1, "m"));
    EXPECT_NO_THROW(logger_.log("a", 2, "m"));
    EXPECT_TRUE(logger_.isEnabled());
}

// The log that the marker file switches on.

class MarkerLog : public Logger {
protected:
    /** Whether the log comes on; every other outcome leaves the file as it was. */
    bool comesOn() {
        EXPECT_EQ(logger_.InitializeFromMarker(file_.string()), 0);
        logger_.log("a", 1, "m");
        return logger_.isEnabled();
    }

    std::filesystem::path other_ = folder_ / "other";
};

TEST_F(MarkerLog, MakesANewFile) {
    EXPECT_TRUE(comesOn());
    EXPECT_THAT(readFile(file_), ::testing::EndsWith("a:    1: m\n"));
}

TEST_F(MarkerLog, EmptiesAnExistingFile) {
    writeFile(file_, std::string(4096, 'x'));
    EXPECT_TRUE(comesOn());
    EXPECT_EQ(readFile(file_).substr(kStampLength), ":                         a:    1: m\n");
}

TEST_F(MarkerLog, GivesANewFileTheModeOfAnyOther) {
    const mode_t former = umask(027);
    EXPECT_TRUE(comesOn());
    umask(former);
    EXPECT_EQ(std::filesystem::status(file_).permissions(), std::filesystem::perms{0640});
}

TEST_F(MarkerLog, FollowsNoLink) {
    writeFile(other_, "kept");
    std::filesystem::create_symlink(other_, file_);
    EXPECT_FALSE(comesOn());
    EXPECT_EQ(readFile(other_), "kept");
}

TEST_F(MarkerLog, MakesNoFileThroughALink) {
    std::filesystem::create_symlink(other_, file_);
    EXPECT_FALSE(comesOn());
    EXPECT_FALSE(std::filesystem::exists(other_));
}

TEST_F(MarkerLog, KeepsAFileWithASecondName) {
    writeFile(other_, "kept");
    std::filesystem::create_hard_link(other_, file_);
    EXPECT_FALSE(comesOn());
    EXPECT_EQ(readFile(other_), "kept");
}

TEST_F(MarkerLog, RefusesAFolder) {
    std::filesystem::create_directory(file_);
    EXPECT_FALSE(comesOn());
}

TEST_F(MarkerLog, RefusesAFifoWithoutWaiting) {
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    EXPECT_FALSE(comesOn());
}

TEST_F(MarkerLog, WritesNothingToAFifoWithAReader) {
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    const int reader = open(file_.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_FALSE(comesOn());
    char byte = 0;
    EXPECT_EQ(read(reader, &byte, 1), 0);
    close(reader);
}

TEST_F(MarkerLog, RefusesADevice) {
    EXPECT_EQ(logger_.InitializeFromMarker("/dev/null"), 0);
    EXPECT_FALSE(logger_.isEnabled());
}

TEST_F(MarkerLog, SilencesAnOpenLog) {
    logger_.Initialize(other_.string());
    logger_.log("a", 1, "kept");
    const std::string before = readFile(other_);
    writeFile(file_, "kept");
    logger_.InitializeFromMarker(file_.string());
    logger_.log("a", 2, "dropped");
    EXPECT_TRUE(logger_.isEnabled());
    EXPECT_EQ(readFile(other_), before);
    EXPECT_EQ(readFile(file_), "kept");
}

TEST_F(MarkerLog, IsSilencedByALaterInitialize) {
    EXPECT_TRUE(comesOn());
    const std::string before = readFile(file_);
    logger_.Initialize(other_.string());
    logger_.log("a", 2, "dropped");
    EXPECT_EQ(readFile(file_), before);
    EXPECT_FALSE(std::filesystem::exists(other_));
}

TEST_F(MarkerLog, LeavesTheNextInitializeFreeAfterARefusal) {
    std::filesystem::create_symlink(other_, file_);
    EXPECT_FALSE(comesOn());
    std::filesystem::remove(file_);
    EXPECT_EQ(lineOf("a", 1, "m"), ":                         a:    1: m\n");
}

// A name that the caller gives is the caller's will.

TEST_F(Logger, FollowsALink) {
    std::filesystem::create_symlink(folder_ / "other", file_);
    logger_.Initialize(file_.string());
    logger_.log("a", 1, "m");
    EXPECT_THAT(readFile(folder_ / "other"), ::testing::EndsWith(" m\n"));
}

TEST_F(Logger, EmptiesAFileWithASecondName) {
    writeFile(folder_ / "other", "old");
    std::filesystem::create_hard_link(folder_ / "other", file_);
    logger_.Initialize(file_.string());
    EXPECT_EQ(readFile(folder_ / "other"), "");
}

TEST(LoggerOfTheProcess, IsMadeOnceAndOff) {
    const Outcome outcome = runInChild([] {
        CLogger* const logger = CLogger::GetInstance();
        return logger != nullptr && logger == CLogger::GetInstance() && !logger->isEnabled() ? 0 : 1;
    });
    EXPECT_EQ(outcome.exitStatus, 0);
}

TEST(LoggerOfTheProcess, LosesNothingAtExit) {
    const TempDir folder;
    const Outcome outcome = runInChild([&folder] {
        CLogger::GetInstance()->Initialize((folder / "trace.log").string());
        CLogger::GetInstance()->log("a", 1, "last words");
        return 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_THAT(readFile(folder / "trace.log"), ::testing::EndsWith(" last words\n"));
}

/** The hour of a stamp's line that is written where the clock is that many hours ahead of UTC. */
std::string stampInZone(const char* zone, const std::filesystem::path& file) {
    const Outcome outcome = runInChild([zone, &file] {
        setenv("TZ", zone, 1);
        CLogger logger;
        logger.Initialize(file.string());
        logger.log("a", 1, "m");
        return 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
    return readFile(file).substr(0, std::string_view("[2026-11-15T12:41:20]").size());
}

std::time_t asUtc(const std::string& stamp) {
    std::tm fields{};
    EXPECT_NE(strptime(stamp.c_str(), "[%Y-%m-%dT%H:%M:%S]", &fields), nullptr) << stamp;
    return timegm(&fields);
}

TEST(LoggerTimeStamp, UsesTheLocalTime) {
    constexpr std::time_t kAhead = 13 * 3600 + 45 * 60;
    const TempDir folder;
    const std::time_t before = std::time(nullptr);
    const std::time_t stamp = asUtc(stampInZone("ABC-13:45", folder / "trace.log"));
    EXPECT_GE(stamp, before + kAhead);
    EXPECT_LE(stamp, std::time(nullptr) + kAhead);
}

TEST(LoggerTimeStamp, UsesAZoneBehindUtc) {
    constexpr std::time_t kBehind = 11 * 3600;
    const TempDir folder;
    const std::time_t before = std::time(nullptr);
    const std::time_t stamp = asUtc(stampInZone("ABC+11", folder / "trace.log"));
    EXPECT_GE(stamp, before - kBehind);
    EXPECT_LE(stamp, std::time(nullptr) - kBehind);
}

}  // namespace
}  // namespace test
