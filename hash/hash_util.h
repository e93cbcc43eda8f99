// Small helpers shared by the hash engines: byte order, rotations, and the bit-count rule that
// most of the 64-byte-block engines share.
#pragma once

#include <cstdint>
#include <cstring>

// For the small step functions of unrolled compressions, which the compiler would otherwise
// leave as calls once a block grows past its inlining budget.
#define VC_ALWAYS_INLINE inline __attribute__((always_inline))

namespace vc::hash {

inline uint32_t rotl32(uint32_t x, unsigned n) { return (x << n) | (x >> ((32 - n) & 31)); }
inline uint32_t rotr32(uint32_t x, unsigned n) { return (x >> n) | (x << ((32 - n) & 31)); }
inline uint64_t rotr64(uint64_t x, unsigned n) { return (x >> n) | (x << ((64 - n) & 63)); }

inline uint32_t load32le(const uint8_t *p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline uint32_t load32be(const uint8_t *p) { return __builtin_bswap32(load32le(p)); }
inline uint64_t load64be(const uint8_t *p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    return __builtin_bswap64(v);
}
inline void store32le(uint8_t *p, uint32_t v) { std::memcpy(p, &v, 4); }
inline void store32be(uint8_t *p, uint32_t v) { store32le(p, __builtin_bswap32(v)); }
inline void store64be(uint8_t *p, uint64_t v) {
    v = __builtin_bswap64(v);
    std::memcpy(p, &v, 8);
}

// Adds a byte length to a 64-bit bit count held as two words: the low word gains length * 8
// (mod 2^32) and carries into the high word when it wraps below its old value; the high word
// also gains length >> 29. SHA-0, SHA-1, HAS-160, MD5 and RIPEMD-160 count this way.
inline void addBitCount(uint32_t &low, uint32_t &high, uint32_t length) {
    uint32_t old = low;
    low += length << 3;
    if (low < old) ++high;
    high += length >> 29;
}

}  // namespace vc::hash
