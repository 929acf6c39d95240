#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vtek {

/** Receives the number of bytes processed since the last call. */
using ByteCounter = std::function<void(std::uint64_t)>;

/** Shows on standard error how far a long step is, when that is a terminal; else says nothing. */
class Progress {
public:
    /** @param total  the bytes that the step will take */
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
