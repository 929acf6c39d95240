#pragma once

#include "base/Progress.h"
#include "base/SignedFile.h"
#include "trust/Signer.h"

#include <string>

namespace vtek {

/** What a verification has established. */
struct VerifiedSignature {
    std::string signer;       ///< the subject of the first signer's certificate
    std::string digest;       ///< SHA-256 of the whole file, in hexadecimal
    std::string fingerprint;  ///< of the whole file, to check later in this process that it is unchanged
    std::string start;        ///< the first signed bytes, up to 256 KiB, as they were verified
};

/**
 * Verifies a file's signature over all signed bytes. Reads them once, in order.
 *
 * There must be at least one signer. Each signer must have signed attributes, satisfy the policy, and chain
 * up to the trust store.
 *
 * @param counter  called with the number of bytes read
 */
Result<VerifiedSignature> verifySignature(const SignedFile& file, const TrustStore& trust,
                                          const SignerPolicy& policy, const ByteCounter& counter);

/** Checks that a file's signature covers its content, not who signed. Never use it to decide trust. */
Status checkSignatureFits(const SignedFile& file);

}  // namespace vtek
