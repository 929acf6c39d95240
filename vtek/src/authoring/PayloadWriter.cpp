#include "authoring/PayloadWriter.h"

#include "base/File.h"
#include "base/Progress.h"
#include "base/Rules.h"
#include "payload/EntryNames.h"
#include "payload/Payload.h"
#include "trust/Digest.h"

#include <algorithm>

namespace vtek {

namespace {

constexpr std::uint64_t kMaxEntries = 1000000;  // of a source archive: ours to trust, so a high bound

Error invalidArgument(const std::string& reason) {
    return {ErrorNumber::InvalidArgument, reason};
}

/** The paths of everything below a folder, sorted. The order on disk differs between machines. */
Result<std::vector<std::filesystem::path>> listTree(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> paths;
    std::error_code failure;
    for (std::filesystem::recursive_directory_iterator item(folder, failure), end; !failure && item != end;
         item.increment(failure)) {
        paths.push_back(item->path());
    }
    if (failure) {
        return invalidArgument("read " + folder.string() + ": " + failure.message());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/** Refuses a name now that every update would refuse later. */
Status checkName(std::string name) {
    if (name.ends_with('/')) {
        name.pop_back();
    }
    if (!isPlainPath(name)) {
        return Error{ErrorNumber::EntryName, "the name '" + name + "' is not allowed in a payload"};
    }
    if (name == kManifestName) {
        return invalidArgument("the content already has a manifest.xml");
    }
    return {};
}

using Paths = std::vector<std::filesystem::path>;

/** The bytes of all regular files, for the progress only. */
std::uint64_t sizeOf(const Paths& paths) {
    std::error_code ignored;
    std::uint64_t size = 0;
    for (const auto& path : paths) {
        size +=
            std::filesystem::is_regular_file(path, ignored) ? std::filesystem::file_size(path, ignored) : 0;
    }
    return size;
}

Status addFolderContent(ArchiveWriter& writer, const std::filesystem::path& folder, const Paths& paths) {
    if (std::none_of(paths.begin(), paths.end(), [](const auto& path) { return is_regular_file(path); })) {
        return Error{ErrorNumber::InvalidArgument, folder.string() + " has no files",
                     "name the folder that contains the firmware"};
    }
    for (const auto& path : paths) {
        const std::string name = path.lexically_relative(folder).string();
        VTEK_TRY(checkName(name));
        const auto status = std::filesystem::symlink_status(path);
        if (std::filesystem::is_directory(status)) {
            VTEK_TRY(writer.addFolder(name));
        } else if (std::filesystem::is_regular_file(status)) {
            VTEK_TRY(writer.addFile(name, path));
        } else {
            return invalidArgument(path.string() + " is neither a regular file nor a folder");
        }
    }
    return {};
}

Status addArchiveContent(ArchiveWriter& writer, const std::filesystem::path& file) {
    VTEK_ASSIGN(const RegularFile source, openRegularFile(kWorkingFolder, file.string(), Links::Followed,
                                                          file.string(), ErrorNumber::InvalidArgument));
    VTEK_ASSIGN(ArchiveReader reader, ArchiveReader::open(source.fd.get(), source.size(), kMaxEntries));
    for (;;) {
        VTEK_ASSIGN(const auto entry, reader.next());
        if (!entry) {
            return {};
        }
        VTEK_TRY(checkName(entry->name));
        VTEK_TRY(writer.copy(*entry, reader));
    }
}

/** Called by OpenSSL before and after each operation on a file; its progress counts the bytes that were read.
 */
long countRead(BIO* bio, int operation, const char*, std::size_t, int, long, int outcome,
               std::size_t* processed) {
    if (operation == (BIO_CB_READ | BIO_CB_RETURN) && outcome > 0 && processed != nullptr) {
        reinterpret_cast<Progress*>(BIO_get_callback_arg(bio))->add(*processed);
    }
    return outcome;
}

bool addSigner(CMS_ContentInfo* cms, const Identity& signer, unsigned int flags,
               std::optional<std::time_t> signingTime) {
    CMS_SignerInfo* const info =
        CMS_add1_signer(cms, signer.certificate.get(), signer.key.get(), EVP_sha256(), flags);
    // A default must not depend on the clock: signing again gives the same bytes.
    const TimePtr given(signingTime ? ASN1_TIME_set(nullptr, *signingTime) : nullptr);
    const ASN1_TIME* time = signingTime ? given.get() : X509_get0_notBefore(signer.certificate.get());
    return info != nullptr && time != nullptr &&
           CMS_signed_add1_attr_by_NID(info, NID_pkcs9_signingTime, ASN1_STRING_type(time), time, -1) == 1;
}

}  // namespace

Status writeArchive(int fd, ArchiveFormat format, const Manifest& manifest,
                    const std::filesystem::path& content) {
    const bool isFolder = std::filesystem::is_directory(content);
    VTEK_ASSIGN(const Paths paths, isFolder ? listTree(content) : Paths{content});
    Progress progress("pack", sizeOf(paths));
    ArchiveWriter writer(fd, format, {}, [&](std::uint64_t bytes) { progress.add(bytes); });
    VTEK_TRY(writer.addText(kManifestName, formatManifest(manifest)));
    VTEK_TRY(isFolder ? addFolderContent(writer, content, paths) : addArchiveContent(writer, content));
    return writer.finish();
}

Result<std::string> signFile(const std::filesystem::path& file, const Identity& signer,
                             const std::vector<CertificatePtr>& intermediates,
                             std::optional<std::time_t> signingTime) {
    startCrypto();
    // Binary: no conversion of line ends. Partial: signers and certificates are added before CMS_final signs.
    constexpr unsigned int kFlags = CMS_BINARY | CMS_DETACHED | CMS_PARTIAL;
    const BioPtr content(BIO_new_file(file.c_str(), "rb"));
    std::error_code ignored;
    Progress progress("sign", std::filesystem::file_size(file, ignored));
    if (content) {
        BIO_set_callback_ex(content.get(), countRead);
        BIO_set_callback_arg(content.get(), reinterpret_cast<char*>(&progress));
    }
    const CmsPtr cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, kFlags));
    bool made = content && cms && addSigner(cms.get(), signer, kFlags, signingTime);
    for (const auto& intermediate : intermediates) {
        made = made && CMS_add1_cert(cms.get(), intermediate.get()) == 1;
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

Result<std::string> digestOfPackage(const std::filesystem::path& file) {
    VTEK_ASSIGN(const std::string xml,
                readRegularFile(kWorkingFolder, file.string(), Links::Followed, kPackageBound, file.string(),
                                ErrorNumber::InvalidArgument));
    return digestOfText(xml);
}

}  // namespace vtek
