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

/** How an update ended: the step that failed, and with which number; or "done". */
struct UpdateOutcome {
    std::string step;
    vtek::ErrorNumber number = vtek::ErrorNumber::None;

    bool operator==(const UpdateOutcome&) const = default;
};
void PrintTo(const UpdateOutcome& outcome, std::ostream* out);

/** What must not change when an update is refused: the digest of every file but the lock and the log. */
using Snapshot = std::map<std::string, std::string>;

/** Does work of the library, which throws where memory is short, and gives that back as the failure that the
 * library's callers make of it. */
template <class Work>
auto caught(Work work) -> decltype(work()) {
    try {
        return work();
    } catch (const std::bad_alloc& failure) {
        return vtek::Error{vtek::ErrorNumber::Internal, failure.what()};
    }
}

/**
 * A simulated chassis in a temporary folder, with component 25227 at version 1.00, one trusted authority, a
 * signer, and an update package beside it that brings version 2.00.
 */
class Lab {
public:
    /** @param now  the moment around which the certificates are valid */
    explicit Lab(std::time_t now = kNow);

    std::filesystem::path rootPath() const { return folder_ / "root"; }
    std::filesystem::path package() const { return folder_ / "package"; }
    std::filesystem::path payload() const { return package() / "fw.fwp"; }
    std::filesystem::path aside() const { return folder_ / "aside"; }

    vtek::Root root() const;
    vtek::Manifest manifest() const;
    vtek::Identity& authority() { return authority_; }
    vtek::Identity& signer() { return signer_; }

    /** The package's archive: the manifest, a file of some size, a folder with a file. */
    std::string archive(Format format = Format::Tar) const;

    /** An archive of the manifest and these entries. */
    std::string archiveOf(Format format, std::vector<Entry> entries) const;

    /** Puts a payload into the package, signed by the signer. */
    void sign(const std::string& archive) const;
    void write(const std::string& payload) const;

    void trust(const std::string& name, const std::string& pem) const;
    void set(const std::string& name, const std::string& value) const;

    /** Runs an update up to its end or first failure; the hook is called before each step with the step's
     * name. */
    UpdateOutcome update(const std::function<void(const std::string&)>& before = {},
                         std::time_t now = kNow) const;

    /** The component's version in the inventory. */
    std::string version() const;

    Snapshot snapshot() const;

private:
    TempDir folder_;
    vtek::Identity authority_;
    vtek::Identity signer_;
};

}  // namespace test
