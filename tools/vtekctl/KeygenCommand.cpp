#include "Certificates.h"
#include "Command.h"
#include "Files.h"

#include <sys/stat.h>

#include <cerrno>
#include <ctime>
#include <iostream>

namespace tools {

namespace {

using vtek::Status;

constexpr int kDays = 3650;
constexpr mode_t kPrivate = 0700;
constexpr mode_t kSecret = 0600;
constexpr mode_t kPublic = 0644;

class KeygenCommand : public Command {
public:
    void define(CLI::App& app) override {
        app.add_option("folder", folder_, "where the files go; made when it is not there")->required();
        app.add_option("--authority", authority_, "common name of the authority")->capture_default_str();
        app.add_option("--signer", signer_, "common name of the signer")->capture_default_str();
        app.add_option("--days", days_, "how long they are valid")
            ->check(CLI::Range(1, kDays))
            ->capture_default_str();
        app.footer(
            "Writes authority.pem, authority.key, authority.crl (nothing revoked), signer.pem and "
            "signer.key.\n"
            "For a lab: the keys are not encrypted. Existing files are not replaced.");
    }

    Status run(const Context&) override {
        if (mkdir(folder_.c_str(), kPrivate) != 0 && errno != EEXIST) {
            return vtek::systemError(vtek::ErrorNumber::InvalidArgument, "make " + folder_);
        }
        const std::time_t now = std::time(nullptr);
        VTEK_ASSIGN(auto authorityKey, vtek::makeEcKey());
        VTEK_ASSIGN(const vtek::Identity authority,
                    vtek::issueCertificate(vtek::authorityRequest(authority_, now, days_),
                                           std::move(authorityKey), nullptr));
        VTEK_ASSIGN(auto signerKey, vtek::makeEcKey());
        VTEK_ASSIGN(const vtek::Identity signer,
                    vtek::issueCertificate(vtek::signerRequest(signer_, now, days_), std::move(signerKey),
                                           &authority));
        VTEK_ASSIGN(const auto list,
                    vtek::makeRevocationList(authority, now,
                                             vtek::authorityRequest(authority_, now, days_).validTo, {}));
        VTEK_TRY(write("authority.pem", vtek::toPem(authority.certificate.get()), kPublic));
        VTEK_TRY(write("authority.key", vtek::toPem(authority.key.get()), kSecret));
        VTEK_TRY(write("authority.crl", vtek::toPem(list.get()), kPublic));
        VTEK_TRY(write("signer.pem", vtek::toPem(signer.certificate.get()), kPublic));
        VTEK_TRY(write("signer.key", vtek::toPem(signer.key.get()), kSecret));
        std::cout << "made a lab authority and a signer in " << folder_ << '\n';
        return {};
    }

private:
    Status write(const char* name, const std::string& content, mode_t mode) const {
        return writeNewFile(folder_ + "/" + name, content, mode);
    }

    std::string folder_;
    std::string authority_ = "Lab Authority";
    std::string signer_ = "Lab Signer";
    int days_ = kDays;
};

}  // namespace

std::unique_ptr<Command> makeKeygen() {
    return std::make_unique<KeygenCommand>();
}

}  // namespace tools
