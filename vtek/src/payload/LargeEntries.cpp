#include "payload/LargeEntries.h"

#include <future>
#include <system_error>
#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kMaxItems = 64;  // each holds a file open; a process may usually have 1024

}  // namespace

LargeEntries::LargeEntries(OpenArchive open, UnpackBudget& budget)
    : open_(std::move(open)), budget_(budget) {}

Status LargeEntries::add(std::uint64_t number, const ArchiveEntry& entry, UniqueFd file) {
    items_.push_back({number, entry, std::move(file), {}});
    return items_.size() < kMaxItems ? Status() : extract();
}

// Inflating takes two thirds of the time of an update, and one inflater cannot be split. Two threads halve
// that; more would take processors from the managed server.
Status LargeEntries::extract() {
    next_ = 0;
    std::future<void> other;
    if (items_.size() > 1) {
        try {
            other = std::async(std::launch::async, [this] { extractItems(second_); });
        } catch (const std::system_error&) {
            // No thread can be started: this one does all the work.
        }
    }
    extractItems(own_);
    if (other.valid()) {
        other.get();
    }
    for (const Item& item : std::exchange(items_, {})) {
        VTEK_TRY(item.outcome);
    }
    return {};
}

/** Extracts one item after the other, until one fails in either thread. */
void LargeEntries::extractItems(Extractor& extractor) {
    for (std::size_t i = next_++; i < items_.size(); i = next_++) {
        items_[i].outcome = extractItem(items_[i], extractor);
        if (!items_[i].outcome) {
            next_ = items_.size();
        }
    }
}

Status LargeEntries::extractItem(const Item& item, Extractor& extractor) {
    if (!extractor) {
        VTEK_ASSIGN(ArchiveReader reader, open_());
        extractor.emplace(std::move(reader), budget_);
    }
    while (extractor->number() < item.number) {
        VTEK_ASSIGN(const auto passed, extractor->next());
        if (!passed) {
            return Error{ErrorNumber::ArchiveInvalid, "archive: changed while it was unpacked"};
        }
    }
    return extractor->extract(item.entry, item.file.get(), nullptr);
}

}  // namespace vtek
