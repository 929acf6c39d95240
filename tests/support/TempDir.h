#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace test {

/** A new empty folder that is removed with its content when the object dies; a forked child that leaves
 * through exit does not remove it. */
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

private:
    std::filesystem::path path_;
    pid_t maker_;
};

/** Everything the file holds; throws std::runtime_error when it cannot be read. */
std::string readFile(const std::filesystem::path& file);

/** Makes or replaces the file; throws std::runtime_error when it cannot be written. */
void writeFile(const std::filesystem::path& file, std::string_view content);

}  // namespace test
