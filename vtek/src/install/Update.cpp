#include "install/Update.h"

#include "base/File.h"
#include "base/Progress.h"
#include "base/Text.h"
#include "payload/ConfinedFolder.h"
#include "payload/EntryNames.h"
#include "payload/Payload.h"

#include <cerrno>
#include <utility>

namespace vtek {

namespace {

constexpr std::uint64_t kSpareBytes = 1024 * 1024;  // for the database, its journal and folders

}  // namespace

std::uint64_t spaceToStart(std::uint64_t payloadSize) {
    return 2 * payloadSize + kSpareBytes;
}

Status checkDestination(const std::string& destination) {
    if (!isPlainPath(destination)) {
        return Error{ErrorNumber::DestinationInvalid,
                     "not a path within the repository: " + shownName(destination)};
    }
    return {};
}

Result<UnpackedContent> unpackChecked(const CheckedPayload& checked, int fd, UnpackTarget& target,
                                      const std::string& destination, const UnpackLimits& limits,
                                      const ByteCounter& counter) {
    VTEK_ASSIGN(UnpackedContent content,
                unpackArchive(fd, checked.payload.signedLength, target, destination, limits, counter));
    if (content.manifest != checked.manifest) {
        return Error{ErrorNumber::ManifestDiffers,
                     "the archive has another manifest than the one at its start"};
    }
    return content;
}

Result<std::string> Update::check() {
    VTEK_TRY(require(Step::Nothing));
    VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Read));
    VTEK_ASSIGN(SignedFile payload, findPayload(folder_));
    PayloadCopy copy(root_, spaceToStart(payload.size));
    VTEK_ASSIGN(checked_, checkPayload(root_, store, std::move(payload), folder_, now_,
                                       [&](std::string_view piece) { copy.append(piece); }));
    for (const std::string_view part : checked_->payload.tail()) {
        copy.append(part);
    }
    unnamed_ = std::move(copy);
    step_ = Step::Checked;
    return checked_->payload.name;
}

Status Update::start() {
    VTEK_TRY(require(Step::Checked));
    VTEK_ASSIGN(Repository repository, Repository::open(root_));
    const std::uint64_t needed = spaceToStart(checked_->payload.size);
    VTEK_TRY(requireSpace(root_, unnamed_ ? needed - checked_->payload.size : needed));
    held_.emplace();
    VTEK_ASSIGN(staged_, repository.stage());
    repository_.emplace(std::move(repository));
    step_ = Step::Started;
    return {};
}

Status Update::add(const std::string& destination) {
    VTEK_TRY(require(Step::Started));
    VTEK_TRY(checkDestination(destination));
    ConfinedFolder staging(staged_.get());
    if (!staging.makeFolders(std::string(parentOf(destination)))) {
        return systemError(ErrorNumber::CopyFailed, "create the folder of " + destination);
    }
    copy_ = unnamed_.nameIt(staging, destination);
    if (!copy_) {
        VTEK_TRY(copyNow(staging, destination));
    }
    destination_ = destination;
    step_ = Step::Added;
    return {};
}

Status Update::copyNow(ConfinedFolder& staging, const std::string& destination) {
    copy_ = staging.createFile(destination);
    if (!copy_) {
        return systemError(ErrorNumber::CopyFailed, "create " + destination);
    }
    return copyVerified(*checked_, copy_.get());
}

Status Update::unpack() {
    VTEK_TRY(require(Step::Added));
    VTEK_ASSIGN(const Settings settings, loadSettings(repository_->store()));
    Progress progress("unpack", checked_->payload.signedLength);
    ConfinedFolder staging(staged_.get());
    VTEK_TRY(unpackChecked(*checked_, copy_.get(), staging, destination_, settings.unpack,
                           [&](std::uint64_t bytes) { progress.add(bytes); }));
    step_ = Step::Unpacked;
    return {};
}

Status Update::commit() {
    VTEK_TRY(require(Step::Unpacked));
    const Manifest& manifest = checked_->manifest;
    // Again, because package.xml lies in a folder that others may write to.
    VTEK_TRY(checkPackage(folder_, manifest, ErrorNumber::PackageChanged, ErrorNumber::PackageChanged));
    VTEK_TRY(repository_->publish());
    VTEK_TRY(repository_->commit(manifest, checked_->signature));
    step_ = Step::Committed;
    repository_.reset();  // releases the lock now: the caller may keep this object for long
    held_.reset();
    return {};
}

Status Update::require(Step step) const {
    if (step_ != step) {
        return Error{ErrorNumber::OutOfOrder, "a step of the update was called too early or twice"};
    }
    return {};
}

}  // namespace vtek
