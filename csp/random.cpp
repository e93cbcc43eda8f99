// The provider's random family: CSP_GenerateRandom over the library's hash-chain (46) and DES
// (48) generators.
#include <vorelcrypto/csp.h>
#include <vorelcrypto/random.h>

#include "csp/attributes.h"
#include "csp/provider_error.h"

extern "C" int32_t CSP_GenerateRandom(uint32_t, CspContextHandle handle,
                                      const CspContextRecord *context, DataBlob *random) {
    using namespace vc::csp;
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_RANDOM) return SetProviderError(CSP_ERR_CLASS);
    if (record->algorithm != CSP_ALG_RANDOM_MD5 && record->algorithm != CSP_ALG_RANDOM_DES)
        return SetProviderError(CSP_ERR_ALGORITHM);
    uint32_t size = 0;
    if (!findUint32(record, CSP_ATTR_OUTPUT_SIZE, &size))
        return SetProviderError(CSP_ERR_MISSING_ATTRIBUTE);
    if (random == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (random->Data == nullptr || random->Length < size) return SetProviderError(CSP_ERR_NULL_DATA);
    E_GenerateRandom(random->Data, size, record->algorithm == CSP_ALG_RANDOM_DES ? 1 : 0);
    random->Length = size;
    return 0;
}
