#include "Command.h"
#include "OwnFolder.h"
#include "PayloadRecipe.h"
#include "Workshop.h"
#include "authoring/ArchiveWriter.h"
#include "base/File.h"

#include <fcntl.h>

#include <algorithm>
#include <iostream>
#include <string_view>

namespace tools {

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
constexpr std::time_t kTime = 315532800;  // 1980-01-01, before which some archivers know no time
constexpr mode_t kPublic = 0644;

Status copyFile(const fs::path& from, const fs::path& to, fs::perms mode) {
    std::error_code failure;
    if (fs::copy_file(from, to, failure)) {
        fs::permissions(to, mode, failure);
    }
    if (failure) {
        return Error{ErrorNumber::InvalidArgument, "copy " + from.string() + ": " + failure.message()};
    }
    return {};
}

/** The folder in the archive: named after what the package brings, whatever signs a version may hold. */
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
    vtek::ArchiveWriter writer(archive.get(), vtek::ArchiveFormat::TarGz, time);
    VTEK_TRY(writer.addFolder(top));
    VTEK_TRY(writer.addFile(top + "/" + kPayload, package / kPayload));
    VTEK_TRY(writer.addFile(top + "/" + kDescription, package / kDescription));
    VTEK_TRY(writer.addProgram(top + "/" + kProgram, package / kProgram));
    return writer.finish();
}

class PackCommand : public Command {
public:
    void define(Options& options) override {
        recipe_.define(options);
        options
            .value("-o,--output", output_,
                   "the package's folder to make, new or empty; FOLDER.tar.gz is made beside it")
            .required()
            .takes("FOLDER");
        options.value("--template", template_, "where to take qrxupdate from; else what is installed")
            .takes("FOLDER");
        options.footer(
            "The component id and the version are those of package.xml. Equal input gives an equal archive,\n"
            "unless the key is an elliptic one: its signatures differ each time. $SOURCE_DATE_EPOCH sets "
            "the\n"
            "times in archive and signature.");
    }

    Status run(const Context&) override {
        VTEK_ASSIGN(const auto time, sourceDateEpoch());
        VTEK_ASSIGN(const fs::path output, outputFolder());
        VTEK_ASSIGN(const fs::path program, templateProgram());
        VTEK_ASSIGN(const Workshop workshop, Workshop::beside(output));
        const fs::path package = workshop / kFolder;
        fs::create_directory(package);
        VTEK_TRY(copyFile(program, package / kProgram, fs::perms(0755)));
        VTEK_TRY(copyFile(recipe_.packageFile(), package / kDescription, fs::perms(kPublic)));
        VTEK_ASSIGN(const vtek::Manifest manifest, recipe_.manifestFor(package / kDescription));
        VTEK_TRY(recipe_.makePayload(package, kPayload, manifest, time));
        VTEK_TRY(writePackageArchive(workshop / kArchive, package, archivedFolder(manifest),
                                     time.value_or(kTime)));
        return publishBoth(workshop, output);
    }

private:
    vtek::Result<fs::path> outputFolder() const {
        const fs::path given(output_);
        const fs::path output = given.has_filename() ? given : given.parent_path();
        if (!output.has_filename() || output.filename() == "." || output.filename() == "..") {
            return Error{ErrorNumber::InvalidArgument, "'" + output_ + "' is no name for a new folder"};
        }
        return output;
    }

    vtek::Result<fs::path> templateProgram() const {
        if (!template_.empty()) {
            return fs::path(template_) / kProgram;
        }
        VTEK_ASSIGN(const fs::path folder,
                    ownFolder(VTEK_INSTALLED_TEMPLATE_FOLDER, VTEK_BUILT_TEMPLATE_FOLDER, kProgram));
        return folder / kProgram;
    }

    /** The folder comes last: once it is there, everything is. */
    static Status publishBoth(const Workshop& workshop, const fs::path& output) {
        const fs::path archive = output.string() + ".tar.gz";
        VTEK_TRY(publish(workshop / kArchive, archive, Existing::Kept));
        if (Status published = publish(workshop / kFolder, output, Existing::Kept); !published) {
            if (fs::exists(workshop / kFolder)) {
                fs::remove(archive);
            }
            return published;
        }
        std::cout << "made " << output.string() << " and " << archive.string() << '\n';
        return {};
    }

    PayloadRecipe recipe_;
    std::string output_;
    std::string template_;
};

}  // namespace

std::unique_ptr<Command> makePack() {
    return std::make_unique<PackCommand>();
}

}  // namespace tools
