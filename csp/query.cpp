// CSP_QuerySize: output sizes of symmetric, digest and MAC contexts.
#include <vorelcrypto/csp.h>

#include "csp/attributes.h"
#include "csp/digest.h"
#include "csp/provider_error.h"
#include "csp/sizes.h"

namespace vc::csp {
namespace {

// One size for `inputSize` bytes of input; 0 or a reason.
int32_t sizeFor(const CspContextRecord *record, bool encrypt, uint32_t inputSize, uint32_t *out) {
    switch (record->contextClass) {
    case CSP_CLASS_SYMMETRIC: return symmetricOutputSize(record, encrypt, inputSize, out);
    case CSP_CLASS_DIGEST: *out = digestLengthOf(record->algorithm); break;
    case CSP_CLASS_MAC: *out = macLength(record->algorithm); break;
    default: return CSP_ERR_CLASS;
    }
    return *out == 0 ? CSP_ERR_ALGORITHM : 0;
}

}  // namespace
}  // namespace vc::csp

extern "C" int32_t CSP_QuerySize(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                                 uint32_t encrypt, uint32_t count, CspQuerySizeData *sizes) {
    using namespace vc::csp;
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    adoptContext(record, context);
    if (sizes == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (count == 0) return SetProviderError(CSP_ERR_BLOB_COUNT);
    for (uint32_t i = 0; i < count; ++i)
        if (int32_t reason = sizeFor(record, encrypt != 0, sizes[i].inputSize, &sizes[i].outputSize))
            return SetProviderError(reason);
    return 0;
}
