#pragma once

#include "trust/Signature.h"

namespace vtek {

/**
 * Judges one signer before anything that it signed is looked at: its algorithms, its certificate's purpose,
 * name and key, and the chain from there to the trust store.
 *
 * @param signer       with its certificate set
 * @param certificates those that came with the signature; they may help to build the chain and are not
 * trusted
 */
Status checkSigner(CMS_SignerInfo* signer, STACK_OF(X509) * certificates, const TrustStore& trust,
                   const SignerPolicy& policy);

/** The certificate that belongs to a signer, or null; owned by the signature. */
X509* signerCertificate(CMS_SignerInfo* signer);

}  // namespace vtek
