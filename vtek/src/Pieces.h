#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace vtek {

/** Takes a piece of a file; false when it cannot. */
using TakePiece = std::function<bool(std::string_view)>;

/**
 * Reads a file from its start, piece by piece.
 *
 * @param fd      its offset is neither used nor moved
 * @param length  bytes to read at most
 * @return how many bytes were taken, fewer than length where the file ends or a piece was refused; -1 with
 * errno set when the file cannot be read
 */
std::int64_t takePieces(int fd, std::uint64_t length, const TakePiece& take);

}  // namespace vtek
