#include "Pieces.h"

#include "File.h"

#include <algorithm>
#include <string>

namespace vtek {

namespace {

constexpr std::size_t kPieceSize = 256 * 1024;

}  // namespace

std::int64_t takePieces(int fd, std::uint64_t length, const TakePiece& take) {
    std::string block(kPieceSize, '\0');
    std::uint64_t taken = 0;
    while (taken < length) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), length - taken));
        const ssize_t n = readFullyAt(fd, block.data(), wanted, taken);
        if (n < 0) {
            return -1;
        }
        const auto size = static_cast<std::size_t>(n);
        if (size == 0 || !take({block.data(), size})) {
            break;
        }
        taken += size;
    }
    return static_cast<std::int64_t>(taken);
}

}  // namespace vtek
