#pragma once

#include <string>

namespace vtek {

/**
 * Syncs every file and folder of a tree to disk, each folder after its content. A symlink is a failure.
 *
 * @param folder  the folder that contains the tree
 * @return false with errno set on failure
 */
bool syncTree(int folder, const std::string& name);

/** Removes a tree without following symlinks; a missing tree is a success. @return as syncTree */
bool removeTree(int folder, const std::string& name);

}  // namespace vtek
