#include "authoring/ArchiveWriter.h"

#include "base/File.h"

#include <archive.h>
#include <archive_entry.h>

#include <system_error>
#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kBlockSize = 64 * 1024;  // bytes of one read
constexpr mode_t kFileMode = 0644;
constexpr mode_t kProgramMode = 0755;
constexpr mode_t kFolderMode = 0755;

struct FreeEntry {
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

}  // namespace

void ArchiveWriter::Free::operator()(archive* writer) const {
    archive_write_free(writer);
}

ArchiveWriter::ArchiveWriter(int fd, ArchiveFormat format, std::optional<std::time_t> time,
                             ByteCounter counter)
    : writer_(archive_write_new()), time_(time), counter_(std::move(counter)), block_(kBlockSize, '\0') {
    if (format == ArchiveFormat::Zip) {
        archive_write_set_format_zip(writer_.get());
    } else {
        // Plain ustar where that suffices; long names and large files get a pax header.
        archive_write_set_format_pax_restricted(writer_.get());
    }
    if (format == ArchiveFormat::TarGz) {
        archive_write_add_filter_gzip(writer_.get());
        // gzip's header would hold the time of writing.
        archive_write_set_filter_option(writer_.get(), "gzip", "timestamp", nullptr);
    }
    archive_write_open_fd(writer_.get(), fd);
}

Status ArchiveWriter::addFolder(const std::string& name) {
    return header(name, AE_IFDIR, kFolderMode, 0);
}

Status ArchiveWriter::addText(const std::string& name, const std::string& text) {
    VTEK_TRY(header(name, AE_IFREG, kFileMode, text.size()));
    return data(text.data(), text.size());
}

Status ArchiveWriter::addFile(const std::string& name, const std::filesystem::path& file) {
    return copyFile(name, file, kFileMode);
}

Status ArchiveWriter::addProgram(const std::string& name, const std::filesystem::path& file) {
    return copyFile(name, file, kProgramMode);
}

Status ArchiveWriter::copyFile(const std::string& name, const std::filesystem::path& file, mode_t mode) {
    VTEK_ASSIGN(const RegularFile source, openRegularFile(kWorkingFolder, file.string(), Links::Refused,
                                                          file.string(), ErrorNumber::InvalidArgument));
    // The header, written first, declares the size: the content must have exactly that many bytes.
    std::uint64_t left = source.size();
    VTEK_TRY(header(name, AE_IFREG, mode, left));
    for (;;) {
        const ssize_t n = readFully(source.fd.get(), block_.data(), block_.size());
        if (n < 0) {
            return systemError(ErrorNumber::InvalidArgument, "read " + file.string());
        }
        if (static_cast<std::uint64_t>(n) > left || (n == 0 && left > 0)) {
            return Error{ErrorNumber::InvalidArgument, file.string() + " changed while it was read"};
        }
        if (n == 0) {
            return {};
        }
        VTEK_TRY(data(block_.data(), static_cast<std::size_t>(n)));
        left -= static_cast<std::uint64_t>(n);
    }
}

Status ArchiveWriter::copy(const ArchiveEntry& entry, ArchiveReader& reader) {
    if (entry.kind == ArchiveEntry::Kind::Folder) {
        return addFolder(entry.name);
    }
    if (entry.kind != ArchiveEntry::Kind::File || !entry.size) {
        return Error{ErrorNumber::InvalidArgument,
                     entry.name + " is not a regular file with a declared size"};
    }
    VTEK_TRY(header(entry.name, AE_IFREG, kFileMode, *entry.size));
    for (;;) {
        VTEK_ASSIGN(const std::size_t n, reader.read(block_.data(), block_.size()));
        if (n == 0) {
            return {};
        }
        VTEK_TRY(data(block_.data(), n));
    }
}

Status ArchiveWriter::finish() {
    return archive_write_close(writer_.get()) == ARCHIVE_OK ? Status() : failed();
}

Status ArchiveWriter::header(const std::string& name, unsigned int type, mode_t mode, std::uint64_t size) {
    const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), mode);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
    if (time_) {
        archive_entry_set_mtime(entry.get(), *time_, 0);
    }
    return archive_write_header(writer_.get(), entry.get()) == ARCHIVE_OK ? Status() : failed();
}

Status ArchiveWriter::data(const void* bytes, std::size_t size) {
    const la_ssize_t n = archive_write_data(writer_.get(), bytes, size);
    counter_(size);
    return n >= 0 && static_cast<std::size_t>(n) == size ? Status() : failed();
}

Error ArchiveWriter::failed() const {
    const char* reason = archive_error_string(writer_.get());
    std::string message = std::string("write the archive: ") + (reason == nullptr ? "failed" : reason);
    // libarchive's text often lacks the reason of the system.
    if (const int number = archive_errno(writer_.get()); number > 0) {
        message += ": " + std::generic_category().message(number);
    }
    return {ErrorNumber::InvalidArgument, message};
}

}  // namespace vtek
