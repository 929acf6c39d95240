#pragma once

#include "base/Result.h"

#include <filesystem>
#include <string>

namespace vtekctl {

/**
 * A new private folder next to a target, in which the target is made, so that it appears whole or not at all.
 * The destructor removes the folder and everything left in it.
 */
class StagingFolder {
public:
    static vtek::Result<StagingFolder> nextTo(const std::filesystem::path& target);

    StagingFolder(StagingFolder&& other) noexcept : path_(std::exchange(other.path_, {})) {}
    StagingFolder& operator=(StagingFolder&&) = delete;
    ~StagingFolder();

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    explicit StagingFolder(std::filesystem::path path) : path_(std::move(path)) {}

    std::filesystem::path path_;
};

/** Whether an existing regular file may be replaced; a link or a device never is. A folder always replaces an
 * empty folder. */
enum class Existing { Kept, Replaced };

/** Moves a finished file or folder to its place, in one step and durably. */
vtek::Status publish(const std::filesystem::path& made, const std::filesystem::path& target,
                     Existing existing);

}  // namespace vtekctl
