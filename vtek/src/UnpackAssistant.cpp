#include "UnpackAssistant.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace vtek {

UnpackAssistant::UnpackAssistant(OpenArchive open, UnpackBudget& budget)
    : open_(std::move(open)), budget_(budget) {}

bool UnpackAssistant::begin(std::uint64_t number, const ArchiveEntry& entry, UniqueFd& file) {
    const bool isBusy = work_.valid() && work_.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    if (isBusy || !finish()) {
        return false;
    }
    std::swap(file_, file);
    try {
        work_ = std::async(std::launch::async, [this, number, entry] { return write(number, entry); });
    } catch (const std::system_error&) {
        std::swap(file_, file);
        return false;
    }
    return true;
}

Status UnpackAssistant::finish() {
    if (work_.valid()) {
        outcome_ = work_.get();
    }
    return outcome_;
}

/** In the thread: goes on to the entry and writes it. */
Status UnpackAssistant::write(std::uint64_t number, const ArchiveEntry& entry) {
    const UniqueFd file = std::move(file_);
    if (!writer_) {
        VTEK_ASSIGN(ArchiveReader reader, open_());
        writer_.emplace(std::move(reader), budget_);
    }
    while (writer_->count() < number) {
        VTEK_ASSIGN(const auto passed, writer_->next());
        if (!passed) {
            return Error{ErrorNumber::ArchiveInvalid, "archive: it has changed"};
        }
    }
    return writer_->write(entry, file.get(), nullptr);
}

}  // namespace vtek
