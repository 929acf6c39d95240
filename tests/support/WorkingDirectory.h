#pragma once

#include "TempDir.h"

#include <filesystem>

namespace test {

/** Makes a folder the working directory while it lives, then goes back to where the process was. */
class WorkingDirectory {
public:
    explicit WorkingDirectory(const std::filesystem::path& folder)
        : before_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~WorkingDirectory() { std::filesystem::current_path(before_); }
    WorkingDirectory(const WorkingDirectory&) = delete;
    WorkingDirectory& operator=(const WorkingDirectory&) = delete;

private:
    std::filesystem::path before_;
};

/** A new empty folder that is the working directory while it lives. */
class WorkingTempDir {
public:
    WorkingTempDir() : here_(folder_.path()) {}

    std::filesystem::path operator/(std::string_view name) const { return folder_ / name; }
    std::string text() const { return folder_.path().string(); }

private:
    TempDir folder_;
    WorkingDirectory here_;
};

}  // namespace test
