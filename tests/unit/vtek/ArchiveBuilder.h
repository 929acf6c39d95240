#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace test {

/** One entry of an archive under test; anything goes. */
struct Entry {
    std::string name;
    std::string content{};
    char type =
        'f';  ///< f file, d folder, l symbolic link, h hard link, p FIFO, c character device, s socket
    std::string target{};
    unsigned int mode = 0644;
    std::uint64_t sparseSize = 0;  ///< unless 0, the content is followed by a hole up to this size
    std::pair<std::string, std::string> attribute{};  ///< an extended one: name and value
};

enum class Format { Tar, TarPax, TarGz, Zip, ZipStored, Cpio, TarBzip2 };

/** The bytes of an archive with these entries, in this order. */
std::string makeArchive(Format format, const std::vector<Entry>& entries);

/** The bytes, compressed as gzip does. */
std::string gzipped(const std::string& bytes);

/** Replaces every occurrence of one text by another of the same length. */
std::string patched(std::string bytes, const std::string& from, const std::string& to);

}  // namespace test
