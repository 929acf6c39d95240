#pragma once

#include "payload/ArchiveReader.h"

#include <map>
#include <string>
#include <string_view>

namespace vtek {

/**
 * Whether a relative path consists of plain names: printable ASCII without a backslash, neither "." nor "..",
 * at most 255 bytes per name and 1024 in all.
 */
bool isPlainPath(std::string_view path);

/** The part of a path before its last "/"; empty when there is none. */
std::string_view parentOf(std::string_view path);

/** The names that the entries of one archive have used so far. */
class EntryNames {
public:
    /**
     * Claims the name of an entry and the folders above it. Names that differ only in case are the same.
     *
     * @return false when another entry has the name; a folder may be claimed again with the same spelling
     */
    bool claim(const ArchiveEntry& entry);

private:
    std::map<std::string, std::string> spellings_;  ///< name in lower case to its first spelling
};

}  // namespace vtek
