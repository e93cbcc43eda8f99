// MD2, MD4 and MD5: the RFC 1319, 1320 and 1321 suites, then every engine of the family against
// its oracle (nettle for MD2, OpenSSL for the others) over all short lengths, random splits and
// unaligned inputs.
#include "md_engines.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

using namespace mdtest;
using vctest::Bytes;
using vctest::toHex;

namespace {

const char kAlnum[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

// The test suites printed in the RFCs.
const Vector kRfcSuites[] = {
    {"md2", "", 1, "8350e5a3e24c153df2275c9f80692773"},
    {"md2", "a", 1, "32ec01ec4a6dac72c0ab96fb34c0b5d1"},
    {"md2", "abc", 1, "da853b0d3f88d99b30283a69e6ded6bb"},
    {"md2", "message digest", 1, "ab4f496bfb2a530b219ff33031fe06b0"},
    {"md2", "abcdefghijklmnopqrstuvwxyz", 1, "4e8ddff3650292ab5a4108c3aa47940b"},
    {"md2", kAlnum, 1, "da33def2a42df13975352846c30338cd"},
    {"md2", "1234567890", 8, "d5976f79d83d3a0dc9806c3c66f3efd8"},
    {"md4", "", 1, "31d6cfe0d16ae931b73c59d7e0c089c0"},
    {"md4", "a", 1, "bde52cb31de33e46245e05fbdbd6fb24"},
    {"md4", "abc", 1, "a448017aaf21d8525fc10ae87aa6729d"},
    {"md4", "message digest", 1, "d9130a8164549fe818874806e1c7014b"},
    {"md4", "abcdefghijklmnopqrstuvwxyz", 1, "d79e1c308aa5bbcdeea8ed63df412da9"},
    {"md4", kAlnum, 1, "043f8582f241db351ce627e153e7f0e4"},
    {"md4", "1234567890", 8, "e33b4ddc9c38f2199c3e7b164fcc0536"},
    {"md5", "", 1, "d41d8cd98f00b204e9800998ecf8427e"},
    {"md5", "a", 1, "0cc175b9c0f1b6a831c399e269772661"},
    {"md5", "abc", 1, "900150983cd24fb0d6963f7d28e17f72"},
    {"md5", "message digest", 1, "f96b697d7cb7938d525a2f31aaf161d0"},
    {"md5", "abcdefghijklmnopqrstuvwxyz", 1, "c3fcd3d76192e4007dfb496cca67e13b"},
    {"md5", kAlnum, 1, "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"md5", "1234567890", 8, "57edf4a22be3c955ac49da2e2107b67a"},
};

TEST(MdVectors, RfcSuites) {
    expectVectors(kRfcSuites);
}

// Lengths 0..300 cover the 55/56-byte (and, for MD2, the 15/16-byte) endings in several blocks;
// each input sits at an odd address and is also fed in random pieces.
TEST(MdDifferential, EveryShortLengthAgainstOracle) {
    vctest::Rng rng(1);
    for (const Engine *e : oracleEngines()) {
        for (uint32_t n = 0; n <= 300; ++n) {
            SCOPED_TRACE(e->name + " length " + std::to_string(n));
            Bytes storage = rng.bytes(n + 8);
            const uint8_t *data = storage.data() + 1 + 2 * (n % 3);  // offsets 1, 3, 5
            std::string expected = toHex(e->oracle(data, n));
            ASSERT_EQ(toHex(e->oneShot(data, n)), expected);
            ASSERT_EQ(toHex(e->pieces(data, randomPieces(rng, n))), expected);
        }
    }
}

TEST(MdDifferential, LongInputsInRandomPieces) {
    vctest::Rng rng(2);
    for (const Engine *e : oracleEngines()) {
        for (uint32_t n : {1000u, 4097u, 65536u + 63u}) {
            SCOPED_TRACE(e->name + " length " + std::to_string(n));
            Bytes data = rng.bytes(n);
            std::string expected = toHex(e->oracle(data.data(), n));
            EXPECT_EQ(toHex(e->oneShot(data.data(), n)), expected);
            EXPECT_EQ(toHex(e->pieces(data.data(), randomPieces(rng, n))), expected);
        }
    }
}

// A 16-byte message is a whole block: Final must still add a block of sixteen bytes of value 16.
TEST(Md2, WholeBlockMessageGetsFullPaddingBlock) {
    const Engine &md2 = engine("md2");
    for (const char *text : {"0123456789abcdef", "0123456789abcdef0123456789abcdef"}) {
        Bytes m = vctest::bytesOf(text);
        expectDigest(md2, m, toHex(md2.oracle(m.data(), m.size())));
    }
}

// The bit count is a 64-bit number split in two words whatever the carry rule of the engine.
template <class Context>
void expectCarry(const char *name, void (*init)(Context *),
                 void (*update)(Context *, const uint8_t *, uint32_t)) {
    static const uint8_t data[200] = {};
    for (uint32_t low : {0xfffffff8u, 0xfffffe00u, 0x7ffffff8u, 0u}) {
        for (uint32_t length : {1u, 63u, 64u, 200u}) {
            Context context;
            std::memset(&context, 0, sizeof context);
            init(&context);
            context.countLow = low;
            context.countHigh = 7;
            update(&context, data, length);
            uint64_t expected = (uint64_t(7) << 32 | low) + uint64_t(length) * 8;
            EXPECT_EQ(context.countLow, uint32_t(expected)) << name << " " << low << "+" << length;
            EXPECT_EQ(context.countHigh, uint32_t(expected >> 32))
                << name << " " << low << "+" << length;
        }
    }
}

TEST(MdCount, LowWordCarriesIntoHighWord) {
    expectCarry<Md4Context>("md4", E_MD4_Init, E_MD4_Update);
    expectCarry<vc::hash::Md5Context>("md5", vc::hash::md5Init, vc::hash::md5Update);
    expectCarry<Ripemd160Context>("ripemd160", E_RIPEMD160_Init, E_RIPEMD160_Update);
    expectCarry<Has160Context>("has160", E_HAS160_Init, E_HAS160_Update);
}

// Callers pass a null pointer with an empty input; nothing may be read or counted.
TEST(MdContract, EmptyUpdateChangesNothing) {
    Md4Context md4;
    E_MD4_Init(&md4);
    E_MD4_Update(&md4, nullptr, 0);
    vc::hash::Md5Context md5;
    vc::hash::md5Init(&md5);
    vc::hash::md5Update(&md5, nullptr, 0);
    Ripemd160Context ripemd;
    E_RIPEMD160_Init(&ripemd);
    E_RIPEMD160_Update(&ripemd, nullptr, 0);
    Has160Context has;
    E_HAS160_Init(&has);
    E_HAS160_Update(&has, nullptr, 0);
    EXPECT_EQ(md4.countLow | md4.countHigh | md5.countLow | md5.countHigh | ripemd.countLow |
                  ripemd.countHigh | uint32_t(ripemd.fill) | has.countLow | has.countHigh,
              0u);
    Md2Context md2;
    E_MD2_Init(&md2);
    E_MD2_Update(&md2, nullptr, 0);
    EXPECT_EQ(md2.fill, 0u);
    uint8_t digest[16];
    E_MD2_Final(&md2, digest);
    EXPECT_EQ(toHex(digest, 16), "8350e5a3e24c153df2275c9f80692773");
}

// The public records keep their documented field order; Md5Context shares Md4Context's layout.
static_assert(offsetof(Md2Context, buffer) == 4 && offsetof(Md2Context, state) == 20 &&
              offsetof(Md2Context, checksum) == 84 && sizeof(Md2Context) == 148);
static_assert(offsetof(Md4Context, state) == 8 && offsetof(Md4Context, buffer) == 24 &&
              sizeof(Md4Context) == 88 && sizeof(vc::hash::Md5Context) == 88 &&
              offsetof(vc::hash::Md5Context, buffer) == 24);
static_assert(offsetof(Has160Context, state) == 8 && offsetof(Has160Context, buffer) == 28 &&
              sizeof(Has160Context) == 92);
static_assert(offsetof(Ripemd160Context, buffer) == 28 && offsetof(Ripemd160Context, fill) == 92 &&
              sizeof(Ripemd160Context) == 96);

}  // namespace
