// MD5 (RFC 1321), internal to the library: the random generators and the provider's digest
// family call it; it has no exported names. Same contract as the exported engines: Init, any
// number of Updates, one Final on a caller-owned context; the one-shot takes the digest first.
#pragma once

#include "hash/hash_util.h"

#include <cstdint>

namespace vc::hash {

inline constexpr uint32_t kMd5DigestLength = 16;

// Same layout as Md4Context.
struct Md5Context {
    uint32_t countLow;   // message bits so far, modulo 2^32
    uint32_t countHigh;  // carries of countLow plus the high bits of each length
    uint32_t state[4];   // A, B, C, D
    uint8_t buffer[64];  // bytes of the current block; fill is (countLow >> 3) mod 64
};

void md5Init(Md5Context *context);
void md5Update(Md5Context *context, const uint8_t *data, uint32_t length);
// Writes 16 bytes. The context is not cleared and must be initialised again before reuse.
void md5Final(Md5Context *context, uint8_t *digest);
void md5(uint8_t *digest, const uint8_t *data, uint32_t length);

}  // namespace vc::hash
