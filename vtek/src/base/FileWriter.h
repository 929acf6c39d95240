#pragma once

#include <cstdint>
#include <string_view>

namespace vtek {

/** Writes a file sequentially and starts the write to disk while more data arrives. */
class FileWriter {
public:
    /** @param fd  a new file; remains owned by the caller */
    explicit FileWriter(int fd) : fd_(fd) {}

    /** Appends the data. @return false with errno set on failure */
    bool write(std::string_view data);

private:
    void beginWriteOut();

    int fd_;
    std::uint64_t written_ = 0;
    std::uint64_t begun_ = 0;  ///< offset up to which the kernel was told to write out
};

}  // namespace vtek
