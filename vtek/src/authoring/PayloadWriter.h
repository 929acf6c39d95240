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
 * Writes an archive: first the manifest, then everything below a folder, sorted by name, or every entry of
 * another archive. Equal input gives equal bytes: owners and times are not recorded.
 *
 * @param fd       the archive's file; stays the caller's
 * @param content  a folder or an archive
 */
Status writeArchive(int fd, ArchiveFormat format, const Manifest& manifest,
                    const std::filesystem::path& content);

/**
 * Makes a detached signature of a file, with SHA-256. With an RSA key, equal input gives an equal signature.
 *
 * @param intermediates  certificates between the signer and its trusted authority, included in the signature
 * @param signingTime    recorded in the signature; empty for the first moment of the signer's certificate
 * @return the CMS in DER
 */
Result<std::string> signFile(const std::filesystem::path& file, const Identity& signer,
                             const std::vector<CertificatePtr>& intermediates,
                             std::optional<std::time_t> signingTime = {});

/** Turns an archive into a payload: writes signature and trailer at the descriptor's offset, which must be
 * the archive's end. */
Status appendSignature(int fd, const std::string& signature);

/** The SHA-256 of a package.xml of at most kPackageBound bytes, as a manifest holds it: 64 lower-case
 * hexadecimal digits. */
Result<std::string> digestOfPackage(const std::filesystem::path& file);

}  // namespace vtek
