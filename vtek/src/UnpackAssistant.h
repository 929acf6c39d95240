#pragma once

#include "EntryWriter.h"
#include "File.h"

#include <cstdint>
#include <functional>
#include <future>
#include <optional>

namespace vtek {

/** Writes large entries of an archive in a thread of its own, one after the other. */
class UnpackAssistant {
public:
    using OpenArchive = std::function<Result<ArchiveReader>()>;

    /** @param open    opens the archive anew, for the thread
     *  @param budget  outlives the assistant, as whatever open needs does */
    UnpackAssistant(OpenArchive open, UnpackBudget& budget);

    /** Waits for the entry that is being written. */
    ~UnpackAssistant() = default;
    UnpackAssistant(const UnpackAssistant&) = delete;
    UnpackAssistant& operator=(const UnpackAssistant&) = delete;

    /**
     * Begins to write an entry, unless another one is being written, one has failed, or there is no thread to
     * be had.
     *
     * @param number  of the entry, from 1; larger each time
     * @param file    to write to; the assistant's when it has begun, else still the caller's
     * @return whether it has begun
     */
    bool begin(std::uint64_t number, const ArchiveEntry& entry, UniqueFd& file);

    /** Waits for the entry that is being written. @return the failure of the entry that has failed */
    Status finish();

private:
    Status write(std::uint64_t number, const ArchiveEntry& entry);

    OpenArchive open_;
    UnpackBudget& budget_;
    std::optional<EntryWriter> writer_;
    UniqueFd file_;
    Status outcome_;
    std::future<Status> work_;  // last: it waits for the thread before the rest goes
};

}  // namespace vtek
