// RIPEMD-160: the reference vectors published with the algorithm, and the way the context
// gathers bytes into little-endian words. The differential loops of md_test.cpp cover it too.
#include "md_engines.h"

#include <gtest/gtest.h>

using namespace mdtest;

namespace {

TEST(Ripemd160, ReferenceVectors) {
    static const Vector kVectors[] = {
        {"ripemd160", "", 1, "9c1185a5c5e9fc54612808977ee8f548b2258d31"},
        {"ripemd160", "a", 1, "0bdc9d2d256b3ee9daae347be6f4dc835a467ffe"},
        {"ripemd160", "abc", 1, "8eb208f7e05d987a9b044a8e98c6b087f15a0bfc"},
        {"ripemd160", "message digest", 1, "5d0689ef49d2fae572b881b123a85ffa21595f36"},
        {"ripemd160", "abcdefghijklmnopqrstuvwxyz", 1, "f71c27109c692c1b56bbdceb5b9d2865b3708dbc"},
        {"ripemd160", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 1,
         "12a053384a9c0c88e405a06c27dcf49ada62eb2b"},
        {"ripemd160", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", 1,
         "b0e20b6e3116640286ed3a87a5713079b21f5189"},
        {"ripemd160", "1234567890", 8, "9b752e45573d4b39f4dbd3323cab82bf63326bfb"},
        {"ripemd160", "a", 1000000, "52783243c1697bdbe16d37f97f68f08325dc1528"},
    };
    expectVectors(kVectors);
}

// A partly filled buffer word holds its bytes in its low-order positions.
TEST(Ripemd160, BufferGathersLittleEndianWords) {
    Ripemd160Context context;
    E_RIPEMD160_Init(&context);
    const uint8_t data[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06};
    E_RIPEMD160_Update(&context, data, 4);
    E_RIPEMD160_Update(&context, data + 4, 2);
    EXPECT_EQ(context.fill, 6);
    EXPECT_EQ(context.buffer[0], 0x04030201u);
    EXPECT_EQ(context.buffer[1], 0x0605u);
}

}  // namespace
