#include "payload/LargeEntries.h"

#include <future>
#include <system_error>
#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kItemBound = 64;  // each of them an open file

}  // namespace

LargeEntries::LargeEntries(OpenArchive open, UnpackBudget& budget)
    : open_(std::move(open)), budget_(budget) {}

Status LargeEntries::add(std::uint64_t number, const ArchiveEntry& entry, UniqueFd file) {
    items_.push_back({number, entry, std::move(file), {}});
    return items_.size() < kItemBound ? Status() : write();
}

Status LargeEntries::write() {
    next_ = 0;
    std::future<void> other;
    if (items_.size() > 1) {
        try {
            other = std::async(std::launch::async, [this] { writeItems(others_); });
        } catch (const std::system_error&) {
            // No thread is to be had: all of it is ours.
        }
    }
    writeItems(mine_);
    if (other.valid()) {
        other.get();
    }
    for (const Item& item : std::exchange(items_, {})) {
        VTEK_TRY(item.outcome);
    }
    return {};
}

/** Writes one item after the other, up to the first that fails, here or in the other thread. */
void LargeEntries::writeItems(Writer& writer) {
    for (std::size_t i = next_++; i < items_.size(); i = next_++) {
        items_[i].outcome = writeItem(items_[i], writer);
        if (!items_[i].outcome) {
            next_ = items_.size();
        }
    }
}

Status LargeEntries::writeItem(const Item& item, Writer& writer) {
    if (!writer) {
        VTEK_ASSIGN(ArchiveReader reader, open_());
        writer.emplace(std::move(reader), budget_);
    }
    while (writer->count() < item.number) {
        VTEK_ASSIGN(const auto passed, writer->next());
        if (!passed) {
            return Error{ErrorNumber::ArchiveInvalid, "archive: it has changed"};
        }
    }
    return writer->write(item.entry, item.file.get(), nullptr);
}

}  // namespace vtek
