#include "Command.h"
#include "File.h"
#include "Files.h"
#include "PayloadWriter.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <iostream>
#include <map>

namespace tools {

namespace {

using vtek::ErrorNumber;
using vtek::Status;

constexpr mode_t kPublic = 0644;

class SignCommand : public Command {
public:
    void define(CLI::App& app) override {
        app.add_option("content", content_, "a folder, or an archive (zip, tar, tar.gz)")
            ->required()
            ->check(CLI::ExistingPath);
        app.add_option("-o,--output", output_, "the payload to make, *.fwp")->required();
        app.add_option("--package", package_, "the package.xml that the payload goes with")
            ->required()
            ->check(CLI::ExistingFile);
        app.add_option("--component", manifest_.componentId, "the component id")->required();
        app.add_option("--package-version", manifest_.version, "the version of the firmware")->required();
        app.add_option("--chassis", manifest_.chassisTypes, "a chassis type that it is for; may be repeated")
            ->required();
        app.add_option("--certificate", certificate_, "the signer's certificate, PEM")->required();
        app.add_option("--key", key_, "the signer's private key, PEM")->required();
        app.add_option("--chain", chain_, "certificates between signer and authority, PEM");
        app.add_option("--format", format_, "tar, tar.gz or zip")
            ->transform(CLI::CheckedTransformer(
                std::map<std::string, vtek::ArchiveFormat>{{"tar", vtek::ArchiveFormat::Tar},
                                                           {"tar.gz", vtek::ArchiveFormat::TarGz},
                                                           {"zip", vtek::ArchiveFormat::Zip}}));
    }

    Status run(const Context&) override {
        VTEK_ASSIGN(const vtek::Identity signer, loadIdentity(certificate_, key_));
        std::vector<vtek::CertificatePtr> chain;
        if (!chain_.empty()) {
            VTEK_ASSIGN(chain, loadCertificates(chain_));
        }
        VTEK_ASSIGN(manifest_.packageDigest, vtek::digestOf(package_));
        if (auto checked = vtek::parseManifest(formatManifest(manifest_)); !checked) {
            return vtek::Error{ErrorNumber::InvalidArgument, checked.error().message};
        }
        const std::string unfinished = output_ + ".part";
        unlink(unfinished.c_str());
        Status made = makePayload(unfinished, signer, chain);
        if (made && rename(unfinished.c_str(), output_.c_str()) != 0) {
            made = vtek::systemError(ErrorNumber::InvalidArgument, "make " + output_);
        }
        if (!made) {
            unlink(unfinished.c_str());
            return made;
        }
        std::cout << "made " << output_ << '\n';
        return {};
    }

private:
    Status makePayload(const std::string& path, const vtek::Identity& signer,
                       const std::vector<vtek::CertificatePtr>& chain) const {
        const vtek::UniqueFd file =
            vtek::openAt(vtek::kWorkingFolder, path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, kPublic);
        if (!file) {
            return vtek::systemError(ErrorNumber::InvalidArgument, "make " + path);
        }
        VTEK_TRY(vtek::writeArchive(file.get(), format_, manifest_, content_));
        VTEK_ASSIGN(const std::string signature, vtek::signFile(path, signer, chain));
        VTEK_TRY(vtek::appendSignature(file.get(), signature));
        return vtek::syncFd(file.get()) ? Status()
                                        : vtek::systemError(ErrorNumber::InvalidArgument, "sync " + path);
    }

    std::string content_;
    std::string output_;
    std::string package_;
    vtek::Manifest manifest_;
    std::string certificate_;
    std::string key_;
    std::string chain_;
    vtek::ArchiveFormat format_ = vtek::ArchiveFormat::Tar;
};

}  // namespace

std::unique_ptr<Command> makeSign() {
    return std::make_unique<SignCommand>();
}

}  // namespace tools
