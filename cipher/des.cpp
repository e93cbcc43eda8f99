// DES (FIPS 46-3) and triple DES in encrypt-decrypt-encrypt form with two and three keys, and
// their modes of operation.
//
// The round function combines the S-boxes with the P permutation in eight 64-entry tables (the
// SP tables). Both halves are kept rotated left by 7 bits so that the eight 6-bit S-box inputs of
// the expansion E sit at bits 2..7 of the bytes of r ^ k0 and of (r >>> 4) ^ k1: the expansion
// costs one rotation, and a masked byte is directly a byte offset into a table.
#include <vorelcrypto/cipher.h>

#include "cipher/block_modes.h"
#include "cipher/mode_exports.h"

namespace vc::cipher {
namespace {

// ---- The published tables (bit numbers count from 1 at the most significant bit) ----

// clang-format off
constexpr uint8_t kSbox[8][64] = {
    {14,  4, 13,  1,  2, 15, 11,  8,  3, 10,  6, 12,  5,  9,  0,  7,
      0, 15,  7,  4, 14,  2, 13,  1, 10,  6, 12, 11,  9,  5,  3,  8,
      4,  1, 14,  8, 13,  6,  2, 11, 15, 12,  9,  7,  3, 10,  5,  0,
     15, 12,  8,  2,  4,  9,  1,  7,  5, 11,  3, 14, 10,  0,  6, 13},
    {15,  1,  8, 14,  6, 11,  3,  4,  9,  7,  2, 13, 12,  0,  5, 10,
      3, 13,  4,  7, 15,  2,  8, 14, 12,  0,  1, 10,  6,  9, 11,  5,
      0, 14,  7, 11, 10,  4, 13,  1,  5,  8, 12,  6,  9,  3,  2, 15,
     13,  8, 10,  1,  3, 15,  4,  2, 11,  6,  7, 12,  0,  5, 14,  9},
    {10,  0,  9, 14,  6,  3, 15,  5,  1, 13, 12,  7, 11,  4,  2,  8,
     13,  7,  0,  9,  3,  4,  6, 10,  2,  8,  5, 14, 12, 11, 15,  1,
     13,  6,  4,  9,  8, 15,  3,  0, 11,  1,  2, 12,  5, 10, 14,  7,
      1, 10, 13,  0,  6,  9,  8,  7,  4, 15, 14,  3, 11,  5,  2, 12},
    { 7, 13, 14,  3,  0,  6,  9, 10,  1,  2,  8,  5, 11, 12,  4, 15,
     13,  8, 11,  5,  6, 15,  0,  3,  4,  7,  2, 12,  1, 10, 14,  9,
     10,  6,  9,  0, 12, 11,  7, 13, 15,  1,  3, 14,  5,  2,  8,  4,
      3, 15,  0,  6, 10,  1, 13,  8,  9,  4,  5, 11, 12,  7,  2, 14},
    { 2, 12,  4,  1,  7, 10, 11,  6,  8,  5,  3, 15, 13,  0, 14,  9,
     14, 11,  2, 12,  4,  7, 13,  1,  5,  0, 15, 10,  3,  9,  8,  6,
      4,  2,  1, 11, 10, 13,  7,  8, 15,  9, 12,  5,  6,  3,  0, 14,
     11,  8, 12,  7,  1, 14,  2, 13,  6, 15,  0,  9, 10,  4,  5,  3},
    {12,  1, 10, 15,  9,  2,  6,  8,  0, 13,  3,  4, 14,  7,  5, 11,
     10, 15,  4,  2,  7, 12,  9,  5,  6,  1, 13, 14,  0, 11,  3,  8,
      9, 14, 15,  5,  2,  8, 12,  3,  7,  0,  4, 10,  1, 13, 11,  6,
      4,  3,  2, 12,  9,  5, 15, 10, 11, 14,  1,  7,  6,  0,  8, 13},
    { 4, 11,  2, 14, 15,  0,  8, 13,  3, 12,  9,  7,  5, 10,  6,  1,
     13,  0, 11,  7,  4,  9,  1, 10, 14,  3,  5, 12,  2, 15,  8,  6,
      1,  4, 11, 13, 12,  3,  7, 14, 10, 15,  6,  8,  0,  5,  9,  2,
      6, 11, 13,  8,  1,  4, 10,  7,  9,  5,  0, 15, 14,  2,  3, 12},
    {13,  2,  8,  4,  6, 15, 11,  1, 10,  9,  3, 14,  5,  0, 12,  7,
      1, 15, 13,  8, 10,  3,  7,  4, 12,  5,  6, 11,  0, 14,  9,  2,
      7, 11,  4,  1,  9, 12, 14,  2,  0,  6, 10, 13, 15,  3,  5,  8,
      2,  1, 14,  7,  4, 10,  8, 13, 15, 12,  9,  0,  3,  5,  6, 11},
};
constexpr uint8_t kP[32] = {
    16,  7, 20, 21, 29, 12, 28, 17,  1, 15, 23, 26,  5, 18, 31, 10,
     2,  8, 24, 14, 32, 27,  3,  9, 19, 13, 30,  6, 22, 11,  4, 25};
constexpr uint8_t kPc1[56] = {
    57, 49, 41, 33, 25, 17,  9,  1, 58, 50, 42, 34, 26, 18,
    10,  2, 59, 51, 43, 35, 27, 19, 11,  3, 60, 52, 44, 36,
    63, 55, 47, 39, 31, 23, 15,  7, 62, 54, 46, 38, 30, 22,
    14,  6, 61, 53, 45, 37, 29, 21, 13,  5, 28, 20, 12,  4};
constexpr uint8_t kPc2[48] = {
    14, 17, 11, 24,  1,  5,  3, 28, 15,  6, 21, 10,
    23, 19, 12,  4, 26,  8, 16,  7, 27, 20, 13,  2,
    41, 52, 31, 37, 47, 55, 30, 40, 51, 45, 33, 48,
    44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};
// clang-format on
constexpr uint8_t kShifts[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// Where the S-box inputs sit: S-box j reads byte kSlot[j] of the rounds' 64-bit key/data pair
// (bytes 0-3: r ^ k0, bytes 4-7: (r >>> 4) ^ k1).
constexpr unsigned kSlot[8] = {0, 7, 3, 6, 2, 5, 1, 4};
constexpr unsigned kRotation = 7;

// ---- SP tables: kSp[slot][v] = P(S_j(v) in its nibble), rotated like the halves ----

struct SpTables {
    uint32_t t[8][64];
};
constexpr SpTables makeSp() {
    SpTables sp{};
    for (unsigned j = 0; j < 8; ++j)
        for (unsigned v = 0; v < 64; ++v) {
            const unsigned row = ((v >> 4) & 2) | (v & 1), column = (v >> 1) & 15;
            const uint32_t in = uint32_t(kSbox[j][16 * row + column]) << (28 - 4 * j);
            uint32_t out = 0;
            for (unsigned i = 0; i < 32; ++i)
                if (in >> (32 - kP[i]) & 1) out |= 1u << (31 - i);
            sp.t[kSlot[j]][v] = rotl32(out, kRotation);
        }
    return sp;
}
alignas(64) constexpr SpTables kSp = makeSp();

// ---- Key schedule: PC-2 applied per 4-bit group of C || D, into the rounds' key layout ----

struct Pc2Tables {
    uint64_t t[14][16];  // key words k0 | k1 << 32 contributed by each nibble of C || D
};
constexpr Pc2Tables makePc2() {
    Pc2Tables pc{};
    for (unsigned i = 0; i < 48; ++i) {
        const unsigned from = kPc2[i] - 1, nibble = from / 4, bit = 3 - from % 4;
        const unsigned sbox = i / 6, position = 5 - i % 6;
        const uint64_t to = uint64_t(1) << (8 * kSlot[sbox] + 2 + position);
        for (unsigned v = 0; v < 16; ++v)
            if (v >> bit & 1) pc.t[nibble][v] |= to;
    }
    return pc;
}
constexpr Pc2Tables kPc2Tables = makePc2();

void desKeySchedule(DesKeySchedule *ks, const uint8_t *key) {
    uint64_t cd = 0;  // PC-1 bit 1 at bit 55
    for (unsigned i = 0; i < 56; ++i) {
        const unsigned from = kPc1[i] - 1;
        cd |= uint64_t(key[from / 8] >> (7 - from % 8) & 1) << (55 - i);
    }
    uint32_t c = uint32_t(cd >> 28), d = uint32_t(cd) & 0x0FFFFFFF;
    for (unsigned round = 0; round < 16; ++round) {
        const unsigned s = kShifts[round];
        c = ((c << s) | (c >> (28 - s))) & 0x0FFFFFFF;
        d = ((d << s) | (d >> (28 - s))) & 0x0FFFFFFF;
        const uint64_t both = uint64_t(c) << 28 | d;
        uint64_t k = 0;
        for (unsigned n = 0; n < 14; ++n) k |= kPc2Tables.t[n][(both >> (52 - 4 * n)) & 15];
        ks->subkeys[2 * round] = uint32_t(k);
        ks->subkeys[2 * round + 1] = uint32_t(k >> 32);
    }
}

// ---- Block ----

inline uint32_t sp(unsigned slot, uint32_t x) { return kSp.t[slot][(x & 0xFC) >> 2]; }

inline uint32_t f(uint32_t r, const uint32_t *k) {
    const uint32_t x = r ^ k[0], y = rotr32(r, 4) ^ k[1];
    return sp(0, x) ^ sp(1, x >> 8) ^ sp(2, x >> 16) ^ sp(3, x >> 24) ^ sp(4, y) ^ sp(5, y >> 8) ^
           sp(6, y >> 16) ^ sp(7, y >> 24);
}

// 16 rounds on (l, r), alternating halves; the pre-output block is then (r, l).
template <bool Decrypt>
inline void rounds(uint32_t &l, uint32_t &r, const DesKeySchedule *ks) {
    const uint32_t *k = ks->subkeys;
    unroll<8>([&](auto i) {
        l ^= f(r, k + (Decrypt ? 30 - 4 * i : 4 * i));
        r ^= f(l, k + (Decrypt ? 28 - 4 * i : 4 * i + 2));
    });
}

// Swaps the bits of x selected by mask with those `shift` places higher.
inline uint64_t deltaSwap(uint64_t x, uint64_t mask, unsigned shift) {
    const uint64_t t = (x ^ (x >> shift)) & mask;
    return x ^ t ^ (t << shift);
}

// The initial permutation of the little-endian loaded block (byte 0 lowest): transposing the
// 8x8 bit matrix gathers bit k of every byte into byte 7 - k; the even bytes then form L and
// the odd bytes R, each with its first bit most significant.
inline void initialPermutation(const Block<2> &b, uint32_t &l, uint32_t &r) {
    uint64_t x = b[0] | uint64_t(b[1]) << 32;
    x = deltaSwap(x, 0x00AA00AA00AA00AA, 7);
    x = deltaSwap(x, 0x0000CCCC0000CCCC, 14);
    x = deltaSwap(x, 0x00000000F0F0F0F0, 28);
    x = deltaSwap(x, 0x0000FF000000FF00, 8);
    x = deltaSwap(x, 0x00000000FFFF0000, 16);
    l = rotl32(uint32_t(x), kRotation);
    r = rotl32(uint32_t(x >> 32), kRotation);
}
inline void finalPermutation(uint32_t l, uint32_t r, Block<2> &b) {
    uint64_t x = rotr32(l, kRotation) | uint64_t(rotr32(r, kRotation)) << 32;
    x = deltaSwap(x, 0x00000000FFFF0000, 16);
    x = deltaSwap(x, 0x0000FF000000FF00, 8);
    x = deltaSwap(x, 0x00000000F0F0F0F0, 28);
    x = deltaSwap(x, 0x0000CCCC0000CCCC, 14);
    x = deltaSwap(x, 0x00AA00AA00AA00AA, 7);
    b = {uint32_t(x), uint32_t(x >> 32)};
}

template <bool Decrypt>
inline void des(Block<2> &b, const DesKeySchedule *k) {
    uint32_t l, r;
    initialPermutation(b, l, r);
    rounds<Decrypt>(l, r, k);
    finalPermutation(r, l, b);
}

// One out-of-line copy of the 16 rounds per direction for triple DES: a call per pass costs
// little beside 16 rounds, and the mode loops stay small.
template <bool Decrypt>
[[gnu::noinline]] void pass(uint32_t &l, uint32_t &r, const DesKeySchedule *ks) {
    rounds<Decrypt>(l, r, ks);
}

// Triple DES with the permutations applied once: the inner pre-output swap and the next
// initial permutation cancel, leaving the halves exchanged between the three passes.
template <bool Decrypt>
inline void des3(Block<2> &b, const DesKeySchedule *k1, const DesKeySchedule *k2,
                 const DesKeySchedule *k3) {
    uint32_t l, r;
    initialPermutation(b, l, r);
    pass<Decrypt>(l, r, Decrypt ? k3 : k1);
    pass<!Decrypt>(r, l, k2);
    pass<Decrypt>(l, r, Decrypt ? k1 : k3);
    finalPermutation(r, l, b);
}

struct DesCipher {
    using Schedule = DesKeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Little;
    static void encrypt(Block<2> &b, const Schedule *ks) { des<false>(b, ks); }
    static void decrypt(Block<2> &b, const Schedule *ks) { des<true>(b, ks); }
};
struct Des3Cipher {
    using Schedule = Des3KeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Little;
    static void encrypt(Block<2> &b, const Schedule *ks) {
        des3<false>(b, &ks->keys[0], &ks->keys[1], &ks->keys[0]);
    }
    static void decrypt(Block<2> &b, const Schedule *ks) {
        des3<true>(b, &ks->keys[0], &ks->keys[1], &ks->keys[0]);
    }
};
struct Des3ThreeKeyCipher {
    using Schedule = Des3_3KeySchedule;
    static constexpr unsigned kWords = 2;
    static constexpr WordOrder kOrder = WordOrder::Little;
    static void encrypt(Block<2> &b, const Schedule *ks) {
        des3<false>(b, &ks->keys[0], &ks->keys[1], &ks->keys[2]);
    }
    static void decrypt(Block<2> &b, const Schedule *ks) {
        des3<true>(b, &ks->keys[0], &ks->keys[1], &ks->keys[2]);
    }
};

}  // namespace
}  // namespace vc::cipher

namespace vc::cipher {
constexpr BlockModes kDesModes = blockModes<DesCipher>();
constexpr BlockModes kDes3Modes = blockModes<Des3Cipher>();
}  // namespace vc::cipher

using vc::cipher::Des3Cipher;
using vc::cipher::Des3ThreeKeyCipher;
using vc::cipher::DesCipher;

int32_t E_DES_KeySchedule(DesKeySchedule *schedule, const uint8_t *key) {
    vc::cipher::desKeySchedule(schedule, key);
    return 1;
}
int32_t E_DES3_KeySchedule(Des3KeySchedule *schedule, const uint8_t *key) {
    for (unsigned i = 0; i < 2; ++i) vc::cipher::desKeySchedule(&schedule->keys[i], key + 8 * i);
    return 1;
}
int32_t E_DES3_3Key_Schedule(Des3_3KeySchedule *schedule, const uint8_t *key) {
    for (unsigned i = 0; i < 3; ++i) vc::cipher::desKeySchedule(&schedule->keys[i], key + 8 * i);
    return 1;
}

VC_EXPORT_BLOCK(DES, DesCipher)
VC_EXPORT_ECB(DES, DesCipher)
VC_EXPORT_CBC(DES, DesCipher)
VC_EXPORT_CBC_NO_PAD(DES, DesCipher)
VC_EXPORT_CFB_OFB(DES, DesCipher)

VC_EXPORT_BLOCK(DES3, Des3Cipher)
VC_EXPORT_ECB(DES3, Des3Cipher)
VC_EXPORT_CBC(DES3, Des3Cipher)
VC_EXPORT_CBC_NO_PAD(DES3, Des3Cipher)
VC_EXPORT_CFB_OFB(DES3, Des3Cipher)

VC_EXPORT_BLOCK(DES3_3Key, Des3ThreeKeyCipher)
VC_EXPORT_CBC(DES3_3Key, Des3ThreeKeyCipher)
