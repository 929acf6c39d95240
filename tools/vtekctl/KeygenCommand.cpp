#include "StagingFolder.h"
#include "Vtekctl.h"
#include "authoring/Certificates.h"
#include "base/File.h"
#include "common/InputFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <vector>

namespace vtekctl {
namespace {

using vtek::Status;

constexpr int kDays = 3650;  // ten years, about as long as a lab lives
constexpr mode_t kPrivate = 0700;
constexpr mode_t kSecret = 0600;
constexpr mode_t kPublic = 0644;

/** Makes a new file; an existing one is refused. */
Status writeNewFile(const std::string& path, const std::string& content, mode_t mode) {
    const vtek::UniqueFd file =
        vtek::openAt(vtek::kWorkingFolder, path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (!file || !vtek::writeFully(file.get(), content)) {
        return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "write " + path);
    }
    return {};
}

class KeygenCommand : public tools::Command {
public:
    void define(Options& options) override {
        options.value("folder", folder_, "where the files go; made if it does not exist")
            .required()
            .takes("FOLDER");
        options.value("--authority", authority_, "common name of the authority, of 1 to 64 characters")
            .showsDefault();
        options.value("--signer", signer_, "common name of the signer, of 1 to 64 characters").showsDefault();
        options.value("--days", days_, "how long they are valid").within(1, kDays).showsDefault();
        options.footer(
            "Writes authority.pem, authority.key, authority.crl (nothing revoked), signer.pem and "
            "signer.key.\n"
            "For a lab: the keys are not encrypted. Existing files are not replaced.");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        const std::time_t now = std::time(nullptr);
        VTEK_ASSIGN(auto authorityKey, vtek::makeEcKey());
        VTEK_ASSIGN(const vtek::Identity authority,
                    vtek::issueCertificate(vtek::authorityRequest(authority_, now, days_),
                                           std::move(authorityKey), nullptr));
        VTEK_ASSIGN(auto signerKey, vtek::makeRsaKey());
        VTEK_ASSIGN(const vtek::Identity signer,
                    vtek::issueCertificate(vtek::signerRequest(signer_, now, days_), std::move(signerKey),
                                           &authority));
        VTEK_ASSIGN(const auto list,
                    vtek::makeRevocationList(authority, now,
                                             vtek::authorityRequest(authority_, now, days_).validTo, {}));
        VTEK_TRY(writeAll({{"authority.key", vtek::toPem(authority.key.get()), kSecret},
                           {"authority.pem", vtek::toPem(authority.certificate.get()), kPublic},
                           {"authority.crl", vtek::toPem(list.get()), kPublic},
                           {"signer.key", vtek::toPem(signer.key.get()), kSecret},
                           {"signer.pem", vtek::toPem(signer.certificate.get()), kPublic}}));
        console.print("made a lab authority and a signer in " + folder_);
        return ExitStatus::Success;
    }

private:
    struct File {
        const char* name;
        std::string content;
        mode_t mode;
    };

    Status writeAll(const std::vector<File>& files) const {
        if (mkdir(folder_.c_str(), kPrivate) != 0 && errno != EEXIST) {
            return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "make " + folder_);
        }
        for (const auto& file : files) {
            if (std::filesystem::exists(std::filesystem::symlink_status(pathOf(file)))) {
                return tools::inputError(pathOf(file) + " exists already",
                                         "use the keys that are there, or name another folder");
            }
        }
        VTEK_ASSIGN(const StagingFolder staging, StagingFolder::nextTo(pathOf(files.front())));
        for (const auto& file : files) {
            VTEK_TRY(writeNewFile(staging / file.name, file.content, file.mode));
            VTEK_TRY(publish(staging / file.name, pathOf(file), Existing::Kept));
        }
        return {};
    }

    std::string pathOf(const File& file) const { return folder_ + "/" + file.name; }

    std::string folder_;
    std::string authority_ = "Lab Authority";
    std::string signer_ = "Lab Signer";
    int days_ = kDays;
};

}  // namespace

std::unique_ptr<tools::Command> makeKeygen() {
    return std::make_unique<KeygenCommand>();
}

}  // namespace vtekctl
