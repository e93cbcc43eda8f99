// V_GenHash: the digest of one message through the provider's digest family.
#include <vorelcrypto/common.h>
#include <vorelcrypto/csp.h>
#include <vorelcrypto/frame.h>

#include <algorithm>
#include <iterator>

#include "csp/digest.h"
#include "frame/provider_records.h"

namespace {

// Service id -> provider algorithm id.
constexpr uint32_t kProviderAlgorithm[] = {5, 7, 8, 6, 11, 89};

constexpr uint32_t kDigestBufferSize = 30;

using vc::frame::ContextHolder;
using vc::frame::kHolderSize;

}  // namespace

extern "C" uint32_t V_GenHash(LibContext *ctx, uint32_t hashId, const DataBlob *input, DataBlob *output) {
    if (ctx == nullptr) return uint32_t(-1);
    if (ctx->state == nullptr) return uint32_t(ctx->error = VC_ERR_NOT_READY);

    int32_t code = VC_OK;
    CspContextRecord *record = nullptr;
    DataBlob result{0, nullptr};
    auto *holder = static_cast<ContextHolder *>(V_calloc(ctx, 1, kHolderSize));
    if (holder == nullptr) {
        code = VC_ERR_ALLOC;
    } else {
        record = static_cast<CspContextRecord *>(V_calloc(ctx, 1, sizeof(CspContextRecord)));
        holder->record = record;
        if (record == nullptr) {
            // Noted on the owner; the provider then refuses the missing record at Init.
            ctx->state->owner->error = VC_ERR_ALLOC;
        } else {
            record->contextClass = CSP_CLASS_DIGEST;
            record->attributeCount = 0;
            record->attributes = holder->attributes;
            if (hashId < std::size(kProviderAlgorithm)) record->algorithm = kProviderAlgorithm[hashId];
        }
        DataBlob message = *input;
        result.Length = kDigestBufferSize;
        result.Data = static_cast<uint8_t *>(V_calloc(ctx, 1, kDigestBufferSize));
        if (result.Data == nullptr)
            code = VC_ERR_RESULT_ALLOC;
        else if (CSP_DigestDataInit(CSP_MODULE_HANDLE, record, nullptr) != 0)
            code = VC_ERR_DIGEST_INIT;
        else if (CSP_DigestDataUpdate(CSP_MODULE_HANDLE, record, &message, 1) != 0)
            code = VC_ERR_DIGEST_UPDATE;
        else if (CSP_DigestDataFinal(CSP_MODULE_HANDLE, record, &result) != 0)
            code = VC_ERR_DIGEST_FINAL;
    }

    if (code == VC_OK) {
        *output = result;
    } else {
        V_free(ctx, result.Data);
        // A refused Update leaves the engine state of Init behind.
        if (record != nullptr) vc::csp::releaseDigestState(record);
    }
    V_free(ctx, record);
    V_free(ctx, holder);
    ctx->error = code;
    return uint32_t(code);
}
