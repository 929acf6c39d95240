#include "base/Tree.h"

#include "base/File.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <future>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace vtek {

namespace {

// A disk empties its cache once for all syncs that wait at the same time.
constexpr std::size_t kSyncsAtOnce = 16;

// O_NOFOLLOW: a tree of ours holds no symlinks, so one is a failure. O_NONBLOCK: a FIFO must not block.
constexpr int kSyncFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK;

/** Adds a file, or a folder with all that it holds. @return false with errno set on failure */
bool listTree(int folder, const std::string& path, std::vector<std::string>& paths) {
    const UniqueFd opened = openAt(folder, path, kSyncFlags);
    if (!opened) {
        return false;
    }
    paths.push_back(path);
    std::vector<std::string> names;
    const bool isFolder = listFolder(opened.get(), names);
    return (isFolder || errno == ENOTDIR) && std::all_of(names.begin(), names.end(), [&](const auto& name) {
               return listTree(folder, path + "/" + name, paths);
           });
}

/** Syncs the files and folders of one list, in several threads. */
class ParallelSync {
public:
    ParallelSync(int folder, const std::vector<std::string>& paths) : folder_(folder), paths_(paths) {}

    /** Says which path could not be synced, and why. */
    struct Failure {
        std::string path;
        int number;
    };

    std::optional<Failure> run() {
        std::vector<std::future<std::optional<Failure>>> others;
        try {
            while (others.size() + 1 < std::min(kSyncsAtOnce, paths_.size())) {
                others.push_back(std::async(std::launch::async, [this] { return syncNext(); }));
            }
        } catch (const std::system_error&) {
            // No more threads can be started: those that run do all the work.
        }
        std::optional<Failure> failure = syncNext();
        for (auto& other : others) {
            std::optional<Failure> found = other.get();
            failure = failure ? failure : std::move(found);
        }
        return failure;
    }

private:
    /** Syncs one path after the other, until one fails in any thread. */
    std::optional<Failure> syncNext() {
        for (std::size_t i = next_++; i < paths_.size(); i = next_++) {
            const UniqueFd file = openAt(folder_, paths_[i], kSyncFlags);
            if (!file || !syncFd(file.get())) {
                const int number = errno;
                next_ = paths_.size();
                return Failure{paths_[i], number};
            }
        }
        return std::nullopt;
    }

    int folder_;
    const std::vector<std::string>& paths_;
    std::atomic<std::size_t> next_ = 0;  ///< index of the next path that has not been started
};

}  // namespace

Status syncTree(int folder, const std::string& name, const std::string& shown, ErrorNumber onFailure) {
    std::vector<std::string> paths;
    if (!listTree(folder, name, paths)) {
        return systemError(onFailure, "list " + shown);
    }
    const auto failure = ParallelSync(folder, paths).run();
    if (failure) {
        errno = failure->number;
        return systemError(onFailure, "sync " + shown + failure->path.substr(name.size()));
    }
    return {};
}

bool removeTree(int folder, const std::string& name) {
    // Unlinking first removes a symlink itself, so that what it points to is never entered.
    if (unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT) {
        return true;
    }
    if (errno != EISDIR) {
        return false;
    }
    const UniqueFd opened = openAt(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    std::vector<std::string> names;
    return opened && listFolder(opened.get(), names) &&
           std::all_of(names.begin(), names.end(),
                       [&](const auto& inner) { return removeTree(opened.get(), inner); }) &&
           unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0;
}

}  // namespace vtek
