#pragma once

#include "base/Result.h"
#include "base/Root.h"
#include "trust/Crypto.h"

#include <string>
#include <vector>

namespace vtek {

/** The certificates and revocation lists that an administrator trusts, and no others of the machine. */
struct TrustStore {
    X509StorePtr store;
    int authorities = 0;
    int revocationLists = 0;
};

/** The content of one file of the trust store. */
struct TrustFile {
    std::string name;
    std::vector<CertificatePtr> certificates;
    std::vector<RevocationListPtr> revocationLists;
};

/** Parses the PEM blocks of a text. There must be at least one; each must be a certificate or a complete
 * revocation list. */
Result<TrustFile> parseTrustFile(const std::string& name, const std::string& pem);

/** Reads every file of the trust folder. One bad file makes the whole store unusable. */
Result<std::vector<TrustFile>> readTrustFiles(const Root& root);

/** Loads the trust folder for one verification. A store without a certificate is refused. */
Result<TrustStore> loadTrustStore(const Root& root);

}  // namespace vtek
