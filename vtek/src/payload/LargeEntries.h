#pragma once

#include "base/File.h"
#include "payload/EntryExtractor.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace vtek {

/**
 * Collects the large entries of an archive and extracts them in two threads. Each thread takes the next entry
 * that has not been started, and reads the archive with its own reader.
 */
class LargeEntries {
public:
    using OpenArchive = std::function<Result<ArchiveReader>()>;

    /**
     * @param open    opens the archive again; both threads may call it at the same time
     * @param budget  must outlive this object
     */
    LargeEntries(OpenArchive open, UnpackBudget& budget);

    /**
     * Adds an entry. Extracts all entries when too many files would be open.
     *
     * @param number  of the entry, from 1; must be larger than the last one
     * @param file    a new file, open for writing
     */
    Status add(std::uint64_t number, const ArchiveEntry& entry, UniqueFd file);

    /**
     * Extracts all entries that were added. If no thread can be started, the caller's does all the work.
     *
     * @return the failure that comes first in the archive's order; no entry is started after a failure
     */
    Status extract();

private:
    struct Item {
        std::uint64_t number;
        ArchiveEntry entry;
        UniqueFd file;
        Status outcome;
    };
    using Extractor = std::optional<EntryExtractor>;

    void extractItems(Extractor& extractor);
    Status extractItem(const Item& item, Extractor& extractor);

    OpenArchive open_;
    UnpackBudget& budget_;
    std::vector<Item> items_;
    std::atomic<std::size_t> next_ = 0;  ///< index of the next item that has not been started
    Extractor own_;                      ///< of the caller's thread
    Extractor second_;                   ///< of the other thread
};

}  // namespace vtek
