#pragma once

#include "base/File.h"
#include "base/Result.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace vtek {

/** The folder of the simulated chassis: $VTEK_ROOT, which a privileged program ignores, else /var/lib/vtek.
 */
std::string rootPathFromEnvironment();

/** Whether the state of a file or folder keeps everybody but root and the caller from changing it. */
Status checkOwner(const struct stat& info, uid_t caller, const std::string& name, ErrorNumber onFailure);

/**
 * One simulated chassis on disk, opened only when nobody but root and the caller can tamper with it.
 *
 * Layout: state.db, trust/, repository/<generation>/, staging/, log/, lock.
 */
class Root {
public:
    /**
     * Opens a root. The path may not lead through links; the root and every folder above it must belong to
     * root or the caller and be closed to other writers; above the root, sticky folders may be open to all.
     *
     * @param caller  the user that may own the root beside user 0
     */
    static Result<Root> open(const std::string& path, uid_t caller);

    /** Makes the folder and the folders in it, then opens it. An existing empty folder will do. */
    static Result<Root> create(const std::string& path, uid_t caller);

    /** The absolute path, without links. */
    const std::string& path() const { return path_; }
    int folder() const { return folder_.get(); }
    uid_t caller() const { return caller_; }

    /** Opens one of the root's own folders after the same checks; the number is for a failure. */
    Result<UniqueFd> openFolder(const char* name, ErrorNumber onFailure) const;

    /** Whether a file may be missing. */
    enum class Presence { Required, Optional };

    /** Refuses a file of the root that is a link, no plain file, or open to other writers. */
    Status checkFile(const std::string& name, Presence presence, ErrorNumber onFailure) const;

private:
    Root(std::string path, UniqueFd folder, uid_t caller)
        : path_(std::move(path)), folder_(std::move(folder)), caller_(caller) {}

    std::string path_;
    UniqueFd folder_;
    uid_t caller_;
};

inline constexpr const char* kStateFile = "state.db";
inline constexpr const char* kTrustFolder = "trust";
inline constexpr const char* kRepositoryFolder = "repository";
inline constexpr const char* kStagingFolder = "staging";
inline constexpr const char* kLogFolder = "log";
inline constexpr const char* kLockFile = "lock";

}  // namespace vtek
