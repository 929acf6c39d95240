#pragma once

#include "base/Rules.h"
#include "trust/TrustStore.h"

#include <ctime>
#include <string>

namespace vtek {

/** The refusal of a signer, with its name. */
Error refuseSigner(ErrorNumber number, X509* certificate, const std::string& reason);

/**
 * Checks the chain from a signer's certificate to the trust store, by the strict rules of RFC 5280:
 * signatures, validity, revocation, constraints and policies. Every certificate above the signer's must be an
 * authority's that may certify code signers.
 *
 * @param untrusted  certificates that came with the signature: links for the chain, never its end
 * @param now        the moment at which certificates and revocation lists must be valid
 */
Status checkChain(X509* certificate, STACK_OF(X509) * untrusted, const TrustStore& trust, std::time_t now,
                  Revocation revocation);

}  // namespace vtek
