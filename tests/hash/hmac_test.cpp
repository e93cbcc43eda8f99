// HMAC-SHA1: a model of its formula built from OpenSSL's SHA-1, which also shows where it
// departs from RFC 2104.
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <gtest/gtest.h>
#include <vorelcrypto/hash.h>

#include "support/test_util.h"

namespace {

using vctest::Bytes;
using vctest::toHex;

Bytes sha1(const Bytes &m) {
    Bytes out(20);
    EVP_Digest(m.data(), m.size(), out.data(), nullptr, EVP_sha1(), nullptr);
    return out;
}

Bytes pad(const uint8_t *key, size_t n, uint8_t value) {
    Bytes p(64, 0);
    std::copy(key, key + std::min<size_t>(n, 64), p.begin());
    for (auto &b : p) b ^= value;
    return p;
}

// SHA-1(opad(K') || first 16 bytes of SHA-1(ipad(K) || m)), where the inner pad takes the first
// 64 bytes of K and K' is K, or the first 16 bytes of SHA-1(K) for a key longer than 64.
Bytes model(const Bytes &key, const Bytes &message) {
    Bytes inner = pad(key.data(), key.size(), 0x36);
    inner.insert(inner.end(), message.begin(), message.end());
    Bytes innerDigest = sha1(inner);
    Bytes outerKey = key.size() > 64 ? sha1(key) : key;
    if (key.size() > 64) outerKey.resize(16);
    Bytes outer = pad(outerKey.data(), outerKey.size(), 0x5C);
    outer.insert(outer.end(), innerDigest.begin(), innerDigest.begin() + 16);
    return sha1(outer);
}

TEST(HmacSha1, MatchesItsFormula) {
    vctest::Rng rng(31);
    for (int keyLength : {0, 1, 20, 63, 64, 65, 200}) {
        Bytes key = rng.bytes(keyLength);
        for (size_t n : {0, 1, 19, 55, 64, 200, 1000}) {
            Bytes m = rng.bytes(n);
            Bytes expected = model(key, m);
            Bytes mac(20);
            E_HMAC_SHA1(m.data(), uint32_t(n), key.data(), keyLength, mac.data());
            EXPECT_EQ(toHex(mac), toHex(expected)) << "key " << keyLength << " message " << n;

            HmacSha1Context ctx;
            E_HMAC_SHA1_Init(&ctx, key.data(), keyLength);
            size_t half = n / 3;
            E_HMAC_SHA1_Update(&ctx, m.data(), uint32_t(half));
            E_HMAC_SHA1_Update(&ctx, m.data() + half, uint32_t(n - half));
            E_HMAC_SHA1_Final(&ctx, mac.data());
            EXPECT_EQ(toHex(mac), toHex(expected)) << "staged, key " << keyLength << " message " << n;
            EXPECT_EQ(ctx.keyLength, keyLength > 64 ? 16 : keyLength);
        }
    }
}

TEST(HmacSha1, DiffersFromRfc2104) {
    // RFC 2202 test case 1 shape; the outer hash here sees only 16 inner bytes.
    Bytes key(20, 0x0b), m = vctest::bytesOf("Hi There");
    uint8_t rfc[20], ours[20];
    unsigned n = 0;
    HMAC(EVP_sha1(), key.data(), 20, m.data(), m.size(), rfc, &n);
    E_HMAC_SHA1(m.data(), uint32_t(m.size()), key.data(), 20, ours);
    EXPECT_NE(toHex(rfc, 20), toHex(ours, 20));
}

TEST(HmacSha1, NegativeKeyLengthIsAnEmptyKey) {
    const uint8_t key[4] = {1, 2, 3, 4}, m[3] = {'a', 'b', 'c'};
    uint8_t a[20], b[20];
    E_HMAC_SHA1(m, 3, key, -5, a);
    E_HMAC_SHA1(m, 3, key, 0, b);
    EXPECT_EQ(toHex(a, 20), toHex(b, 20));
}

}  // namespace
