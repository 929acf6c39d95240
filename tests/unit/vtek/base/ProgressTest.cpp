#include "base/File.h"
#include "base/Progress.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace {

using vtek::Progress;

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

TEST(Progress, ShowsEachPercentOnceOnTerminal) {
    EXPECT_EQ(onATerminal([] {
                  Progress progress("copy", 99);
                  progress.add(1);
                  progress.add(0);
                  progress.add(49);
              }),
              "\rcopy: 1 %\rcopy: 50 %\n");
}

TEST(Progress, StopsAtHundredPercent) {
    EXPECT_EQ(onATerminal([] {
                  Progress progress("verify", 10);
                  progress.add(1000);
                  progress.add(1000);
              }),
              "\rverify: 100 %\n");
}

TEST(Progress, ShowsNothingForEmptyStep) {
    EXPECT_EQ(onATerminal([] {
                  Progress progress("unpack", 0);
                  progress.add(0);
              }),
              "");
}

TEST(Progress, ShowsNothingWithoutTerminal) {
    EXPECT_EQ(onAPipe([] {
                  Progress progress("copy", 100);
                  progress.add(100);
              }),
              "");
}

}  // namespace
