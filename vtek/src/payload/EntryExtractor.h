#pragma once

#include "payload/ArchiveReader.h"
#include "payload/UnpackBudget.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vtek {

/** Extracts entries of one archive to open files, in the archive's order. Entries may be skipped. */
class EntryExtractor {
public:
    /** @param budget  shared by all extractors of the archive; must outlive this one */
    EntryExtractor(ArchiveReader reader, UnpackBudget& budget);

    /** Moves to the next entry; empty at the end of the archive. */
    Result<std::optional<ArchiveEntry>> next();

    /** The number of the current entry, from 1; 0 before the first. */
    std::uint64_t number() const { return number_; }

    /**
     * Writes the content of the current entry.
     *
     * @param file  a new file, open for writing; stays the caller's
     * @param copy  also receives the content; stops growing once it exceeds kManifestBound; null for none
     */
    Status extract(const ArchiveEntry& entry, int file, std::string* copy);

private:
    ArchiveReader reader_;
    UnpackBudget& budget_;
    std::uint64_t number_ = 0;
    std::vector<char> block_;
};

}  // namespace vtek
