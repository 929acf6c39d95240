#include "BaseUtils.h"
#include "Commands.h"
#include "InputFile.h"
#include "Json.h"
#include "PackageCheck.h"
#include "PackageFacts.h"
#include "PackageView.h"
#include "XmlDocument.h"

#include <filesystem>

namespace tools {
namespace {

constexpr const char* kPackageXml = "package.xml";

std::string packageXmlIn(const Arguments& arguments) {
    return arguments.operands.empty()
               ? kPackageXml
               : (std::filesystem::path(arguments.operands.front()) / kPackageXml).string();
}

Result<XmlDocPtr> parsePackage(const std::string& path) {
    const Result<std::string> text = readInput(path);
    if (!text) {
        return text.problem();
    }
    return parseDocumentOf(*text, "SoftwareComponent");
}

ExitStatus check(const xmlDoc& document, const std::string& path, const Arguments& arguments,
                 const Console& console) {
    const std::vector<Finding> findings = checkPackage(document);
    arguments.json ? printJson(console.out, toJson(path, findings))
                   : printFindings(console.out, path, findings);
    return findings.empty() ? ExitStatus::Success : ExitStatus::Finding;
}

/** The package's reader looks in the working directory, so that becomes the package's folder. */
std::optional<Problem> enterFolderOf(const std::string& packageXml) {
    const std::filesystem::path folder = std::filesystem::path(packageXml).parent_path();
    std::error_code error;
    if (!folder.empty()) {
        std::filesystem::current_path(folder, error);
    }
    return error ? Problem{error.message()} : checkMarkerFile();
}

ExitStatus show(const std::string& path, const Arguments& arguments, const Console& console) {
    if (const std::optional<Problem> problem = enterFolderOf(path)) {
        console.tell(path + ": " + problem->message);
        return ExitStatus::BadInput;
    }
    const PackageFacts facts = readPackageFacts();
    arguments.json ? printJson(console.out, toJson(facts)) : printFacts(console.out, facts);
    return ExitStatus::Success;
}

}  // namespace

ExitStatus runPackage(const Arguments& arguments, const Console& console) {
    const std::string path = packageXmlIn(arguments);
    Result<XmlDocPtr> document = parsePackage(path);
    if (!document) {
        console.tell(path + ": " + document.problem().message);
        return ExitStatus::BadInput;
    }
    if (arguments.check) {
        return check(**document, path, arguments, console);
    }
    // The package's reader cleans libxml2 up when it goes, and no other document may be left then.
    (*document).reset();
    return show(path, arguments, console);
}

}  // namespace tools
