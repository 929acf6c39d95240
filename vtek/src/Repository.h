#pragma once

#include "Lock.h"
#include "Root.h"
#include "Settings.h"
#include "Store.h"

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

    /** Removes the staging folder that is not published. */
    ~Repository();

    Store& store() { return store_; }

    /** How many leftovers of dead processes were removed when the repository was opened. */
    int recovered() const { return recovered_; }

    /** Refuses to start when the file system has not this many bytes free. */
    Status requireSpace(std::uint64_t bytes) const;

    /** Makes the private folder in which the next generation is put together. @return the open folder */
    Result<UniqueFd> stage();

    /** The number of the generation that is put together. */
    std::int64_t stagedNumber() const { return number_; }

    /** Makes the staged files durable in their final place, which nothing names yet. */
    Status publish();

    /**
     * The commit point: one transaction puts the published generation in force, changes the controller's
     * inventory and writes the history. Afterwards older generations are removed, but the one before.
     *
     * @param entry  everything but versions replaced and generation number, which are filled in
     */
    Status commit(Generation generation, HistoryEntry entry);

    /** Puts the previous generation in force again, the inventory's version and the history with it. */
    Result<Generation> rollBack(HistoryEntry entry);

private:
    Repository(Lock lock, Store store, UniqueFd staging, UniqueFd generations)
        : lock_(std::move(lock)),
          store_(std::move(store)),
          staging_(std::move(staging)),
          generations_(std::move(generations)) {}

    Status recover();
    Result<int> removeUnnamed();

    Lock lock_;
    Store store_;
    UniqueFd staging_;
    UniqueFd generations_;
    std::int64_t number_ = 0;
    int recovered_ = 0;
};

}  // namespace vtek
