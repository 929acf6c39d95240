#pragma once

#include "base/Rules.h"
#include "trust/TrustStore.h"

#include <ctime>
#include <string>
#include <vector>

namespace vtek {

/** What a signer must satisfy. Passed to each check; there is no global default. */
struct SignerPolicy {
    std::time_t now;  ///< the moment at which certificates and revocation lists must be valid
    Revocation revocation;
    std::vector<std::string> signerNames;  ///< the common names that are accepted; empty for all
};

/**
 * Checks one signer, before anything that it signed is read: its algorithms, the chain from its certificate
 * to the trust store, and the certificate's purpose and name.
 *
 * @param signer     its certificate must be set
 * @param untrusted  certificates that came with the signature: links for the chain, never its end
 */
Status checkSigner(CMS_SignerInfo* signer, STACK_OF(X509) * untrusted, const TrustStore& trust,
                   const SignerPolicy& policy);

/** The certificate of a signer, or null; owned by the signature. */
X509* signerCertificate(CMS_SignerInfo* signer);

}  // namespace vtek
