// MD5 (RFC 1321). Update gathers every block in the context's buffer before compressing it and
// counts bits as SHA-1 does (hash/md_buffer.h).
#include "hash/md5.h"

#include "hash/md_buffer.h"

#include <utility>

namespace vc::hash {
namespace {

// floor(|sin(i + 1)| * 2^32)
constexpr uint32_t kSine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};
constexpr uint8_t kShift[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

constexpr unsigned wordIndex(unsigned i) {
    switch (i / 16) {
    case 0: return i;
    case 1: return (1 + 5 * i) % 16;
    case 2: return (5 + 3 * i) % 16;
    default: return 7 * i % 16;
    }
}

template <unsigned Round>
[[gnu::always_inline]] inline uint32_t mix(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (Round == 0) return d ^ (b & (c ^ d));  // F: b ? c : d
    else if constexpr (Round == 1) return (~d & c) + (d & b);  // G: d ? b : c
    else if constexpr (Round == 2) return c ^ d ^ b;  // H
    else return c ^ (b | ~d);  // I
}

// One step; the roles rotate so that the next step updates the word that was d. The newest
// word, b, enters the boolean function last so that the rest can be computed ahead of it.
template <unsigned I>
[[gnu::always_inline]] inline void step(uint32_t &a, uint32_t &b, uint32_t &c, uint32_t &d,
                                        const uint8_t *block) {
    constexpr unsigned round = I / 16;
    uint32_t x = load32le(block + 4 * wordIndex(I));
    uint32_t t = b + rotl32(a + x + kSine[I] + mix<round>(b, c, d), kShift[round][I % 4]);
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

// Compresses consecutive blocks, keeping the chaining words in registers between them.
void compressBlocks(uint32_t *state, const uint8_t *data, size_t blocks) {
    uint32_t v[4] = {state[0], state[1], state[2], state[3]};
    for (; blocks > 0; --blocks, data += 64) {
        const uint32_t start[4] = {v[0], v[1], v[2], v[3]};
        allSteps(v, data, std::make_integer_sequence<unsigned, 64>());
        for (unsigned i = 0; i < 4; ++i) v[i] += start[i];
    }
    for (unsigned i = 0; i < 4; ++i) state[i] = v[i];
}

using Md5Engine = StateEngine<Md5Context, BitCount::Carry, BlockCopy::Always, compressBlocks>;

}  // namespace

void md5Init(Md5Context *context) {
    context->countLow = context->countHigh = 0;
    context->state[0] = 0x67452301;
    context->state[1] = 0xefcdab89;
    context->state[2] = 0x98badcfe;
    context->state[3] = 0x10325476;
}

void md5Update(Md5Context *context, const uint8_t *data, uint32_t length) {
    mdUpdate<Md5Engine>(*context, data, length);
}

void md5Final(Md5Context *context, uint8_t *digest) {
    mdFinishLittleEndian<Md5Engine>(*context, digest);
}

void md5(uint8_t *digest, const uint8_t *data, uint32_t length) {
    Md5Context context;
    md5Init(&context);
    md5Update(&context, data, length);
    md5Final(&context, digest);
}

}  // namespace vc::hash
