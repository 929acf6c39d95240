#include "Unpack.h"

#include "Beneath.h"
#include "FileWriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <string_view>
#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kNameBound = 255;
constexpr std::size_t kPathBound = 1024;
constexpr std::uint64_t kFreeBytes = 1024 * 1024;  // a small archive may well be very compressible
constexpr std::size_t kBlockSize = 64 * 1024;

bool isPlainName(std::string_view name) {
    return !name.empty() && name.size() <= kNameBound && name != "." && name != ".." &&
           std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

/** A name as a log can show it. */
std::string shown(std::string_view name) {
    std::string text(name.substr(0, 80));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + text + "'";
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

/** One run over an archive. */
class Unpacking {
public:
    Unpacking(ArchiveReader reader, UnpackTarget& target, std::string prefix, const UnpackLimits& limits,
              const ByteCounter& counter)
        : reader_(std::move(reader)),
          target_(target),
          prefix_(std::move(prefix)),
          limits_(limits),
          counter_(counter) {}

    Result<UnpackedContent> run() {
        std::string manifest;
        for (std::uint64_t count = 0;; ++count) {
            VTEK_ASSIGN(auto entry, reader_.next());
            if (!entry) {
                break;
            }
            if (count == limits_.entries) {
                return tooLarge("more entries than allowed");
            }
            VTEK_TRY(checkEntry(*entry, count == 0));
            if (entry->kind == ArchiveEntry::Kind::Folder) {
                VTEK_TRY(makeFolder(entry->name));
            } else {
                VTEK_TRY(writeFile(*entry, count == 0 ? &manifest : nullptr));
            }
        }
        VTEK_ASSIGN(content_.manifest, parseManifest(manifest));
        return content_;
    }

private:
    static Error tooLarge(const std::string& reason) {
        return {ErrorNumber::ArchiveTooLarge, "archive: " + reason};
    }

    /** Judges an entry before anything of it is created, and takes a folder's closing "/" away. */
    Status checkEntry(ArchiveEntry& entry, bool first) {
        if (entry.kind == ArchiveEntry::Kind::Other) {
            return Error{ErrorNumber::EntryKind,
                         "archive: " + shown(entry.name) + " is no plain file and no folder"};
        }
        if (entry.kind == ArchiveEntry::Kind::Folder && entry.name.ends_with('/')) {
            entry.name.pop_back();
        }
        if (!isPlainPath(entry.name)) {
            return Error{ErrorNumber::EntryName,
                         "archive: the name " + shown(entry.name) + " is not allowed"};
        }
        if (first && (entry.name != kManifestName || entry.kind != ArchiveEntry::Kind::File)) {
            return Error{ErrorNumber::ManifestInvalid, "archive: the first entry is not manifest.xml"};
        }
        const auto depth = std::count(entry.name.begin(), entry.name.end(), '/');
        if (static_cast<std::uint64_t>(depth) > limits_.depth) {
            return tooLarge("folders too deep");
        }
        return claim(entry);
    }

    /** Refuses a name that is taken, also by one that differs only in case, and takes it and the folders
     * above. */
    Status claim(const ArchiveEntry& entry) {
        for (std::string_view above = parentOf(entry.name); !above.empty(); above = parentOf(above)) {
            const auto [taken, isNew] = taken_.try_emplace(lowered(std::string(above)), std::string(above));
            if (!isNew && taken->second != above) {
                return repeated(entry.name);
            }
        }
        const auto [taken, isNew] = taken_.try_emplace(lowered(entry.name), entry.name);
        const bool sameFolder = entry.kind == ArchiveEntry::Kind::Folder && taken->second == entry.name;
        return isNew || sameFolder ? Status() : repeated(entry.name);
    }

    static Error repeated(const std::string& name) {
        return {ErrorNumber::EntryRepeated, "archive: the name " + shown(name) + " is taken already"};
    }

    std::string placed(const std::string& name) const {
        return prefix_.empty() || name.empty() ? prefix_ + name : prefix_ + "/" + name;
    }

    Status makeFolder(const std::string& name) {
        if (!target_.makeFolders(placed(name))) {
            return systemError(ErrorNumber::UnpackFailed, "make the folder " + shown(name));
        }
        return {};
    }

    Status writeFile(const ArchiveEntry& entry, std::string* manifest) {
        VTEK_TRY(makeFolder(std::string(parentOf(entry.name))));
        const UniqueFd file = target_.createFile(placed(entry.name));
        if (!file && errno == EEXIST) {
            return repeated(entry.name);
        }
        if (!file) {
            return systemError(ErrorNumber::UnpackFailed, "make the file " + shown(entry.name));
        }
        FileWriter writer(file.get());
        std::uint64_t written = 0;
        for (;;) {
            VTEK_ASSIGN(const std::size_t n, reader_.read(block_.data(), block_.size()));
            if (n == 0) {
                break;
            }
            written += n;
            VTEK_TRY(account(n));
            if (manifest != nullptr && manifest->size() <= kManifestBound) {
                manifest->append(block_.data(), n);
            }
            if (!writer.write({block_.data(), n})) {
                return systemError(ErrorNumber::UnpackFailed, "write " + shown(entry.name));
            }
        }
        if (entry.size && *entry.size != written) {
            return Error{ErrorNumber::ArchiveInvalid,
                         "archive: " + shown(entry.name) + " is not as long as declared"};
        }
        ++content_.files;
        return {};
    }

    Status account(std::uint64_t bytes) {
        content_.bytes += bytes;
        counter_(reader_.consumed() - std::exchange(reported_, reader_.consumed()));
        const std::uint64_t made = std::max(content_.bytes, reader_.expanded());
        if (made > limits_.totalBytes) {
            return tooLarge("unpacks to more bytes than allowed");
        }
        if (made > kFreeBytes && made - kFreeBytes > reader_.consumed() * limits_.ratio) {
            return tooLarge("compressed more than allowed");
        }
        return {};
    }

    ArchiveReader reader_;
    UnpackTarget& target_;
    std::string prefix_;
    const UnpackLimits& limits_;
    const ByteCounter& counter_;
    UnpackedContent content_;
    std::map<std::string, std::string> taken_;  // lower case to the spelling that came first
    std::uint64_t reported_ = 0;
    std::array<char, kBlockSize> block_;
};

}  // namespace

bool isPlainPath(std::string_view path) {
    if (path.size() > kPathBound) {
        return false;
    }
    for (;;) {
        const auto slash = path.find('/');
        if (!isPlainName(path.substr(0, slash))) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(slash + 1);
    }
}

Result<Manifest> readManifest(std::string_view start) {
    VTEK_ASSIGN(ArchiveReader reader, ArchiveReader::openStart(start));
    VTEK_ASSIGN(const auto first, reader.next());
    if (!first || first->name != kManifestName || first->kind != ArchiveEntry::Kind::File) {
        return Error{ErrorNumber::ManifestInvalid, "archive: the first entry is not manifest.xml"};
    }
    std::string xml(kManifestBound + 1, '\0');
    std::size_t size = 0;
    while (size < xml.size()) {
        VTEK_ASSIGN(const std::size_t n, reader.read(xml.data() + size, xml.size() - size));
        if (n == 0) {
            break;
        }
        size += n;
    }
    xml.resize(size);
    return parseManifest(xml);
}

Result<UnpackedContent> unpackArchive(int fd, std::uint64_t archiveLength, UnpackTarget& target,
                                      const std::string& prefix, const UnpackLimits& limits,
                                      const ByteCounter& counter) {
    VTEK_ASSIGN(ArchiveReader reader, ArchiveReader::open(fd, archiveLength, limits.entries));
    return Unpacking(std::move(reader), target, prefix, limits, counter).run();
}

}  // namespace vtek
