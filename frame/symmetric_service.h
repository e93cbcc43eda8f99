// Pieces of the symmetric service that the key-wrap service reuses.
#pragma once

#include <vorelcrypto/common.h>
#include <vorelcrypto/types.h>

#include <cstdint>

namespace vc::frame {

// V_calloc of length + extra bytes, or null when the sum does not fit in 32 bits.
inline uint8_t *allocBytes(LibContext *ctx, uint32_t length, uint32_t extra) {
    if (length > UINT32_MAX - extra) return nullptr;
    return static_cast<uint8_t *>(V_calloc(ctx, 1, length + extra));
}

// The private CBC routines of algorithm 1 (three-key triple DES, key bytes 0-7, 8-15, 16-23) and
// algorithms 2 and 11 (RC2, effective key bits 8 times the record's key length), in place over
// `length` bytes with the first 8 bytes of `iv`. They fail (false) instead of reading past the
// caller's records: triple DES needs 24 key bytes, RC2 1 to 128; the IV needs 8 bytes; the
// length must be a non-zero multiple of 8. Any other algorithm fails.
bool privateCbc(const SymKeyRecord *key, const uint8_t *iv, bool encrypt, uint8_t *data,
                uint32_t length);

}  // namespace vc::frame
