// GPKI hand-off: one open/start/cipher/close session per call.
#include "frame/gpki_handoff.h"

#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>

#include <cstdio>
#include <cstring>
#include <initializer_list>

namespace vc::frame {

namespace {

// The GPKI module's identifier of its symmetric algorithm; this library passes it through.
constexpr int32_t kGpkiSymmetricAlgorithm = 64;

// The objects of one session. They are released together at the end, except after a failed
// start or cipher step, where the session is abandoned as it stands (see gpkiSymmetric).
struct Session {
    const GpkiFunctionTable *table;
    void *handle = nullptr;
    GpkiBinString *key = nullptr, *iv = nullptr, *in = nullptr, *out = nullptr;
    bool abandoned = false;

    void release() {
        for (GpkiBinString **object : {&key, &iv, &out, &in})
            if (*object != nullptr) table->deleteBinString(object);
        if (handle != nullptr) table->close(&handle);
    }
};

// A failed GPKI step: the module's own text, or its result code when it has none.
int32_t failStep(LibContext *ctx, const Session &s, int32_t result) {
    if (s.handle == nullptr || s.table->errorText(s.handle, sizeof ctx->message, ctx->message) != 0)
        std::snprintf(ctx->message, sizeof ctx->message, "GPKI ErrCode = %d\n", result);
    return VC_ERR_GPKI;
}

int32_t runSession(LibContext *ctx, Session &s, const SymKeyRecord *key, const DataBlob *input,
                   DataBlob *output, bool encrypt) {
    const GpkiFunctionTable *t = s.table;
    int32_t r = t->open(&s.handle, ctx->gpkiWork);
    if (r != 0) return failStep(ctx, s, r);
    for (GpkiBinString **object : {&s.key, &s.iv, &s.in, &s.out})
        if ((r = t->newBinString(object)) != 0) return failStep(ctx, s, r);
    if ((r = t->setBinString(key->key, key->keyLength, &s.key)) != 0 ||
        (r = t->setBinString(key->iv, key->ivLength, &s.iv)) != 0 ||
        (r = t->setBinString(input->Data, input->Length, &s.in)) != 0)
        return failStep(ctx, s, r);
    if ((r = t->symStart(s.handle, kGpkiSymmetricAlgorithm, s.key, s.iv)) == 0)
        r = encrypt ? t->encrypt(s.handle, s.in, s.out) : t->decrypt(s.handle, s.in, s.out);
    if (r != 0) {
        s.abandoned = true;
        return failStep(ctx, s, r);
    }

    auto *result = static_cast<uint8_t *>(V_calloc(ctx, 1, s.out->length));
    if (result == nullptr) return VC_ERR_ALLOC;
    if (s.out->length != 0) std::memcpy(result, s.out->data, s.out->length);
    *output = DataBlob{s.out->length, result};
    return VC_OK;
}

}  // namespace

int32_t gpkiSymmetric(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                      DataBlob *output, bool encrypt) {
    const GpkiFunctionTable *table = V_GetGPKIFunc(ctx);
    if (table->present == nullptr) return VC_ERR_GPKI_ABSENT;
    // When the start or the cipher step fails, the call returns at once and leaves the handle
    // and its objects with the module: installed GPKI modules expect exactly this call
    // sequence, so slots 5 and 2 come only on success or when the session could not be set up.
    Session session{table};
    int32_t code = runSession(ctx, session, key, input, output, encrypt);
    if (!session.abandoned) session.release();
    return code;
}

}  // namespace vc::frame
