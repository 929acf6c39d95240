#pragma once

#include <cstdint>
#include <string_view>

namespace vtek {

/** Writes a file from its start to its end, and has the disk work meanwhile. */
class FileWriter {
public:
    /** @param fd  of a new file; stays the caller's */
    explicit FileWriter(int fd) : fd_(fd) {}

    /** Writes everything behind what was written before. @return false with errno set on failure */
    bool write(std::string_view data);

private:
    void beginWriteOut();

    int fd_;
    std::uint64_t written_ = 0;
    std::uint64_t begun_ = 0;  ///< up to where the kernel was told to write out
};

}  // namespace vtek
