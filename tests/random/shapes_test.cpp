// Shapes of the generators on their real first-use seeding: lengths, forced bits, chaining.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <vorelcrypto/hash.h>
#include <vorelcrypto/random.h>

#include <gtest/gtest.h>
#include <openssl/md5.h>

#include <cstring>
#include <vector>

namespace {

struct Num {
    uint32_t w[16] = {};
    ENUM n{0, 0, w};
    ENUM *operator&() { return &n; }
};

using RandomFn = void (*)(ENUM *, uint32_t, uint32_t, uint32_t);

TEST(RandomNumbers, BitLengthTopAndOdd) {
    for (RandomFn fn : {EN_Random, EN_X9_31Random}) {
        for (uint32_t bits : {1u, 2u, 8u, 9u, 17u, 32u, 33u, 160u, 257u}) {
            for (uint32_t top : {0u, 1u}) {
                for (uint32_t odd : {0u, 1u}) {
                    Num a;
                    fn(&a, bits, top, odd);
                    EXPECT_EQ(EN_GetFilledBitNum(&a), bits);
                    const bool second = top == 0 || bits < 2 || EN_IsBitSet(&a, int32_t(bits - 2));
                    EXPECT_TRUE(second) << bits;
                    EXPECT_TRUE(odd == 0 || EN_IsBitSet(&a, 0)) << bits;
                }
            }
        }
    }
    Num a;
    EN_Random(&a, 9, 1, 0);
    EXPECT_GE(a.w[0], 384u);
    EN_Random(&a, 8, 1, 1);
    EXPECT_EQ(a.w[0] & 0xc1, 0xc1u);
}

TEST(RandomNumbers, GenerateRandomLengthIsNotTrimmed) {
    for (uint32_t useDes : {0u, 1u}) {
        Num a;
        EN_GenerateRandom(&a, 5, useDes);
        EXPECT_EQ(a.n.length, 2);
        EXPECT_EQ(a.n.sign, 0u);
        EXPECT_EQ(a.w[1] >> 8, 0u);  // only one byte of the top word is drawn
    }
}

TEST(ByteGenerators, TwoDrawsDiffer) {
    using Fn = void (*)(uint8_t *, uint32_t);
    const Fn fns[] = {
        [](uint8_t *o, uint32_t n) { RAND_Bytes(o, int32_t(n)); },
        [](uint8_t *o, uint32_t n) { E_GenerateRandom_RSA(o, int32_t(n)); },
        E_GenerateRandom_DES, E_GenerateRandom_MD5, E_X9_31RandomBytes};
    for (Fn fn : fns) {
        std::vector<uint8_t> a(30, 0), b(30, 0);
        fn(a.data(), 30);
        fn(b.data(), 30);
        EXPECT_NE(a, b);
    }
}

TEST(ByteGenerators, HashChainSecondBlockIsMd5OfFirst) {
    uint8_t first[16], second[16], want[16];
    E_GenerateRandom_MD5(first, 16);
    E_GenerateRandom_MD5(second, 16);
    MD5(first, 16, want);
    EXPECT_EQ(std::memcmp(second, want, 16), 0);
}

TEST(ByteGenerators, OrderBoundedOutputs) {
    const uint8_t order[21] = {0x04, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02, 0x01, 0x08, 0xa2,
                               0xe0, 0xcc, 0x0d, 0x99, 0xf8, 0xa5, 0xef};  // sect163k1's n
    for (int i = 0; i < 20; i++) {
        uint8_t out[21] = {};
        uint32_t len = 0;
        if (i % 2)
            E_GenerateRandom_X962(uint32_t(i % 4 == 1 ? 7 : 3), out, &len, order, 21);
        else
            E_GenerateRandom_ECKCDSA(uint32_t(i % 4 == 0 ? 3 : 7), out, &len, nullptr, 0, order, 21);
        ASSERT_LE(len, 21u);
        ASSERT_TRUE(len < 21 || std::memcmp(out, order, 21) < 0);
        ASSERT_GT(len, 0u);
    }
}

}  // namespace
