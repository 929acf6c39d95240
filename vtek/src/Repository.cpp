#include "Repository.h"

#include "Inventory.h"
#include "Tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <set>
#include <utility>

namespace vtek {

namespace {

constexpr mode_t kPrivate = 0700;
constexpr mode_t kOpenToReaders = 0755;

Error notDurable(const char* what) {
    return systemError(errno == ENOSPC ? ErrorNumber::NoSpace : ErrorNumber::SyncFailed, what);
}

}  // namespace

Result<Repository> Repository::open(const Root& root) {
    VTEK_ASSIGN(Store reader, Store::open(root, Store::Mode::Read));
    VTEK_ASSIGN(const Settings settings, loadSettings(reader));
    VTEK_ASSIGN(Lock lock, Lock::acquire(root, std::chrono::seconds(settings.lockWaitSeconds)));
    VTEK_ASSIGN(Store store, Store::open(root, Store::Mode::Write));
    VTEK_TRY(store.checkIntegrity());
    VTEK_ASSIGN(UniqueFd staging, root.openFolder(kStagingFolder, ErrorNumber::RepositoryUnwritable));
    VTEK_ASSIGN(UniqueFd generations, root.openFolder(kRepositoryFolder, ErrorNumber::RepositoryUnwritable));
    Repository repository(std::move(lock), std::move(store), std::move(staging), std::move(generations));
    VTEK_TRY(repository.recover());
    return repository;
}

Repository::~Repository() {
    if (staging_ && number_ != 0) {
        removeTree(staging_.get(), std::to_string(number_));
    }
}

Status Repository::recover() {
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
    recovered_ = static_cast<int>(leftovers.size()) + unnamed;
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

Status Repository::requireSpace(std::uint64_t bytes) const {
    struct statvfs info {};
    if (fstatvfs(staging_.get(), &info) != 0) {
        return systemError(ErrorNumber::RepositoryUnwritable, "look for free space");
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
    if (mkdirat(staging_.get(), name.c_str(), kPrivate) == 0) {
        folder = openAt(staging_.get(), name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    }
    if (!folder) {
        return systemError(errno == ENOSPC ? ErrorNumber::NoSpace : ErrorNumber::RepositoryUnwritable,
                           "make staging/" + name);
    }
    return folder;
}

Status Repository::publish() {
    const std::string name = std::to_string(number_);
    if (fchmodat(staging_.get(), name.c_str(), kOpenToReaders, 0) != 0 || !syncTree(staging_.get(), name)) {
        return notDurable("sync the new files");
    }
    if (renameat2(staging_.get(), name.c_str(), generations_.get(), name.c_str(), RENAME_NOREPLACE) != 0) {
        return systemError(ErrorNumber::CommitFailed, "move the new files to repository/" + name);
    }
    if (!syncFd(generations_.get()) || !syncFd(staging_.get())) {
        return notDurable("sync the repository");
    }
    return {};
}

Status Repository::commit(Generation generation, HistoryEntry entry) {
    VTEK_ASSIGN(Transaction transaction, Transaction::begin(store_.database()));
    Inventory inventory(store_.database());
    VTEK_ASSIGN(const auto replaced, inventory.version(generation.componentId));
    if (!replaced) {
        return Error{ErrorNumber::ComponentGone,
                     "the controller's inventory has no component " + generation.componentId + " any more"};
    }
    generation.number = number_;
    generation.replacedVersion = *replaced;
    if (auto changed = inventory.setVersion(generation.componentId, generation.version); !changed) {
        return changed.error();
    }
    VTEK_TRY(store_.addGeneration(generation));
    if (entry.override) {
        VTEK_TRY(store_.clearSetting("allow-version"));
    }
    entry.outcome = "updated";
    entry.generation = generation.number;
    entry.componentId = generation.componentId;
    entry.fromVersion = generation.replacedVersion;
    entry.toVersion = generation.version;
    entry.signer = generation.signer;
    entry.payloadDigest = generation.payloadDigest;
    VTEK_TRY(store_.appendHistory(entry));
    VTEK_TRY(transaction.commit());
    // In force now, whatever happens below; what cannot be removed is removed by the next update.
    static_cast<void>(static_cast<bool>(removeUnnamed()));
    return {};
}

Result<Generation> Repository::rollBack(HistoryEntry entry) {
    VTEK_ASSIGN(Transaction transaction, Transaction::begin(store_.database()));
    VTEK_ASSIGN(Generation undone, store_.dropGeneration());
    VTEK_ASSIGN(const bool changed,
                Inventory(store_.database()).setVersion(undone.componentId, undone.replacedVersion));
    if (!changed) {
        return Error{ErrorNumber::ComponentGone,
                     "the controller's inventory has no component " + undone.componentId + " any more"};
    }
    VTEK_ASSIGN(entry.generation, store_.currentGeneration());
    entry.outcome = "rolled back";
    entry.componentId = undone.componentId;
    entry.fromVersion = undone.version;
    entry.toVersion = undone.replacedVersion;
    entry.signer = undone.signer;
    entry.payloadDigest = undone.payloadDigest;
    VTEK_TRY(store_.appendHistory(entry));
    VTEK_TRY(transaction.commit());
    static_cast<void>(static_cast<bool>(removeUnnamed()));
    return undone;
}

}  // namespace vtek
