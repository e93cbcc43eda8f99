// SHA-256 (FIPS 180-2). Whole blocks are compressed straight from the caller's buffer when it is
// 4-byte aligned and copied into the context first otherwise. The bit count does not carry from
// its low into its high word; existing digests depend on this. The processor's SHA extensions
// are used when present.
#include <vorelcrypto/hash.h>

#include "hash/md_buffer.h"
#include "hash/sha1.h"

#include <immintrin.h>

#include <cstdint>
#include <utility>

namespace vc::hash {
namespace {

alignas(16) constexpr uint32_t kK[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr uint32_t kInit[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                               0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

// ---- portable code ----

// Round T of 64 on the working words v (roles rotate, so no moves) with a rolling 16-word
// message schedule.
template <int T>
VC_ALWAYS_INLINE void round(uint32_t (&v)[8], uint32_t (&w)[16]) {
    if constexpr (T >= 16) {
        uint32_t w15 = w[(T - 15) & 15], w2 = w[(T - 2) & 15];
        uint32_t s0 = rotr32(w15, 7) ^ rotr32(w15, 18) ^ (w15 >> 3);
        uint32_t s1 = rotr32(w2, 17) ^ rotr32(w2, 19) ^ (w2 >> 10);
        w[T & 15] += s0 + s1 + w[(T - 7) & 15];
    }
    uint32_t &a = v[(64 - T) % 8], &b = v[(65 - T) % 8], &c = v[(66 - T) % 8];
    uint32_t &d = v[(67 - T) % 8], &e = v[(68 - T) % 8], &f = v[(69 - T) % 8];
    uint32_t &g = v[(70 - T) % 8], &h = v[(71 - T) % 8];
    uint32_t t1 = h + (rotr32(e, 6) ^ rotr32(e, 11) ^ rotr32(e, 25)) + (g ^ (e & (f ^ g))) + kK[T] +
                  w[T & 15];
    uint32_t t2 = (rotr32(a, 2) ^ rotr32(a, 13) ^ rotr32(a, 22)) + ((a & b) | (c & (a | b)));
    d += t1;
    h = t1 + t2;
}

template <size_t... T>
VC_ALWAYS_INLINE void rounds(uint32_t (&v)[8], uint32_t (&w)[16], std::index_sequence<T...>) {
    (round<int(T)>(v, w), ...);
}

void compressPortable(uint32_t state[8], const uint8_t *data, size_t blocks) {
    for (; blocks > 0; --blocks, data += 64) {
        uint32_t w[16], v[8];
        for (int i = 0; i < 16; ++i) w[i] = load32be(data + 4 * i);
        for (int i = 0; i < 8; ++i) v[i] = state[i];
        rounds(v, w, std::make_index_sequence<64>{});
        for (int i = 0; i < 8; ++i) state[i] += v[i];
    }
}

// ---- SHA extensions ----

#define VC_SHA_TARGET __attribute__((target("sha,sse4.1,ssse3")))
#define VC_SHA_INLINE inline __attribute__((always_inline, target("sha,sse4.1,ssse3")))

// Four rounds, group G of 16. m[G%4] holds the message words of group G-4 and is replaced by
// those of group G. The state is kept as the two halves ABEF and CDGH that the instructions use.
template <int G>
VC_SHA_INLINE void niGroup(__m128i &abef, __m128i &cdgh, __m128i (&m)[4], const uint8_t *data) {
    if constexpr (G < 4) {
        __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(data + 16 * G));
        m[G] = _mm_shuffle_epi8(x, _mm_set_epi64x(0x0c0d0e0f08090a0bLL, 0x0405060700010203LL));
    } else {
        __m128i x = _mm_add_epi32(_mm_sha256msg1_epu32(m[G % 4], m[(G + 1) % 4]),
                                  _mm_alignr_epi8(m[(G + 3) % 4], m[(G + 2) % 4], 4));
        m[G % 4] = _mm_sha256msg2_epu32(x, m[(G + 3) % 4]);
    }
    __m128i k = _mm_add_epi32(m[G % 4], _mm_load_si128(reinterpret_cast<const __m128i *>(kK + 4 * G)));
    cdgh = _mm_sha256rnds2_epu32(cdgh, abef, k);
    abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(k, 0x0E));
}

template <size_t... G>
VC_SHA_INLINE void niBlock(__m128i &abef, __m128i &cdgh, __m128i (&m)[4], const uint8_t *data,
                           std::index_sequence<G...>) {
    (niGroup<int(G)>(abef, cdgh, m, data), ...);
}

VC_SHA_TARGET void compressNi(uint32_t state[8], const uint8_t *data, size_t blocks) {
    __m128i dcba = _mm_loadu_si128(reinterpret_cast<const __m128i *>(state));
    __m128i hgfe = _mm_loadu_si128(reinterpret_cast<const __m128i *>(state + 4));
    __m128i cdab = _mm_shuffle_epi32(dcba, 0xB1);
    __m128i efgh = _mm_shuffle_epi32(hgfe, 0x1B);
    __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
    __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xF0);
    for (; blocks > 0; --blocks, data += 64) {
        __m128i abefSaved = abef, cdghSaved = cdgh, m[4];
        niBlock(abef, cdgh, m, data, std::make_index_sequence<16>{});
        abef = _mm_add_epi32(abef, abefSaved);
        cdgh = _mm_add_epi32(cdgh, cdghSaved);
    }
    __m128i feba = _mm_shuffle_epi32(abef, 0x1B);
    __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(state), _mm_blend_epi16(feba, dchg, 0xF0));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(state + 4), _mm_alignr_epi8(dchg, feba, 8));
}

// Blocks are compressed in place when the input is 4-byte aligned and copied into the buffer
// first otherwise. The count does not carry into the high word: existing digests depend on it.
using Sha256Engine =
    StateEngine<Sha256Context, BitCount::NoCarry, BlockCopy::WhenMisaligned, sha256Compress>;

void finish(Sha256Context *ctx, uint8_t *digest) {
    uint8_t *field = mdPad<Sha256Engine>(*ctx, bufferFill<Sha256Engine>(*ctx));
    store32be(field, ctx->countHigh);
    store32be(field + 4, ctx->countLow);
    compressBuffer<Sha256Engine>(*ctx);
    for (int i = 0; i < 8; ++i) store32be(digest + 4 * i, ctx->state[i]);
}

}  // namespace

void sha256Compress(uint32_t state[8], const uint8_t *data, size_t blocks) {
    if (blocks == 0) return;
    if (shaExtensionsEnabled())
        compressNi(state, data, blocks);
    else
        compressPortable(state, data, blocks);
}

}  // namespace vc::hash

extern "C" {

void E_SHA256_Init(Sha256Context *context) {
    for (int i = 0; i < 8; ++i) context->state[i] = vc::hash::kInit[i];
    context->countLow = context->countHigh = 0;
}

void E_SHA256_Update(Sha256Context *context, const uint8_t *data, uint32_t length) {
    vc::hash::mdUpdate<vc::hash::Sha256Engine>(*context, data, length);
}

void E_SHA256_Final(Sha256Context *context, uint8_t *digest) { vc::hash::finish(context, digest); }

void E_SHA256(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length) {
    Sha256Context ctx;
    uint8_t out[32] = {};
    E_SHA256_Init(&ctx);
    E_SHA256_Update(&ctx, data, length);
    E_SHA256_Final(&ctx, out);
    std::memcpy(digest, out, 32);
    *digestLength = 32;
}

}  // extern "C"
