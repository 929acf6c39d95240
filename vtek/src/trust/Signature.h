#pragma once

#include "base/SignedFile.h"
#include "trust/Signer.h"

#include <functional>
#include <string>
#include <string_view>

namespace vtek {

/** What a verification has established. */
struct VerifiedSignature {
    std::string signer;  ///< the subject of the first signer's certificate
    std::string digest;  ///< SHA-256 of the whole file, in hexadecimal
    std::string start;   ///< the first signed bytes, up to 256 KiB, as they were verified
};

/** Receives the signed bytes, piece by piece and in order, as they are verified. */
using SeePiece = std::function<void(std::string_view)>;

/**
 * Verifies a file's signature over all signed bytes. Reads them once, in order.
 *
 * There must be at least one signer. Each signer must have signed attributes, satisfy the policy, and chain
 * up to the trust store.
 *
 * @param see  gets every byte before the verdict on it is known
 */
Result<VerifiedSignature> verifySignature(const SignedFile& file, const TrustStore& trust,
                                          const SignerPolicy& policy, const SeePiece& see);

/** Checks that a file's signature covers its content, not who signed. Never use it to decide trust. */
Status checkSignatureFits(const SignedFile& file);

}  // namespace vtek
