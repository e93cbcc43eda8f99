// SHA-1 (FIPS 180-2), SHA-0 (FIPS 180) and the bare SHA-1 compression E_MySHA1.
//
// The context buffer has the shape callers see in ShaContext: message bytes whose words are byte-reversed in
// place before they are compressed. Whole blocks of a long Update are compressed straight from
// the caller's bytes; the last of them is then left in the buffer exactly as the word-by-word
// procedure would leave it. SHA-1 uses the processor's SHA extensions when it has them.
#include <vorelcrypto/hash.h>

#include "common/cpu.h"
#include "hash/md_buffer.h"
#include "hash/sha1.h"

#include <immintrin.h>

#include <utility>

namespace vc::hash {
namespace {

constexpr uint32_t kSha1Init[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

// Where a compression takes its 16 message words from.
enum class Source { HostWords, BigEndianBytes };

template <Source S>
inline uint32_t loadWord(const void *block, int i) {
    auto p = static_cast<const uint8_t *>(block) + 4 * i;
    return S == Source::HostWords ? load32le(p) : load32be(p);
}

// Step T of 80 on the five working words held in v (rotating roles, so no moves), with the
// message schedule kept as a rolling window of 16 words. SHA-0 lacks the one-bit rotation.
template <int T, bool Sha1>
VC_ALWAYS_INLINE void step(uint32_t (&v)[5], uint32_t (&w)[16]) {
    uint32_t &a = v[(80 - T) % 5], &b = v[(81 - T) % 5], &c = v[(82 - T) % 5];
    uint32_t &d = v[(83 - T) % 5], &e = v[(84 - T) % 5];
    if constexpr (T >= 16) {
        uint32_t x = w[(T - 3) & 15] ^ w[(T - 8) & 15] ^ w[(T - 14) & 15] ^ w[T & 15];
        w[T & 15] = Sha1 ? rotl32(x, 1) : x;
    }
    uint32_t f, k;
    if constexpr (T < 20) {
        f = d ^ (b & (c ^ d));
        k = 0x5A827999;
    } else if constexpr (T < 40) {
        f = b ^ c ^ d;
        k = 0x6ED9EBA1;
    } else if constexpr (T < 60) {
        f = (b & c) | (d & (b | c));
        k = 0x8F1BBCDC;
    } else {
        f = b ^ c ^ d;
        k = 0xCA62C1D6;
    }
    e += rotl32(a, 5) + f + k + w[T & 15];
    b = rotl32(b, 30);
}

template <bool Sha1, size_t... T>
VC_ALWAYS_INLINE void steps(uint32_t (&v)[5], uint32_t (&w)[16], std::index_sequence<T...>) {
    (step<int(T), Sha1>(v, w), ...);
}

template <bool Sha1, Source S>
void compressPortable(uint32_t state[5], const uint8_t *data, size_t blocks) {
    for (; blocks > 0; --blocks, data += 64) {
        uint32_t w[16], v[5];
        for (int i = 0; i < 16; ++i) w[i] = loadWord<S>(data, i);
        for (int i = 0; i < 5; ++i) v[i] = state[i];
        steps<Sha1>(v, w, std::make_index_sequence<80>{});
        for (int i = 0; i < 5; ++i) state[i] += v[(80 + i) % 5];
    }
}

// ---- SHA extensions ----

#define VC_SHA_TARGET __attribute__((target("sha,sse4.1,ssse3")))
#define VC_SHA_INLINE inline __attribute__((always_inline, target("sha,sse4.1,ssse3")))

// Four rounds, group G of 20, with the four message vectors m rotating through their roles:
// m[G%4] holds the words of group G-4 and is replaced by those of group G. `e` holds the
// value that feeds the next group's E (the state before the previous group).
template <int G, Source S>
VC_SHA_INLINE void niGroup(__m128i &abcd, __m128i &e, __m128i (&m)[4], const uint8_t *data) {
    if constexpr (G < 4) {
        __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(data + 16 * G));
        if constexpr (S == Source::BigEndianBytes)
            m[G] = _mm_shuffle_epi8(x, _mm_set_epi64x(0x0001020304050607LL, 0x08090a0b0c0d0e0fLL));
        else
            m[G] = _mm_shuffle_epi32(x, 0x1B);
    } else {
        __m128i x = _mm_xor_si128(_mm_sha1msg1_epu32(m[G % 4], m[(G + 1) % 4]), m[(G + 2) % 4]);
        m[G % 4] = _mm_sha1msg2_epu32(x, m[(G + 3) % 4]);
    }
    __m128i next = G == 0 ? _mm_add_epi32(e, m[0]) : _mm_sha1nexte_epu32(e, m[G % 4]);
    e = abcd;
    abcd = _mm_sha1rnds4_epu32(abcd, next, G / 5);
}

template <Source S, size_t... G>
VC_SHA_INLINE void niBlock(__m128i &abcd, __m128i &e, __m128i (&m)[4], const uint8_t *data,
                           std::index_sequence<G...>) {
    (niGroup<int(G), S>(abcd, e, m, data), ...);
}

template <Source S>
VC_SHA_TARGET void sha1Ni(uint32_t state[5], const uint8_t *data, size_t blocks) {
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(state)), 0x1B);
    __m128i e0 = _mm_set_epi32(int(state[4]), 0, 0, 0);
    for (; blocks > 0; --blocks, data += 64) {
        __m128i abcdSaved = abcd, eSaved = e0, e = e0, m[4];
        niBlock<S>(abcd, e, m, data, std::make_index_sequence<20>{});
        e0 = _mm_sha1nexte_epu32(e, eSaved);
        abcd = _mm_add_epi32(abcd, abcdSaved);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i *>(state), _mm_shuffle_epi32(abcd, 0x1B));
    state[4] = uint32_t(_mm_extract_epi32(e0, 3));
}

void sha1CompressNi(uint32_t state[5], const uint8_t *data, size_t blocks, bool bigEndianBytes) {
    if (bigEndianBytes)
        sha1Ni<Source::BigEndianBytes>(state, data, blocks);
    else
        sha1Ni<Source::HostWords>(state, data, blocks);
}

// ---- portable code and dispatch ----

template <Source S>
void sha1Compress(uint32_t state[5], const uint8_t *data, size_t blocks) {
    if (shaExtensionsEnabled())
        sha1CompressNi(state, data, blocks, S == Source::BigEndianBytes);
    else
        compressPortable<true, S>(state, data, blocks);
}

template <bool Sha1>
void compressWords(ShaContext *ctx) {
    auto block = reinterpret_cast<const uint8_t *>(ctx->buffer);
    if constexpr (Sha1)
        sha1Compress<Source::HostWords>(ctx->state, block, 1);
    else
        compressPortable<false, Source::HostWords>(ctx->state, block, 1);
}

template <bool Sha1>
void compressBytes(uint32_t state[5], const uint8_t *data, size_t blocks) {
    if constexpr (Sha1)
        sha1Compress<Source::BigEndianBytes>(state, data, blocks);
    else
        compressPortable<false, Source::BigEndianBytes>(state, data, blocks);
}

inline uint8_t *bufferBytes(ShaContext *ctx) { return reinterpret_cast<uint8_t *>(ctx->buffer); }

// Byte-reverses `count` buffer words starting at word `first` (to big-endian on this host).
inline void convertWords(ShaContext *ctx, unsigned first, unsigned count) {
    for (unsigned i = first; i < first + count; ++i) ctx->buffer[i] = byteSwap32(ctx->buffer[i]);
}

void init(ShaContext *ctx) {
    for (int i = 0; i < 5; ++i) ctx->state[i] = kSha1Init[i];
    ctx->countLow = ctx->countHigh = 0;
}

// SHA-1 and SHA-0 share the counting and the buffer (hash/md_buffer.h); they differ in when
// buffered words are byte-reversed. Whole blocks of an Update are compressed straight from the
// caller's bytes, and the last of them is left in the buffer, converted, as copying and
// converting block by block would leave it.
template <bool Sha1>
struct ShaEngine {
    using Context = ShaContext;
    static constexpr uint32_t kBlock = 64;
    static constexpr BitCount kCount = BitCount::Carry;
    static constexpr BlockCopy kCopy = BlockCopy::Never;
    static uint8_t *buffer(Context &c) { return bufferBytes(&c); }
    static void compress(Context &c, const uint8_t *data, size_t blocks) {
        compressBytes<Sha1>(c.state, data, blocks);
        std::memcpy(c.buffer, data + 64 * (blocks - 1), 64);
        convertWords(&c, 0, 16);
    }
    static void compressBuffer(Context &c) { compressWords<Sha1>(&c); }
    // SHA-1 converts a block's words once it is complete. SHA-0 converts the words of each
    // piece as soon as it arrives, counted from the start of the buffer rather than from the
    // fill, so a block continued by a later Update has words converted twice; existing digests
    // depend on this.
    static void stored(Context &c, uint32_t from, uint32_t to) {
        if constexpr (Sha1) {
            if (to == 64) convertWords(&c, 0, 16);
        } else {
            convertWords(&c, 0, (to - from) / 4);
        }
    }
};

// Padding and length block shared by SHA-1 and SHA-0. SHA-1 converts the whole words of the
// partial block here; SHA-0 converted them in Update already.
template <bool Sha1>
void finish(ShaContext *ctx, uint8_t *digest) {
    uint32_t fill = (ctx->countLow >> 3) & 63;
    if constexpr (Sha1) convertWords(ctx, 0, fill / 4);
    uint8_t *bytes = bufferBytes(ctx);
    bytes[fill] = 0x80;
    if (fill < 56) {
        std::memset(bytes + fill + 1, 0, 55 - fill);
        convertWords(ctx, fill / 4, 1);
    } else {
        std::memset(bytes + fill + 1, 0, 63 - fill);
        convertWords(ctx, fill / 4, 1);
        compressWords<Sha1>(ctx);
        std::memset(bytes, 0, 56);
    }
    ctx->buffer[14] = ctx->countHigh;
    ctx->buffer[15] = ctx->countLow;
    compressWords<Sha1>(ctx);
    for (uint32_t &h : ctx->state) h = byteSwap32(h);
    std::memcpy(digest, ctx->state, 20);
}

}  // namespace

bool cpuHasShaExtensions() { return cpuFeatures().sha; }

namespace {
bool &shaExtensionsFlag() {
    static bool enabled = cpuHasShaExtensions();
    return enabled;
}
}  // namespace

bool shaExtensionsEnabled() { return shaExtensionsFlag(); }
void setShaExtensionsEnabled(bool enabled) { shaExtensionsFlag() = enabled && cpuHasShaExtensions(); }

void sha1CompressBytes(uint32_t state[5], const uint8_t *data, size_t blocks) {
    sha1Compress<Source::BigEndianBytes>(state, data, blocks);
}

}  // namespace vc::hash

using namespace vc;
using namespace vc::hash;

extern "C" {

void E_SHA1_Init(ShaContext *context) { init(context); }
void E_SHA1_Update(ShaContext *context, const uint8_t *data, uint32_t length) {
    mdUpdate<ShaEngine<true>>(*context, data, length);
}
void E_SHA1_Final(ShaContext *context, uint8_t *digest) { finish<true>(context, digest); }
void E_SHA1(uint8_t *digest, const uint8_t *data, uint32_t length) {
    ShaContext ctx{};
    E_SHA1_Init(&ctx);
    E_SHA1_Update(&ctx, data, length);
    E_SHA1_Final(&ctx, digest);
}

void E_SHA_Init(ShaContext *context) { init(context); }
void E_SHA_Update(ShaContext *context, const uint8_t *data, uint32_t length) {
    mdUpdate<ShaEngine<false>>(*context, data, length);
}
void E_SHA_Final(ShaContext *context, uint8_t *digest) { finish<false>(context, digest); }
void E_SHA(uint8_t *digest, const uint8_t *data, uint32_t length) {
    ShaContext ctx;
    E_SHA_Init(&ctx);
    E_SHA_Update(&ctx, data, length);
    E_SHA_Final(&ctx, digest);
}

void E_MySHA1(uint8_t *digest, const uint8_t *block) {
    uint32_t state[5];
    for (int i = 0; i < 5; ++i) state[i] = kSha1Init[i];
    sha1CompressBytes(state, block, 1);
    for (int i = 0; i < 5; ++i) store32be(digest + 4 * i, state[i]);
}

}  // extern "C"
