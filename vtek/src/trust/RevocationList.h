#pragma once

#include "trust/Crypto.h"

#include <optional>
#include <string>

namespace vtek {

/**
 * Says why a revocation list cannot be used, such as "is a delta"; nothing if it can. Only a complete list
 * can, one that names every revoked certificate of its issuer. OpenSSL would take a delta for a complete
 * list, and would ignore one that it cannot use: a revoked signer would be accepted.
 */
std::optional<std::string> whyUnusable(X509_CRL* list);

}  // namespace vtek
