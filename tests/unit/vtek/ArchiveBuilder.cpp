#include "ArchiveBuilder.h"

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <stdexcept>

namespace test {

namespace {

struct Free {
    void operator()(archive* writer) const { archive_write_free(writer); }
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using WriterPtr = std::unique_ptr<archive, Free>;

void require(int code, archive* writer) {
    if (code != ARCHIVE_OK) {
        throw std::runtime_error(archive_error_string(writer));
    }
}

void setFormat(archive* writer, Format format) {
    switch (format) {
        case Format::TarPax:
            require(archive_write_set_format_pax(writer), writer);
            break;
        case Format::Cpio:
            require(archive_write_set_format_cpio(writer), writer);
            break;
        case Format::Zip:
        case Format::ZipStored:
            require(archive_write_set_format_zip(writer), writer);
            break;
        default:
            require(archive_write_set_format_pax_restricted(writer), writer);
    }
    if (format == Format::TarGz) {
        require(archive_write_add_filter_gzip(writer), writer);
    }
    if (format == Format::TarBzip2) {
        require(archive_write_add_filter_bzip2(writer), writer);
    }
    if (format == Format::ZipStored) {
        require(archive_write_set_options(writer, "zip:compression=store"), writer);
    }
}

unsigned int typeOf(char type) {
    switch (type) {
        case 'd':
            return AE_IFDIR;
        case 'l':
            return AE_IFLNK;
        case 'p':
            return AE_IFIFO;
        case 'c':
            return AE_IFCHR;
        case 's':
            return AE_IFSOCK;
        default:
            return AE_IFREG;
    }
}

void add(archive* writer, const Entry& item) {
    const std::unique_ptr<archive_entry, Free> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), item.name.c_str());
    archive_entry_set_filetype(entry.get(), typeOf(item.type));
    archive_entry_set_perm(entry.get(), item.mode);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(item.content.size()));
    if (item.sparseSize > 0) {
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(item.sparseSize));
        archive_entry_sparse_add_entry(entry.get(), 0, static_cast<la_int64_t>(item.content.size()));
    }
    if (!item.attribute.first.empty()) {
        archive_entry_xattr_add_entry(entry.get(), item.attribute.first.c_str(), item.attribute.second.data(),
                                      item.attribute.second.size());
    }
    if (item.type == 'l') {
        archive_entry_set_symlink(entry.get(), item.target.c_str());
    }
    if (item.type == 'h') {
        archive_entry_set_hardlink(entry.get(), item.target.c_str());
    }
    require(archive_write_header(writer, entry.get()), writer);
    if (archive_write_data(writer, item.content.data(), item.content.size()) < 0) {
        throw std::runtime_error(archive_error_string(writer));
    }
}

std::string written(archive* writer, const std::vector<Entry>& entries) {
    std::string bytes;
    archive_write_set_bytes_in_last_block(writer, 1);
    const auto append = [](archive*, void* data, const void* buffer, std::size_t size) {
        static_cast<std::string*>(data)->append(static_cast<const char*>(buffer), size);
        return static_cast<la_ssize_t>(size);
    };
    require(archive_write_open(writer, &bytes, nullptr, append, nullptr), writer);
    for (const auto& entry : entries) {
        add(writer, entry);
    }
    require(archive_write_close(writer), writer);
    return bytes;
}

}  // namespace

std::string makeArchive(Format format, const std::vector<Entry>& entries) {
    const WriterPtr writer(archive_write_new());
    setFormat(writer.get(), format);
    return written(writer.get(), entries);
}

std::string gzipped(const std::string& bytes) {
    const WriterPtr writer(archive_write_new());
    require(archive_write_set_format_raw(writer.get()), writer.get());
    require(archive_write_add_filter_gzip(writer.get()), writer.get());
    return written(writer.get(), {{"content", bytes}});
}

std::string patched(std::string bytes, const std::string& from, const std::string& to) {
    if (from.size() != to.size() || bytes.find(from) == std::string::npos) {
        throw std::logic_error("nothing to patch");
    }
    for (auto at = bytes.find(from); at != std::string::npos; at = bytes.find(from, at + to.size())) {
        bytes.replace(at, from.size(), to);
    }
    return bytes;
}

}  // namespace test
