#pragma once

#include "base/Progress.h"
#include "base/Result.h"
#include "base/Rules.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace vtek {

/** What an archive may unpack to in all, and what it has come to. Several threads may draw on it. */
class UnpackBudget {
public:
    /** @param limits         stay the caller's, as the counter does
     *  @param archiveLength  in bytes; those that are taken in again, by another reader, do not count
     *  @param counter        told the archive's bytes as they are taken in, by one thread at a time */
    UnpackBudget(const UnpackLimits& limits, std::uint64_t archiveLength, const ByteCounter& counter)
        : limits_(limits), archiveLength_(archiveLength), counter_(counter) {}

    /**
     * Accounts for a piece of content.
     *
     * @param content   bytes of it
     * @param archive   bytes of the archive that were taken in for it
     * @param expanded  bytes that the archive as a whole has been decompressed to so far
     */
    Status spend(std::uint64_t content, std::uint64_t archive, std::uint64_t expanded);

    /** The content so far; for when no thread draws on the budget any more. */
    std::uint64_t content() const { return content_; }

private:
    const UnpackLimits& limits_;
    std::uint64_t archiveLength_;
    const ByteCounter& counter_;
    std::mutex mutex_;
    std::uint64_t content_ = 0;
    std::uint64_t archive_ = 0;
};

/** An archive is beyond one of its limits. */
Error archiveTooLarge(const std::string& reason);

}  // namespace vtek
