#pragma once

#include "base/Root.h"
#include "chassis/Lock.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"
#include "payload/Manifest.h"
#include "trust/Signature.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vtek {

/**
 * A root's repository, held for change: its lock, its database and its folders.
 *
 * repository/<number>/ holds the files of a generation; a generation is in force when the database says so,
 * and only then. What lies on disk without being named there is left over from a process that died.
 */
class Repository {
public:
    /** Takes the lock, waiting as long as the settings say, opens the database and clears what is left over.
     */
    static Result<Repository> open(const Root& root);

    Repository(Repository&&) = default;
    Repository& operator=(Repository&&) = delete;

    /** Removes what was staged or published and is not in force. */
    ~Repository();

    Store& store() { return store_; }

    /** How many leftovers of dead processes were removed when the repository was opened. */
    int recovered() const { return recovered_; }

    /** Makes the private folder in which the next generation is put together. @return the open folder */
    Result<UniqueFd> stage();

    /** Makes the staged files durable in their final place, which nothing names yet. */
    Status publish();

    /**
     * The commit point: one transaction decides once more whether the manifest fits the chassis, puts the
     * published generation in force, changes the controller's inventory and writes the history. Afterwards
     * older generations are removed, but the one before.
     */
    Status commit(const Manifest& manifest, const VerifiedSignature& signature);

    /** Puts the previous generation in force again, the inventory's version and the history with it. */
    Result<Generation> rollBack();

private:
    Repository(Lock lock, Store store, UniqueFd staging, UniqueFd generations)
        : lock_(std::move(lock)),
          store_(std::move(store)),
          staging_(std::move(staging)),
          generations_(std::move(generations)) {}

    Status recover();
    void tidyUp();
    Result<int> removeUnnamed();
    Status writeUpdate(const Manifest& manifest, const VerifiedSignature& signature);

    Lock lock_;
    Store store_;
    UniqueFd staging_;
    UniqueFd generations_;
    std::int64_t number_ = 0;
    int recovered_ = 0;
};

/** Refuses an update when the file system of the staging folder has not this many bytes free. */
Status requireSpace(const Root& root, std::uint64_t bytes);

}  // namespace vtek
