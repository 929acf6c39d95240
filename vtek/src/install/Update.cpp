#include "install/Update.h"

#include "base/File.h"
#include "base/FileWriter.h"
#include "base/Progress.h"
#include "base/Text.h"
#include "payload/ConfinedFolder.h"
#include "payload/EntryNames.h"
#include "payload/Payload.h"
#include "trust/Fingerprint.h"

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
        return Error{ErrorNumber::ManifestChanged, "the manifest of the copy is not the checked one"};
    }
    return content;
}

Result<std::string> Update::check() {
    VTEK_TRY(require(Step::Nothing));
    VTEK_ASSIGN(Store store, Store::open(root_, Store::Mode::Read));
    VTEK_ASSIGN(SignedFile payload, findPayload(folder_));
    VTEK_ASSIGN(checked_, checkPayload(root_, store, std::move(payload), folder_, now_));
    step_ = Step::Checked;
    return checked_->payload.name;
}

Status Update::start() {
    VTEK_TRY(require(Step::Checked));
    VTEK_ASSIGN(Repository repository, Repository::open(root_));
    VTEK_TRY(requireSpace(root_, spaceToStart(checked_->payload.size)));
    VTEK_ASSIGN(staged_, repository.stage());
    repository_.emplace(std::move(repository));
    step_ = Step::Started;
    return {};
}

Status Update::add(const std::string& destination) {
    VTEK_TRY(require(Step::Started));
    VTEK_ASSIGN(copy_, createCopy(destination));
    VTEK_TRY(copyPayload(copy_.get()));
    destination_ = destination;
    step_ = Step::Added;
    return {};
}

Result<UniqueFd> Update::createCopy(const std::string& destination) {
    VTEK_TRY(checkDestination(destination));
    ConfinedFolder staging(staged_.get());
    UniqueFd copy;
    if (staging.makeFolders(std::string(parentOf(destination)))) {
        copy = staging.createFile(destination);
    }
    if (!copy) {
        return systemError(ErrorNumber::CopyFailed, "create " + destination);
    }
    return copy;
}

Status Update::copyPayload(int copy) {
    const SignedFile& payload = checked_->payload;
    Progress progress("copy", payload.size);
    Fingerprint fingerprint;
    FileWriter writer(copy);
    Status written;
    const auto copyPiece = [&](std::string_view piece) {
        fingerprint.update(piece);
        if (!writer.write(piece)) {
            written = systemError(ErrorNumber::CopyFailed, "write the copy");
        }
        progress.add(piece.size());
        return static_cast<bool>(written);
    };
    // Asks for one byte more than was checked, to notice a payload that has grown.
    const std::int64_t copied = takePieces(payload.file.get(), payload.size + 1, copyPiece);
    VTEK_TRY(written);
    if (copied < 0) {
        return systemError(ErrorNumber::CopyFailed, "read " + payload.name);
    }
    if (static_cast<std::uint64_t>(copied) != payload.size ||
        fingerprint.value() != checked_->signature.fingerprint) {
        return Error{ErrorNumber::PayloadChanged, payload.name + " has changed since it was checked"};
    }
    return {};
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
    return {};
}

Status Update::require(Step step) const {
    if (step_ != step) {
        return Error{ErrorNumber::OutOfOrder, "a step of the update was called too early or twice"};
    }
    return {};
}

}  // namespace vtek
