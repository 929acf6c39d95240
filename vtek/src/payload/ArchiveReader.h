#pragma once

#include "base/Result.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vtek {

/** One entry of an archive. Nothing in it is checked. */
struct ArchiveEntry {
    enum class Kind { File, Folder, Other };
    std::string name;
    Kind kind;                          ///< Other: links, devices, FIFOs, sockets
    std::optional<std::uint64_t> size;  ///< as declared, in bytes; empty when the archive declares none
};

/**
 * Reads the entries of an archive: zip with stored or deflated entries, tar, or tar.gz. The first bytes
 * decide which. All other formats and filters are off, also those that would start a program.
 */
class ArchiveReader {
public:
    /**
     * Opens an archive at the start of a file.
     *
     * @param fd          stays the caller's and must outlive the reader; its offset is neither used nor moved
     * @param length      of the archive in bytes; later bytes are not read
     * @param maxEntries  a zip whose directory declares more entries is refused before the directory is read
     */
    static Result<ArchiveReader> open(int fd, std::uint64_t length, std::uint64_t maxEntries);

    /**
     * Opens an archive of which only the first bytes are in memory, to read its first entries. Call only
     * next() and read().
     *
     * @param start  stays the caller's and must outlive the reader
     */
    static Result<ArchiveReader> openStart(std::string_view start);

    ArchiveReader(ArchiveReader&&) noexcept;
    ~ArchiveReader();

    /** Moves to the next entry; empty at the end of the archive. */
    Result<std::optional<ArchiveEntry>> next();

    /** Reads the next bytes of the current entry. @return how many; 0 at its end */
    Result<std::size_t> read(char* buffer, std::size_t size);

    /** Whether next() seeks past an entry's content instead of reading it: only in a zip. */
    bool skipsContent() const;

    /** The number of archive bytes read since the last call. */
    std::uint64_t newBytesRead();

    /** The bytes that the archive as a whole has been decompressed to so far; 0 for a zip, which compresses
     * each entry on its own. */
    std::uint64_t decompressed() const;

private:
    struct Source;
    struct Free {
        void operator()(archive* reader) const { archive_read_free(reader); }
    };
    using ReaderPtr = std::unique_ptr<archive, Free>;

    ArchiveReader(std::unique_ptr<Source> source, ReaderPtr reader);

    static ReaderPtr makeReader();
    Error invalid() const;
    Status checkMethod() const;

    std::unique_ptr<Source> source_;  ///< null for openStart; destroyed after the reader that points to it
    ReaderPtr reader_;
};

}  // namespace vtek
