// MD4 (RFC 1320). Update completes a partial block in the buffer, then compresses whole blocks
// straight from the caller's input (hash/md_buffer.h).
#include "hash/md_buffer.h"

#include <vorelcrypto/hash.h>

#include <utility>

namespace vc::hash {
namespace {

constexpr uint8_t kShift[3][4] = {{3, 7, 11, 19}, {3, 5, 9, 13}, {3, 9, 11, 15}};
constexpr uint32_t kRoundConstant[3] = {0, 0x5a827999, 0x6ed9eba1};

constexpr unsigned wordIndex(unsigned i) {
    unsigned j = i % 16;
    switch (i / 16) {
    case 0: return j;
    case 1: return (j % 4) * 4 + j / 4;  // 0, 4, 8, 12, 1, 5, ...
    default: {
        constexpr unsigned bitReversed[4] = {0, 2, 1, 3};  // 0, 8, 4, 12, 2, 10, ...
        return bitReversed[j % 4] * 4 + bitReversed[j / 4];
    }
    }
}

template <unsigned Round>
[[gnu::always_inline]] inline uint32_t mix(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (Round == 0) return d ^ (b & (c ^ d));  // F: b ? c : d
    else if constexpr (Round == 1) return (c & d) | (b & (c | d));  // G: majority
    else return c ^ d ^ b;  // H
}

// One step; the roles rotate so that the next step updates the word that was d. The newest
// word, b, enters the boolean function last so that the rest can be computed ahead of it.
template <unsigned I>
[[gnu::always_inline]] inline void step(uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d,
                                        const uint8_t *block) {
    constexpr unsigned round = I / 16;
    uint32_t x = load32le(block + 4 * wordIndex(I));
    uint32_t t = rotl32(a + x + kRoundConstant[round] + mix<round>(b, c, d),
                        kShift[round][I % 4]);
    a = d;
    d = c;
    c = b;
    b = t;
}

template <unsigned... I>
[[gnu::always_inline]] inline void allSteps(uint32_t *v, const uint8_t *block,
                                            std::integer_sequence<unsigned, I...>) {
    (step<I>(v[0], v[1], v[2], v[3], block), ...);
}

// Compresses consecutive 64-byte blocks, keeping the chaining words in registers between them.
void compressBlocks(uint32_t *state, const uint8_t *data, size_t blocks) {
    uint32_t v[4] = {state[0], state[1], state[2], state[3]};
    for (; blocks > 0; --blocks, data += 64) {
        const uint32_t start[4] = {v[0], v[1], v[2], v[3]};
        allSteps(v, data, std::make_integer_sequence<unsigned, 48>());
        for (unsigned i = 0; i < 4; ++i) v[i] += start[i];
    }
    for (unsigned i = 0; i < 4; ++i) state[i] = v[i];
}

using Md4Engine = StateEngine<Md4Context, BitCount::Carry, BlockCopy::Never, compressBlocks>;

}  // namespace
}  // namespace vc::hash

using namespace vc;
using namespace vc::hash;

extern "C" {

VC_API void E_MD4_Init(Md4Context *context) {
    context->countLow = context->countHigh = 0;
    context->state[0] = 0x67452301;
    context->state[1] = 0xefcdab89;
    context->state[2] = 0x98badcfe;
    context->state[3] = 0x10325476;
}

VC_API void E_MD4_Update(Md4Context *context, const uint8_t *data, uint32_t length) {
    mdUpdate<Md4Engine>(*context, data, length);
}

VC_API void E_MD4_Final(Md4Context *context, uint8_t *digest) {
    mdFinishLittleEndian<Md4Engine>(*context, digest);
}

VC_API void E_MD4(uint8_t *digest, const uint8_t *data, uint32_t length) {
    Md4Context context;
    E_MD4_Init(&context);
    E_MD4_Update(&context, data, length);
    E_MD4_Final(&context, digest);
}

}  // extern "C"
