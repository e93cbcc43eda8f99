// RSA services: the caller's key bytes go into a zeroed provider key record and one internal
// RSA routine of the provider runs on it. The six services report differently, and each keeps
// its own rule: callers test these exact results.
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>

#include "csp/pubkey.h"

namespace {

using vc::csp::RsaOperation;

constexpr uint32_t kOutputSize = 1025;

// Output length that the encrypting services report, from the key blob's length: the modulus
// sizes their keys have (64, 128, 256 bytes), the routine's own length for longer blobs.
uint32_t reportedLength(uint32_t keyLength, uint32_t routineLength, uint32_t step) {
    if (keyLength < step) return 64;
    if (keyLength < 2 * step) return 128;
    if (keyLength < 3 * step) return 256;
    return routineLength;
}
constexpr uint32_t kPublicStep = 100, kPrivateStep = 400;

// Runs the routine into a new 1,025-byte buffer placed in `output`. Returns the routine's
// result (0 or -1), or VC_ERR_ALLOC with `output` untouched.
int32_t run(LibContext *ctx, RsaOperation op, const DataBlob *key, const DataBlob *input,
            const DataBlob *label, DataBlob *output) {
    auto *buffer = static_cast<uint8_t *>(V_calloc(ctx, 1, kOutputSize));
    if (buffer == nullptr) return VC_ERR_ALLOC;
    CspKeyRecord record{};
    if (key != nullptr) record.keyData = *key;
    *output = {0, buffer};
    uint32_t length = 0;
    const uint8_t *in = input != nullptr ? input->Data : nullptr;
    const uint32_t inLength = input != nullptr ? input->Length : 0;
    const int32_t r = vc::csp::rsaOperation(op, &record, in, inLength, label != nullptr ? label->Data : nullptr,
                                            label != nullptr ? label->Length : 0, buffer, &length);
    output->Length = r == 0 ? length : 0;
    return r;
}

// The encrypting services: on failure the buffer is freed, the blob zeroed and `failure` stored.
int32_t encrypting(LibContext *ctx, RsaOperation op, const DataBlob *key, const DataBlob *input,
                   const DataBlob *label, DataBlob *output, int32_t failure, uint32_t step) {
    const int32_t r = run(ctx, op, key, input, label, output);
    if (r == VC_ERR_ALLOC) return ctx->error = VC_ERR_ALLOC;
    if (r != 0) {
        V_free(ctx, output->Data);
        *output = {0, nullptr};
        return ctx->error = failure;
    }
    output->Length = reportedLength(key != nullptr ? key->Length : 0, output->Length, step);
    return ctx->error = VC_OK;
}

// The decrypting services leave the buffer in the blob whatever happened and store only 20006.
int32_t decrypting(LibContext *ctx, RsaOperation op, const DataBlob *key, const DataBlob *input,
                   const DataBlob *label, DataBlob *output) {
    const int32_t r = run(ctx, op, key, input, label, output);
    if (r == VC_ERR_ALLOC) ctx->error = VC_ERR_ALLOC;
    return r;
}

}  // namespace

extern "C" {

int32_t V_RSAPublicEncrypt(LibContext *ctx, const DataBlob *publicKey, const DataBlob *message, DataBlob *output) {
    if (ctx == nullptr || output == nullptr) return -1;
    return encrypting(ctx, RsaOperation::PublicEncrypt, publicKey, message, nullptr, output, VC_ERR_RSA_PUBLIC,
                      kPublicStep);
}

int32_t V_RSAPublicEncryptOAEP(LibContext *ctx, const DataBlob *publicKey, const DataBlob *message,
                               const DataBlob *label, DataBlob *output) {
    if (ctx == nullptr || output == nullptr) return -1;
    return encrypting(ctx, RsaOperation::OaepEncrypt, publicKey, message, label, output, VC_ERR_RSA_PUBLIC,
                      kPublicStep);
}

int32_t V_RSAPrivateEncrypt(LibContext *ctx, const DataBlob *privateKey, const DataBlob *message, DataBlob *output) {
    if (ctx == nullptr || output == nullptr) return -1;
    if (privateKey == nullptr || privateKey->Length == 0) return ctx->error = VC_ERR_EMPTY_INPUT;
    return encrypting(ctx, RsaOperation::PrivateEncrypt, privateKey, message, nullptr, output, VC_ERR_RSA_PRIVATE,
                      kPrivateStep);
}

int32_t V_RSAPublicDecrypt(LibContext *ctx, const DataBlob *publicKey, const DataBlob *input, DataBlob *output) {
    if (ctx == nullptr || output == nullptr) return -1;
    const int32_t r = decrypting(ctx, RsaOperation::PublicDecrypt, publicKey, input, nullptr, output);
    return r == VC_ERR_ALLOC ? r : VC_OK;
}

int32_t V_RSAPrivateDecrypt(LibContext *ctx, const DataBlob *privateKey, const DataBlob *input, DataBlob *output) {
    if (ctx == nullptr || output == nullptr) return -1;
    return decrypting(ctx, RsaOperation::PrivateDecrypt, privateKey, input, nullptr, output);
}

int32_t V_RSAPrivateDecryptOAEP(LibContext *ctx, const DataBlob *privateKey, const DataBlob *input,
                                const DataBlob *label, DataBlob *output) {
    if (ctx == nullptr || output == nullptr) return -1;
    return decrypting(ctx, RsaOperation::OaepDecrypt, privateKey, input, label, output);
}

}  // extern "C"
