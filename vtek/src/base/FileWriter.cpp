#include "base/FileWriter.h"

#include "base/File.h"

#include <fcntl.h>

#include <cstddef>

namespace vtek {

namespace {

// Bytes per write. For larger pieces the kernel allocates larger pages, which in a virtual machine can take
// five times as long as the write itself.
constexpr std::size_t kPieceSize = 32 * 1024;
// Bytes after which the kernel is told to start writing to disk, so that the final sync has little left.
constexpr std::uint64_t kWriteOutStep = 2 * 1024 * 1024;

}  // namespace

bool FileWriter::write(std::string_view data) {
    while (!data.empty()) {
        const std::string_view piece = data.substr(0, kPieceSize);
        if (!writeFully(fd_, piece)) {
            return false;
        }
        data.remove_prefix(piece.size());
        written_ += piece.size();
        if (written_ - begun_ >= kWriteOutStep) {
            beginWriteOut();
        }
    }
    return true;
}

void FileWriter::beginWriteOut() {
    // Only a hint, so its result does not matter: a failed write is reported by the final sync.
    sync_file_range(fd_, static_cast<off64_t>(begun_), static_cast<off64_t>(written_ - begun_),
                    SYNC_FILE_RANGE_WRITE);
    begun_ = written_;
}

}  // namespace vtek
