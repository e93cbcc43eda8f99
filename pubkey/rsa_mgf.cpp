// The hashes of OAEP and PSS by identifier, and MGF1.
#include <vorelcrypto/hash.h>

#include <cstring>

#include "common/wipe.h"
#include "pubkey/rsa_internal.h"

namespace vc::rsa {

uint32_t hashLength(uint32_t hashId) {
    switch (hashId) {
        case 6: return 32;
        case 7: return 48;
        case 8: return 64;
        default: return 20;
    }
}

void hash(uint32_t hashId, uint8_t *digest, const uint8_t *data, uint32_t length) {
    uint32_t ignored = 0;
    switch (hashId) {
        case 6: E_SHA256(digest, &ignored, data, length); break;
        case 7: E_SHA384(digest, &ignored, data, length); break;
        case 8: E_SHA512(digest, &ignored, data, length); break;
        default: E_SHA1(digest, data, length); break;
    }
}

void mgf1Xor(uint32_t hashId, uint8_t *out, uint32_t length, const uint8_t *seed, uint32_t seedLen) {
    const uint32_t hLen = hashLength(hashId);
    uint8_t input[kMaxBytes + 4], block[64];
    memcpy(input, seed, seedLen);
    for (uint32_t counter = 0, done = 0; done < length; counter++) {
        for (int i = 0; i < 4; i++) input[seedLen + uint32_t(i)] = uint8_t(counter >> (24 - 8 * i));
        hash(hashId, block, input, seedLen + 4);
        for (uint32_t i = 0; i < hLen && done < length; i++) out[done++] ^= block[i];
    }
    secure_wipe(input, sizeof input);
    secure_wipe(block, sizeof block);
}

}  // namespace vc::rsa
