#pragma once

#include <string>
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
};

enum class Format { Tar, TarGz, Zip, ZipStored, ZipBzip2, Cpio, TarBzip2 };

/** The bytes of an archive with these entries, in this order. */
std::string makeArchive(Format format, const std::vector<Entry>& entries);

/** Replaces every occurrence of one text by another of the same length. */
std::string patched(std::string bytes, const std::string& from, const std::string& to);

}  // namespace test
