// Internal view of the provider's digest family.
#pragma once

#include <vorelcrypto/csp.h>

namespace vc::csp {

// Releases the engine state that CSP_DigestDataInit made, when a digest is abandoned before
// its Final; the record can then be freed without leaking it.
void releaseDigestState(CspContextRecord *record);

// The digest length of a digest algorithm, aliases included; 0 when the algorithm is none.
uint32_t digestLengthOf(uint32_t algorithm);

}  // namespace vc::csp
