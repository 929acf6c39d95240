#pragma once

#include "base/File.h"
#include "payload/EntryExtractor.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace vtek {

/** Large entries of an archive, which two threads write, each the next one that nobody has begun. */
class LargeEntries {
public:
    using OpenArchive = std::function<Result<ArchiveReader>()>;

    /** @param open    opens the archive anew, for each thread; may be called by both at once
     *  @param budget  outlives the entries, as whatever open needs does */
    LargeEntries(OpenArchive open, UnpackBudget& budget);

    /**
     * Takes an entry to write later; when there are many, writes them.
     *
     * @param number  of the entry, from 1; larger each time
     * @param file    a new one, open for writing
     */
    Status add(std::uint64_t number, const ArchiveEntry& entry, UniqueFd file);

    /** Writes all entries that were taken, with one thread where no other is to be had. @return the failure
     * of the first that has failed */
    Status write();

private:
    struct Item {
        std::uint64_t number;
        ArchiveEntry entry;
        UniqueFd file;
        Status outcome;
    };
    using Writer = std::optional<EntryExtractor>;

    void writeItems(Writer& writer);
    Status writeItem(const Item& item, Writer& writer);

    OpenArchive open_;
    UnpackBudget& budget_;
    std::vector<Item> items_;
    std::atomic<std::size_t> next_ = 0;
    Writer mine_;
    Writer others_;
};

}  // namespace vtek
