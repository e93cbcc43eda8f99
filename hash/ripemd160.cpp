// RIPEMD-160 (Dobbertin, Bosselaers, Preneel). Two parallel lines of 80 steps each. Message
// bytes are gathered straight into the little-endian words of the context's buffer.
#include "hash/md_buffer.h"

#include <vorelcrypto/hash.h>

#include <utility>

namespace vc::hash {
namespace {

// Message word and rotation of each step, left line then right line.
constexpr uint8_t kWord[2][80] = {
    {0,  1, 2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
     7,  4, 13, 1,  10, 6,  15, 3,  12, 0,  9,  5,  2,  14, 11, 8,
     3,  10, 14, 4, 9,  15, 8,  1,  2,  7,  0,  6,  13, 11, 5,  12,
     1,  9, 11, 10, 0,  8,  12, 4,  13, 3,  7,  15, 14, 5,  6,  2,
     4,  0, 5,  9,  7,  12, 2,  10, 14, 1,  3,  8,  11, 6,  15, 13},
    {5,  14, 7, 0,  9,  2,  11, 4,  13, 6,  15, 8,  1,  10, 3,  12,
     6,  11, 3, 7,  0,  13, 5,  10, 14, 15, 8,  12, 4,  9,  1,  2,
     15, 5, 1,  3,  7,  14, 6,  9,  11, 8,  12, 2,  10, 0,  4,  13,
     8,  6, 4,  1,  3,  11, 15, 0,  5,  12, 2,  13, 9,  7,  10, 14,
     12, 15, 10, 4, 1,  5,  8,  7,  6,  2,  13, 14, 0,  3,  9,  11},
};
constexpr uint8_t kRotate[2][80] = {
    {11, 14, 15, 12, 5,  8,  7,  9,  11, 13, 14, 15, 6,  7,  9,  8,
     7,  6,  8,  13, 11, 9,  7,  15, 7,  12, 15, 9,  11, 7,  13, 12,
     11, 13, 6,  7,  14, 9,  13, 15, 14, 8,  13, 6,  5,  12, 7,  5,
     11, 12, 14, 15, 14, 15, 9,  8,  9,  14, 5,  6,  8,  6,  5,  12,
     9,  15, 5,  11, 6,  8,  13, 12, 5,  12, 13, 14, 11, 8,  5,  6},
    {8,  9,  9,  11, 13, 15, 15, 5,  7,  7,  8,  11, 14, 14, 12, 6,
     9,  13, 15, 7,  12, 8,  9,  11, 7,  7,  12, 7,  6,  15, 13, 11,
     9,  7,  15, 11, 8,  6,  6,  14, 12, 13, 5,  14, 13, 13, 7,  5,
     15, 5,  8,  11, 14, 14, 6,  14, 6,  9,  12, 9,  12, 5,  15, 8,
     8,  5,  12, 9,  12, 5,  14, 6,  8,  13, 6,  5,  15, 13, 11, 11},
};
constexpr uint32_t kRoundConstant[2][5] = {
    {0, 0x5a827999, 0x6ed9eba1, 0x8f1bbcdc, 0xa953fd4e},
    {0x50a28be6, 0x5c4dd124, 0x6d703ef3, 0x7a6d76e9, 0},
};

// The five boolean functions; the left line uses them in order 0..4, the right in 4..0.
template <unsigned F>
[[gnu::always_inline]] inline uint32_t mix(uint32_t x, uint32_t y, uint32_t z) {
    if constexpr (F == 0) return x ^ y ^ z;
    else if constexpr (F == 1) return z ^ (x & (y ^ z));  // x ? y : z
    else if constexpr (F == 2) return (x | ~y) ^ z;
    else if constexpr (F == 3) return y ^ (z & (x ^ y));  // z ? x : y
    else return x ^ (y | ~z);
}

struct Line {
    uint32_t a, b, c, d, e;
};

template <unsigned L, unsigned I>
[[gnu::always_inline]] inline void step(Line &v, const uint32_t *x) {
    constexpr unsigned round = I / 16, f = L == 0 ? round : 4 - round;
    uint32_t t = rotl32(v.a + mix<f>(v.b, v.c, v.d) + x[kWord[L][I]] + kRoundConstant[L][round],
                        kRotate[L][I]) +
                 v.e;
    v.a = v.e;
    v.e = v.d;
    v.d = rotl32(v.c, 10);
    v.c = v.b;
    v.b = t;
}

// The lines are independent; interleaving their steps lets the processor overlap them.
template <unsigned... I>
[[gnu::always_inline]] inline void allSteps(Line &left, Line &right, const uint32_t *x,
                                            std::integer_sequence<unsigned, I...>) {
    ((step<0, I>(left, x), step<1, I>(right, x)), ...);
}

void compress(uint32_t *h, const uint32_t *x) {
    Line left{h[0], h[1], h[2], h[3], h[4]}, right = left;
    allSteps(left, right, x, std::make_integer_sequence<unsigned, 80>());
    uint32_t t = h[1] + left.c + right.d;
    h[1] = h[2] + left.d + right.e;
    h[2] = h[3] + left.e + right.a;
    h[3] = h[4] + left.a + right.b;
    h[4] = h[0] + left.b + right.c;
    h[0] = t;
}

// The buffer holds the message's little-endian words; whole blocks pass through it. A partly
// filled word keeps zeros above its bytes, and the context's fill field follows the count.
struct Ripemd160Engine {
    using Context = Ripemd160Context;
    static constexpr uint32_t kBlock = 64;
    static constexpr BitCount kCount = BitCount::Carry;
    static constexpr BlockCopy kCopy = BlockCopy::Always;
    static uint8_t *buffer(Context &c) { return reinterpret_cast<uint8_t *>(c.buffer); }
    static void compress(Context &c, const uint8_t *data, size_t blocks) {
        for (; blocks > 0; --blocks, data += 64) {
            uint32_t x[16];
            for (unsigned i = 0; i < 16; ++i) x[i] = load32le(data + 4 * i);
            vc::hash::compress(c.state, x);
        }
    }
    static void compressBuffer(Context &c) { vc::hash::compress(c.state, c.buffer); }
    static void stored(Context &c, uint32_t, uint32_t to) {
        c.fill = int32_t(to & 63);
        if (to & 3) std::memset(buffer(c) + to, 0, 4 - (to & 3));
    }
};

}  // namespace
}  // namespace vc::hash

using namespace vc;
using namespace vc::hash;

extern "C" {

VC_API void E_RIPEMD160_Init(Ripemd160Context *context) {
    context->countLow = context->countHigh = 0;
    context->fill = 0;
    context->state[0] = 0x67452301;
    context->state[1] = 0xefcdab89;
    context->state[2] = 0x98badcfe;
    context->state[3] = 0x10325476;
    context->state[4] = 0xc3d2e1f0;
}

VC_API void E_RIPEMD160_Update(Ripemd160Context *context, const uint8_t *data, uint32_t length) {
    mdUpdate<Ripemd160Engine>(*context, data, length);
}

VC_API void E_RIPEMD160_Final(Ripemd160Context *context, uint8_t *digest) {
    mdPad<Ripemd160Engine>(*context, uint32_t(context->fill));
    context->buffer[14] = context->countLow;
    context->buffer[15] = context->countHigh;
    compressBuffer<Ripemd160Engine>(*context);
    for (unsigned i = 0; i < 5; ++i) store32le(digest + 4 * i, context->state[i]);
}

VC_API void E_RIPEMD160(uint8_t *digest, const uint8_t *data, uint32_t length) {
    Ripemd160Context context;
    E_RIPEMD160_Init(&context);
    E_RIPEMD160_Update(&context, data, length);
    E_RIPEMD160_Final(&context, digest);
}

}  // extern "C"
