// The deliberate departures of the SHA family and HMAC-SHA1, which existing digests and MACs
// depend on, each against a model written here or OpenSSL set up the same way.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <vorelcrypto/hash.h>

#include "hash/md5.h"
#include "hash/md_buffer.h"
#include "hash/sha1.h"
#include "support/oracles.h"

#include <string_view>
#include <type_traits>

#include <sys/mman.h>

namespace {

using vctest::Bytes;
using vctest::toHex;

uint32_t rol(uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

// The FIPS 180 (1993) compression: SHA-1 without the rotation in the message schedule.
void sha0Compress(uint32_t h[5], const uint32_t block[16]) {
    uint32_t w[80];
    for (int t = 0; t < 80; ++t) w[t] = t < 16 ? block[t] : w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16];
    uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
    for (int t = 0; t < 80; ++t) {
        uint32_t f = t < 20 ? (b & c) | (~b & d) : t < 40 || t >= 60 ? b ^ c ^ d : (b & c) | (b & d) | (c & d);
        uint32_t k = t < 20 ? 0x5A827999 : t < 40 ? 0x6ED9EBA1 : t < 60 ? 0x8F1BBCDC : 0xCA62C1D6;
        uint32_t x = rol(a, 5) + f + e + k + w[t];
        e = d, d = c, c = rol(b, 30), b = a, a = x;
    }
    h[0] += a, h[1] += b, h[2] += c, h[3] += d, h[4] += e;
}

// SHA-0's multi-part word conversion. The buffer is message bytes plus, per word, whether it has
// been byte-reversed an odd number of times; a compression reads such a word big-endian, the
// others little-endian. Each Update reverses its whole words counted from the buffer's start.
struct Sha0Model {
    uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    uint8_t raw[64] = {};
    bool reversed[16] = {};
    uint64_t bits = 0;

    void put(size_t at, const uint8_t *p, size_t n, size_t reverseWords) {
        for (size_t i = 0; i < n; ++i) raw[at + i] = p[i], reversed[(at + i) / 4] = false;
        for (size_t i = 0; i < reverseWords; ++i) reversed[i] = !reversed[i];
    }
    void compress(bool lengthBlock = false) {
        uint32_t w[16];
        for (int i = 0; i < 16; ++i) {
            const uint8_t *q = raw + 4 * i;
            w[i] = reversed[i] ? uint32_t(q[0]) << 24 | q[1] << 16 | q[2] << 8 | q[3]
                               : uint32_t(q[3]) << 24 | q[2] << 16 | q[1] << 8 | q[0];
        }
        if (lengthBlock) w[14] = uint32_t(bits >> 32), w[15] = uint32_t(bits);
        sha0Compress(h, w);
    }
    void update(const uint8_t *p, size_t n) {
        size_t fill = (bits / 8) % 64;
        bits += 8 * n;
        if (fill != 0 && n < 64 - fill) return put(fill, p, n, n / 4);
        if (fill != 0) {
            put(fill, p, 64 - fill, (64 - fill) / 4);
            compress();
            p += 64 - fill, n -= 64 - fill;
        }
        for (; n >= 64; p += 64, n -= 64) put(0, p, 64, 16), compress();
        put(0, p, n, n / 4);
    }
    Bytes final() {
        size_t fill = (bits / 8) % 64;
        const uint8_t pad[64] = {0x80};
        put(fill, pad, 64 - fill, 0);
        reversed[fill / 4] = !reversed[fill / 4];
        if (fill >= 56) compress(), put(0, pad + 1, 56, 0);
        compress(true);
        Bytes out;
        for (uint32_t x : h)
            for (int s = 24; s >= 0; s -= 8) out.push_back(uint8_t(x >> s));
        return out;
    }
};

TEST(Sha0, SplitUpdatesFollowTheModel) {
    auto ours = [](const std::vector<std::string_view> &pieces) {
        ShaContext ctx;
        E_SHA_Init(&ctx);
        for (auto s : pieces) E_SHA_Update(&ctx, reinterpret_cast<const uint8_t *>(s.data()), uint32_t(s.size()));
        Bytes out(20);
        E_SHA_Final(&ctx, out.data());
        return toHex(out);
    };
    auto model = [](const std::vector<std::string_view> &pieces) {
        Sha0Model m;
        for (auto s : pieces) m.update(reinterpret_cast<const uint8_t *>(s.data()), s.size());
        return toHex(m.final());
    };
    // Word 0 is converted by both Updates, word 1 by none: the standard digest of the message
    // with each word's bytes reversed.
    EXPECT_EQ(ours({"abcd", "efgh"}), ours({"dcbahgfe"}));
    EXPECT_EQ(model({"abc"}), "0164b8a914cd2a5e74c4f7ff082c4d97f1edf880");
    vctest::Rng rng(21);
    Bytes pool = rng.bytes(3000);
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<std::string_view> pieces;
        std::string_view rest(reinterpret_cast<const char *>(pool.data()), rng.below(3000));
        while (!rest.empty()) {
            pieces.push_back(rest.substr(0, rng.below(trial % 3 == 0 ? 20 : 200)));
            rest.remove_prefix(pieces.back().size());
        }
        ASSERT_EQ(ours(pieces), model(pieces)) << "trial " << trial;
    }
}

// Bit counts near the 2^32 wrap, against OpenSSL's context started from the same count. SHA-1 and
// SHA-512 carry into the high word; SHA-256 never does, so OpenSSL's carry is taken out again.
template <class Ours, class Ref, size_t N>
void expectCount(void (*init)(Ours *), void (*update)(Ours *, const uint8_t *, uint32_t),
                 void (*final)(Ours *, uint8_t *), int (*refInit)(Ref *),
                 int (*refUpdate)(Ref *, const void *, size_t), int (*refFinal)(uint8_t *, Ref *),
                 bool carries) {
    Bytes m = vctest::Rng(13).bytes(1024);
    Ours ours;
    Ref ref;
    init(&ours), refInit(&ref);
    if constexpr (N == 64) {
        ours.count[0] = 0xFFFFFC00, ours.count[1] = 0xFFFFFFFF, ref.Nl = 0xFFFFFFFFFFFFFC00ull;
    } else {
        ours.countLow = ref.Nl = 0xFFFFFE00;  // whole blocks, 64 bytes below the wrap
    }
    for (int i = 0; i < 2; ++i) update(&ours, m.data() + 512 * i, 512), refUpdate(&ref, m.data() + 512 * i, 512);
    if (!carries) ref.Nh = 0;
    uint8_t a[N], b[N];
    final(&ours, a), refFinal(b, &ref);
    EXPECT_EQ(toHex(a, N), toHex(b, N));
}

TEST(Sha, CountsAtTheWrap) {
    expectCount<ShaContext, SHA_CTX, 20>(E_SHA1_Init, E_SHA1_Update, E_SHA1_Final, SHA1_Init, SHA1_Update,
                                         SHA1_Final, true);
    for (bool extensions : {false, vc::hash::cpuHasShaExtensions()}) {
        vc::hash::setShaExtensionsEnabled(extensions);
        expectCount<Sha256Context, SHA256_CTX, 32>(E_SHA256_Init, E_SHA256_Update, E_SHA256_Final, SHA256_Init,
                                                   SHA256_Update, SHA256_Final, false);
    }
    vc::hash::setShaExtensionsEnabled(true);
    expectCount<Sha512Context, SHA512_CTX, 64>(E_SHA512_Init, E_SHA512_Update, E_SHA512_Final, SHA512_Init,
                                               SHA512_Update, SHA512_Final, true);
}

// The MD engines keep a 64-bit count in two words: it carries.
template <class Ctx>
void expectCarry(void (*init)(Ctx *), void (*update)(Ctx *, const uint8_t *, uint32_t)) {
    static const uint8_t data[200] = {};
    for (uint32_t low : {0xfffffff8u, 0xfffffe00u, 0x7ffffff8u})
        for (uint32_t length : {1u, 64u, 200u}) {
            Ctx ctx;
            init(&ctx);
            ctx.countLow = low, ctx.countHigh = 7;
            update(&ctx, data, length);
            uint64_t expected = (uint64_t(7) << 32 | low) + uint64_t(length) * 8;
            EXPECT_EQ(uint64_t(ctx.countHigh) << 32 | ctx.countLow, expected) << low << "+" << length;
        }
}

TEST(Md, CountsCarry) {
    expectCarry<ShaContext>(E_SHA_Init, E_SHA_Update);
    expectCarry<ShaContext>(E_SHA1_Init, E_SHA1_Update);
    expectCarry<Md4Context>(E_MD4_Init, E_MD4_Update);
    expectCarry<vc::hash::Md5Context>(vc::hash::md5Init, vc::hash::md5Update);
    expectCarry<Ripemd160Context>(E_RIPEMD160_Init, E_RIPEMD160_Update);
    expectCarry<Has160Context>(E_HAS160_Init, E_HAS160_Update);
}

// One Update of 2^29 bytes or more adds length >> 29 to the high word besides the carry. The
// shared buffering routine runs over a reserved address range that is never touched: the
// compression here only counts blocks, so only the last partial block is read.
struct NarrowContext {
    uint32_t countLow, countHigh;
    uint8_t buffer[128];
};
struct WideContext {
    uint32_t count[4];
    uint8_t buffer[128];
};
template <vc::hash::BitCount C, vc::hash::BlockCopy K, uint32_t B>
struct CountingEngine {
    using Context = std::conditional_t<C == vc::hash::BitCount::Wide, WideContext, NarrowContext>;
    static constexpr uint32_t kBlock = B;
    static constexpr vc::hash::BitCount kCount = C;
    static constexpr vc::hash::BlockCopy kCopy = K;
    static inline uint64_t blocks = 0;
    static uint8_t *buffer(Context &c) { return c.buffer; }
    static void compress(Context &, const uint8_t *, size_t n) { blocks += n; }
};

template <class E>
void expectHugeCounts(const uint8_t *zeros) {
    using vc::hash::BitCount;
    for (uint64_t start : {uint64_t(0), uint64_t(0x00000007FFFFFE00), uint64_t(0xFFFFFFFFFFFFFE00)})
        for (uint32_t length : {1u << 29, (1u << 29) + 77, 0xE0000025u, 0xFFFFFFFFu}) {
            typename E::Context ctx{};
            unsigned __int128 want = (unsigned __int128)start + uint64_t(length) * 8;
            if constexpr (E::kCount == BitCount::Wide) {
                ctx.count[0] = uint32_t(start), ctx.count[1] = uint32_t(start >> 32);
            } else {
                ctx.countLow = uint32_t(start), ctx.countHigh = uint32_t(start >> 32);
                if (E::kCount == BitCount::NoCarry)  // the high word gains length >> 29 only
                    want = uint64_t(uint32_t((start >> 32) + (length >> 29))) << 32 | uint32_t(start + uint64_t(length) * 8);
            }
            E::blocks = 0;
            vc::hash::mdUpdate<E>(ctx, zeros, length);
            unsigned __int128 got;
            if constexpr (E::kCount == BitCount::Wide)
                got = (unsigned __int128)(uint64_t(ctx.count[3]) << 32 | ctx.count[2]) << 64 |
                      (uint64_t(ctx.count[1]) << 32 | ctx.count[0]);
            else
                got = uint64_t(ctx.countHigh) << 32 | ctx.countLow;
            if (E::kCount != BitCount::Wide) want = uint64_t(want);
            EXPECT_TRUE(got == want) << "start " << start << " length " << length;
            EXPECT_EQ(E::blocks, (start / 8 % E::kBlock + length) / E::kBlock) << length;
        }
}

TEST(Md, HugeUpdatesCountIntoTheHighWord) {
    using namespace vc::hash;
    const size_t size = size_t(1) << 32;
    void *zeros = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    auto *z = static_cast<const uint8_t *>(zeros);
    expectHugeCounts<CountingEngine<BitCount::Carry, BlockCopy::Never, 64>>(z);
    expectHugeCounts<CountingEngine<BitCount::Carry, BlockCopy::Always, 64>>(z);
    expectHugeCounts<CountingEngine<BitCount::NoCarry, BlockCopy::WhenMisaligned, 64>>(z);
    expectHugeCounts<CountingEngine<BitCount::Wide, BlockCopy::WhenMisaligned, 128>>(z);
    munmap(zeros, size);
}

// E_MySHA1 is one SHA-1 compression of the block from the initial values, without padding.
TEST(Sha, MySha1IsOneCompression) {
    vctest::Rng rng(16);
    for (int trial = 0; trial < 20; ++trial) {
        Bytes block = trial == 0 ? Bytes(64, 0) : rng.bytes(64), expected;
        SHA_CTX ref;
        SHA1_Init(&ref), SHA1_Transform(&ref, block.data());
        for (uint32_t x : {ref.h0, ref.h1, ref.h2, ref.h3, ref.h4})
            for (int s = 24; s >= 0; s -= 8) expected.push_back(uint8_t(x >> s));
        for (bool extensions : {false, vc::hash::cpuHasShaExtensions()}) {
            vc::hash::setShaExtensionsEnabled(extensions);
            uint8_t d[20];
            E_MySHA1(d, block.data());
            EXPECT_EQ(toHex(d, 20), toHex(expected)) << "extensions " << extensions << " trial " << trial;
        }
    }
    vc::hash::setShaExtensionsEnabled(true);
}

Bytes sha1(const Bytes &m) { return vctest::digest("SHA1", m); }

Bytes padded(Bytes key, uint8_t value, const Bytes &tail) {
    key.resize(64);
    for (auto &b : key) b ^= value;
    key.insert(key.end(), tail.begin(), tail.end());
    return key;
}

// HMAC-SHA1 departs from RFC 2104: SHA-1(opad(K') || first 16 bytes of SHA-1(ipad(K) || m)),
// where the inner pad takes the first 64 bytes of K, and K' is K or, for a key longer than 64,
// the first 16 bytes of SHA-1(K). A negative key length is an empty key.
TEST(HmacSha1, MatchesItsFormula) {
    vctest::Rng rng(31);
    for (int keyLength : {0, 1, 20, 63, 64, 65, 200}) {
        Bytes key = rng.bytes(keyLength), outerKey = keyLength > 64 ? sha1(key) : key;
        outerKey.resize(std::min(keyLength, 16 + (keyLength <= 64) * 48));
        for (uint32_t n : {0, 1, 19, 55, 64, 200, 1000}) {
            Bytes m = rng.bytes(n), inner = sha1(padded(key, 0x36, m)), mac(20);
            std::string expected = toHex(sha1(padded(outerKey, 0x5C, Bytes(inner.begin(), inner.begin() + 16))));
            SCOPED_TRACE("key " + std::to_string(keyLength) + " message " + std::to_string(n));
            E_HMAC_SHA1(m.data(), n, key.data(), keyLength, mac.data());
            EXPECT_EQ(toHex(mac), expected);
            HmacSha1Context ctx;
            E_HMAC_SHA1_Init(&ctx, key.data(), keyLength);
            E_HMAC_SHA1_Update(&ctx, m.data(), n / 3);
            E_HMAC_SHA1_Update(&ctx, m.data() + n / 3, n - n / 3);
            E_HMAC_SHA1_Final(&ctx, mac.data());
            EXPECT_EQ(toHex(mac), expected);
            if (keyLength == 0) {  // a negative length is the empty key
                E_HMAC_SHA1(m.data(), n, reinterpret_cast<const uint8_t *>("key"), -5, mac.data());
                EXPECT_EQ(toHex(mac), expected);
            }
        }
    }
}

}  // namespace
