#include "ZipDirectory.h"

#include "File.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace vtek {

namespace {

// The end record: signature, 2 disk numbers, entries on this disk, entries, directory size, its offset,
// comment.
constexpr std::string_view kLocalHeader = "PK\3\4";
constexpr std::string_view kEndRecord = "PK\5\6";
constexpr std::size_t kEndRecordLength = 22;
constexpr std::size_t kCommentBound = 65535;
constexpr std::size_t kEntriesAt = 10;
constexpr std::size_t kDirectorySizeAt = 12;
constexpr std::uint64_t kDirectoryBytesPerEntry = 1024;

std::uint64_t littleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte) {
        value = value << 8 | static_cast<unsigned char>(*byte);
    }
    return value;
}

}  // namespace

bool beginsZip(std::string_view start) {
    return start.starts_with(kLocalHeader);
}

Status checkZipDirectory(int fd, std::uint64_t length, std::uint64_t entryBound) {
    const auto tailLength =
        static_cast<std::size_t>(std::min<std::uint64_t>(length, kEndRecordLength + kCommentBound));
    std::string tail(tailLength, '\0');
    if (readFullyAt(fd, tail.data(), tail.size(), length - tailLength) < 0) {
        return systemError(ErrorNumber::ArchiveInvalid, "read the archive");
    }
    const auto end = tail.rfind(kEndRecord);
    if (end == std::string::npos || tail.size() - end < kEndRecordLength) {
        return {};
    }
    const std::string_view record = std::string_view(tail).substr(end);
    const std::uint64_t entries = littleEndian(record.substr(kEntriesAt, 2));
    const std::uint64_t bytes = littleEndian(record.substr(kDirectorySizeAt, 4));
    if (entries > entryBound || bytes > entryBound * kDirectoryBytesPerEntry) {
        return Error{ErrorNumber::ArchiveTooLarge, "archive: its directory is beyond the bounds"};
    }
    return {};
}

}  // namespace vtek
