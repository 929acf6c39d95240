#pragma once

#include "base/Progress.h"
#include "base/Rules.h"
#include "base/SignedFile.h"
#include "trust/TrustStore.h"

#include <ctime>
#include <string>
#include <vector>

namespace vtek {

/** What a signer must be; handed to every check, kept nowhere. */
struct SignerPolicy {
    std::time_t now;  ///< the moment at which certificates and lists must be valid
    Revocation revocation;
    std::vector<std::string> signerNames;  ///< the common names that are accepted; empty for all
};

/** What a check has established. */
struct VerifiedSignature {
    std::string signer;       ///< the subject of the signer's certificate
    std::string digest;       ///< SHA-256 of the whole file
    std::string fingerprint;  ///< of the whole file, to see later whether it is still the same
    std::string start;        ///< the first signed bytes, as they were verified
};

/**
 * Verifies a file's signature over every byte that it covers, reading them once, piece by piece.
 *
 * There must be at least one signer, and each one must have signed with attributes, chain up to the trust
 * store and satisfy the policy.
 */
Result<VerifiedSignature> verifySignature(const SignedFile& file, const TrustStore& trust,
                                          const SignerPolicy& policy, const ByteCounter& counter);

/**
 * Checks that a file's signature covers its content, not who signed. Never use it to decide trust.
 */
Status checkSignatureFits(const SignedFile& file);

}  // namespace vtek
