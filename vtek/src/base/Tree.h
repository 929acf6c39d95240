#pragma once

#include "base/Result.h"

#include <string>

namespace vtek {

/**
 * Makes every file and folder of a tree durable, and waits for nothing else: other programs may have much to
 * write on the same file system. A symlink in the tree is a failure.
 *
 * @param folder     the folder that contains the tree
 * @param shown      the name of the tree in messages
 * @param onFailure  the error number for every failure; the message names the file
 */
Status syncTree(int folder, const std::string& name, const std::string& shown, ErrorNumber onFailure);

/**
 * Removes a tree without following symlinks; a missing tree is a success.
 *
 * @param folder  the folder that contains the tree
 * @return false with errno set on failure
 */
bool removeTree(int folder, const std::string& name);

}  // namespace vtek
