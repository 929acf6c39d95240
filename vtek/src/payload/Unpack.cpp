#include "payload/Unpack.h"

#include "base/Text.h"
#include "payload/EntryExtractor.h"
#include "payload/EntryNames.h"
#include "payload/LargeEntries.h"
#include "payload/UnpackBudget.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace vtek {

namespace {

// Bytes from which a second thread gains more than opening the archive again costs it.
constexpr std::uint64_t kLargeEntry = 1024 * 1024;

/** Unpacks one archive, once. */
class Unpacker {
public:
    Unpacker(ArchiveReader reader, std::uint64_t archiveLength, LargeEntries::OpenArchive openAgain,
             UnpackTarget& target, const std::string& copy, const UnpackLimits& limits,
             const ByteCounter& counter)
        : budget_(limits, archiveLength, counter),
          skipsContent_(reader.skipsContent()),
          extractor_(std::move(reader), budget_),
          largeEntries_(std::move(openAgain), budget_),
          target_(target),
          prefix_(parentOf(copy)),
          limits_(limits) {
        if (!copy.empty()) {
            names_.claimFile(std::string_view(copy).substr(prefix_.empty() ? 0 : prefix_.size() + 1));
        }
    }

    Result<UnpackedContent> run() {
        VTEK_TRY(unpackEntries());
        VTEK_TRY(largeEntries_.extract());
        VTEK_ASSIGN(content_.manifest, parseManifest(manifest_));
        content_.bytes = budget_.content();
        return content_;
    }

private:
    Status unpackEntries() {
        for (;;) {
            VTEK_ASSIGN(auto entry, extractor_.next());
            if (!entry) {
                return {};
            }
            VTEK_TRY(checkEntry(*entry));
            VTEK_TRY(entry->kind == ArchiveEntry::Kind::Folder ? makeFolder(entry->name) : writeFile(*entry));
        }
    }

    bool isFirst() const { return extractor_.number() == 1; }

    /** Checks an entry before anything is created for it, and removes the "/" at the end of a folder's name.
     */
    Status checkEntry(ArchiveEntry& entry) {
        if (extractor_.number() > limits_.entries) {
            return archiveTooLarge("more entries than allowed");
        }
        if (entry.kind == ArchiveEntry::Kind::Other) {
            return Error{ErrorNumber::EntryKind,
                         "archive: " + shownName(entry.name) + " is neither a regular file nor a folder"};
        }
        if (entry.kind == ArchiveEntry::Kind::Folder && entry.name.ends_with('/')) {
            entry.name.pop_back();
        }
        if (!isPlainPath(entry.name)) {
            return Error{ErrorNumber::EntryName,
                         "archive: the name " + shownName(entry.name) + " is not allowed"};
        }
        // The manifest that was checked before the update is the first entry, too.
        if (isFirst() && (entry.name != kManifestName || entry.kind != ArchiveEntry::Kind::File)) {
            return Error{ErrorNumber::ManifestInvalid, "archive: the first entry is not manifest.xml"};
        }
        const auto depth = std::count(entry.name.begin(), entry.name.end(), '/');
        if (static_cast<std::uint64_t>(depth) > limits_.depth) {
            return archiveTooLarge("folders nested too deeply");
        }
        return names_.claim(entry) ? Status() : repeated(entry.name);
    }

    static Error repeated(const std::string& name) {
        return {ErrorNumber::EntryRepeated, "archive: the name " + shownName(name) + " is already taken"};
    }

    /** The path of an entry in the target. */
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
            return systemError(ErrorNumber::UnpackFailed, "create the file " + shownName(entry.name));
        }
        ++content_.files;
        if (isFirst()) {
            return extractor_.extract(entry, file.get(), &manifest_);
        }
        // A second reader of a tar would decompress everything again up to its entry.
        if (skipsContent_ && entry.size.value_or(0) >= kLargeEntry) {
            return largeEntries_.add(extractor_.number(), entry, std::move(file));
        }
        return extractor_.extract(entry, file.get(), nullptr);
    }

    UnpackBudget budget_;
    bool skipsContent_;
    EntryExtractor extractor_;
    LargeEntries largeEntries_;
    UnpackTarget& target_;
    std::string prefix_;
    const UnpackLimits& limits_;
    EntryNames names_;
    UnpackedContent content_;
    std::string manifest_;
};

}  // namespace

Result<UnpackedContent> unpackArchive(int fd, std::uint64_t archiveLength, UnpackTarget& target,
                                      const std::string& copy, const UnpackLimits& limits,
                                      const ByteCounter& counter) {
    const auto open = [&] { return ArchiveReader::open(fd, archiveLength, limits.entries); };
    VTEK_ASSIGN(ArchiveReader reader, open());
    return Unpacker(std::move(reader), archiveLength, open, target, copy, limits, counter).run();
}

}  // namespace vtek
