#include "payload/UnpackBudget.h"

#include <algorithm>

namespace vtek {

namespace {

constexpr std::uint64_t kFreeBytes = 1024 * 1024;  // a small archive may well be very compressible

}  // namespace

Status UnpackBudget::spend(std::uint64_t content, std::uint64_t archive, std::uint64_t expanded) {
    const std::lock_guard lock(mutex_);
    counter_(archive);
    content_ += content;
    archive_ = std::min(archive_ + archive, archiveLength_);
    const std::uint64_t made = std::max(content_, expanded);
    if (made > limits_.totalBytes) {
        return archiveTooLarge("unpacks to more bytes than allowed");
    }
    if (made > kFreeBytes && made - kFreeBytes > archive_ * limits_.ratio) {
        return archiveTooLarge("compressed more than allowed");
    }
    return {};
}

Error archiveTooLarge(const std::string& reason) {
    return {ErrorNumber::ArchiveTooLarge, "archive: " + reason};
}

}  // namespace vtek
