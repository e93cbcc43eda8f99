// Byte-order helpers for the 64-bit-block ciphers (IDEA, RC2, RC5, Blowfish).
#pragma once

#include <cstdint>
#include <cstring>

namespace vc::cipher {

inline uint32_t loadLe32(const uint8_t *p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}
inline void storeLe32(uint8_t *p, uint32_t v) { std::memcpy(p, &v, 4); }
inline uint32_t loadBe32(const uint8_t *p) { return __builtin_bswap32(loadLe32(p)); }
inline void storeBe32(uint8_t *p, uint32_t v) { storeLe32(p, __builtin_bswap32(v)); }

inline uint32_t rotl32(uint32_t x, uint32_t n) {
    n &= 31;
    return (x << n) | (x >> ((32 - n) & 31));
}
inline uint32_t rotr32(uint32_t x, uint32_t n) {
    n &= 31;
    return (x >> n) | (x << ((32 - n) & 31));
}

}  // namespace vc::cipher
