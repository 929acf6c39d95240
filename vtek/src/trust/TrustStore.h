#pragma once

#include "base/Result.h"
#include "base/Root.h"
#include "trust/Crypto.h"

#include <string>
#include <vector>

namespace vtek {

/** The certificates and revocation lists that an administrator trusts. */
struct TrustStore {
    X509StorePtr store;  ///< of its own for every check; knows nothing of the machine's other certificates
    int authorities = 0;
    int revocationLists = 0;
};

/** One file of the trust store, for showing. */
struct TrustFile {
    std::string name;
    std::vector<CertificatePtr> certificates;
    std::vector<RevocationListPtr> revocationLists;
};

/** Takes apart the PEM blocks of a text; refused when there are none, or others than certificates and lists.
 */
Result<TrustFile> parseTrustFile(const std::string& name, const std::string& pem);

/** Reads every file of the trust folder; one bad file makes the whole store unusable. */
Result<std::vector<TrustFile>> readTrustFiles(const Root& root);

/** Loads the trust folder; a store without any certificate is refused. */
Result<TrustStore> loadTrustStore(const Root& root);

}  // namespace vtek
