// SHA-0 (E_SHA): FIPS 180 values, and a model of its multi-part word conversion, which existing
// digests depend on.
#include <gtest/gtest.h>
#include <vorelcrypto/hash.h>

#include "support/test_util.h"

#include <cstring>

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

// The engine's buffer as message bytes plus, per word, whether it has been byte-reversed an odd
// number of times. A compression reads a word big-endian when it has, little-endian otherwise.
struct Sha0Model {
    uint32_t h[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
    uint8_t raw[64] = {};
    bool reversed[16] = {};
    uint64_t bits = 0;

    void put(size_t at, const uint8_t *p, size_t n) {
        for (size_t i = 0; i < n; ++i) raw[at + i] = p[i], reversed[(at + i) / 4] = false;
    }
    void reverse(size_t first, size_t count) {
        for (size_t i = first; i < first + count; ++i) reversed[i] = !reversed[i];
    }
    void compress(uint32_t w14 = 0, uint32_t w15 = 0, bool lengthBlock = false) {
        uint32_t w[16];
        for (int i = 0; i < 16; ++i) {
            const uint8_t *q = raw + 4 * i;
            w[i] = reversed[i] ? uint32_t(q[0]) << 24 | q[1] << 16 | q[2] << 8 | q[3]
                               : uint32_t(q[3]) << 24 | q[2] << 16 | q[1] << 8 | q[0];
        }
        if (lengthBlock) w[14] = w14, w[15] = w15;
        sha0Compress(h, w);
    }
    void update(const uint8_t *p, size_t n) {
        size_t fill = (bits / 8) % 64;
        bits += 8 * n;
        if (fill != 0 && n < 64 - fill) {
            put(fill, p, n);
            reverse(0, n / 4);  // counted from the buffer's start, not from fill
            return;
        }
        if (fill != 0) {
            size_t k = 64 - fill;
            put(fill, p, k);
            reverse(0, k / 4);
            compress();
            p += k, n -= k;
        }
        for (; n >= 64; p += 64, n -= 64) {
            put(0, p, 64);
            reverse(0, 16);
            compress();
        }
        put(0, p, n);
        reverse(0, n / 4);
    }
    Bytes final() {
        size_t fill = (bits / 8) % 64;
        const uint8_t pad = 0x80, zeros[64] = {};
        put(fill, &pad, 1);
        put(fill + 1, zeros, 63 - fill);
        reverse(fill / 4, 1);
        if (fill >= 56) {
            compress();
            put(0, zeros, 56);
        }
        compress(uint32_t(bits >> 32), uint32_t(bits), true);
        Bytes out;
        for (uint32_t x : h)
            for (int s = 24; s >= 0; s -= 8) out.push_back(uint8_t(x >> s));
        return out;
    }
};

Bytes ours(const std::vector<std::string_view> &pieces) {
    ShaContext ctx;
    E_SHA_Init(&ctx);
    for (auto piece : pieces) E_SHA_Update(&ctx, reinterpret_cast<const uint8_t *>(piece.data()), uint32_t(piece.size()));
    Bytes out(20);
    E_SHA_Final(&ctx, out.data());
    return out;
}

Bytes model(const std::vector<std::string_view> &pieces) {
    Sha0Model m;
    for (auto piece : pieces) m.update(reinterpret_cast<const uint8_t *>(piece.data()), piece.size());
    return m.final();
}

Bytes oneShot(std::string_view s) {
    Bytes out(20);
    E_SHA(out.data(), reinterpret_cast<const uint8_t *>(s.data()), uint32_t(s.size()));
    return out;
}

TEST(Sha0, Fips180Vectors) {
    std::string m448;
    for (int i = 0; i < 14; ++i)
        for (int j = 0; j < 4; ++j) m448 += char('a' + i + j);
    const std::string millionA(1000000, 'a');
    const std::pair<const std::string, const char *> vectors[] = {
        {"abc", "0164b8a914cd2a5e74c4f7ff082c4d97f1edf880"},
        {m448, "d2516ee1acfa5baf33dfc1c471e438449ef134c8"},
        {millionA, "3232affa48628a26653b5aaa44541fd90d690603"},
    };
    for (auto &[message, digest] : vectors) {
        EXPECT_EQ(toHex(oneShot(message)), digest) << message.size();
        EXPECT_EQ(toHex(model({message})), digest) << "model, " << message.size();
        // Pieces of whole blocks give the standard value too.
        std::vector<std::string_view> pieces;
        std::string_view rest = message;
        for (; rest.size() > 640; rest.remove_prefix(640)) pieces.push_back(rest.substr(0, 640));
        pieces.push_back(rest);
        EXPECT_EQ(toHex(ours(pieces)), digest) << "in blocks, " << message.size();
    }
}

TEST(Sha0, SplitUpdatesReconvertWords) {
    // Word 0 is converted by both Updates, word 1 by none: the block is the standard one of the
    // message with each word's bytes reversed.
    EXPECT_NE(ours({"abcd", "efgh"}), oneShot("abcdefgh"));
    EXPECT_EQ(ours({"abcd", "efgh"}), oneShot("dcbahgfe"));
    EXPECT_EQ(ours({"ab", "c"}), oneShot("abc"));
    EXPECT_EQ(ours({"abcd", "efgh"}), model({"abcd", "efgh"}));

    vctest::Rng rng(21);
    Bytes pool = rng.bytes(3000);
    for (int trial = 0; trial < 300; ++trial) {
        size_t n = rng.below(3000);
        std::vector<std::string_view> pieces;
        std::string_view rest(reinterpret_cast<const char *>(pool.data()), n);
        while (!rest.empty()) {
            size_t k = std::min<size_t>(rest.size(), rng.below(trial % 3 == 0 ? 20 : 200));
            pieces.push_back(rest.substr(0, k));
            rest.remove_prefix(k);
        }
        ASSERT_EQ(toHex(ours(pieces)), toHex(model(pieces))) << "trial " << trial;
    }
}

}  // namespace
