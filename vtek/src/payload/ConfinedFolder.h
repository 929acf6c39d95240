#pragma once

#include "payload/Unpack.h"

#include <string>

namespace vtek {

/**
 * Creates files and folders inside one folder and never outside it. Paths are relative; a symbolic link
 * anywhere in a path is a failure, even one that stays inside.
 */
class ConfinedFolder : public UnpackTarget {
public:
    /** How a path is resolved: by openat2 in one call, or one folder at a time. */
    enum class Method { Openat2, Steps };

    /** @param folder  an open folder; stays the caller's and must outlive this object */
    explicit ConfinedFolder(int folder, Method method = Method::Openat2) : folder_(folder), method_(method) {}

    /** Opens a folder; an empty path is the folder itself. @return empty on failure, with errno set */
    UniqueFd openFolder(const std::string& path);

    /** Makes a folder and its parents; existing folders are kept. @return false with errno set on failure */
    bool makeFolders(const std::string& path) override;

    /** Creates a new file for reading and writing. @return empty on failure, with errno set: EEXIST when the
     * path exists */
    UniqueFd createFile(const std::string& path) override;

    /** Gives a name to an unnamed file on the same file system. @return false with errno set on failure */
    bool linkFile(int file, const std::string& path);

    /** The method in use: changes to Steps when the kernel does not offer openat2. */
    Method method() const { return method_; }

private:
    UniqueFd open(const std::string& path, int flags, mode_t mode);

    int folder_;
    Method method_;
};

}  // namespace vtek
