#pragma once

#include "Payload.h"
#include "Settings.h"
#include "Trust.h"

#include <ctime>
#include <functional>
#include <string>
#include <vector>

namespace vtek {

/** What a signer must be; handed to every check, kept nowhere. */
struct SignaturePolicy {
    std::time_t now;  ///< the moment at which certificates and lists must be valid
    Revocation revocation;
    std::vector<std::string> signerNames;  ///< the common names that are accepted; empty for all
};

/** What a check has established. */
struct VerifiedSignature {
    std::string signer;       ///< the subject of the signer's certificate
    std::string digest;       ///< SHA-256 of the whole payload file
    std::string fingerprint;  ///< of the whole payload file, to see later whether it is still the same
    std::string start;        ///< the archive's first bytes, as they were verified
};

/** Told the number of bytes that were read since the last call. */
using ByteCounter = std::function<void(std::uint64_t)>;

/**
 * Verifies a payload's signature over every byte of its archive, reading it once, piece by piece.
 *
 * There must be at least one signer, and each one must have signed with attributes, chain up to the trust
 * store and satisfy the policy.
 */
Result<VerifiedSignature> verifySignature(const Payload& payload, const TrustStore& trust,
                                          const SignaturePolicy& policy, const ByteCounter& counter);

/**
 * Whether a payload's signature was made over its archive, by whomever: for those who put the two together.
 * No ground to trust either.
 */
Status checkSignatureFits(const Payload& payload);

}  // namespace vtek
