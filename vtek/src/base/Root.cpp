#include "base/Root.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace vtek {

namespace {

constexpr const char* kDefaultRoot = "/var/lib/vtek";
constexpr mode_t kModeBits = 07777;  // of st_mode; the others are the type of the file

Result<std::filesystem::path> absolutePath(const std::string& path) {
    std::error_code failure;
    auto absolute = std::filesystem::absolute(path, failure).lexically_normal();
    if (path.empty() || failure) {
        return Error{ErrorNumber::RootMissing, "not a usable path for the root: '" + path + "'"};
    }
    if (!absolute.has_filename()) {
        absolute = absolute.parent_path();
    }
    return absolute;
}

/** The name of a root in the folder above it. */
std::string nameOf(const std::filesystem::path& root) {
    return root.has_filename() ? root.filename().string() : ".";
}

/** Checks a folder above the root. A sticky one may be writable by all: nobody can rename what others own. */
Status checkParent(struct stat info, uid_t caller, const std::string& name) {
    if ((info.st_mode & S_ISVTX) != 0) {
        info.st_mode &= static_cast<mode_t>(~(S_IWGRP | S_IWOTH));
    }
    return checkOwner(info, caller, name, ErrorNumber::RootUnsafe);
}

Error cannotEnter(const std::string& name) {
    const bool missing = errno == ENOENT;
    const bool link = errno == ELOOP || errno == ENOTDIR;
    const Error error = systemError(missing ? ErrorNumber::RootMissing : ErrorNumber::RootUnsafe, name);
    return link ? Error{error.number, name + " is a symlink or not a folder"} : error;
}

/**
 * Opens the folder above a root. Opens one name after the other, each relative to the checked folder above
 * it, so that nobody can swap a folder between its check and its use.
 */
Result<UniqueFd> openParent(const std::filesystem::path& root, uid_t caller) {
    // O_PATH needs no read access, which a folder above may deny.
    UniqueFd folder = openAt(kWorkingFolder, "/", O_PATH | O_DIRECTORY);
    std::filesystem::path reached = "/";
    const std::filesystem::path names = root.relative_path().parent_path();
    for (auto name = names.begin();; ++name) {
        struct stat info {};
        if (!folder || fstat(folder.get(), &info) != 0) {
            return cannotEnter(reached.string());
        }
        VTEK_TRY(checkParent(info, caller, reached.string()));
        if (name == names.end()) {
            return folder;
        }
        reached /= *name;
        folder = openAt(folder.get(), name->string(), O_PATH | O_DIRECTORY | O_NOFOLLOW);
    }
}

/** The error, from errno, of a folder of a new root. */
Error notMade(const std::string& path) {
    const bool isParentMissing = errno == ENOENT;
    Error error = systemError(ErrorNumber::RootMissing, "make " + path);
    error.remedy = isParentMissing
                       ? "make the folder above it first"
                       : "run the command as a user with the right to do this, or name another folder";
    return error;
}

}  // namespace

std::string rootPathFromEnvironment() {
    // secure_getenv: whoever starts a set-user-ID program must not choose its root.
    const char* path = secure_getenv("VTEK_ROOT");
    return path != nullptr && *path != '\0' ? path : kDefaultRoot;
}

Status checkOwner(const struct stat& info, uid_t caller, const std::string& name, ErrorNumber onFailure) {
    if (info.st_uid != 0 && info.st_uid != caller) {
        return Error{onFailure, name + " belongs to user " + std::to_string(info.st_uid)};
    }
    if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return Error{onFailure, name + " is writable by others"};
    }
    return {};
}

Result<Root> Root::open(const std::string& path, uid_t caller) {
    VTEK_ASSIGN(const std::filesystem::path absolute, absolutePath(path));
    VTEK_ASSIGN(const UniqueFd parent, openParent(absolute, caller));
    // Listing and syncing the root need a readable descriptor, which O_PATH does not give.
    UniqueFd readable = openAt(parent.get(), nameOf(absolute), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    struct stat info {};
    if (!readable || fstat(readable.get(), &info) != 0) {
        return cannotEnter(absolute.string());
    }
    VTEK_TRY(checkOwner(info, caller, absolute.string(), ErrorNumber::RootUnsafe));
    return Root(absolute.string(), std::move(readable), caller);
}

Result<Root> Root::create(const std::string& path, uid_t caller) {
    VTEK_ASSIGN(const std::filesystem::path absolute, absolutePath(path));
    // Without a folder above it, the root cannot be made; that is not a matter of safety.
    if (!openAt(kWorkingFolder, absolute.parent_path().string(), O_PATH | O_DIRECTORY)) {
        return notMade(absolute.string());
    }
    VTEK_ASSIGN(const UniqueFd parent, openParent(absolute, caller));
    if (!makeFolderAt(parent.get(), nameOf(absolute), kReadableFolder) && errno != EEXIST) {
        return notMade(absolute.string());
    }
    VTEK_ASSIGN(Root root, open(absolute.string(), caller));
    std::vector<std::string> names;
    if (!listFolder(root.folder(), names)) {
        return systemError(ErrorNumber::RootMissing, "list " + root.path());
    }
    if (!names.empty()) {
        return Error{ErrorNumber::InvalidArgument, root.path() + " is not empty",
                     "use it as it is if it is a root, or name another folder"};
    }
    const std::pair<const char*, mode_t> folders[] = {{kTrustFolder, kReadableFolder},
                                                      {kRepositoryFolder, kReadableFolder},
                                                      {kStagingFolder, kPrivateFolder},
                                                      {kLogFolder, kReadableFolder}};
    for (const auto& [name, mode] : folders) {
        if (!makeFolderAt(root.folder(), name, mode)) {
            return notMade(root.path() + "/" + name);
        }
    }
    return root;
}

Result<UniqueFd> Root::openFolder(const char* name, ErrorNumber onFailure) const {
    const std::string shown = path_ + "/" + name;
    UniqueFd folder = openAt(folder_.get(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    struct stat info {};
    if (!folder || fstat(folder.get(), &info) != 0) {
        return systemError(onFailure, "open " + shown);
    }
    VTEK_TRY(checkOwner(info, caller_, shown, onFailure));
    return folder;
}

Status Root::checkFile(const std::string& name, Presence presence, ErrorNumber onFailure) const {
    const auto mode = modeOf(name, presence, onFailure);
    return mode ? Status() : Status(mode.error());
}

Status Root::makePrivate(const std::string& name, Presence presence, ErrorNumber onFailure) const {
    VTEK_ASSIGN(const std::optional<mode_t> mode, modeOf(name, presence, onFailure));
    // By name, because the mode may keep even its owner from opening it. Only the owner of the root and user
    // 0 can put another file in its place.
    if (mode && *mode != kPrivateFile && fchmodat(folder_.get(), name.c_str(), kPrivateFile, 0) != 0) {
        return systemError(ErrorNumber::RepositoryUnwritable, "change the mode of " + path_ + "/" + name);
    }
    return {};
}

Result<std::optional<mode_t>> Root::modeOf(const std::string& name, Presence presence,
                                           ErrorNumber onFailure) const {
    const std::string shown = path_ + "/" + name;
    struct stat info {};
    if (fstatat(folder_.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno == ENOENT && presence == Presence::Optional) {
            return std::optional<mode_t>();
        }
        return systemError(onFailure, shown);
    }
    // A second hard link is a name outside the checked folders, under which the file can be opened or kept.
    if (!S_ISREG(info.st_mode) || info.st_nlink != 1) {
        return Error{onFailure, shown + " is a link or not a regular file"};
    }
    VTEK_TRY(checkOwner(info, caller_, shown, onFailure));
    return std::optional(info.st_mode & kModeBits);
}

}  // namespace vtek
