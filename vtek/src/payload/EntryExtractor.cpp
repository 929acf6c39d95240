#include "payload/EntryExtractor.h"

#include "base/FileWriter.h"
#include "base/Text.h"
#include "payload/Manifest.h"

#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kBlockSize = 64 * 1024;  // bytes inflated before the budget is charged

}  // namespace

EntryExtractor::EntryExtractor(ArchiveReader reader, UnpackBudget& budget)
    : reader_(std::move(reader)), budget_(budget), block_(kBlockSize) {}

Result<std::optional<ArchiveEntry>> EntryExtractor::next() {
    ++number_;
    return reader_.next();
}

Status EntryExtractor::extract(const ArchiveEntry& entry, int file, std::string* copy) {
    FileWriter writer(file);
    std::uint64_t written = 0;
    for (;;) {
        VTEK_ASSIGN(const std::size_t n, reader_.read(block_.data(), block_.size()));
        if (n == 0) {
            break;
        }
        written += n;
        // Charged before it is written: a bomb stops within one block of its limit.
        VTEK_TRY(budget_.spend(n, reader_.newBytesRead(), reader_.decompressed()));
        // A copy beyond the bound is enough for the manifest's reader to refuse it.
        if (copy != nullptr && copy->size() <= kManifestBound) {
            copy->append(block_.data(), n);
        }
        if (!writer.write({block_.data(), n})) {
            return systemError(ErrorNumber::UnpackFailed, "write " + shownName(entry.name));
        }
    }
    if (entry.size && *entry.size != written) {
        return Error{ErrorNumber::ArchiveInvalid,
                     "archive: " + shownName(entry.name) + " does not have its declared size"};
    }
    return {};
}

}  // namespace vtek
