#include "Vtekctl.h"
#include "base/File.h"
#include "common/InputFile.h"
#include "common/PrintJson.h"
#include "common/TextTable.h"
#include "install/Repository.h"
#include "payload/EntryNames.h"
#include "trust/TrustStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace vtekctl {
namespace {

using vtek::ErrorNumber;
using vtek::Status;

constexpr mode_t kTrustMode = 0644;

std::string timeText(const ASN1_TIME* time) {
    if (time == nullptr) {
        return "never";
    }
    const auto bio = vtek::required(vtek::BioPtr(BIO_new(BIO_s_mem())));
    ASN1_TIME_print_ex(bio.get(), time, ASN1_DTFLGS_ISO8601);
    const char* bytes = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(std::max(size, 0L)));
}

class AddCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("file", file_, "a PEM file with certificates of authorities, or with revocation lists")
            .required()
            .takes("FILE");
        options.value("--name", name_, "the file's name in the trust store; else its own name");
    }

    vtek::Result<ExitStatus> run(const Console&) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(const std::string pem, tools::readInput(file_, file_));
        const std::string name = name_.empty() ? std::filesystem::path(file_).filename().string() : name_;
        if (!vtek::isPlainPath(name) || name.find('/') != std::string::npos) {
            return tools::inputError("'" + name + "' cannot be a name in the trust store");
        }
        VTEK_ASSIGN(const vtek::TrustFile parsed, vtek::parseTrustFile(name, pem));
        const bool authorities = std::all_of(
            parsed.certificates.begin(), parsed.certificates.end(),
            [](const vtek::CertificatePtr& certificate) { return vtek::isAuthority(certificate.get()); });
        if (!authorities) {
            return tools::inputError(file_ + " has a certificate that is not an authority's");
        }
        VTEK_TRY(replaceFile(root, name, pem));
        return ExitStatus::Success;
    }

private:
    /** Replaces the file in one step: half a file would make the whole trust store unusable. */
    static Status replaceFile(const vtek::Root& root, const std::string& name, const std::string& pem) {
        VTEK_ASSIGN(const vtek::UniqueFd trust,
                    root.openFolder(vtek::kTrustFolder, ErrorNumber::TrustUnusable));
        if (const auto tidied = vtek::removeUnfinishedTrust(root); !tidied) {
            return tidied.error();
        }
        const std::string unfinished = vtek::kUnfinishedTrust + std::to_string(getpid());
        // Locked, so that no recovery removes it; private until it is complete, so that nobody else locks it.
        const vtek::UniqueFd file = vtek::createFileAt(root.folder(), unfinished, vtek::kPrivateFile);
        if (!file || flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !vtek::writeFully(file.get(), pem) ||
            fchmod(file.get(), kTrustMode) != 0 || !vtek::syncFd(file.get()) ||
            renameat(root.folder(), unfinished.c_str(), trust.get(), name.c_str()) != 0 ||
            !vtek::syncFd(trust.get())) {
            const vtek::Error error = vtek::systemError(ErrorNumber::TrustUnusable, "write trust/" + name);
            unlinkat(root.folder(), unfinished.c_str(), 0);
            return error;
        }
        return {};
    }

    std::string file_;
    std::string name_;
};

class ListCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override { options.flag("--json", json_, "print JSON"); }

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(const auto files, vtek::readTrustFiles(root));
        for (const auto& file : files) {
            for (const auto& certificate : file.certificates) {
                add(file.name, "certificate", X509_get_subject_name(certificate.get()),
                    X509_get0_notAfter(certificate.get()));
            }
            for (const auto& list : file.revocationLists) {
                add(file.name, "revocation list", X509_CRL_get_issuer(list.get()),
                    X509_CRL_get0_nextUpdate(list.get()));
            }
        }
        if (json_) {
            nlohmann::ordered_json json = nlohmann::ordered_json::array();
            for (const auto& row : rows_) {
                json.push_back({{"file", row[0]}, {"kind", row[1]}, {"until", row[2]}, {"name", row[3]}});
            }
            tools::printJson(console.out, {{"trusted", json}});
        } else {
            tools::TextTable table({"FILE", "KIND", "UNTIL", "NAME"});
            for (const auto& row : rows_) {
                table.addRow(row);
            }
            console.print(table);
        }
        return ExitStatus::Success;
    }

private:
    void add(const std::string& file, const char* kind, const X509_NAME* name, const ASN1_TIME* until) {
        rows_.push_back({file, kind, timeText(until), vtek::nameText(name)});
    }

    bool json_ = false;
    std::vector<std::vector<std::string>> rows_;
};

class RemoveCommand : public ChassisCommand {
public:
    using ChassisCommand::ChassisCommand;

    void define(Options& options) override {
        options.value("name", name_, "the file's name").required().takes("TRUSTED");
    }

    vtek::Result<ExitStatus> run(const Console&) override {
        VTEK_ASSIGN(const vtek::Root root, chassis().openRoot());
        VTEK_ASSIGN(const vtek::UniqueFd folder,
                    root.openFolder(vtek::kTrustFolder, ErrorNumber::TrustUnusable));
        const bool plain = name_.find('/') == std::string::npos;
        if (!plain || unlinkat(folder.get(), name_.c_str(), 0) != 0 || !vtek::syncFd(folder.get())) {
            return tools::inputError("the trust store has no file '" + name_ + "' to remove");
        }
        return ExitStatus::Success;
    }

private:
    std::string name_;
};

}  // namespace

std::unique_ptr<tools::Command> makeTrustAdd(const Chassis& chassis) {
    return std::make_unique<AddCommand>(chassis);
}

std::unique_ptr<tools::Command> makeTrustList(const Chassis& chassis) {
    return std::make_unique<ListCommand>(chassis);
}

std::unique_ptr<tools::Command> makeTrustRemove(const Chassis& chassis) {
    return std::make_unique<RemoveCommand>(chassis);
}

}  // namespace vtekctl
