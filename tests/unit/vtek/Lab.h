#pragma once

#include "ArchiveBuilder.h"
#include "Signing.h"
#include "TempDir.h"
#include "base/Root.h"
#include "chassis/Inventory.h"
#include "chassis/Settings.h"
#include "install/Update.h"
#include "payload/Manifest.h"

#include <filesystem>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <vector>

namespace test {

/** How an update ended: the failed step and its error number, or "done". */
struct UpdateOutcome {
    std::string step;
    vtek::ErrorNumber number = vtek::ErrorNumber::None;

    bool operator==(const UpdateOutcome&) const = default;
};
void PrintTo(const UpdateOutcome& outcome, std::ostream* out);

/** The digest of every file in a root except lock and log: a refused update must change none of them. */
using Snapshot = std::map<std::string, std::string>;

/** Runs work and turns std::bad_alloc into the error Internal, as the library's public functions do.
 * Other exceptions pass. */
template <class Work>
auto caught(Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc& failure) {
        return vtek::Error{vtek::ErrorNumber::Internal, failure.what()};
    }
}

/**
 * A simulated chassis in a temporary folder, with component 25227 at version 1.00, one trusted authority and
 * a signer; next to it an update package with version 2.00.
 */
class Lab {
public:
    /** @param now  a time at which the certificates are valid */
    explicit Lab(std::time_t now = kNow);

    std::filesystem::path rootPath() const { return folder_ / "root"; }
    std::filesystem::path package() const { return folder_ / "package"; }
    std::filesystem::path payload() const { return package() / "fw.fwp"; }
    std::filesystem::path aside() const { return folder_ / "aside"; }

    vtek::Root root() const;
    vtek::Manifest manifest() const;
    vtek::Identity& authority() { return authority_; }
    vtek::Identity& signer() { return signer_; }

    /** The package's archive: the manifest, a file of 100,000 bytes, a folder with a file. */
    std::string archive(Format format = Format::Tar) const;

    /** An archive of the manifest and these entries. */
    std::string archiveOf(Format format, std::vector<Entry> entries) const;

    /** Signs an archive and puts the payload into the package. */
    void sign(const std::string& archive) const;
    void write(const std::string& payload) const;

    void trust(const std::string& name, const std::string& pem) const;
    void set(const std::string& name, const std::string& value) const;

    /** Runs an update to its end or first failure. Calls before with the name of each step before it
     * starts. */
    UpdateOutcome update(const std::function<void(const std::string&)>& before = {},
                         std::time_t now = kNow) const;

    /** The component's version in the inventory. */
    std::string version() const;

    std::vector<vtek::HistoryEntry> history() const;

    Snapshot snapshot() const;

private:
    TempDir folder_;
    vtek::Identity authority_;
    vtek::Identity signer_;
};

}  // namespace test
