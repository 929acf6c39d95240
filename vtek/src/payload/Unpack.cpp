#include "payload/Unpack.h"

#include "base/Text.h"
#include "payload/ConfinedFolder.h"
#include "payload/EntryExtractor.h"
#include "payload/LargeEntries.h"
#include "payload/UnpackBudget.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <string_view>
#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kNameBound = 255;
constexpr std::size_t kPathBound = 1024;
constexpr std::uint64_t kLargeEntry = 1024 * 1024;  // worth a thread

bool isPlainName(std::string_view name) {
    return !name.empty() && name.size() <= kNameBound && name != "." && name != ".." &&
           std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

/** One run over an archive. */
class Unpacking {
public:
    Unpacking(ArchiveReader reader, std::uint64_t archiveLength, LargeEntries::OpenArchive openAgain,
              UnpackTarget& target, std::string prefix, const UnpackLimits& limits,
              const ByteCounter& counter)
        : budget_(limits, archiveLength, counter),
          skipsContent_(reader.skipsContent()),
          writer_(std::move(reader), budget_),
          largeEntries_(std::move(openAgain), budget_),
          target_(target),
          prefix_(std::move(prefix)),
          limits_(limits) {}

    Result<UnpackedContent> run() {
        VTEK_TRY(unpackEntries());
        VTEK_TRY(largeEntries_.write());
        VTEK_ASSIGN(content_.manifest, parseManifest(manifest_));
        content_.bytes = budget_.content();
        return content_;
    }

private:
    Status unpackEntries() {
        for (;;) {
            VTEK_ASSIGN(auto entry, writer_.next());
            if (!entry) {
                return {};
            }
            if (writer_.count() > limits_.entries) {
                return archiveTooLarge("more entries than allowed");
            }
            VTEK_TRY(checkEntry(*entry));
            VTEK_TRY(entry->kind == ArchiveEntry::Kind::Folder ? makeFolder(entry->name) : writeFile(*entry));
        }
    }

    bool isFirst() const { return writer_.count() == 1; }

    /** Judges an entry before anything of it is created, and takes a folder's closing "/" away. */
    Status checkEntry(ArchiveEntry& entry) {
        if (entry.kind == ArchiveEntry::Kind::Other) {
            return Error{ErrorNumber::EntryKind,
                         "archive: " + shownName(entry.name) + " is no plain file and no folder"};
        }
        if (entry.kind == ArchiveEntry::Kind::Folder && entry.name.ends_with('/')) {
            entry.name.pop_back();
        }
        if (!isPlainPath(entry.name)) {
            return Error{ErrorNumber::EntryName,
                         "archive: the name " + shownName(entry.name) + " is not allowed"};
        }
        if (isFirst() && (entry.name != kManifestName || entry.kind != ArchiveEntry::Kind::File)) {
            return Error{ErrorNumber::ManifestInvalid, "archive: the first entry is not manifest.xml"};
        }
        const auto depth = std::count(entry.name.begin(), entry.name.end(), '/');
        if (static_cast<std::uint64_t>(depth) > limits_.depth) {
            return archiveTooLarge("folders too deep");
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
        return {ErrorNumber::EntryRepeated, "archive: the name " + shownName(name) + " is taken already"};
    }

    std::string placed(const std::string& name) const {
        return prefix_.empty() || name.empty() ? prefix_ + name : prefix_ + "/" + name;
    }

    Status makeFolder(const std::string& name) {
        if (!target_.makeFolders(placed(name))) {
            return systemError(ErrorNumber::UnpackFailed, "make the folder " + shownName(name));
        }
        return {};
    }

    Status writeFile(const ArchiveEntry& entry) {
        VTEK_TRY(makeFolder(std::string(parentOf(entry.name))));
        UniqueFd file = target_.createFile(placed(entry.name));
        if (!file && errno == EEXIST) {
            return repeated(entry.name);
        }
        if (!file) {
            return systemError(ErrorNumber::UnpackFailed, "make the file " + shownName(entry.name));
        }
        ++content_.files;
        if (isFirst()) {
            return writer_.write(entry, file.get(), &manifest_);
        }
        if (skipsContent_ && entry.size.value_or(0) >= kLargeEntry) {
            return largeEntries_.add(writer_.count(), entry, std::move(file));
        }
        return writer_.write(entry, file.get(), nullptr);
    }

    UnpackBudget budget_;
    bool skipsContent_;
    EntryExtractor writer_;
    LargeEntries largeEntries_;
    UnpackTarget& target_;
    std::string prefix_;
    const UnpackLimits& limits_;
    UnpackedContent content_;
    std::string manifest_;
    std::map<std::string, std::string> taken_;  // lower case to the spelling that came first
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

Result<UnpackedContent> unpackArchive(int fd, std::uint64_t archiveLength, UnpackTarget& target,
                                      const std::string& prefix, const UnpackLimits& limits,
                                      const ByteCounter& counter) {
    const auto open = [&] { return ArchiveReader::open(fd, archiveLength, limits.entries); };
    VTEK_ASSIGN(ArchiveReader reader, open());
    return Unpacking(std::move(reader), archiveLength, open, target, prefix, limits, counter).run();
}

}  // namespace vtek
