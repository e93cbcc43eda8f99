// SHA-384 and SHA-512 (FIPS 180-2): one context layout, one compression, two output lengths.
// Whole blocks are compressed straight from the caller's buffer when it is 4-byte aligned and
// copied into the context first otherwise. The 128-bit bit count carries fully.
#include <vorelcrypto/hash.h>

#include "common/cpu.h"
#include "hash/md_buffer.h"
#include "hash/sha1.h"

#include <utility>

namespace vc::hash {
namespace {

alignas(16) constexpr uint64_t kK[80] = {
    0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
    0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
    0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
    0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
    0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
    0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
    0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
    0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
    0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
    0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
    0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817};

constexpr uint64_t kInit384[8] = {0xcbbb9d5dc1059ed8, 0x629a292a367cd507, 0x9159015a3070dd17,
                                  0x152fecd8f70e5939, 0x67332667ffc00b31, 0x8eb44a8768581511,
                                  0xdb0c2e0d64f98fa7, 0x47b5481dbefa4fa4};
constexpr uint64_t kInit512[8] = {0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b,
                                  0xa54ff53a5f1d36f1, 0x510e527fade682d1, 0x9b05688c2b3e6c1f,
                                  0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};

// The state words live in the context as low half, high half: a little-endian 64-bit word.
inline uint64_t stateWord(const Sha512Context *ctx, int i) {
    return uint64_t(ctx->state[2 * i]) | uint64_t(ctx->state[2 * i + 1]) << 32;
}
inline void setStateWord(Sha512Context *ctx, int i, uint64_t v) {
    ctx->state[2 * i] = uint32_t(v);
    ctx->state[2 * i + 1] = uint32_t(v >> 32);
}

// Two message words side by side: the schedule computes W[t] and W[t+1] together (W[t+1]
// needs nothing newer than W[t-1]), in vector registers beside the scalar rounds. The last 16
// words stay in registers as eight pairs m[(t / 2) % 8]; only W + K goes to memory.
using Pair = uint64_t __attribute__((vector_size(16)));

inline Pair loadPair(const uint64_t *p) {
    Pair v;
    std::memcpy(&v, p, 16);
    return v;
}
inline void storePair(uint64_t *p, Pair v) { std::memcpy(p, &v, 16); }
inline Pair rotrPair(Pair x, int n) { return (x >> n) | (x << (64 - n)); }
// The high word of x and the low word of y: a pair that starts at an odd index.
inline Pair straddle(Pair x, Pair y) { return __builtin_shufflevector(x, y, 1, 2); }

// Pair P (W[2P], W[2P+1]) from the eight pairs before it, and its sums with the round constants.
template <int P>
VC_ALWAYS_INLINE void schedulePair(Pair (&m)[8], uint64_t *wk) {
    Pair w15 = straddle(m[P % 8], m[(P + 1) % 8]), w7 = straddle(m[(P + 4) % 8], m[(P + 5) % 8]);
    Pair w2 = m[(P + 7) % 8];
    Pair s0 = rotrPair(w15, 1) ^ rotrPair(w15, 8) ^ (w15 >> 7);
    Pair s1 = rotrPair(w2, 19) ^ rotrPair(w2, 61) ^ (w2 >> 6);
    m[P % 8] += s0 + w7 + s1;
    storePair(wk + 2 * P, m[P % 8] + loadPair(kK + 2 * P));
}

// Round T of 80 on the working words v (roles rotate, so no moves). `ab` carries a ^ b into
// the next round, where it is that round's b ^ c, so that Maj costs two operations. Every
// second round also computes the schedule pair that round T + 16 will need.
template <int T>
VC_ALWAYS_INLINE void round(uint64_t (&v)[8], uint64_t &ab, Pair (&m)[8], uint64_t *wk) {
    if constexpr (T % 2 == 0 && T + 16 < 80) schedulePair<T / 2 + 8>(m, wk);
    uint64_t &a = v[(80 - T) % 8], &b = v[(81 - T) % 8], &c = v[(82 - T) % 8];
    uint64_t &d = v[(83 - T) % 8], &e = v[(84 - T) % 8], &f = v[(85 - T) % 8];
    uint64_t &g = v[(86 - T) % 8], &h = v[(87 - T) % 8];
    (void)c;
    uint64_t t1 = h + (rotr64(e, 14) ^ rotr64(e, 18) ^ rotr64(e, 41)) + (g ^ (e & (f ^ g))) + wk[T];
    uint64_t bc = ab;
    ab = a ^ b;
    uint64_t t2 = (rotr64(a, 28) ^ rotr64(a, 34) ^ rotr64(a, 39)) + (b ^ (ab & bc));
    d += t1;
    h = t1 + t2;
}

template <size_t... T>
VC_ALWAYS_INLINE void rounds(uint64_t (&v)[8], Pair (&m)[8], uint64_t *wk, std::index_sequence<T...>) {
    uint64_t ab = v[1] ^ v[2];  // b ^ c of round 0
    (round<int(T)>(v, ab, m, wk), ...);
}

VC_ALWAYS_INLINE void compressBlocks(uint64_t s[8], const uint8_t *data, size_t blocks) {
    for (; blocks > 0; --blocks, data += 128) {
        alignas(16) uint64_t wk[80];
        Pair m[8];
        uint64_t v[8];
        for (int i = 0; i < 8; ++i) {
            m[i] = Pair{load64be(data + 16 * i), load64be(data + 16 * i + 8)};
            storePair(wk + 2 * i, m[i] + loadPair(kK + 2 * i));
        }
        for (int i = 0; i < 8; ++i) v[i] = s[i];
        rounds(v, m, wk, std::make_index_sequence<80>{});
        for (int i = 0; i < 8; ++i) s[i] += v[i];
    }
}

// The same code three times: for any x86-64; for processors with BMI2 and AVX (non-destructive
// rotations, three-operand vector code); and with AVX-512VL too, whose vector rotations and
// three-way logic shorten the message schedule.
void compressBaseline(uint64_t s[8], const uint8_t *data, size_t blocks) { compressBlocks(s, data, blocks); }
__attribute__((target("bmi2,avx"))) void compressBmi2(uint64_t s[8], const uint8_t *data, size_t blocks) {
    compressBlocks(s, data, blocks);
}
__attribute__((target("bmi2,avx2,avx512f,avx512vl"))) void compressAvx512(uint64_t s[8], const uint8_t *data,
                                                                          size_t blocks) {
    compressBlocks(s, data, blocks);
}

using Compress = void (*)(uint64_t s[8], const uint8_t *data, size_t blocks);

bool supported(Sha512Code code) {
    const CpuFeatures &cpu = cpuFeatures();
    switch (code) {
    case Sha512Code::Baseline: return true;
    case Sha512Code::Bmi2Avx: return cpu.bmi2 && cpu.avx;
    case Sha512Code::Avx512: return cpu.bmi2 && cpu.avx && cpu.avx2 && cpu.avx512f && cpu.avx512vl;
    }
    return false;
}

Compress &selected() {
    static Compress chosen = supported(Sha512Code::Avx512)    ? compressAvx512
                             : supported(Sha512Code::Bmi2Avx) ? compressBmi2
                                                              : compressBaseline;
    return chosen;
}

void compress(Sha512Context *ctx, const uint8_t *data, size_t blocks) {
    uint64_t s[8];
    for (int i = 0; i < 8; ++i) s[i] = stateWord(ctx, i);
    selected()(s, data, blocks);
    for (int i = 0; i < 8; ++i) setStateWord(ctx, i, s[i]);
}

void init(Sha512Context *ctx, const uint64_t (&iv)[8]) {
    for (int i = 0; i < 8; ++i) setStateWord(ctx, i, iv[i]);
    for (uint32_t &c : ctx->count) c = 0;
}

// Blocks are compressed in place when the input is 4-byte aligned and copied into the buffer
// first otherwise; the 128-bit count carries fully.
struct Sha512Engine {
    using Context = Sha512Context;
    static constexpr uint32_t kBlock = 128;
    static constexpr BitCount kCount = BitCount::Wide;
    static constexpr BlockCopy kCopy = BlockCopy::WhenMisaligned;
    static uint8_t *buffer(Context &c) { return c.buffer; }
    static void compress(Context &c, const uint8_t *data, size_t blocks) {
        vc::hash::compress(&c, data, blocks);
    }
};

void update(Sha512Context *ctx, const uint8_t *data, uint32_t length) {
    mdUpdate<Sha512Engine>(*ctx, data, length);
}

void finish(Sha512Context *ctx, uint8_t *digest, int words) {
    uint8_t *field = mdPad<Sha512Engine>(*ctx, bufferFill<Sha512Engine>(*ctx));
    for (int i = 0; i < 4; ++i) store32be(field + 12 - 4 * i, ctx->count[i]);
    compressBuffer<Sha512Engine>(*ctx);
    for (int i = 0; i < words; ++i) store64be(digest + 8 * i, stateWord(ctx, i));
}

template <int Words>
void oneShot(const uint64_t (&iv)[8], uint8_t *digest, uint32_t *digestLength, const uint8_t *data,
             uint32_t length) {
    Sha512Context ctx;
    uint8_t out[8 * Words] = {};
    init(&ctx, iv);
    update(&ctx, data, length);
    finish(&ctx, out, Words);
    std::memcpy(digest, out, sizeof out);
    *digestLength = sizeof out;
}

}  // namespace

bool selectSha512Code(Sha512Code code) {
    if (!supported(code)) return false;
    const Compress table[] = {compressBaseline, compressBmi2, compressAvx512};
    selected() = table[int(code)];
    return true;
}

}  // namespace vc::hash

using namespace vc;
using namespace vc::hash;

extern "C" {

void E_SHA384_Init(Sha512Context *context) { init(context, kInit384); }
void E_SHA384_Update(Sha512Context *context, const uint8_t *data, uint32_t length) {
    update(context, data, length);
}
void E_SHA384_Final(Sha512Context *context, uint8_t *digest) { finish(context, digest, 6); }
void E_SHA384(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length) {
    oneShot<6>(kInit384, digest, digestLength, data, length);
}

void E_SHA512_Init(Sha512Context *context) { init(context, kInit512); }
void E_SHA512_Update(Sha512Context *context, const uint8_t *data, uint32_t length) {
    update(context, data, length);
}
void E_SHA512_Final(Sha512Context *context, uint8_t *digest) { finish(context, digest, 8); }
void E_SHA512(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length) {
    oneShot<8>(kInit512, digest, digestLength, data, length);
}

}  // extern "C"
