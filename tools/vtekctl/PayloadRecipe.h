#pragma once

#include "Vtekctl.h"
#include "authoring/PayloadWriter.h"

#include <filesystem>
#include <optional>
#include <string>

namespace vtekctl {

/** How to make a payload, as the command line says: for the commands that make one. */
class PayloadRecipe {
public:
    /** Declares the options. */
    void define(Options& options);

    /** Declares the options that override package.xml. */
    void defineManifest(Options& options);

    const std::string& packageFile() const { return package_; }

    /** The manifest of a payload that goes with this package.xml. */
    vtek::Result<vtek::Manifest> manifestFor(const std::filesystem::path& package) const;

    /** Makes the new file `name` in a folder: the archive, to be signed. */
    vtek::Status makeArchive(const std::filesystem::path& folder, const std::string& name,
                             const vtek::Manifest& manifest) const;

    /**
     * Makes the new file `name` in a folder: the archive and its signature.
     *
     * @param signingTime  the time in the signature; else the start of the certificate's validity
     */
    vtek::Status makePayload(const std::filesystem::path& folder, const std::string& name,
                             const vtek::Manifest& manifest, std::optional<std::time_t> signingTime) const;

private:
    vtek::Result<std::string> sign(const std::filesystem::path& archive,
                                   std::optional<std::time_t> signingTime) const;

    std::string content_;
    std::string package_;
    std::string component_;
    std::string version_;
    std::vector<std::string> chassisTypes_;
    std::string certificate_;
    std::string key_;
    std::string chain_;
    std::string signature_;
    std::string format_ = "tar";
};

/** $SOURCE_DATE_EPOCH, the time that made files carry; absent if it is not set. */
vtek::Result<std::optional<std::time_t>> sourceDateEpoch();

}  // namespace vtekctl
