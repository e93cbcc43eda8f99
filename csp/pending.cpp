// Placeholder until the key-generation family lands.
#include <vorelcrypto/csp.h>

#include "csp/provider_error.h"

extern "C" int32_t CSP_GenerateKey(uint32_t, CspContextHandle, const CspContextRecord *, uint32_t,
                                   uint32_t, const DataBlob *, DataBlob *) {
    return vc::csp::SetProviderError(CSP_ERR_ALGORITHM);
}
