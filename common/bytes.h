// Byte order and rotations, the one copy every engine uses. Blocks, digests and key material
// are byte strings of a fixed order whatever the host; these helpers read and write words of
// either order from unaligned bytes and compile to a plain load or store, with one byte swap
// for the big-endian forms.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

// Engines keep words in host order inside records whose byte layout callers see (hash buffers
// read as words, key schedules): that layout is the little-endian one.
static_assert(std::endian::native == std::endian::little, "VorelCrypto assumes a little-endian host");

// For the small step functions of unrolled compressions and rounds, which the compiler would
// otherwise leave as calls once a block grows past its inlining budget.
#define VC_ALWAYS_INLINE inline __attribute__((always_inline))

namespace vc {

// Rotations by any count; the count is taken modulo the width (RC5 rotates by data bits).
constexpr uint32_t rotl32(uint32_t x, unsigned n) { return std::rotl(x, int(n & 31)); }
constexpr uint32_t rotr32(uint32_t x, unsigned n) { return std::rotr(x, int(n & 31)); }
constexpr uint64_t rotl64(uint64_t x, unsigned n) { return std::rotl(x, int(n & 63)); }
constexpr uint64_t rotr64(uint64_t x, unsigned n) { return std::rotr(x, int(n & 63)); }

constexpr uint16_t byteSwap16(uint16_t v) { return __builtin_bswap16(v); }
constexpr uint32_t byteSwap32(uint32_t v) { return __builtin_bswap32(v); }
constexpr uint64_t byteSwap64(uint64_t v) { return __builtin_bswap64(v); }

template <typename T>
inline T loadHost(const uint8_t *p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <typename T>
inline void storeHost(uint8_t *p, T v) {
    std::memcpy(p, &v, sizeof v);
}

inline uint16_t load16le(const uint8_t *p) { return loadHost<uint16_t>(p); }
inline uint32_t load32le(const uint8_t *p) { return loadHost<uint32_t>(p); }
inline uint64_t load64le(const uint8_t *p) { return loadHost<uint64_t>(p); }
inline uint16_t load16be(const uint8_t *p) { return byteSwap16(loadHost<uint16_t>(p)); }
inline uint32_t load32be(const uint8_t *p) { return byteSwap32(loadHost<uint32_t>(p)); }
inline uint64_t load64be(const uint8_t *p) { return byteSwap64(loadHost<uint64_t>(p)); }

inline void store16le(uint8_t *p, uint16_t v) { storeHost(p, v); }
inline void store32le(uint8_t *p, uint32_t v) { storeHost(p, v); }
inline void store64le(uint8_t *p, uint64_t v) { storeHost(p, v); }
inline void store16be(uint8_t *p, uint16_t v) { storeHost(p, byteSwap16(v)); }
inline void store32be(uint8_t *p, uint32_t v) { storeHost(p, byteSwap32(v)); }
inline void store64be(uint8_t *p, uint64_t v) { storeHost(p, byteSwap64(v)); }

}  // namespace vc
