#include "payload/ArchiveReader.h"

#include "base/File.h"
#include "base/Text.h"

#include <sys/types.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace vtek {

namespace {

constexpr std::string_view kGzip = "\x1F\x8B";  // the first bytes of a gzip

// A zip, all numbers little-endian. Each entry starts with a local header. The directory lists the entries
// again; behind it stands the end record:
//   0 signature, 4 number of this disk, 6 disk of the directory, 8 entries on this disk (2 bytes),
//   10 entries (2 bytes), 12 size of the directory (4 bytes), 16 its offset (4 bytes),
//   20 length of the comment (2 bytes), 22 comment
constexpr std::string_view kLocalHeader = "PK\3\4";
constexpr std::string_view kEndRecord = "PK\5\6";
constexpr std::size_t kEndRecordLength = 22;  // without the comment
constexpr std::size_t kMaxComment = 65535;    // what its 2-byte length can say
constexpr std::size_t kEntriesAt = 10;
constexpr std::size_t kDirectorySizeAt = 12;

// An entry takes 46 bytes of the directory plus its name: ample on average.
constexpr std::uint64_t kMaxDirectoryBytesPerEntry = 1024;

std::uint64_t littleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        value = value << 8 | static_cast<unsigned char>(*byte);
    }
    return value;
}

bool beginsZip(std::string_view start) {
    return start.starts_with(kLocalHeader);
}

/**
 * Refuses a zip with a huge directory. libarchive reads the whole directory into memory when it opens a zip,
 * before any limit of ours could stop it. A zip without an end record passes: libarchive refuses it.
 */
Status checkZipDirectory(int fd, std::uint64_t length, std::uint64_t maxEntries) {
    const auto tailLength =
        static_cast<std::size_t>(std::min<std::uint64_t>(length, kEndRecordLength + kMaxComment));
    std::string tail(tailLength, '\0');
    if (readFullyAt(fd, tail.data(), tail.size(), length - tailLength) < 0) {
        return systemError(ErrorNumber::ArchiveInvalid, "read the archive");
    }
    // The last one counts, for libarchive as well: an earlier one may be content.
    const auto end = tail.rfind(kEndRecord);
    if (end == std::string::npos || tail.size() - end < kEndRecordLength) {
        return {};
    }
    const std::string_view record = std::string_view(tail).substr(end);
    const std::uint64_t entries = littleEndian(record.substr(kEntriesAt, 2));
    const std::uint64_t bytes = littleEndian(record.substr(kDirectorySizeAt, 4));
    if (entries > maxEntries || bytes > maxEntries * kMaxDirectoryBytesPerEntry) {
        return Error{ErrorNumber::ArchiveTooLarge, "archive: its directory is too large"};
    }
    return {};
}

/**
 * Lets a reader take a tar, or a tar in one gzip. Left to itself, libarchive would search what it has
 * decompressed for a compression again: a gzip that unpacks to itself keeps it busy for minutes.
 *
 * @param start  the first bytes of the archive
 * @return what libarchive returns
 */
int supportTar(archive* reader, std::string_view start) {
    const int outcome = archive_read_support_format_tar(reader);
    const bool isGzip = outcome == ARCHIVE_OK && start.starts_with(kGzip);
    return isGzip ? archive_read_append_filter(reader, ARCHIVE_FILTER_GZIP) : outcome;
}

}  // namespace

/**
 * What libarchive's callbacks read from. libarchive's own file reader would read past the archive's end, and
 * move an offset that two readers share.
 */
struct ArchiveReader::Source {
    int fd;
    std::uint64_t length;  ///< of the archive; the signature follows it in the file
    bool isZip;
    std::uint64_t position = 0;
    std::uint64_t newBytesRead = 0;
    std::array<char, 64 * 1024> buffer{};

    static la_ssize_t read(archive* reader, void* data, const void** buffer) {
        auto& source = *static_cast<Source*>(data);
        const auto wanted = std::min<std::uint64_t>(source.buffer.size(), source.length - source.position);
        const ssize_t n =
            readFullyAt(source.fd, source.buffer.data(), static_cast<std::size_t>(wanted), source.position);
        if (n < 0) {
            archive_set_error(reader, errno, "read: %s", std::strerror(errno));
            return -1;
        }
        source.position += static_cast<std::uint64_t>(n);
        source.newBytesRead += static_cast<std::uint64_t>(n);
        *buffer = source.buffer.data();
        return n;
    }

    static la_int64_t skip(archive*, void* data, la_int64_t request) {
        auto& source = *static_cast<Source*>(data);
        const auto step = std::min(static_cast<std::uint64_t>(request), source.length - source.position);
        source.position += step;
        return static_cast<la_int64_t>(step);
    }

    static la_int64_t seek(archive*, void* data, la_int64_t offset, int whence) {
        auto& source = *static_cast<Source*>(data);
        const std::uint64_t base =
            whence == SEEK_SET ? 0 : (whence == SEEK_CUR ? source.position : source.length);
        const la_int64_t target = static_cast<la_int64_t>(base) + offset;
        if (target < 0 || static_cast<std::uint64_t>(target) > source.length) {
            return ARCHIVE_FATAL;
        }
        source.position = static_cast<std::uint64_t>(target);
        return target;
    }
};

ArchiveReader::ArchiveReader(std::unique_ptr<Source> source, ReaderPtr reader)
    : source_(std::move(source)), reader_(std::move(reader)) {}
ArchiveReader::ArchiveReader(ArchiveReader&&) noexcept = default;
ArchiveReader::~ArchiveReader() = default;

Result<ArchiveReader> ArchiveReader::open(int fd, std::uint64_t length, std::uint64_t maxEntries) {
    char start[kLocalHeader.size()] = {};
    if (readFullyAt(fd, start, sizeof start, 0) < 0) {
        return systemError(ErrorNumber::ArchiveInvalid, "read the archive");
    }
    const bool isZip = beginsZip({start, sizeof start});
    auto source = std::make_unique<Source>(Source{.fd = fd, .length = length, .isZip = isZip});
    ReaderPtr reader = makeReader();
    if (isZip) {
        VTEK_TRY(checkZipDirectory(fd, length, maxEntries));
    }
    // By its directory: a zip that is read as a stream may have entries that the directory does not list.
    const int prepared = isZip ? archive_read_support_format_zip_seekable(reader.get())
                               : supportTar(reader.get(), {start, sizeof start});
    archive_read_set_read_callback(reader.get(), Source::read);
    archive_read_set_skip_callback(reader.get(), Source::skip);
    archive_read_set_seek_callback(reader.get(), Source::seek);
    archive_read_set_callback_data(reader.get(), source.get());
    ArchiveReader opened(std::move(source), std::move(reader));
    if (prepared != ARCHIVE_OK || archive_read_open1(opened.reader_.get()) != ARCHIVE_OK) {
        return opened.invalid();
    }
    return opened;
}

Result<ArchiveReader> ArchiveReader::openStart(std::string_view start) {
    ArchiveReader opened(nullptr, makeReader());
    archive* const reader = opened.reader_.get();
    // The directory of a zip is at the end, which is not here. An update compares both manifests.
    const int prepared =
        beginsZip(start) ? archive_read_support_format_zip_streamable(reader) : supportTar(reader, start);
    if (prepared != ARCHIVE_OK ||
        archive_read_open_memory(reader, start.data(), start.size()) != ARCHIVE_OK) {
        return opened.invalid();
    }
    return opened;
}

ArchiveReader::ReaderPtr ArchiveReader::makeReader() {
    ReaderPtr reader(archive_read_new());
    if (!reader) {
        throw std::bad_alloc();
    }
    return reader;
}

Result<std::optional<ArchiveEntry>> ArchiveReader::next() {
    archive_entry* entry = nullptr;
    const int code = archive_read_next_header(reader_.get(), &entry);
    if (code == ARCHIVE_EOF) {
        return std::optional<ArchiveEntry>();
    }
    if (code != ARCHIVE_OK) {
        return invalid();
    }
    VTEK_TRY(checkMethod());
    const char* name = archive_entry_pathname(entry);
    if (name == nullptr || archive_entry_is_encrypted(entry) != 0) {
        return Error{ErrorNumber::ArchiveInvalid, "archive: an entry is encrypted or its name is unreadable"};
    }
    ArchiveEntry found{name, ArchiveEntry::Kind::Other, std::nullopt};
    // A hard link may carry content; libarchive then gives it the type of a regular file.
    const bool hardLink = archive_entry_hardlink(entry) != nullptr;
    if (!hardLink && archive_entry_filetype(entry) == AE_IFREG) {
        found.kind = ArchiveEntry::Kind::File;
    } else if (!hardLink && archive_entry_filetype(entry) == AE_IFDIR) {
        found.kind = ArchiveEntry::Kind::Folder;
    }
    if (archive_entry_size_is_set(entry) != 0) {
        found.size = static_cast<std::uint64_t>(archive_entry_size(entry));
    }
    return std::optional(std::move(found));
}

Result<std::size_t> ArchiveReader::read(char* buffer, std::size_t size) {
    const la_ssize_t n = archive_read_data(reader_.get(), buffer, size);
    if (n < 0) {
        return invalid();
    }
    return static_cast<std::size_t>(n);
}

bool ArchiveReader::skipsContent() const {
    return source_->isZip;
}

std::uint64_t ArchiveReader::newBytesRead() {
    return std::exchange(source_->newBytesRead, 0);
}

std::uint64_t ArchiveReader::decompressed() const {
    // Filter 0 is the last of the chain: what it returns is the tar.
    const la_int64_t bytes = source_->isZip ? 0 : archive_filter_bytes(reader_.get(), 0);
    return static_cast<std::uint64_t>(std::max<la_int64_t>(bytes, 0));
}

Error ArchiveReader::invalid() const {
    const char* reason = archive_error_string(reader_.get());
    return {ErrorNumber::ArchiveInvalid,
            std::string("archive: ") + (reason != nullptr ? reason : "unreadable")};
}

/** Refuses zip's rarer compression methods. libarchive would decompress them, but payloads do not need them.
 * It reports the method only in the name of the format. */
Status ArchiveReader::checkMethod() const {
    if ((archive_format(reader_.get()) & ARCHIVE_FORMAT_BASE_MASK) != ARCHIVE_FORMAT_ZIP) {
        return {};
    }
    const std::string_view format = archive_format_name(reader_.get());
    if (format.ends_with("(uncompressed)") || format.ends_with("(deflation)")) {
        return {};
    }
    return Error{ErrorNumber::ArchiveInvalid, "archive: neither stored nor deflated: " + std::string(format)};
}

}  // namespace vtek
