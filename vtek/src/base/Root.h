#pragma once

#include "base/File.h"
#include "base/Result.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <string>

namespace vtek {

/**
 * The layout of a root: the state (SQLite), the trusted certificates, one folder per firmware generation, the
 * update in progress, the log, and the lock of the process that changes the repository.
 */
inline constexpr const char* kStateFile = "state.db";
inline constexpr const char* kTrustFolder = "trust";
inline constexpr const char* kRepositoryFolder = "repository";
inline constexpr const char* kStagingFolder = "staging";
inline constexpr const char* kLogFolder = "log";
inline constexpr const char* kLockFile = "lock";

/** How the name of a file begins that will replace a trusted one. Its writer locks it until it is renamed. */
inline constexpr const char* kUnfinishedTrust = ".trust-";

/** The modes of its folders: staging is private until its content is published. */
inline constexpr mode_t kPrivateFolder = 0700;
inline constexpr mode_t kReadableFolder = 0755;

/** The mode of the files that processes lock: a user who can open a file can lock it. */
inline constexpr mode_t kPrivateFile = 0600;

/** The path of the root: $VTEK_ROOT, else /var/lib/vtek. A privileged program ignores the variable. */
std::string rootPathFromEnvironment();

/** Checks owner and mode: only root and the caller may be able to change the file or folder. */
Status checkOwner(const struct stat& info, uid_t caller, const std::string& name, ErrorNumber onFailure);

/**
 * The folder of one simulated chassis. Opening it guarantees that only root and the caller can tamper with
 * it.
 */
class Root {
public:
    /**
     * Opens a root. Refuses symlinks anywhere in the path. Refuses folders in the path that belong to anyone
     * but root and the caller, or that others may write to; above the root, sticky folders such as /tmp are
     * accepted.
     *
     * @param caller  the user who may own the root, besides user 0
     */
    static Result<Root> open(const std::string& path, uid_t caller);

    /** Creates a root and its folders and opens it. The folder must not exist yet, or be empty. */
    static Result<Root> create(const std::string& path, uid_t caller);

    /** The absolute path, free of symlinks. */
    const std::string& path() const { return path_; }
    int folder() const { return folder_.get(); }
    uid_t caller() const { return caller_; }

    /** Opens one of the root's folders after the same checks. @param onFailure  the error number to report */
    Result<UniqueFd> openFolder(const char* name, ErrorNumber onFailure) const;

    /** Whether a file may be missing. */
    enum class Presence { Required, Optional };

    /** Refuses a file in the root that is not a regular file, has several hard links, or is writable by
     * others. */
    Status checkFile(const std::string& name, Presence presence, ErrorNumber onFailure) const;

    /** Refuses the same files, and gives the file the mode kPrivateFile. Fails with RepositoryUnwritable if
     * the mode cannot be changed. */
    Status makePrivate(const std::string& name, Presence presence, ErrorNumber onFailure) const;

private:
    Root(std::string path, UniqueFd folder, uid_t caller)
        : path_(std::move(path)), folder_(std::move(folder)), caller_(caller) {}

    /** Checks a file as checkFile does. @return its mode; empty if it is missing */
    Result<std::optional<mode_t>> modeOf(const std::string& name, Presence presence,
                                         ErrorNumber onFailure) const;

    std::string path_;
    UniqueFd folder_;
    uid_t caller_;
};

}  // namespace vtek
