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
 * The repository of a root, opened for changes: its lock, database and folders.
 *
 * repository/<number>/ contains the files of a generation. The database alone decides which generation is in
 * force. Folders that it does not name are leftovers of a process that died.
 */
class Repository {
public:
    /** Takes the lock, waiting as long as the setting lock-wait allows, opens the database and removes
     * leftovers: of updates, and of changes to the trust store. */
    static Result<Repository> open(const Root& root);

    Repository(Repository&&) = default;
    Repository& operator=(Repository&&) = delete;

    /** Removes what was staged or published but is not in force. */
    ~Repository();

    Store& store() { return store_; }

    /** The number of leftovers that open removed. */
    int recovered() const { return recovered_; }

    /** Creates the private folder for the files of the next generation. @return the open folder */
    Result<UniqueFd> stage();

    /** Moves the staged files to their final place and syncs them to disk. They are not in force yet. */
    Status publish();

    /**
     * The commit point: one transaction checks the manifest against the chassis again, puts the published
     * generation in force, updates the controller's inventory and appends to the history. Then removes all
     * older generations except the previous one.
     */
    Status commit(const Manifest& manifest, const VerifiedSignature& signature);

    /** Puts the previous generation in force again, restores the version in the inventory and appends to the
     * history. @return the generation that was undone */
    Result<Generation> rollBack();

private:
    Repository(Lock lock, Store store, UniqueFd staging, UniqueFd generations)
        : lock_(std::move(lock)),
          store_(std::move(store)),
          staging_(std::move(staging)),
          generations_(std::move(generations)) {}

    Status recover(const Root& root);
    void tidyUp();
    Result<int> removeUnnamed();
    Status writeUpdate(const Manifest& manifest, const VerifiedSignature& signature);

    Lock lock_;
    Store store_;
    UniqueFd staging_;
    UniqueFd generations_;
    std::int64_t number_ = 0;  ///< of the staged generation; 0 if there is none
    int recovered_ = 0;
};

/** Removes what interrupted changes to the trust store left in the root; keeps files that a living process
 * has locked. @return how many it removed */
Result<int> removeUnfinishedTrust(const Root& root);

/** Fails with NoSpace if the file system of the staging folder has fewer free bytes. */
Status requireSpace(const Root& root, std::uint64_t bytes);

}  // namespace vtek
