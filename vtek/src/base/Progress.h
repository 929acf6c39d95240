#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vtek {

/** Receives the number of bytes processed since the last call. */
using ByteCounter = std::function<void(std::uint64_t)>;

/** Shows the progress of a long step on standard error, if that is a terminal. */
class Progress {
public:
    /** @param total  number of bytes that the step will process */
    Progress(std::string step, std::uint64_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void add(std::uint64_t bytes);

private:
    std::string step_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    std::uint64_t shownPercent_ = 0;
    bool visible_;
};

}  // namespace vtek
