#pragma once

#include "base/Progress.h"
#include "base/Result.h"
#include "payload/ArchiveReader.h"

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace vtek {

enum class ArchiveFormat { Tar, TarGz, Zip };

/**
 * Writes the entries of one archive. It records neither owners nor the files' own times and modes, so that
 * equal input gives equal bytes.
 */
class ArchiveWriter {
public:
    /**
     * @param fd       the archive's file; stays the caller's
     * @param time     the time of every entry; empty for none
     * @param counter  called with the bytes of content that were written
     */
    ArchiveWriter(
        int fd, ArchiveFormat format, std::optional<std::time_t> time = {},
        ByteCounter counter = [](std::uint64_t) {});

    Status addFolder(const std::string& name);
    Status addText(const std::string& name, const std::string& text);

    /** Copies a regular file. A symbolic link is refused. */
    Status addFile(const std::string& name, const std::filesystem::path& file);

    /** Like addFile, with the mode of an executable. */
    Status addProgram(const std::string& name, const std::filesystem::path& file);

    /** Copies the current entry of another archive, which must declare its size. */
    Status copy(const ArchiveEntry& entry, ArchiveReader& reader);

    /** Completes the archive. Call it last; without it the file is truncated. */
    Status finish();

private:
    struct Free {
        void operator()(archive* writer) const;
    };

    Status copyFile(const std::string& name, const std::filesystem::path& file, mode_t mode);
    Status header(const std::string& name, unsigned int type, mode_t mode, std::uint64_t size);
    Status data(const void* bytes, std::size_t size);
    Error failed() const;

    std::unique_ptr<archive, Free> writer_;
    std::optional<std::time_t> time_;
    ByteCounter counter_;
    std::string block_;
};

}  // namespace vtek
