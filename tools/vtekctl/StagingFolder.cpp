#include "StagingFolder.h"

#include "base/File.h"
#include "base/Tree.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>

#include <cerrno>

namespace vtekctl {
namespace {

using vtek::ErrorNumber;
using vtek::systemError;
namespace fs = std::filesystem;

fs::path folderOf(const fs::path& target) {
    return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

}  // namespace

vtek::Result<StagingFolder> StagingFolder::nextTo(const fs::path& target) {
    std::string path = (folderOf(target) / ".vtekctl-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        return systemError(ErrorNumber::InvalidArgument, "write to " + folderOf(target).string());
    }
    return StagingFolder(path);
}

StagingFolder::~StagingFolder() {
    std::error_code ignored;
    if (!path_.empty()) {
        fs::remove_all(path_, ignored);
    }
}

vtek::Status publish(const fs::path& made, const fs::path& target, Existing existing) {
    VTEK_TRY(
        vtek::syncTree(vtek::kWorkingFolder, made.string(), target.string(), ErrorNumber::InvalidArgument));
    const fs::file_status present = fs::symlink_status(target);
    const bool toEmptyFolder = fs::is_directory(made) && fs::is_directory(present);
    const bool toOldFile = existing == Existing::Replaced && fs::is_regular_file(present);
    const unsigned int flags = toOldFile || toEmptyFolder ? 0 : RENAME_NOREPLACE;
    if (renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, target.c_str(), flags) != 0) {
        return systemError(ErrorNumber::InvalidArgument, "make " + target.string());
    }
    const vtek::UniqueFd folder =
        vtek::openAt(vtek::kWorkingFolder, folderOf(target).string(), O_RDONLY | O_DIRECTORY);
    if (!folder || !vtek::syncFd(folder.get())) {
        return systemError(ErrorNumber::InvalidArgument, "sync " + folderOf(target).string());
    }
    return {};
}

}  // namespace vtekctl
