// HMAC-SHA1 in the RFC 2104 shape, with the two departures that existing MACs depend on: the
// outer hash covers only the first 16 bytes of the inner digest, and a key longer than one block
// enters the outer pad as 16 bytes of its SHA-1 digest.
#include <vorelcrypto/hash.h>

#include "common/wipe.h"

#include <algorithm>
#include <cstring>

namespace {

// A 64-byte pad: the first `length` key bytes (at most 64), zero-filled, XORed with `value`.
void makePad(uint8_t pad[64], const uint8_t *key, int32_t length, uint8_t value) {
    size_t used = size_t(std::clamp<int32_t>(length, 0, 64));
    std::memset(pad, 0, 64);
    if (used != 0) std::memcpy(pad, key, used);
    for (int i = 0; i < 64; ++i) pad[i] ^= value;
}

}  // namespace

extern "C" {

void E_HMAC_SHA1_Init(HmacSha1Context *context, const uint8_t *key, int32_t keyLength) {
    std::memset(context->key, 0, sizeof context->key);
    if (keyLength > 64) {
        E_SHA1(context->key, key, uint32_t(keyLength));
        context->keyLength = 16;
    } else {
        context->keyLength = std::max<int32_t>(keyLength, 0);
        if (context->keyLength != 0) std::memcpy(context->key, key, size_t(context->keyLength));
    }
    // The inner pad takes the caller's key itself, at most its first 64 bytes, even when the
    // key field holds the digest of a longer key.
    uint8_t pad[64];
    makePad(pad, key, keyLength, 0x36);
    E_SHA1_Init(&context->inner);
    E_SHA1_Update(&context->inner, pad, 64);
    vc::secure_wipe(pad, sizeof pad);
}

void E_HMAC_SHA1_Update(HmacSha1Context *context, const uint8_t *data, uint32_t length) {
    E_SHA1_Update(&context->inner, data, length);
}

void E_HMAC_SHA1_Final(HmacSha1Context *context, uint8_t *mac) {
    uint8_t pad[64];
    makePad(pad, context->key, context->keyLength, 0x5C);
    E_SHA1_Final(&context->inner, mac);
    E_SHA1_Init(&context->outer);
    E_SHA1_Update(&context->outer, pad, 64);
    E_SHA1_Update(&context->outer, mac, 16);
    E_SHA1_Final(&context->outer, mac);
    vc::secure_wipe(pad, sizeof pad);
}

void E_HMAC_SHA1(const uint8_t *data, uint32_t dataLength, const uint8_t *key, int32_t keyLength,
                 uint8_t *mac) {
    HmacSha1Context ctx;
    E_HMAC_SHA1_Init(&ctx, key, keyLength);
    E_HMAC_SHA1_Update(&ctx, data, dataLength);
    E_HMAC_SHA1_Final(&ctx, mac);
    vc::secure_wipe_object(ctx);
}

}  // extern "C"
