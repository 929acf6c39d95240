#pragma once

#include "payload/ArchiveReader.h"
#include "payload/UnpackBudget.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vtek {

/** Goes through an archive's entries, and writes those that are wanted to files. */
class EntryExtractor {
public:
    /** @param budget  shared with all writers of the archive; outlives this one */
    EntryExtractor(ArchiveReader reader, UnpackBudget& budget);

    /** Goes on to the next entry; absent at the archive's end. */
    Result<std::optional<ArchiveEntry>> next();

    /** How many entries it has gone to. */
    std::uint64_t count() const { return count_; }

    /**
     * Writes the content of the entry that it is at.
     *
     * @param file  a new one, open for writing; stays the caller's
     * @param copy  takes the content, too, up to a little more than a manifest may have; null for none
     */
    Status write(const ArchiveEntry& entry, int file, std::string* copy);

private:
    ArchiveReader reader_;
    UnpackBudget& budget_;
    std::uint64_t count_ = 0;
    std::vector<char> block_;
};

}  // namespace vtek
