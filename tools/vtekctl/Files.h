#pragma once

#include "authoring/Certificates.h"
#include "base/File.h"
#include "base/Result.h"

#include <sys/types.h>

#include <string>

namespace tools {

/** Opens a regular file for reading; anything else, such as a FIFO that nobody writes, is refused and not
 * waited for. */
vtek::Result<vtek::UniqueFd> openPlainFile(const std::string& path);

/** Everything that a small regular file holds. */
vtek::Result<std::string> readSmallFile(const std::string& path);

/** Makes a new file; an existing one is refused. */
vtek::Status writeNewFile(const std::string& path, const std::string& content, mode_t mode);

/** A signer's certificate and private key from PEM files; asks for the key's pass phrase where it has one. */
vtek::Result<vtek::Identity> loadIdentity(const std::string& certificateFile, const std::string& keyFile);

/** The certificates of a PEM file. */
vtek::Result<std::vector<vtek::CertificatePtr>> loadCertificates(const std::string& file);

}  // namespace tools
