// What CSP_QuerySize asks of the symmetric and MAC families.
#pragma once

#include <vorelcrypto/csp.h>

namespace vc::csp {

// Output bytes that `inputSize` more input gives a symmetric context: with an operation in
// progress, from its pending bytes; otherwise from the context's algorithm, mode and padding.
// Returns 0 or a reason.
int32_t symmetricOutputSize(const CspContextRecord *record, bool encrypt, uint32_t inputSize,
                            uint32_t *outputSize);

// The MAC length of a MAC algorithm (8 or 16); 0 when the algorithm has no MAC.
uint32_t macLength(uint32_t algorithm);

}  // namespace vc::csp
