// SEED (KISA, RFC 4269): 128-bit block, 128-bit key, 16 rounds, and its modes of operation.
#include <vorelcrypto/cipher.h>

#include "cipher/mode_exports.h"

namespace vc::cipher {
namespace {

// ---- Tables, built at compile time from the algebraic definition of the S-boxes ----

// Multiplication in GF(2^8) modulo x^8 + x^6 + x^5 + x + 1.
constexpr uint8_t gfMul(uint8_t a, uint8_t b) {
    unsigned r = 0, x = a;
    for (; b; b >>= 1) {
        if (b & 1) r ^= x;
        x <<= 1;
        if (x & 0x100) x ^= 0x163;
    }
    return uint8_t(r);
}
constexpr uint8_t gfPow(uint8_t a, unsigned e) {
    uint8_t r = 1;
    for (; e; e >>= 1, a = gfMul(a, a))
        if (e & 1) r = gfMul(r, a);
    return r;
}
// An 8x8 bit matrix given by the images of bits 0..7, applied to v.
constexpr uint8_t linear(const uint8_t (&columns)[8], uint8_t v) {
    uint8_t r = 0;
    for (unsigned i = 0; i < 8; ++i)
        if (v >> i & 1) r ^= columns[i];
    return r;
}
// S1(x) = A1 * x^247 + 0xA9 and S2(x) = A2 * x^251 + 0x38.
constexpr uint8_t kA1[8] = {0x2C, 0xD0, 0x69, 0xC2, 0x41, 0x44, 0x58, 0xE2};
constexpr uint8_t kA2[8] = {0xD0, 0x2A, 0xE1, 0x2C, 0x21, 0x30, 0xA2, 0x6C};
constexpr uint8_t s1(uint8_t x) { return linear(kA1, gfPow(x, 247)) ^ 0xA9; }
constexpr uint8_t s2(uint8_t x) { return linear(kA2, gfPow(x, 251)) ^ 0x38; }

// SS0..SS3 combine each S-box with the byte masks of the G function: byte j of the output of
// input byte i is S(x) & m[(i + j) % 4], with S1 for bytes 0 and 2, S2 for bytes 1 and 3.
struct SsTables {
    uint32_t ss[4][256];
};
constexpr SsTables makeSs() {
    constexpr uint8_t m[4] = {0xFC, 0xF3, 0xCF, 0x3F};
    SsTables t{};
    for (unsigned x = 0; x < 256; ++x)
        for (unsigned i = 0; i < 4; ++i) {
            const uint8_t y = i % 2 ? s2(uint8_t(x)) : s1(uint8_t(x));
            uint32_t w = 0;
            for (unsigned j = 0; j < 4; ++j) w |= uint32_t(y & m[(i + j) % 4]) << (8 * j);
            t.ss[i][x] = w;
        }
    return t;
}
alignas(64) constexpr SsTables kSs = makeSs();

inline uint32_t g(uint32_t x) {
    return kSs.ss[0][x & 0xFF] ^ kSs.ss[1][(x >> 8) & 0xFF] ^ kSs.ss[2][(x >> 16) & 0xFF] ^
           kSs.ss[3][x >> 24];
}

// KC(i) = KC(0) rotated left by i.
constexpr uint32_t kc(unsigned i) { return (0x9E3779B9u << i) | (0x9E3779B9u >> ((32 - i) & 31)); }

// ---- Rounds ----

// The F function of the round pair k applied to (r0, r1), XORed into (l0, l1).
inline void round(uint32_t &l0, uint32_t &l1, uint32_t r0, uint32_t r1, const uint32_t *k) {
    uint32_t t0 = r0 ^ k[0];
    uint32_t t1 = g((r1 ^ k[1]) ^ t0);
    t0 = g(t0 + t1);
    t1 = g(t1 + t0);
    l0 ^= t0 + t1;
    l1 ^= t1;
}

struct SeedCipher {
    using Schedule = SeedKeySchedule;
    static constexpr unsigned kWords = 4;
    static constexpr WordOrder kOrder = WordOrder::Big;

    // Rounds alternate between the halves, so no swap is needed; after the even count the
    // output is R || L.
    static void encrypt(Block<4> &b, const Schedule *ks) {
        uint32_t l0 = b[0], l1 = b[1], r0 = b[2], r1 = b[3];
        const uint32_t *k = ks->roundKeys;
        unroll<8>([&](auto i) {
            round(l0, l1, r0, r1, k + 4 * i);
            round(r0, r1, l0, l1, k + 4 * i + 2);
        });
        b = {r0, r1, l0, l1};
    }
    static void decrypt(Block<4> &b, const Schedule *ks) {
        uint32_t l0 = b[0], l1 = b[1], r0 = b[2], r1 = b[3];
        const uint32_t *k = ks->roundKeys;
        unroll<8>([&](auto i) {
            round(l0, l1, r0, r1, k + 30 - 4 * i);
            round(r0, r1, l0, l1, k + 28 - 4 * i);
        });
        b = {r0, r1, l0, l1};
    }
};

}  // namespace
}  // namespace vc::cipher

using vc::cipher::SeedCipher;

void E_SEED_KeySchedule(SeedKeySchedule *roundKeys, const uint8_t *key) {
    using namespace vc::cipher;
    uint32_t a = loadWord<WordOrder::Big>(key), b = loadWord<WordOrder::Big>(key + 4);
    uint32_t c = loadWord<WordOrder::Big>(key + 8), d = loadWord<WordOrder::Big>(key + 12);
    uint32_t *k = roundKeys->roundKeys;
    // Odd rounds rotate A || B right by 8 bits, even rounds C || D left by 8 bits.
    unroll<8>([&](auto i) {
        k[4 * i] = g(a + c - kc(2 * i));
        k[4 * i + 1] = g(b - d + kc(2 * i));
        const uint32_t t = a;
        a = (a >> 8) | (b << 24);
        b = (b >> 8) | (t << 24);
        k[4 * i + 2] = g(a + c - kc(2 * i + 1));
        k[4 * i + 3] = g(b - d + kc(2 * i + 1));
        const uint32_t u = c;
        c = (c << 8) | (d >> 24);
        d = (d << 8) | (u >> 24);
    });
}

// SEED's CFB and OFB take widths that are not whole bytes by the little-endian bit rule of the
// mode template, unlike the big-endian 64-bit ciphers; existing cipher texts depend on it.
VC_EXPORT_BLOCK(SEED, SeedCipher)
VC_EXPORT_ECB(SEED, SeedCipher)
VC_EXPORT_CBC(SEED, SeedCipher)
VC_EXPORT_CBC_NO_PAD(SEED, SeedCipher)
VC_EXPORT_CFB_OFB(SEED, SeedCipher)
