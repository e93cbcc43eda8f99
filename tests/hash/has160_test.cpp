// HAS-160: the vectors published with TTAS.KO-12.0011/R1, and a plain model written from the
// standard's description (whole-message padding, permutation formulas instead of the engine's
// step tables) for every length 0..300 fed in random pieces, which covers the 55/56-byte and
// 63/64-byte endings.
#include "md_engines.h"

#include <gtest/gtest.h>

using namespace mdtest;
using vctest::Bytes;
using vctest::toHex;

namespace {

TEST(Has160, PublishedVectors) {
    static const Vector kVectors[] = {
        {"has160", "", 1, "307964ef34151d37c8047adec7ab50f4ff89762d"},
        {"has160", "a", 1, "4872bcbc4cd0f0a9dc7c2f7045e5b43b6c830db8"},
        {"has160", "abc", 1, "975e810488cf2a3d49838478124afce4b1c78804"},
        {"has160", "message digest", 1, "2338dbc8638d31225f73086246ba529f96710bc6"},
        {"has160", "abcdefghijklmnopqrstuvwxyz", 1, "596185c9ab6703d0d0dbb98702bc0f5729cd1d3c"},
        {"has160", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", 1,
         "cb5d7efbca2f02e0fb7167cabb123af5795764e5"},
        {"has160", "1234567890", 8, "07f05c8c0773c55ca3a5a695ce6aca4c438911b5"},
        {"has160", "a", 1000000, "d6ad6f0608b878da9b87999c2525cc84f4c9f18d"},
    };
    expectVectors(kVectors);
}

uint32_t rotl(uint32_t x, unsigned n) { return n == 0 ? x : (x << n) | (x >> (32 - n)); }

// Each round reads the 16 words in the order start + step * i (mod 16); the extra word 16 + g
// is the XOR of the g-th group of four, and each group is preceded by extra word 16 + (g+2)%4.
Bytes has160Model(const Bytes &message) {
    Bytes m = message;
    uint64_t bits = uint64_t(message.size()) * 8;
    m.push_back(0x80);
    while (m.size() % 64 != 56) m.push_back(0);
    for (int i = 0; i < 8; ++i) m.push_back(uint8_t(bits >> (8 * i)));

    static const unsigned start[4] = {0, 3, 12, 7}, stride[4] = {1, 3, 9, 11};
    static const unsigned rotA[20] = {5, 11, 7, 15, 6, 13, 8, 14, 7, 12,
                                      9, 11, 8, 15, 6, 12, 9, 14, 5, 13};
    static const unsigned rotB[4] = {10, 17, 25, 30};
    static const uint32_t k[4] = {0, 0x5a827999, 0x6ed9eba1, 0x8f1bbcdc};
    uint32_t h[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
    for (size_t off = 0; off < m.size(); off += 64) {
        uint32_t x[20];
        for (int i = 0; i < 16; ++i)
            x[i] = m[off + 4 * i] | m[off + 4 * i + 1] << 8 | m[off + 4 * i + 2] << 16 |
                   uint32_t(m[off + 4 * i + 3]) << 24;
        uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
        for (int r = 0; r < 4; ++r) {
            unsigned order[20];
            for (unsigned g = 0; g < 4; ++g) {
                order[5 * g] = 16 + (g + 2) % 4;
                x[16 + g] = 0;
                for (unsigned i = 0; i < 4; ++i) {
                    unsigned w = (start[r] + stride[r] * (4 * g + i)) % 16;
                    order[5 * g + 1 + i] = w;
                    x[16 + g] ^= x[w];
                }
            }
            for (int j = 0; j < 20; ++j) {
                uint32_t f = r == 0 ? (b & c) | (~b & d) : r == 2 ? c ^ (b | ~d) : b ^ c ^ d;
                uint32_t t = rotl(a, rotA[j]) + f + e + x[order[j]] + k[r];
                e = d, d = c, c = rotl(b, rotB[r]), b = a, a = t;
            }
        }
        h[0] += a, h[1] += b, h[2] += c, h[3] += d, h[4] += e;
    }
    Bytes digest;
    for (uint32_t w : h)
        for (int i = 0; i < 4; ++i) digest.push_back(uint8_t(w >> (8 * i)));
    return digest;
}

TEST(Has160, ModelCheckedItself) {
    EXPECT_EQ(toHex(has160Model(vctest::bytesOf("abc"))),
              "975e810488cf2a3d49838478124afce4b1c78804");
}

TEST(Has160, EveryShortLengthAgainstModel) {
    const Engine &has = engine("has160");
    vctest::Rng rng(3);
    for (uint32_t n = 0; n <= 300; ++n) {
        SCOPED_TRACE("length " + std::to_string(n));
        Bytes storage = rng.bytes(n + 4);
        const uint8_t *data = storage.data() + 1 + 2 * (n % 2);
        std::string expected = toHex(has160Model(Bytes(data, data + n)));
        ASSERT_EQ(toHex(has.oneShot(data, n)), expected);
        ASSERT_EQ(toHex(has.pieces(data, randomPieces(rng, n))), expected);
    }
}

}  // namespace
