#pragma once

#include "base/Result.h"

#include <filesystem>
#include <string>

namespace tools {

/**
 * A new private folder beside a target, in which the target is put together. It goes with all that is left in
 * it, so that a target appears whole or not at all.
 */
class Workshop {
public:
    static vtek::Result<Workshop> beside(const std::filesystem::path& target);

    Workshop(Workshop&& other) noexcept : path_(std::exchange(other.path_, {})) {}
    Workshop& operator=(Workshop&&) = delete;
    ~Workshop();

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    explicit Workshop(std::filesystem::path path) : path_(std::move(path)) {}

    std::filesystem::path path_;
};

/** Whether a plain file that is there already may go; a link or a device never may. An empty folder always
 * may, where a folder takes its place. */
enum class Existing { Kept, Replaced };

/** Moves a finished file or folder to its place, at once and durably. */
vtek::Status publish(const std::filesystem::path& made, const std::filesystem::path& target,
                     Existing existing);

}  // namespace tools
