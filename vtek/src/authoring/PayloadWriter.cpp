#include "PayloadWriter.h"

#include "ArchiveReader.h"
#include "Digest.h"
#include "File.h"
#include "Payload.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>

namespace vtek {

namespace {

constexpr std::size_t kBlockSize = 64 * 1024;
constexpr mode_t kFileMode = 0644;
constexpr mode_t kFolderMode = 0755;
constexpr std::uint64_t kAnyNumber = 1000000;

struct FreeArchive {
    void operator()(archive* writer) const { archive_write_free(writer); }
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

Error invalidArgument(const std::string& reason) {
    return {ErrorNumber::InvalidArgument, reason};
}

/** Writes entries into one archive. */
class Writer {
public:
    Writer(int fd, ArchiveFormat format) : writer_(archive_write_new()) {
        if (format == ArchiveFormat::Zip) {
            archive_write_set_format_zip(writer_.get());
        } else {
            archive_write_set_format_pax_restricted(writer_.get());
        }
        if (format == ArchiveFormat::TarGz) {
            archive_write_add_filter_gzip(writer_.get());
            archive_write_set_filter_option(writer_.get(), "gzip", "timestamp", nullptr);
        }
        archive_write_open_fd(writer_.get(), fd);
    }

    Status addFolder(const std::string& name) { return header(name, AE_IFDIR, kFolderMode, 0); }

    Status addText(const std::string& name, const std::string& text) {
        VTEK_TRY(header(name, AE_IFREG, kFileMode, text.size()));
        return data(text.data(), text.size());
    }

    Status addFile(const std::string& name, const std::filesystem::path& file) {
        const UniqueFd source = openAt(kWorkingFolder, file.string(), O_RDONLY | O_NOFOLLOW);
        struct stat info {};
        if (!source || fstat(source.get(), &info) != 0) {
            return systemError(ErrorNumber::InvalidArgument, "open " + file.string());
        }
        VTEK_TRY(header(name, AE_IFREG, kFileMode, static_cast<std::uint64_t>(info.st_size)));
        for (;;) {
            const ssize_t n = readFully(source.get(), block_.data(), block_.size());
            if (n < 0) {
                return systemError(ErrorNumber::InvalidArgument, "read " + file.string());
            }
            if (n == 0) {
                return {};
            }
            VTEK_TRY(data(block_.data(), static_cast<std::size_t>(n)));
        }
    }

    /** Copies the current entry of another archive, whose size must be declared there. */
    Status copy(const ArchiveEntry& entry, ArchiveReader& reader) {
        if (entry.kind == ArchiveEntry::Kind::Folder) {
            return addFolder(entry.name);
        }
        if (entry.kind != ArchiveEntry::Kind::File || !entry.size) {
            return invalidArgument(entry.name + " is no plain file of a declared size");
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

    Status finish() { return archive_write_close(writer_.get()) == ARCHIVE_OK ? Status() : failed(); }

private:
    Status header(const std::string& name, unsigned int type, mode_t mode, std::uint64_t size) {
        const std::unique_ptr<archive_entry, FreeArchive> entry(archive_entry_new());
        archive_entry_set_pathname(entry.get(), name.c_str());
        archive_entry_set_filetype(entry.get(), type);
        archive_entry_set_perm(entry.get(), mode);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
        return archive_write_header(writer_.get(), entry.get()) == ARCHIVE_OK ? Status() : failed();
    }

    Status data(const void* bytes, std::size_t size) {
        const la_ssize_t n = archive_write_data(writer_.get(), bytes, size);
        return n >= 0 && static_cast<std::size_t>(n) == size ? Status() : failed();
    }

    Error failed() const {
        const char* reason = archive_error_string(writer_.get());
        return {ErrorNumber::Internal,
                std::string("write the archive: ") + (reason == nullptr ? "failed" : reason)};
    }

    std::unique_ptr<archive, FreeArchive> writer_;
    std::string block_ = std::string(kBlockSize, '\0');
};

Status addFolderContent(Writer& writer, const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder)) {
        paths.push_back(item.path());
    }
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        const std::string name = path.lexically_relative(folder).string();
        const auto status = std::filesystem::symlink_status(path);
        if (std::filesystem::is_directory(status)) {
            VTEK_TRY(writer.addFolder(name));
        } else if (std::filesystem::is_regular_file(status)) {
            VTEK_TRY(writer.addFile(name, path));
        } else {
            return invalidArgument(path.string() + " is no plain file and no folder");
        }
    }
    return {};
}

Status addArchiveContent(Writer& writer, const std::filesystem::path& file) {
    const UniqueFd source = openAt(kWorkingFolder, file.string(), O_RDONLY);
    struct stat info {};
    if (!source || fstat(source.get(), &info) != 0) {
        return systemError(ErrorNumber::InvalidArgument, "open " + file.string());
    }
    VTEK_ASSIGN(ArchiveReader reader,
                ArchiveReader::open(source.get(), static_cast<std::uint64_t>(info.st_size), kAnyNumber));
    for (;;) {
        VTEK_ASSIGN(const auto entry, reader.next());
        if (!entry) {
            return {};
        }
        if (entry->name == kManifestName) {
            return invalidArgument(file.string() + " has a manifest already");
        }
        VTEK_TRY(writer.copy(*entry, reader));
    }
}

}  // namespace

Status writeArchive(int fd, ArchiveFormat format, const Manifest& manifest,
                    const std::filesystem::path& content) {
    Writer writer(fd, format);
    VTEK_TRY(writer.addText(kManifestName, formatManifest(manifest)));
    VTEK_TRY(std::filesystem::is_directory(content) ? addFolderContent(writer, content)
                                                    : addArchiveContent(writer, content));
    return writer.finish();
}

Result<std::string> signFile(const std::filesystem::path& file, const Identity& signer,
                             const std::vector<CertificatePtr>& helpers) {
    startCrypto();
    constexpr unsigned int kFlags = CMS_BINARY | CMS_DETACHED | CMS_PARTIAL;
    const BioPtr content(BIO_new_file(file.c_str(), "rb"));
    const CmsPtr cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, kFlags));
    bool made = content && cms &&
                CMS_add1_signer(cms.get(), signer.certificate.get(), signer.key.get(), EVP_sha256(),
                                kFlags) != nullptr;
    for (const auto& helper : helpers) {
        made = made && CMS_add1_cert(cms.get(), helper.get()) == 1;
    }
    if (!made || CMS_final(cms.get(), content.get(), nullptr, kFlags) != 1) {
        return Error{ErrorNumber::InvalidArgument, "sign " + file.string() + ": " + cryptoError()};
    }
    const int size = i2d_CMS_ContentInfo(cms.get(), nullptr);
    std::string der(static_cast<std::size_t>(std::max(size, 0)), '\0');
    auto* cursor = reinterpret_cast<unsigned char*>(der.data());
    i2d_CMS_ContentInfo(cms.get(), &cursor);
    return der;
}

Status appendSignature(int fd, const std::string& signature) {
    if (!writeFully(fd, signature) || !writeFully(fd, payloadTrailer(signature.size()))) {
        return systemError(ErrorNumber::InvalidArgument, "write the signature");
    }
    return {};
}

Result<std::string> digestOf(const std::filesystem::path& file) {
    const UniqueFd fd = openAt(kWorkingFolder, file.string(), O_RDONLY);
    if (!fd) {
        return systemError(ErrorNumber::InvalidArgument, "open " + file.string());
    }
    return digestOfFile(fd.get(), ErrorNumber::InvalidArgument);
}

}  // namespace vtek
