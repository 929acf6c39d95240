#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace vtek {

/** Receives the number of bytes processed since the last call. */
using ByteCounter = std::function<void(std::uint64_t)>;

/** What a step of the work consists of. */
enum class ProgressUnit { Bytes, Items };

/**
 * Shows the progress of a long step on standard error: a bar, the share, the rate and the time that is left.
 * Shows nothing if standard error is no terminal, if $VTEK_QUIET is set, or in the step's first half second.
 */
class Progress {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /**
     * @param step   a verb for the beginning of the line, of at most 10 characters
     * @param total  number of bytes or items that the step will process
     * @param now    the clock
     */
    Progress(std::string step, std::uint64_t total, ProgressUnit unit = ProgressUnit::Bytes,
             TimePoint (*now)() = std::chrono::steady_clock::now);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** Counts what has been processed since the last call; by one thread at a time. */
    void add(std::uint64_t count);

private:
    void show(TimePoint time);
    std::string line(std::chrono::duration<double> elapsed) const;
    std::string rateText(double perSecond) const;

    std::string step_;
    std::uint64_t total_;
    ProgressUnit unit_;
    TimePoint (*now_)();
    TimePoint begin_;
    TimePoint next_;  ///< when to show the next line
    std::uint64_t done_ = 0;
    bool isVisible_;
    bool isShown_ = false;
};

}  // namespace vtek
