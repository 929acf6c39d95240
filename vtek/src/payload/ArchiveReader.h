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

/** One entry of an archive. */
struct ArchiveEntry {
    enum class Kind { File, Folder, Other };
    std::string name;
    Kind kind;
    std::optional<std::uint64_t> size;  ///< as declared; absent when the archive declares none
};

/**
 * Reads the entries of an archive: zip with stored or deflated entries, tar, or tar.gz. Its first bytes tell
 * which; every other format, and every filter that would start a program, is off.
 */
class ArchiveReader {
public:
    /**
     * Opens an archive that lies at the start of a file.
     *
     * @param fd          stays the caller's and must live as long as the reader; its offset is neither used
     * nor moved
     * @param length      of the archive in bytes; nothing behind it is read
     * @param entryBound  an archive whose own directory says that it has more is refused before it is read
     */
    static Result<ArchiveReader> open(int fd, std::uint64_t length, std::uint64_t entryBound);

    /** Opens an archive of which only the first bytes are there, for its first entries; they stay the
     * caller's and must live as long as the reader. */
    static Result<ArchiveReader> openStart(std::string_view start);

    /** The next entry; absent at the archive's end. */
    Result<std::optional<ArchiveEntry>> next();

    /** The next bytes of the current entry. @return how many; 0 at its end */
    Result<std::size_t> read(char* buffer, std::size_t size);

    /** Whether next() passes over the content of an entry without reading it, as it does in a zip. */
    bool skipsContent() const;

    /** Bytes of the archive that were taken in since the last call. */
    std::uint64_t takenIn();

    /** Bytes that decompression has made of the archive as a whole so far; 0 for a zip, which is none. */
    std::uint64_t expanded() const;

private:
    struct Source;
    struct Free {
        void operator()(archive* reader) const { archive_read_free(reader); }
    };
    using ReaderPtr = std::unique_ptr<archive, Free>;

    ArchiveReader(std::unique_ptr<Source> source, ReaderPtr reader);

    static ReaderPtr makeReader();
    Status checkOpened(int outcome) const;
    Error invalid() const;
    Status checkMethod() const;

    std::unique_ptr<Source> source_;  // outlives the reader that points to it
    ReaderPtr reader_;

public:
    ArchiveReader(ArchiveReader&&) noexcept;
    ~ArchiveReader();
};

}  // namespace vtek
