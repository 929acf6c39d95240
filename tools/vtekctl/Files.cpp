#include "Files.h"

#include "base/File.h"
#include "trust/TrustStore.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace tools {

namespace {

constexpr std::size_t kBound = 16 * 1024 * 1024;

}  // namespace

vtek::Result<vtek::UniqueFd> openPlainFile(const std::string& path) {
    vtek::UniqueFd file = vtek::openAt(vtek::kWorkingFolder, path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat info {};
    if (!file || fstat(file.get(), &info) != 0) {
        return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "open " + path);
    }
    if (!S_ISREG(info.st_mode)) {
        return vtek::Error{vtek::ErrorNumber::InvalidArgument, path + " is no plain file"};
    }
    return file;
}

vtek::Result<std::string> readSmallFile(const std::string& path) {
    VTEK_ASSIGN(const vtek::UniqueFd file, openPlainFile(path));
    std::string content;
    if (!vtek::readWhole(file.get(), kBound, content)) {
        return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "read " + path);
    }
    return content;
}

vtek::Status writeNewFile(const std::string& path, const std::string& content, mode_t mode) {
    const vtek::UniqueFd file =
        vtek::openAt(vtek::kWorkingFolder, path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (!file || !vtek::writeFully(file.get(), content)) {
        return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "write " + path);
    }
    return {};
}

vtek::Result<vtek::Identity> loadIdentity(const std::string& certificateFile, const std::string& keyFile) {
    vtek::startCrypto();
    VTEK_ASSIGN(auto certificates, loadCertificates(certificateFile));
    const vtek::BioPtr bio(BIO_new_file(keyFile.c_str(), "rb"));
    vtek::KeyPtr key(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr) : nullptr);
    if (!key) {
        return vtek::Error{vtek::ErrorNumber::InvalidArgument,
                           "no private key in " + keyFile + ": " + vtek::cryptoError()};
    }
    if (X509_check_private_key(certificates.front().get(), key.get()) != 1) {
        vtek::cryptoError();
        return vtek::Error{vtek::ErrorNumber::InvalidArgument,
                           keyFile + " is not the key of " + certificateFile};
    }
    return vtek::Identity{std::move(certificates.front()), std::move(key)};
}

vtek::Result<std::vector<vtek::CertificatePtr>> loadCertificates(const std::string& file) {
    VTEK_ASSIGN(const std::string pem, readSmallFile(file));
    auto parsed = vtek::parseTrustFile(file, pem);
    if (!parsed || parsed->certificates.empty()) {
        return vtek::Error{vtek::ErrorNumber::InvalidArgument, "no certificate in " + file};
    }
    return std::move(parsed->certificates);
}

}  // namespace tools
