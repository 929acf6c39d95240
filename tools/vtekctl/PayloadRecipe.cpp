#include "PayloadRecipe.h"

#include "authoring/PackageDescription.h"
#include "base/File.h"
#include "base/Text.h"
#include "common/InputFile.h"
#include "payload/Payload.h"
#include "trust/Signature.h"
#include "trust/TrustStore.h"

#include <fcntl.h>

#include <cstdlib>
#include <limits>
#include <map>

namespace vtekctl {
namespace {

using vtek::ErrorNumber;
using vtek::Manifest;
using vtek::Result;
using vtek::Status;
namespace fs = std::filesystem;

constexpr mode_t kPublic = 0644;

const std::map<std::string, vtek::ArchiveFormat> kFormats{{"tar", vtek::ArchiveFormat::Tar},
                                                          {"tar.gz", vtek::ArchiveFormat::TarGz},
                                                          {"zip", vtek::ArchiveFormat::Zip}};

/** Reads the finished payload back: a signature made elsewhere may be that of another archive. */
Status checkOutsideSignature(const fs::path& folder, const std::string& name) {
    const vtek::UniqueFd opened = vtek::openAt(vtek::kWorkingFolder, folder.string(), O_RDONLY | O_DIRECTORY);
    VTEK_ASSIGN(const vtek::SignedFile payload, vtek::openPayload(opened.get(), name));
    return checkSignatureFits(payload);
}

/** The certificates of a PEM file. */
Result<std::vector<vtek::CertificatePtr>> loadCertificates(const std::string& file) {
    VTEK_ASSIGN(const std::string pem, tools::readInput(file, file));
    auto parsed = vtek::parseTrustFile(file, pem);
    if (!parsed || parsed->certificates.empty()) {
        return tools::inputError("no certificate in " + file, "name a PEM file with a certificate");
    }
    return std::move(parsed->certificates);
}

/** A signer's certificate and private key from PEM files; asks for the key's pass phrase if it has one. */
Result<vtek::Identity> loadIdentity(const std::string& certificateFile, const std::string& keyFile) {
    vtek::startCrypto();
    VTEK_ASSIGN(auto certificates, loadCertificates(certificateFile));
    const vtek::BioPtr bio(BIO_new_file(keyFile.c_str(), "rb"));
    vtek::KeyPtr key(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr) : nullptr);
    if (!key) {
        return tools::inputError(
            "no private key in " + keyFile + ": " + vtek::cryptoError(),
            "name a PEM file with a private key, and give its pass phrase if it has one");
    }
    if (X509_check_private_key(certificates.front().get(), key.get()) != 1) {
        vtek::cryptoError();  // empties OpenSSL's queue; the message below says more
        return tools::inputError(keyFile + " is not the key of " + certificateFile,
                                 "name the key and the certificate of one signer");
    }
    return vtek::Identity{std::move(certificates.front()), std::move(key)};
}

}  // namespace

void PayloadRecipe::define(Options& options) {
    options.value("content", content_, "a folder, or an archive (zip, tar, tar.gz)").required().takes("FILE");
    options.value("--package", package_, "the package.xml that the payload goes with")
        .required()
        .takes("FILE");
    options.values("--chassis", chassisTypes_, "a chassis type that the payload is for; may be repeated")
        .required()
        .takes("TYPE");
    Option certificate =
        options.value("--certificate", certificate_, "the signer's certificate, PEM").takes("FILE");
    Option key = options.value("--key", key_, "the signer's private key, PEM").takes("FILE");
    certificate.needs(key);
    key.needs(certificate);
    options.value("--chain", chain_, "the certificates between signer and authority, PEM")
        .takes("FILE")
        .needs(certificate);
    options.value("--signature", signature_, "instead of a signer: a signature made elsewhere, DER CMS")
        .takes("FILE")
        .excludes(certificate);
    options.value("--format", format_, "the archive's format; tar by default")
        .oneOf({"tar", "tar.gz", "zip"})
        .takes("tar|tar.gz|zip");
}

void PayloadRecipe::defineManifest(Options& options) {
    options.value("--component", component_, "the component id; else that of package.xml").takes("ID");
    options.value("--package-version", version_, "the version of the firmware; else that of package.xml")
        .takes("VERSION");
}

Result<Manifest> PayloadRecipe::manifestFor(const fs::path& package) const {
    Manifest manifest{component_, version_, chassisTypes_, {}};
    if (component_.empty() || version_.empty()) {
        VTEK_ASSIGN(const auto description,
                    vtek::readPackageDescription(vtek::kWorkingFolder, package.string(),
                                                 ErrorNumber::InvalidArgument));
        manifest.componentId = component_.empty() ? description.componentId : component_;
        manifest.version = version_.empty() ? description.version : version_;
    }
    VTEK_ASSIGN(manifest.packageDigest, vtek::digestOfPackage(package));
    if (auto checked = vtek::parseManifest(formatManifest(manifest)); !checked) {
        return tools::inputError(checked.error().message);
    }
    return manifest;
}

Status PayloadRecipe::makeArchive(const fs::path& folder, const std::string& name,
                                  const Manifest& manifest) const {
    const fs::path path = folder / name;
    const vtek::UniqueFd file =
        vtek::openAt(vtek::kWorkingFolder, path.string(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kPublic);
    if (!file) {
        return vtek::systemError(ErrorNumber::InvalidArgument, "make " + path.string());
    }
    return vtek::writeArchive(file.get(), kFormats.at(format_), manifest, content_);
}

Status PayloadRecipe::makePayload(const fs::path& folder, const std::string& name, const Manifest& manifest,
                                  std::optional<std::time_t> signingTime) const {
    VTEK_TRY(makeArchive(folder, name, manifest));
    const fs::path path = folder / name;
    VTEK_ASSIGN(const std::string signature, sign(path, signingTime));
    const vtek::UniqueFd file = vtek::openAt(vtek::kWorkingFolder, path.string(), O_WRONLY | O_APPEND);
    if (!file) {
        return vtek::systemError(ErrorNumber::InvalidArgument, "open " + path.string());
    }
    VTEK_TRY(vtek::appendSignature(file.get(), signature));
    return signature_.empty() ? Status() : checkOutsideSignature(folder, name);
}

Result<std::string> PayloadRecipe::sign(const fs::path& archive,
                                        std::optional<std::time_t> signingTime) const {
    if (!signature_.empty()) {
        return tools::readInput(signature_, signature_);
    }
    if (certificate_.empty()) {
        return tools::inputError("no signer: give --certificate and --key, or --signature");
    }
    VTEK_ASSIGN(const vtek::Identity signer, loadIdentity(certificate_, key_));
    std::vector<vtek::CertificatePtr> chain;
    if (!chain_.empty()) {
        VTEK_ASSIGN(chain, loadCertificates(chain_));
    }
    return vtek::signFile(archive, signer, chain, signingTime);
}

Result<std::optional<std::time_t>> sourceDateEpoch() {
    const char* text = std::getenv("SOURCE_DATE_EPOCH");
    if (text == nullptr) {
        return std::optional<std::time_t>();
    }
    constexpr std::uint64_t kLatest = std::numeric_limits<std::int32_t>::max();
    std::uint64_t seconds = 0;
    if (!vtek::parseNumber(text, 0, kLatest, seconds)) {
        return tools::inputError(std::string("SOURCE_DATE_EPOCH is not a time in seconds: '") + text + "'");
    }
    return std::optional(static_cast<std::time_t>(seconds));
}

}  // namespace vtekctl
