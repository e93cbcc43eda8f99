// V_KeyEncryption and V_KeyDecryption: length-preserving encryption of key material, a non-zero
// multiple of 8 bytes. DES (id 0) and SEED (id 10) run CBC on their engines without padding;
// triple DES (id 1) and GPKI (id 15) reuse the symmetric service.
#include <vorelcrypto/cipher.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>

#include <cstring>

#include "common/wipe.h"
#include "frame/symmetric_service.h"

namespace {

using vc::frame::allocBytes;

// DES and SEED read key and IV bytes without looking at the record's lengths.
bool hasKeyAndIv(const SymKeyRecord *key) { return key->key != nullptr && key->iv != nullptr; }

bool acceptable(const LibContext *ctx, const DataBlob *input) {
    return ctx->state != nullptr && input != nullptr && input->Data != nullptr &&
           input->Length != 0 && input->Length % 8 == 0;
}

// CBC over the whole input, without padding, into a fresh buffer of input length + `extra`.
// The input is copied into the output first and ciphered in place: a SEED input that ends in
// half a block is then read as a zero-filled block instead of past the caller's bytes.
// Encryption writes that block whole (length rounded up to 16), decryption `length` bytes.
uint8_t *engineCbc(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                   uint32_t extra, bool encrypt) {
    uint8_t *out = allocBytes(ctx, input->Length, extra);
    if (out == nullptr) return nullptr;
    std::memcpy(out, input->Data, input->Length);
    if (key->algorithm == V_SYM_SEED) {
        SeedKeySchedule ks;
        E_SEED_KeySchedule(&ks, key->key);
        (encrypt ? E_SEED_CBC_Encrypt : E_SEED_CBC_Decrypt)(out, out, &ks, input->Length, key->iv);
        vc::secure_wipe_object(ks);
    } else {
        DesKeySchedule ks;
        E_DES_KeySchedule(&ks, key->key);
        (encrypt ? E_DES_CBC_Encrypt : E_DES_CBC_Decrypt)(out, out, &ks, input->Length, key->iv);
        vc::secure_wipe_object(ks);
    }
    return out;
}

uint32_t store(LibContext *ctx, int32_t code) {
    ctx->error = code;
    return uint32_t(code);
}

uint32_t fail(LibContext *ctx, DataBlob *output, int32_t code) {
    if (output != nullptr) *output = DataBlob{0, nullptr};
    return store(ctx, code);
}

}  // namespace

extern "C" {

uint32_t V_KeyEncryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                         DataBlob *output) {
    if (ctx == nullptr) return uint32_t(-1);
    if (!acceptable(ctx, input) || key == nullptr) return fail(ctx, output, VC_ERR_NOT_READY);
    switch (key->algorithm) {
    case V_SYM_DES:
    case V_SYM_SEED: {
        if (!hasKeyAndIv(key)) break;
        uint8_t *out = engineCbc(ctx, key, input, 32, true);
        if (out == nullptr) return fail(ctx, output, VC_ERR_ALLOC);
        *output = DataBlob{input->Length, out};
        return store(ctx, VC_OK);
    }
    case V_SYM_DES3:
    case V_SYM_GPKI:
        // The symmetric service pads; reporting the input length drops the padding (for triple
        // DES one whole block of 8s), which the unwrapping side never asks for.
        if (V_Encryption(ctx, key, input, output) != VC_OK) return VC_ERR_ENCRYPTION;
        output->Length = input->Length;
        return store(ctx, VC_OK);
    default: break;
    }
    return fail(ctx, output, VC_ERR_ENCRYPTION);
}

uint32_t V_KeyDecryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                         DataBlob *output) {
    if (ctx == nullptr) return uint32_t(-1);
    ctx->error = VC_OK;
    if (!acceptable(ctx, input) || key == nullptr) return fail(ctx, output, VC_ERR_NOT_READY);
    uint8_t *out = nullptr;
    switch (key->algorithm) {
    case V_SYM_DES:
    case V_SYM_SEED:
        if (!hasKeyAndIv(key)) return fail(ctx, output, VC_ERR_DECRYPTION);
        out = engineCbc(ctx, key, input, 16, false);
        break;
    case V_SYM_DES3:
        if ((out = allocBytes(ctx, input->Length, 20)) == nullptr) break;
        std::memcpy(out, input->Data, input->Length);
        if (!vc::frame::privateCbc(key, key->iv, false, out, input->Length)) {
            V_free(ctx, out);
            return fail(ctx, output, VC_ERR_DECRYPTION);
        }
        break;
    case V_SYM_GPKI:
        // Reported like the encrypting side; the context keeps what V_Decryption stored.
        return V_Decryption(ctx, key, input, output) == VC_OK ? VC_OK : VC_ERR_ENCRYPTION;
    default: return fail(ctx, output, VC_ERR_DECRYPTION);
    }
    if (out == nullptr) return fail(ctx, output, VC_ERR_ALLOC);
    *output = DataBlob{input->Length, out};
    return store(ctx, VC_OK);
}

}  // extern "C"
