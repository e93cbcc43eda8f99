// HAS-160 (TTAS.KO-12.0011/R1). Counting and buffering follow SHA-1, but the words are
// little-endian: the buffer keeps message bytes in order and the bit count is stored low word
// first at bytes 56..63 of the last block.
#include "hash/md_buffer.h"

#include <vorelcrypto/hash.h>

#include <utility>

namespace vc::hash {
namespace {

// Message word used by each step of each round. Words 16..19 are the round's extra words: 16 is
// the XOR of the four words at steps 1..4, 17 of steps 6..9, 18 of steps 11..14 and 19 of steps
// 16..19; they are used at steps 10, 15, 0 and 5.
constexpr uint8_t kOrder[4][20] = {
    {18, 0, 1, 2, 3, 19, 4, 5, 6, 7, 16, 8, 9, 10, 11, 17, 12, 13, 14, 15},
    {18, 3, 6, 9, 12, 19, 15, 2, 5, 8, 16, 11, 14, 1, 4, 17, 7, 10, 13, 0},
    {18, 12, 5, 14, 7, 19, 0, 9, 2, 11, 16, 4, 13, 6, 15, 17, 8, 1, 10, 3},
    {18, 7, 2, 13, 8, 19, 3, 14, 9, 4, 16, 15, 10, 5, 0, 17, 11, 6, 1, 12},
};
constexpr uint8_t kRotateA[20] = {5, 11, 7, 15, 6,  13, 8, 14, 7, 12,
                                  9, 11, 8, 15, 6, 12, 9, 14, 5, 13};
constexpr uint8_t kRotateB[4] = {10, 17, 25, 30};
constexpr uint32_t kRoundConstant[4] = {0, 0x5a827999, 0x6ed9eba1, 0x8f1bbcdc};

template <unsigned Round>
[[gnu::always_inline]] inline uint32_t mix(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (Round == 0) return d ^ (b & (c ^ d));  // b ? c : d
    else if constexpr (Round == 2) return c ^ (b | ~d);
    else return b ^ c ^ d;
}

template <unsigned Round>
[[gnu::always_inline]] inline void extraWords(uint32_t *x) {
    constexpr const uint8_t *o = kOrder[Round];
    x[16] = x[o[1]] ^ x[o[2]] ^ x[o[3]] ^ x[o[4]];
    x[17] = x[o[6]] ^ x[o[7]] ^ x[o[8]] ^ x[o[9]];
    x[18] = x[o[11]] ^ x[o[12]] ^ x[o[13]] ^ x[o[14]];
    x[19] = x[o[16]] ^ x[o[17]] ^ x[o[18]] ^ x[o[19]];
}

template <unsigned I>
[[gnu::always_inline]] inline void step(uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d,
                                        uint32_t &e, uint32_t *x) {
    constexpr unsigned round = I / 20, j = I % 20;
    if constexpr (j == 0) extraWords<round>(x);
    uint32_t t = rotl32(a, kRotateA[j]) + mix<round>(b, c, d) + e + x[kOrder[round][j]] +
                 kRoundConstant[round];
    e = d;
    d = c;
    c = rotl32(b, kRotateB[round]);
    b = a;
    a = t;
}

template <unsigned... I>
[[gnu::always_inline]] inline void allSteps(uint32_t *v, uint32_t *x,
                                            std::integer_sequence<unsigned, I...>) {
    (step<I>(v[0], v[1], v[2], v[3], v[4], x), ...);
}

void compressBlocks(uint32_t *state, const uint8_t *data, size_t blocks) {
    uint32_t v[5] = {state[0], state[1], state[2], state[3], state[4]};
    for (; blocks > 0; --blocks, data += 64) {
        uint32_t x[20];
        for (unsigned i = 0; i < 16; ++i) x[i] = load32le(data + 4 * i);
        const uint32_t start[5] = {v[0], v[1], v[2], v[3], v[4]};
        allSteps(v, x, std::make_integer_sequence<unsigned, 80>());
        for (unsigned i = 0; i < 5; ++i) v[i] += start[i];
    }
    for (unsigned i = 0; i < 5; ++i) state[i] = v[i];
}

// Every block is gathered in the buffer before it is compressed, as MD5 does.
using Has160Engine =
    StateEngine<Has160Context, BitCount::Carry, BlockCopy::Always, compressBlocks>;

}  // namespace
}  // namespace vc::hash

using namespace vc;
using namespace vc::hash;

extern "C" {

VC_API void E_HAS160_Init(Has160Context *context) {
    context->countLow = context->countHigh = 0;
    context->state[0] = 0x67452301;
    context->state[1] = 0xefcdab89;
    context->state[2] = 0x98badcfe;
    context->state[3] = 0x10325476;
    context->state[4] = 0xc3d2e1f0;
}

VC_API void E_HAS160_Update(Has160Context *context, const uint8_t *data, uint32_t length) {
    mdUpdate<Has160Engine>(*context, data, length);
}

VC_API void E_HAS160_Final(Has160Context *context, uint8_t *digest) {
    mdFinishLittleEndian<Has160Engine>(*context, digest);
}

VC_API void E_HAS160(uint8_t *digest, const uint8_t *data, uint32_t length) {
    Has160Context context;
    E_HAS160_Init(&context);
    E_HAS160_Update(&context, data, length);
    E_HAS160_Final(&context, digest);
}

}  // extern "C"
