#include "BaseUtils.h"
#include "PackageCheck.h"
#include "PackageFacts.h"
#include "Qrxinspect.h"
#include "XmlDocument.h"
#include "common/InputFile.h"
#include "common/PrintJson.h"

#include <filesystem>

namespace qrxinspect {
namespace {

constexpr const char* kPackageXml = "package.xml";

vtek::Result<XmlDocPtr> parsePackage(const std::string& path) {
    VTEK_ASSIGN(const std::string text, tools::readInput(path, ""));
    return parseDocumentOf(text, "SoftwareComponent");
}

/** The package's reader reads from the working directory, so that becomes the package's folder. */
vtek::Status enterFolderOf(const std::filesystem::path& packageXml) {
    std::error_code error;
    if (packageXml.has_parent_path()) {
        std::filesystem::current_path(packageXml.parent_path(), error);
    }
    return error ? vtek::Status(tools::inputError(error.message())) : checkMarkerFile();
}

class PackageCommand : public tools::Command {
public:
    void define(Options& options) override {
        options.value("DIR", folder_, "The package's folder; the working directory by default")
            .takes("FOLDER");
        options.flag("--check", check_, "Say what is missing or suspicious, with line numbers");
        options.flag("--json", json_, "Print JSON");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        const std::string path = (std::filesystem::path(folder_) / kPackageXml).string();
        vtek::Result<XmlDocPtr> document = parsePackage(path);
        if (!document) {
            return tools::inputError(path + ": " + document.error().message);
        }
        if (check_) {
            return check(console, path, **document);
        }
        // The package's reader cleans libxml2 up in its destructor; no other document may be left then.
        document->reset();
        if (const vtek::Status entered = enterFolderOf(path); !entered) {
            return tools::inputError(path + ": " + entered.error().message);
        }
        const PackageFacts facts = readPackageFacts();
        json_ ? tools::printJson(console.out, toJson(facts)) : printFacts(console, facts);
        return ExitStatus::Success;
    }

private:
    ExitStatus check(const Console& console, const std::string& path, const xmlDoc& document) const {
        const std::vector<Finding> findings = checkPackage(document);
        json_ ? tools::printJson(console.out, toJson(path, findings))
              : printFindings(console.out, path, findings);
        return findings.empty() ? ExitStatus::Success : ExitStatus::Failure;
    }

    std::string folder_;
    bool check_ = false;
    bool json_ = false;
};

}  // namespace

std::unique_ptr<tools::Command> makePackage() {
    return std::make_unique<PackageCommand>();
}

}  // namespace qrxinspect
