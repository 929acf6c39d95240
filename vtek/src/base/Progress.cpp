#include "base/Progress.h"

#include "base/File.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace vtek {

Progress::Progress(std::string step, std::uint64_t total)
    : step_(std::move(step)),
      total_(std::max<std::uint64_t>(total, 1)),
      visible_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (visible_ && shownPercent_ > 0) {
        writeFully(STDERR_FILENO, "\n");
    }
}

void Progress::add(std::uint64_t bytes) {
    done_ += bytes;
    // Divides first, since done * 100 could overflow; the + 1 keeps a small total from dividing by 0.
    const std::uint64_t percent = std::min<std::uint64_t>(100, done_ / (total_ / 100 + 1));
    if (visible_ && percent > shownPercent_) {
        shownPercent_ = percent;
        writeFully(STDERR_FILENO, "\r" + step_ + ": " + std::to_string(percent) + " %");
    }
}

}  // namespace vtek
