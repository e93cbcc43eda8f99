// KCDSA services: E_KCDSA_Sign_New / E_KCDSA_Verify_New on keys and parameters given as DER.
// Verification falls back on the library's stored 1024/160 parameters, and hands them back in
// the caller's blob, when the caller gives none.
#include <vorelcrypto/asn1.h>
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/frame.h>
#include <vorelcrypto/kcdsa.h>

#include <cstring>

#include "common/wipe.h"

namespace {

constexpr uint32_t kSignatureSlack = 100;   // the work buffer is the message length + this
constexpr uint32_t kSignatureOverhead = 28; // E_KCDSA_Sign_New writes q's byte length + this
constexpr uint32_t kStoredParamsBytes = (sizeof E_KCDSA_FixedParamsDerHex - 1) / 2;
constexpr uint32_t kShortestParams = 2;     // blobs of this many bytes or fewer hold no parameters

uint32_t hashOf(uint32_t algorithm) { return algorithm == 5 ? E_KCDSA_HASH_HAS160 : E_KCDSA_HASH_SHA1; }

// Reads a DER record with `get` from a blob; false when there is none or it does not decode.
template <class Get>
bool read(KcdsaKey *key, Get get, const DataBlob *blob) {
    if (blob == nullptr || blob->Data == nullptr || blob->Length == 0) return false;
    const uint8_t *p = blob->Data;
    uint32_t left = blob->Length;
    return get(key, &p, &left) == 1;
}

}  // namespace

extern "C" {

int32_t V_KCDSA_Sign(LibContext *ctx, uint32_t algorithm, const DataBlob *privateKey, const DataBlob *params,
                     const DataBlob *message, DataBlob *signature) {
    if (ctx == nullptr || message == nullptr || signature == nullptr) return -1;
    if (message->Data == nullptr && message->Length != 0) return -1;
    const uint32_t hash = hashOf(algorithm);
    if (message->Length > UINT32_MAX - kSignatureSlack) return -1;
    const uint32_t room = message->Length + kSignatureSlack;
    auto *work = static_cast<uint8_t *>(V_calloc(ctx, 1, room));
    if (work == nullptr) return ctx->error = VC_ERR_ALLOC;
    KcdsaKey key{};
    E_KCDSA_Init(&key);
    // Parameters are optional: the private key record carries p, q and g itself.
    read(&key, E_ASN1_GetParameters_KCDSA, params);
    uint32_t length = 0;
    if (read(&key, E_ASN1_GetKCDSAPrivateKey, privateKey) &&
        (EN_GetFilledBitNum(&key.q) + 7) / 8 + kSignatureOverhead <= room)
        E_KCDSA_Sign_New(hash, message->Data, message->Length, work, &length, &key);
    vc::secure_wipe_object(key);
    int32_t code = VC_OK;
    if (length == 0) {
        code = -1;
    } else if (auto *out = static_cast<uint8_t *>(V_calloc(ctx, 1, length)); out == nullptr) {
        code = ctx->error = VC_ERR_ALLOC;
    } else {
        std::memcpy(out, work, length);
        *signature = {length, out};
        ctx->error = VC_OK;
    }
    V_free(ctx, work);
    return code;
}

int32_t V_KCDSA_Verify(LibContext *ctx, uint32_t algorithm, const DataBlob *publicKey, DataBlob *params,
                       const DataBlob *message, const DataBlob *signature) {
    if (message == nullptr || signature == nullptr || (message->Data == nullptr && message->Length != 0) ||
        signature->Data == nullptr)
        return 0;
    const uint32_t hash = hashOf(algorithm);
    uint8_t stored[kStoredParamsBytes];
    DataBlob storedBlob{0, stored};
    DataBlob *use = params;
    if (params == nullptr || params->Data == nullptr || params->Length <= kShortestParams) {
        uint32_t length = sizeof stored;
        if (V_str2bin(E_KCDSA_FixedParamsDerHex, stored, &length) != 0) return 0;
        storedBlob.Length = length;
        use = &storedBlob;
        if (params != nullptr) {
            // The caller's blob receives the parameters used.
            V_free(ctx, params->Data);
            *params = {0, nullptr};
            if (auto *copy = static_cast<uint8_t *>(V_calloc(ctx, 1, length)); copy != nullptr) {
                std::memcpy(copy, stored, length);
                *params = {length, copy};
            }
        }
    }
    KcdsaKey key{};
    E_KCDSA_Init(&key);
    read(&key, E_ASN1_GetParameters_KCDSA, use);
    if (!read(&key, E_ASN1_GetKCDSAPublicKey1, publicKey)) return 0;
    return E_KCDSA_Verify_New(hash, message->Data, message->Length, signature->Data, signature->Length, &key) != 0
               ? 1
               : 0;
}

}  // extern "C"
