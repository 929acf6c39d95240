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
     * @return false when another entry has the name, or a file has the name of a folder above the entry; a
     * folder may be claimed again with the same spelling
     */
    bool claim(const ArchiveEntry& entry);

    /** Claims the name of a file that is not from the archive. @return as claim */
    bool claimFile(std::string_view name) { return claimAs(name, ArchiveEntry::Kind::File); }

private:
    struct Claim {
        std::string spelling;
        ArchiveEntry::Kind kind;

        bool operator==(const Claim&) const = default;
    };

    bool claimAs(std::string_view name, ArchiveEntry::Kind kind);
    bool claimFolder(std::string_view name);

    std::map<std::string, Claim> claims_;  ///< the first claim of each name, by the name in lower case
};

}  // namespace vtek
