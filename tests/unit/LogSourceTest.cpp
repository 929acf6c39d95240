#include "AllocationWatch.h"
#include "ChildProcess.h"
#include "LogSource.h"
#include "LogText.h"
#include "TempDir.h"

#include <gmock/gmock.h>

#include <functional>

namespace test {
namespace {

constexpr CLogSource debugLog("../src/Somewhere");

/** What `body` logs into a log that is on, in a process of its own. */
std::vector<LogLine> logOf(const std::function<void()>& body) {
    const TempDir folder;
    const Outcome outcome = runInChild([&] {
        CLogger::GetInstance()->Initialize((folder / "trace.log").string());
        body();
        return 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
    return parseLog(readFile(folder / "trace.log"));
}

TEST(LogSource, WritesATextWithTheSourceAndTheLineOfTheCall) {
    unsigned line = __LINE__ + 1;
    EXPECT_EQ(logOf([] { debugLog("text"); }), (std::vector<LogLine>{{"Somewhere", line, "text"}}));
}

TEST(LogSource, JoinsPiecesWithNothingBetween) {
    unsigned line = __LINE__ + 1;
    EXPECT_EQ(logOf([] {
                  debugLog({"one ", "two", "", " three"});
              }),
              (std::vector<LogLine>{{"Somewhere", line, "one two three"}}));
}

TEST(LogSource, TakesTwoLiteralsAsTwoPieces) {
    EXPECT_EQ(logOf([] { debugLog({"one", "two"}); }).at(0).message, "onetwo");
}

TEST(LogSource, TakesTheTextThatAFunctionMakes) {
    unsigned line = __LINE__ + 1;
    EXPECT_EQ(logOf([] { debugLog([] { return std::string("made"); }); }),
              (std::vector<LogLine>{{"Somewhere", line, "made"}}));
}

TEST(LogSource, WritesTheLinesInTheOrderOfTheCalls) {
    const auto lines = logOf([] {
        debugLog("1");
        debugLog({"2", ""});
        debugLog([] { return std::string("3"); });
    });
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].message + lines[1].message + lines[2].message, "123");
}

TEST(LogSourceOfADisabledLog, MakesNoText) {
    bool made = false;
    debugLog([&made] {
        made = true;
        return std::string("text");
    });
    EXPECT_FALSE(made);
}

TEST(LogSourceOfADisabledLog, AllocatesNothing) {
    constexpr const char* kLong = "a text that is much too long for the room that a string has inside itself";
    const std::string value(200, 'x');
    CLogger::GetInstance();  // made on first use
    const std::size_t before = allocationCount();
    debugLog(kLong);
    debugLog({kLong, value, kLong});
    debugLog([&value] { return value + value; });
    EXPECT_EQ(allocationCount(), before);
    EXPECT_GT(before, 0U) << "allocations are not counted";
}

TEST(LogSourceOfADisabledLog, CreatesNoFile) {
    const TempDir folder;
    const Outcome outcome = runInChild([&folder] {
        std::filesystem::current_path(folder.path());
        debugLog("text");
        return 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace test
