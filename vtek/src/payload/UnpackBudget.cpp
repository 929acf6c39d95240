#include "payload/UnpackBudget.h"

#include "base/Signals.h"

#include <algorithm>

namespace vtek {

Status UnpackBudget::spend(std::uint64_t content, std::uint64_t archive, std::uint64_t decompressed) {
    const std::lock_guard lock(mutex_);
    if (isEndingRequested()) {
        return Error{ErrorNumber::UnpackFailed, "interrupted by a signal"};
    }
    counter_(archive);
    content_ += content;
    archive_ = std::min(archive_ + archive, archiveLength_);
    // A tar.gz decompresses headers and padding, too: millions of empty entries are a bomb without content.
    const std::uint64_t made = std::max(content_, decompressed);
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
