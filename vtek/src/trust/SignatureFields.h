#pragma once

#include "base/Result.h"
#include "trust/Crypto.h"

#include <vector>

namespace vtek {

/**
 * Checks the fields of a valid signature that no key protects. Each must be the value that RFC 5652 requires,
 * or describe what was verified: the versions, the list of digest algorithms, each signer's algorithms,
 * content type and identifier. Otherwise a field could be changed, and the signature would still be valid.
 *
 * @param cms  its signers' certificates must be set
 * @param der  the bytes from which it was parsed
 */
Status checkFields(CMS_ContentInfo* cms, const std::vector<unsigned char>& der);

}  // namespace vtek
