#pragma once

#include <string>

namespace vtek {

/**
 * Removes a tree, never through a link; a tree that is not there is removed already.
 *
 * @param folder  the folder that holds the tree
 * @return false with errno set on failure
 */
bool removeTree(int folder, const std::string& name);

}  // namespace vtek
