#include "PayloadRecipe.h"
#include "StagingFolder.h"
#include "Vtekctl.h"
#include "authoring/ArchiveWriter.h"
#include "base/File.h"
#include "base/Progress.h"
#include "base/Rules.h"

#include <fcntl.h>

#include <algorithm>
#include <string_view>

namespace vtekctl {
namespace {

using vtek::Error;
using vtek::ErrorNumber;
using vtek::Status;
namespace fs = std::filesystem;

constexpr const char* kProgram = "qrxupdate";
constexpr const char* kDescription = "package.xml";
constexpr const char* kPayload = "firmware.fwp";
constexpr const char* kFolder = "package";
constexpr const char* kArchive = "package.tar.gz";
constexpr std::time_t kTime = 315532800;  // 1980-01-01; a zip entry cannot be older
constexpr mode_t kPublic = 0644;
#ifdef VTEK_TEMPLATE_IS_PORTABLE
constexpr bool kTemplateIsPortable = true;
#else
constexpr bool kTemplateIsPortable = false;
#endif

Status copyProgram(const fs::path& from, const fs::path& to) {
    std::error_code failure;
    if (fs::copy_file(from, to, failure)) {
        fs::permissions(to, fs::perms(0755), failure);
    }
    if (failure) {
        return Error{ErrorNumber::InvalidArgument, "copy " + from.string() + ": " + failure.message()};
    }
    return {};
}

/** Copies a package.xml; refuses one that no update accepts before anything is read. */
Status copyDescription(const fs::path& from, const fs::path& to) {
    VTEK_ASSIGN(const std::string xml,
                vtek::readRegularFile(vtek::kWorkingFolder, from.string(), vtek::Links::Followed,
                                      vtek::kPackageBound, from.string(), ErrorNumber::InvalidArgument));
    const vtek::UniqueFd copy = vtek::createFileAt(vtek::kWorkingFolder, to.string(), kPublic);
    if (!copy || !vtek::writeFully(copy.get(), xml)) {
        return vtek::systemError(ErrorNumber::InvalidArgument, "write " + to.string());
    }
    return {};
}

/** The folder in the archive, named after component and version; "_" replaces what a shell might interpret.
 */
std::string archivedFolder(const vtek::Manifest& manifest) {
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_+";
    std::string name = std::string(kProgram) + "-" + manifest.componentId + "-" + manifest.version;
    std::replace_if(
        name.begin(), name.end(), [&](char c) { return kPlain.find(c) == std::string_view::npos; }, '_');
    return name;
}

Status writePackageArchive(const fs::path& file, const fs::path& package, const std::string& top,
                           std::time_t time) {
    const vtek::UniqueFd archive =
        vtek::openAt(vtek::kWorkingFolder, file.string(), O_WRONLY | O_CREAT | O_EXCL, kPublic);
    if (!archive) {
        return vtek::systemError(ErrorNumber::InvalidArgument, "make " + file.string());
    }
    vtek::Progress progress("compress", fs::file_size(package / kPayload));
    vtek::ArchiveWriter writer(archive.get(), vtek::ArchiveFormat::TarGz, time,
                               [&](std::uint64_t bytes) { progress.add(bytes); });
    VTEK_TRY(writer.addFolder(top));
    VTEK_TRY(writer.addFile(top + "/" + kPayload, package / kPayload));
    VTEK_TRY(writer.addFile(top + "/" + kDescription, package / kDescription));
    VTEK_TRY(writer.addProgram(top + "/" + kProgram, package / kProgram));
    return writer.finish();
}

class PackCommand : public tools::Command {
public:
    void define(Options& options) override {
        recipe_.define(options);
        options
            .value("-o,--output", output_,
                   "the package's folder to make, new or empty; FOLDER.tar.gz is made next to it")
            .required()
            .takes("FOLDER");
        options.value("--template", template_, "the folder to take qrxupdate from; else the installed one")
            .takes("FOLDER");
        options.footer(
            "Component id and version come from package.xml. Equal input gives an equal archive, unless the "
            "key\n"
            "is an elliptic-curve key, whose signatures differ each time. $SOURCE_DATE_EPOCH sets the times "
            "in\n"
            "archive and signature.");
    }

    vtek::Result<ExitStatus> run(const Console& console) override {
        VTEK_ASSIGN(const auto time, sourceDateEpoch());
        VTEK_ASSIGN(const fs::path output, outputFolder());
        VTEK_ASSIGN(const fs::path program, templateProgram());
        VTEK_ASSIGN(const StagingFolder staging, StagingFolder::nextTo(output));
        const fs::path package = staging / kFolder;
        fs::create_directory(package);
        VTEK_TRY(copyProgram(program, package / kProgram));
        VTEK_TRY(copyDescription(recipe_.packageFile(), package / kDescription));
        VTEK_ASSIGN(const vtek::Manifest manifest, recipe_.manifestFor(package / kDescription));
        VTEK_TRY(recipe_.makePayload(package, kPayload, manifest, time));
        VTEK_TRY(
            writePackageArchive(staging / kArchive, package, archivedFolder(manifest), time.value_or(kTime)));
        VTEK_TRY(publishBoth(staging, output));
        console.print("made " + output.string() + " and " + archiveOf(output).string());
        if (template_.empty() && !kTemplateIsPortable) {
            console.print(
                "The program is this build's own: servers need libraries like those of this system.");
        }
        return ExitStatus::Success;
    }

private:
    vtek::Result<fs::path> outputFolder() const {
        const fs::path given(output_);
        const fs::path output = given.has_filename() ? given : given.parent_path();
        if (!output.has_filename() || output.filename() == "." || output.filename() == "..") {
            return Error{ErrorNumber::InvalidArgument, "'" + output_ + "' cannot name a new folder"};
        }
        return output;
    }

    vtek::Result<fs::path> templateProgram() const {
        if (!template_.empty()) {
            return fs::path(template_) / kProgram;
        }
        VTEK_ASSIGN(const fs::path folder,
                    shippedFolder(VTEK_INSTALLED_TEMPLATE_FOLDER, VTEK_BUILT_TEMPLATE_FOLDER, kProgram));
        return folder / kProgram;
    }

    static fs::path archiveOf(const fs::path& output) { return output.string() + ".tar.gz"; }

    /** The folder comes last: once it exists, the package is complete. */
    static Status publishBoth(const StagingFolder& staging, const fs::path& output) {
        const fs::path archive = archiveOf(output);
        VTEK_TRY(publish(staging / kArchive, archive, Existing::Kept));
        if (Status published = publish(staging / kFolder, output, Existing::Kept); !published) {
            if (fs::exists(staging / kFolder)) {
                fs::remove(archive);
            }
            return published;
        }
        return {};
    }

    PayloadRecipe recipe_;
    std::string output_;
    std::string template_;
};

}  // namespace

std::unique_ptr<tools::Command> makePack() {
    return std::make_unique<PackCommand>();
}

}  // namespace vtekctl
