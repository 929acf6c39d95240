#include "install/Repository.h"

#include "base/Tree.h"
#include "base/Users.h"
#include "chassis/Inventory.h"
#include "install/Policy.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>
#include <utility>

namespace vtek {

namespace {

/** Maps transaction errors to CommitFailed, except those with their own number. */
Error commitError(const Error& error) {
    switch (error.number) {
        case ErrorNumber::ComponentUnknown:
            return {ErrorNumber::ComponentGone, error.message + " any longer"};
        case ErrorNumber::ChassisMismatch:
        case ErrorNumber::VersionBelowFloor:
            return error;
        default:
            return {ErrorNumber::CommitFailed, error.message};
    }
}

HistoryEntry describe(const char* outcome, const Generation& generation) {
    HistoryEntry entry;
    entry.outcome = outcome;
    entry.componentId = generation.componentId;
    entry.fromVersion = generation.replacedVersion;
    entry.toVersion = generation.version;
    entry.signer = generation.signer;
    entry.payloadDigest = generation.payloadDigest;
    entry.realUser = realUser();
    entry.loginUser = loginUser();
    return entry;
}

}  // namespace

Result<Repository> Repository::open(const Root& root) {
    // The settings say how long to wait for the lock, so they are read before it is taken.
    VTEK_ASSIGN(Store reader, Store::open(root, Store::Mode::Read));
    VTEK_ASSIGN(const Settings settings, loadSettings(reader));
    VTEK_ASSIGN(Lock lock, Lock::acquire(root, std::chrono::seconds(settings.lockWaitSeconds)));
    VTEK_ASSIGN(Store store, Store::open(root, Store::Mode::Write));
    VTEK_TRY(store.checkIntegrity());
    VTEK_ASSIGN(UniqueFd staging, root.openFolder(kStagingFolder, ErrorNumber::RepositoryUnwritable));
    VTEK_ASSIGN(UniqueFd generations, root.openFolder(kRepositoryFolder, ErrorNumber::RepositoryUnwritable));
    Repository repository(std::move(lock), std::move(store), std::move(staging), std::move(generations));
    VTEK_TRY(repository.recover(root));
    return repository;
}

Repository::~Repository() {
    if (staging_ && number_ != 0) {
        removeTree(staging_.get(), std::to_string(number_));
        tidyUp();
    }
}

void Repository::tidyUp() {
    // A failure needs no report: the next update removes what remains.
    static_cast<void>(static_cast<bool>(removeUnnamed()));
}

Status Repository::recover(const Root& root) {
    std::vector<std::string> leftovers;
    if (!listFolder(staging_.get(), leftovers)) {
        return systemError(ErrorNumber::RepositoryUnwritable, "list the staging folder");
    }
    for (const auto& name : leftovers) {
        if (!removeTree(staging_.get(), name)) {
            return systemError(ErrorNumber::RepositoryUnwritable, "remove staging/" + name);
        }
    }
    VTEK_ASSIGN(const int unnamed, removeUnnamed());
    VTEK_ASSIGN(const int unfinished, removeUnfinishedTrust(root));
    recovered_ = static_cast<int>(leftovers.size()) + unnamed + unfinished;
    return {};
}

Result<int> Repository::removeUnnamed() {
    VTEK_ASSIGN(const auto kept, store_.keptGenerations());
    std::set<std::string> names;
    for (const auto number : kept) {
        names.insert(std::to_string(number));
    }
    std::vector<std::string> present;
    if (!listFolder(generations_.get(), present)) {
        return systemError(ErrorNumber::RepositoryUnwritable, "list the repository");
    }
    std::erase_if(present, [&](const std::string& name) { return names.contains(name); });
    for (const auto& name : present) {
        if (!removeTree(generations_.get(), name)) {
            return systemError(ErrorNumber::RepositoryUnwritable, "remove repository/" + name);
        }
    }
    return static_cast<int>(present.size());
}

Result<int> removeUnfinishedTrust(const Root& root) {
    std::vector<std::string> names;
    if (!listFolder(root.folder(), names)) {
        return systemError(ErrorNumber::RepositoryUnwritable, "list " + root.path());
    }
    std::erase_if(names, [](const std::string& name) { return !name.starts_with(kUnfinishedTrust); });
    int removed = 0;
    for (const auto& name : names) {
        const UniqueFd file = openAt(root.folder(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        const bool inUse = file && flock(file.get(), LOCK_EX | LOCK_NB) != 0;
        if (inUse) {
            continue;
        }
        if (!removeTree(root.folder(), name)) {
            return systemError(ErrorNumber::RepositoryUnwritable, "remove " + root.path() + "/" + name);
        }
        ++removed;
    }
    return removed;
}

Status requireSpace(const Root& root, std::uint64_t bytes) {
    VTEK_ASSIGN(const UniqueFd staging, root.openFolder(kStagingFolder, ErrorNumber::RepositoryUnwritable));
    struct statvfs info {};
    if (fstatvfs(staging.get(), &info) != 0) {
        return systemError(ErrorNumber::RepositoryUnwritable, "determine the free space");
    }
    const std::uint64_t free = std::uint64_t{info.f_bavail} * info.f_frsize;
    if (free < bytes) {
        return Error{ErrorNumber::NoSpace,
                     std::to_string(free) + " bytes are free, " + std::to_string(bytes) + " are needed"};
    }
    return {};
}

Result<UniqueFd> Repository::stage() {
    VTEK_ASSIGN(number_, store_.nextGeneration());
    const std::string name = std::to_string(number_);
    UniqueFd folder;
    if (makeFolderAt(staging_.get(), name, kPrivateFolder)) {
        folder = openAt(staging_.get(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    }
    if (!folder) {
        return repositoryError("create staging/" + name);
    }
    return folder;
}

Status Repository::publish() {
    const std::string name = std::to_string(number_);
    // NOREPLACE: numbers are never reused, so a folder of this name is not ours to replace.
    if (fchmodat(staging_.get(), name.c_str(), kReadableFolder, 0) != 0 ||
        renameat2(staging_.get(), name.c_str(), generations_.get(), name.c_str(), RENAME_NOREPLACE) != 0) {
        return systemError(ErrorNumber::CommitFailed, "move the new files to repository/" + name);
    }
    // A power cut before the last sync does no harm: the database does not name the generation yet.
    VTEK_TRY(syncTree(generations_.get(), name, "repository/" + name, ErrorNumber::SyncFailed));
    if (!syncFd(generations_.get()) || !syncFd(staging_.get())) {
        return systemError(ErrorNumber::SyncFailed, "sync the folders of the repository");
    }
    return {};
}

Status Repository::commit(const Manifest& manifest, const VerifiedSignature& signature) {
    const Status written = writeUpdate(manifest, signature);
    if (!written) {
        return commitError(written.error());
    }
    // The update is in force from here on: the destructor must not remove its folder.
    number_ = 0;
    tidyUp();
    return {};
}

Status Repository::writeUpdate(const Manifest& manifest, const VerifiedSignature& signature) {
    VTEK_ASSIGN(Transaction transaction, Transaction::begin(store_.database()));
    // Again, because settings and inventory may have changed since the payload was checked.
    VTEK_ASSIGN(const Fit fit, checkPolicy(store_, manifest));
    Inventory inventory(store_.database());
    VTEK_ASSIGN(const auto replaced, inventory.version(manifest.componentId));
    const Generation generation{number_,          manifest.componentId,
                                manifest.version, replaced.value_or(""),
                                signature.digest, signature.signer};
    VTEK_TRY(inventory.setVersion(generation.componentId, generation.version));
    VTEK_TRY(store_.addGeneration(generation));
    if (fit == Fit::ByOverride) {
        VTEK_TRY(store_.clearSetting("allow-version"));
    }
    HistoryEntry entry = describe("updated", generation);
    entry.generation = generation.number;
    entry.override = fit == Fit::ByOverride;
    VTEK_TRY(store_.appendHistory(entry));
    return transaction.commit();
}

Result<Generation> Repository::rollBack() {
    VTEK_ASSIGN(Transaction transaction, Transaction::begin(store_.database()));
    VTEK_ASSIGN(Generation undone, store_.dropGeneration());
    VTEK_TRY(Inventory(store_.database()).setVersion(undone.componentId, undone.replacedVersion));
    HistoryEntry entry = describe("rolled back", undone);
    VTEK_ASSIGN(entry.generation, store_.currentGeneration());
    std::swap(entry.fromVersion, entry.toVersion);
    VTEK_TRY(store_.appendHistory(entry));
    VTEK_TRY(transaction.commit());
    tidyUp();
    return undone;
}

}  // namespace vtek
