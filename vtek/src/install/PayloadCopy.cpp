#include "install/PayloadCopy.h"

#include "base/Progress.h"
#include "install/Repository.h"
#include "trust/Digest.h"

#include <fcntl.h>

#include <utility>

namespace vtek {

PayloadCopy::PayloadCopy(const Root& root, std::uint64_t neededBytes) {
    const auto staging = root.openFolder(kStagingFolder, ErrorNumber::RepositoryUnwritable);
    if (staging && requireSpace(root, neededBytes)) {
        file_ = openAt(staging->get(), ".", O_TMPFILE | O_RDWR, 0600);
        writer_ = FileWriter(file_.get());
    }
}

void PayloadCopy::append(std::string_view piece) {
    if (file_ && !writer_.write(piece)) {
        file_.reset();
    }
}

UniqueFd PayloadCopy::nameIt(ConfinedFolder& folder, const std::string& path) {
    UniqueFd file = std::exchange(file_, UniqueFd());
    return file && folder.linkFile(file.get(), path) ? std::move(file) : UniqueFd();
}

Status copyVerified(const CheckedPayload& checked, int copy) {
    const SignedFile& payload = checked.payload;
    Progress progress("copy", payload.size);
    Digest digest;
    FileWriter writer(copy);
    bool isWritten = true;
    const auto copyPiece = [&](std::string_view piece) {
        digest.update(piece.data(), piece.size());
        progress.add(piece.size());
        isWritten = isWritten && writer.write(piece);
        return isWritten;
    };
    if (takePieces(payload.file.get(), payload.signedLength, copyPiece) < 0) {
        return systemError(ErrorNumber::CopyFailed, "read " + payload.name);
    }
    for (const std::string_view part : payload.tail()) {
        copyPiece(part);
    }
    if (!isWritten) {
        return systemError(ErrorNumber::CopyFailed, "write the copy");
    }
    if (digest.hex() != checked.signature.digest) {
        return Error{ErrorNumber::SignatureMismatch,
                     payload.name + " has changed since its signature was verified"};
    }
    return {};
}

}  // namespace vtek
