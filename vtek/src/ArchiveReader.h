#pragma once

#include "Result.h"

#include <archive.h>
#include <archive_entry.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vtek {

/** One entry of an archive. */
struct ArchiveEntry {
    enum class Kind { File, Folder, Other };
    std::string name;
    Kind kind;
    std::optional<std::uint64_t> size;  ///< as declared; absent when the archive declares none
};

/**
 * Reads the entries of an archive that lies at the start of a file: zip with stored or deflated entries, tar,
 * or tar.gz. Every other format, and every filter that would start a program, is off.
 */
class ArchiveReader {
public:
    /**
     * @param fd          stays the caller's and must live as long as the reader; its offset is neither used
     * nor moved
     * @param length      of the archive in bytes; nothing behind it is read
     * @param entryBound  an archive whose own directory says that it has more is refused before it is read
     */
    static Result<ArchiveReader> open(int fd, std::uint64_t length, std::uint64_t entryBound);

    /** The next entry; absent at the archive's end. */
    Result<std::optional<ArchiveEntry>> next();

    /** The next bytes of the current entry. @return how many; 0 at its end */
    Result<std::size_t> read(char* buffer, std::size_t size);

    /** Bytes of the archive that were taken in so far. */
    std::uint64_t consumed() const;

    /** Bytes that decompression has made of them so far. */
    std::uint64_t expanded() const;

private:
    struct Source;
    struct Free {
        void operator()(archive* reader) const { archive_read_free(reader); }
    };

    ArchiveReader(std::unique_ptr<Source> source, std::unique_ptr<archive, Free> reader);

    Error invalid() const;
    Status checkMethod() const;

    std::unique_ptr<Source> source_;  // outlives the reader that points to it
    std::unique_ptr<archive, Free> reader_;

public:
    ArchiveReader(ArchiveReader&&) noexcept;
    ~ArchiveReader();
};

}  // namespace vtek
