#include "install/PayloadCopy.h"

#include "install/Repository.h"

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

}  // namespace vtek
