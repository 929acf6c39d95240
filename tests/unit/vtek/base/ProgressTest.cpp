#include "base/File.h"
#include "base/Progress.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>

namespace {

using vtek::Progress;
using vtek::ProgressUnit;

/** Redirects standard error to one end of a terminal or pipe during the work, and reads the other end. */
std::string shown(int errorEnd, int readingEnd, const std::function<void()>& work) {
    const vtek::UniqueFd before(dup(STDERR_FILENO));
    dup2(errorEnd, STDERR_FILENO);
    close(errorEnd);
    work();
    dup2(before.get(), STDERR_FILENO);
    // No descriptor of the other end is left open, so that reading returns all output and then ends.
    std::string text;
    char piece[256];
    for (ssize_t n; (n = read(readingEnd, piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<std::size_t>(n));
    }
    return text;
}

std::string onATerminal(const std::function<void()>& work) {
    int ours = -1;
    int theirs = -1;
    termios raw{};
    cfmakeraw(&raw);
    EXPECT_EQ(openpty(&ours, &theirs, nullptr, &raw, nullptr), 0);
    const vtek::UniqueFd reading(ours);
    return shown(theirs, reading.get(), work);
}

std::string onAPipe(const std::function<void()>& work) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    const vtek::UniqueFd reading(ends[0]);
    return shown(ends[1], reading.get(), work);
}

/** The time, which each call advances by a quarter of a second. */
Progress::TimePoint quarterLater() {
    static Progress::TimePoint time;
    return time += std::chrono::milliseconds(250);
}

/** The clock of a step that takes no time. */
Progress::TimePoint stopped() {
    return {};
}

TEST(Progress, ShowsBarShareRateAndTimeLeft) {
    EXPECT_EQ(onATerminal([] {
                  Progress progress("verify", 8 << 20, ProgressUnit::Bytes, quarterLater);
                  progress.add(1 << 20);
                  progress.add(1 << 20);
                  progress.add(4 << 20);
                  progress.add(2 << 20);
              }),
              "\rverify [######..................] 25 %, 4.0 MiB/s, 0:01 left\033[K"
              "\rverify [##################......] 75 %, 8.0 MiB/s, 0:00 left\033[K"
              "\rverify [########################] 100 %, 8.0 MiB/s, 0:00 left\033[K\n");
}

TEST(Progress, CountsItems) {
    EXPECT_EQ(onATerminal([] {
                  Progress progress("read", 4000, ProgressUnit::Items, quarterLater);
                  progress.add(10);
                  progress.add(10);
              }),
              "\rread [........................] 0 %, 40/s, 1:39 left\033[K\n");
}

TEST(Progress, StopsAtHundredPercent) {
    const std::string shown = onATerminal([] {
        Progress progress("verify", 10, ProgressUnit::Bytes, quarterLater);
        progress.add(1000);
        progress.add(1000);
    });
    EXPECT_NE(shown.find("] 100 %, "), std::string::npos) << shown;
}

TEST(Progress, ShowsNothingOfShortStep) {
    EXPECT_EQ(onATerminal([] {
                  Progress progress("unpack", 10, ProgressUnit::Bytes, stopped);
                  progress.add(10);
              }),
              "");
}

TEST(Progress, ShowsNothingWithoutTerminal) {
    EXPECT_EQ(onAPipe([] {
                  Progress progress("copy", 100, ProgressUnit::Bytes, quarterLater);
                  progress.add(50);
                  progress.add(50);
              }),
              "");
}

TEST(Progress, ShowsNothingWhenQuiet) {
    setenv("VTEK_QUIET", "1", 1);
    EXPECT_EQ(onATerminal([] {
                  Progress progress("copy", 100, ProgressUnit::Bytes, quarterLater);
                  progress.add(50);
                  progress.add(50);
              }),
              "");
    unsetenv("VTEK_QUIET");
}

}  // namespace
