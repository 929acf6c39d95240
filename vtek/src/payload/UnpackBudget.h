#pragma once

#include "base/Progress.h"
#include "base/Result.h"
#include "base/Rules.h"

#include <cstdint>
#include <mutex>
#include <string>

namespace vtek {

/**
 * Counts what an archive has unpacked to, and refuses more than its limits allow. Several threads may spend
 * from one budget.
 */
class UnpackBudget {
public:
    /**
     * @param limits         must outlive the budget
     * @param archiveLength  in bytes; two readers may read a byte twice, but no more than this is counted
     * @param counter        called with the archive bytes read, by one thread at a time; must outlive the
     * budget
     */
    UnpackBudget(const UnpackLimits& limits, std::uint64_t archiveLength, const ByteCounter& counter)
        : limits_(limits), archiveLength_(archiveLength), counter_(counter) {}

    /**
     * Accounts for a block of content.
     *
     * @param content       bytes of content
     * @param archive       bytes of the archive that were read for it
     * @param decompressed  bytes that the whole archive has been decompressed to so far
     * @return ArchiveTooLarge when the archive is too large or compresses too well; UnpackFailed after a
     * signal that ends the program
     */
    Status spend(std::uint64_t content, std::uint64_t archive, std::uint64_t decompressed);

    /** The bytes of content so far; call it when no thread is spending. */
    std::uint64_t content() const { return content_; }

private:
    const UnpackLimits& limits_;
    std::uint64_t archiveLength_;
    const ByteCounter& counter_;
    std::mutex mutex_;
    std::uint64_t content_ = 0;
    std::uint64_t archive_ = 0;
};

/** Bytes that no ratio limits: a small archive of text or zeros may well compress a thousandfold. */
inline constexpr std::uint64_t kFreeBytes = 1024 * 1024;

/** The error of an archive that exceeds a limit. */
Error archiveTooLarge(const std::string& reason);

}  // namespace vtek
