#include "base/Progress.h"

#include "base/File.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace vtek {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kSilentBegin(500);  // a shorter step shows nothing
constexpr milliseconds kBetweenLines(100);
constexpr std::size_t kBarWidth = 24;  // characters; the whole line fits into 80

/** A time as minutes and seconds. */
std::string timeText(double seconds) {
    const auto whole = static_cast<unsigned long>(std::min(seconds, 359999.0));
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%lu:%02lu", whole / 60, whole % 60);
    return text.data();
}

}  // namespace

Progress::Progress(std::string step, std::uint64_t total, ProgressUnit unit, TimePoint (*now)())
    : step_(std::move(step)),
      total_(std::max<std::uint64_t>(total, 1)),
      unit_(unit),
      now_(now),
      begin_(now()),
      next_(begin_ + kSilentBegin),
      isVisible_(isatty(STDERR_FILENO) == 1 && std::getenv("VTEK_QUIET") == nullptr) {}

Progress::~Progress() {
    if (isShown_) {
        writeFully(STDERR_FILENO, "\n");
    }
}

void Progress::add(std::uint64_t count) {
    done_ += count;
    if (!isVisible_) {
        return;
    }
    const TimePoint time = now_();
    // The last line is always shown: it must not end with 97 %.
    if (time >= next_ || (isShown_ && done_ >= total_)) {
        show(time);
    }
}

void Progress::show(TimePoint time) {
    // The line's rest is erased: the line before may have been longer.
    std::string text = "\r";
    text.append(line(time - begin_)).append("\033[K");
    writeFully(STDERR_FILENO, text);
    isShown_ = true;
    next_ = time + kBetweenLines;
}

std::string Progress::line(std::chrono::duration<double> elapsed) const {
    const double share = std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_));
    const auto full = static_cast<std::size_t>(share * kBarWidth);
    const double perSecond = static_cast<double>(done_) / elapsed.count();
    const double left = (1 - share) * static_cast<double>(total_) / std::max(perSecond, 1e-9);
    return step_ + " [" + std::string(full, '#') + std::string(kBarWidth - full, '.') + "] " +
           std::to_string(static_cast<int>(share * 100)) + " %, " + rateText(perSecond) + ", " +
           timeText(left) + " left";
}

std::string Progress::rateText(double perSecond) const {
    std::array<char, 32> text{};
    if (unit_ == ProgressUnit::Items) {
        std::snprintf(text.data(), text.size(), "%.0f/s", perSecond);
    } else {
        std::snprintf(text.data(), text.size(), "%.1f MiB/s", perSecond / (1024 * 1024));
    }
    return text.data();
}

}  // namespace vtek
