#pragma once

#include <string>

namespace vtek {

/**
 * Makes every file and folder of a tree durable, the folders after what is in them, the top one last.
 *
 * @param folder  the folder that holds the tree
 * @return false with errno set on failure
 */
bool syncTree(int folder, const std::string& name);

/** Removes a tree, never through a link; a tree that is not there is removed already. @return as syncTree */
bool removeTree(int folder, const std::string& name);

}  // namespace vtek
