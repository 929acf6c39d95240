#include "base/Tree.h"

#include "base/File.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace vtek {

bool syncTree(int folder, const std::string& name) {
    // O_NOFOLLOW: a tree of ours holds no symlinks, so one is a failure. O_NONBLOCK: a FIFO must not block.
    const UniqueFd opened = openAt(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!opened) {
        return false;
    }
    std::vector<std::string> names;
    const bool isFolder = listFolder(opened.get(), names);
    if (!isFolder && errno != ENOTDIR) {
        return false;
    }
    return std::all_of(names.begin(), names.end(),
                       [&](const auto& inner) { return syncTree(opened.get(), inner); }) &&
           syncFd(opened.get());
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
