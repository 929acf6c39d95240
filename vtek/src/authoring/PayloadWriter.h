#pragma once

#include "authoring/ArchiveWriter.h"
#include "authoring/Certificates.h"
#include "payload/Manifest.h"

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vtek {

/**
 * Writes an archive: the manifest, then everything below a folder in the order of the names, or every entry
 * of another archive. Owners and times are left out, so that equal input gives equal bytes.
 *
 * @param fd  the archive's file; stays the caller's
 */
Status writeArchive(int fd, ArchiveFormat format, const Manifest& manifest,
                    const std::filesystem::path& content);

/**
 * Signs a file's bytes, detached, with SHA-256. With an RSA key, equal input gives an equal signature.
 *
 * @param helpers      certificates between the signer and its trusted authority, to go with the signature
 * @param signingTime  what the signature says about its time; else the beginning of the signer's certificate
 * @return a DER CMS
 */
Result<std::string> signFile(const std::filesystem::path& file, const Identity& signer,
                             const std::vector<CertificatePtr>& helpers,
                             std::optional<std::time_t> signingTime = {});

/** Makes a payload of an archive that ends where the descriptor stands: adds signature and trailer. */
Status appendSignature(int fd, const std::string& signature);

/** SHA-256 of a file, as a manifest wants it. */
Result<std::string> digestOf(const std::filesystem::path& file);

}  // namespace vtek
