#pragma once

#include "payload/Unpack.h"

#include <string>
#include <string_view>

namespace vtek {

/**
 * Makes files and folders beneath one folder and never anywhere else: relative paths only, and no link on the
 * way is ever followed.
 */
class ConfinedFolder : public UnpackTarget {
public:
    /** How a path is walked: by the kernel in one call, or folder by folder where it cannot. */
    enum class Method { Kernel, Steps };

    /** @param folder  stays the caller's and must live as long as this object */
    explicit ConfinedFolder(int folder, Method method = Method::Openat2) : folder_(folder), method_(method) {}

    /** Opens a folder; an empty path is the folder itself. @return empty on failure, with errno set */
    UniqueFd openFolder(const std::string& path);

    /** Makes a folder and those above it; existing folders will do. @return false with errno set on failure
     */
    bool makeFolders(const std::string& path) override;

    /** Makes a new file for reading and writing; an existing one is a failure. */
    UniqueFd createFile(const std::string& path) override;

    /** What is used: starts as asked for, and becomes Steps when the kernel does not offer the other. */
    Method method() const { return method_; }

private:
    UniqueFd open(const std::string& path, int flags, mode_t mode);

    int folder_;
    Method method_;
};

/** The part before the last "/", or nothing. */
std::string_view parentOf(std::string_view path);

}  // namespace vtek
