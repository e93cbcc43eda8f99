// SHA-1, SHA-0, E_MySHA1 and SHA-256/384/512: published vectors, OpenSSL as the oracle for the
// standard algorithms, and models written here for the deliberate departures.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <gtest/gtest.h>
#include <vorelcrypto/hash.h>

#include "hash/sha1.h"
#include "support/test_util.h"

#include <cstring>
#include <functional>

namespace {

using vctest::Bytes;
using vctest::bytesOf;
using vctest::fromHex;
using vctest::toHex;

// Runs Init, one Update per piece (cut at the given offsets), Final.
template <typename Ctx, size_t N>
struct Staged {
    void (*init)(Ctx *);
    void (*update)(Ctx *, const uint8_t *, uint32_t);
    void (*final)(Ctx *, uint8_t *);
    Bytes operator()(const uint8_t *data, size_t length, const std::vector<size_t> &cuts = {}) const {
        Ctx ctx;
        init(&ctx);
        size_t at = 0;
        for (size_t cut : cuts) {
            update(&ctx, data + at, uint32_t(cut - at));
            at = cut;
        }
        update(&ctx, data + at, uint32_t(length - at));
        Bytes out(N);
        final(&ctx, out.data());
        return out;
    }
};

using Digest = std::function<Bytes(const uint8_t *, size_t, const std::vector<size_t> &)>;

struct Engine {
    const char *name;
    Digest staged;
    const EVP_MD *(*oracle)();
    bool hasTwoPaths;  // SHA extensions and portable code
};

const Engine kEngines[] = {
    {"sha1", Staged<ShaContext, 20>{E_SHA1_Init, E_SHA1_Update, E_SHA1_Final}, EVP_sha1, true},
    {"sha256", Staged<Sha256Context, 32>{E_SHA256_Init, E_SHA256_Update, E_SHA256_Final}, EVP_sha256, true},
    {"sha384", Staged<Sha512Context, 48>{E_SHA384_Init, E_SHA384_Update, E_SHA384_Final}, EVP_sha384, false},
    {"sha512", Staged<Sha512Context, 64>{E_SHA512_Init, E_SHA512_Update, E_SHA512_Final}, EVP_sha512, false},
};

Bytes oracle(const EVP_MD *md, const uint8_t *data, size_t length) {
    Bytes out(EVP_MD_get_size(md));
    unsigned n = 0;
    EVP_Digest(data, length, out.data(), &n, md, nullptr);
    return out;
}

// Runs body once per code path of the engine: SHA extensions (when the CPU has them), portable.
void forEachPath(const Engine &e, const std::function<void(const char *)> &body) {
    if (e.hasTwoPaths && vc::hash::cpuHasShaExtensions()) {
        vc::hash::setShaExtensionsEnabled(true);
        body("sha-extensions");
    }
    vc::hash::setShaExtensionsEnabled(false);
    body("portable");
    vc::hash::setShaExtensionsEnabled(true);
}

// The FIPS 180-2 multi-block messages: 14 overlapping runs of 4 (448 bits) and of 8 letters.
std::string runs(int width) {
    std::string s;
    for (int i = 0; i < 14; ++i)
        for (int j = 0; j < width; ++j) s += char('a' + i + j);
    return s;
}
const std::string k448 = runs(4), k896 = runs(8);
const std::string kMillionA(1000000, 'a');

TEST(Sha, Fips180Vectors) {
    struct Vector {
        int engine;
        const std::string &message;
        const char *digest;
    };
    const std::string abc = "abc", empty;
    const Vector vectors[] = {
        {0, abc, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {0, k448, "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {0, kMillionA, "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {0, empty, "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {1, abc, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {1, k448, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {1, kMillionA, "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
        {2, abc, "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded163"
                 "1a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
        {2, k896, "09330c33f71147e83d192fc782cd1b4753111b173b3b05d2"
                  "2fa08086e3b0f712fcc7c71a557e2db966c3e9fa91746039"},
        {2, kMillionA, "9d0e1809716474cb086e834e310a4a1ced149e9c00f24852"
                       "7972cec5704c2a5b07b8b3dc38ecc4ebae97ddd87f3d8985"},
        {3, abc, "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                 "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
        {3, k896, "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
                  "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"},
        {3, kMillionA, "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
                       "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b"},
    };
    for (const Vector &v : vectors) {
        const Engine &e = kEngines[v.engine];
        forEachPath(e, [&](const char *path) {
            auto p = reinterpret_cast<const uint8_t *>(v.message.data());
            EXPECT_EQ(toHex(e.staged(p, v.message.size(), {})), v.digest)
                << e.name << " " << path << " length " << v.message.size();
        });
    }
}

// Every length 0..300 from an aligned and an odd address, and random splits of longer inputs at
// odd offsets, against OpenSSL.
TEST(Sha, AgreesWithOpenSsl) {
    vctest::Rng rng(11);
    Bytes pool = rng.bytes(5001);
    for (const Engine &e : kEngines) {
        forEachPath(e, [&](const char *path) {
            for (size_t offset : {0, 1, 3}) {
                for (size_t n = 0; n <= 300; ++n)
                    ASSERT_EQ(e.staged(pool.data() + offset, n, {}), oracle(e.oracle(), pool.data() + offset, n))
                        << e.name << " " << path << " length " << n << " offset " << offset;
            }
            for (int trial = 0; trial < 40; ++trial) {
                size_t offset = rng.below(4), n = 300 + rng.below(4700);
                std::vector<size_t> cuts;
                for (size_t at = rng.below(200); at < n; at += 1 + rng.below(trial % 2 ? 40 : 700))
                    cuts.push_back(at);
                ASSERT_EQ(e.staged(pool.data() + offset, n, cuts), oracle(e.oracle(), pool.data() + offset, n))
                    << e.name << " " << path << " trial " << trial;
            }
        });
    }
}

TEST(Sha, OneShotsAndDigestLengths) {
    vctest::Rng rng(12);
    Bytes m = rng.bytes(1000);
    uint8_t d[64];
    E_SHA1(d, m.data(), 1000);
    EXPECT_EQ(Bytes(d, d + 20), oracle(EVP_sha1(), m.data(), 1000));
    using OneShot = void (*)(uint8_t *, uint32_t *, const uint8_t *, uint32_t);
    const std::pair<OneShot, const EVP_MD *> sha2[] = {
        {E_SHA256, EVP_sha256()}, {E_SHA384, EVP_sha384()}, {E_SHA512, EVP_sha512()}};
    for (auto [f, md] : sha2) {
        uint32_t length = 0;
        std::memset(d, 0xEE, sizeof d);
        f(d, &length, m.data() + 1, 999);
        ASSERT_EQ(length, uint32_t(EVP_MD_get_size(md)));
        EXPECT_EQ(Bytes(d, d + length), oracle(md, m.data() + 1, 999));
        for (size_t i = length; i < sizeof d; ++i) EXPECT_EQ(d[i], 0xEE) << "wrote past the digest";
    }
}

TEST(Sha, EmptyUpdateChangesNothing) {
    ShaContext a;
    E_SHA1_Init(&a);
    E_SHA1_Update(&a, reinterpret_cast<const uint8_t *>("xyz"), 3);
    ShaContext b = a;
    E_SHA1_Update(&b, nullptr, 0);
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
}

// ---- bit counts near the 2^32 wrap ----

// SHA-1 carries its bit count into the high word: compare with OpenSSL's context set to the
// same count.
TEST(Sha, Sha1CountCarries) {
    Bytes m = vctest::Rng(13).bytes(1024);
    ShaContext ours;
    E_SHA1_Init(&ours);
    ours.countLow = 0xFFFFFE00;  // a whole number of blocks, 64 bytes below the wrap
    SHA_CTX ref;
    SHA1_Init(&ref);
    ref.Nl = 0xFFFFFE00;
    for (int i = 0; i < 2; ++i) {
        E_SHA1_Update(&ours, m.data() + 512 * i, 512);
        SHA1_Update(&ref, m.data() + 512 * i, 512);
    }
    EXPECT_EQ(ours.countHigh, 1u);
    uint8_t a[20], b[20];
    E_SHA1_Final(&ours, a);
    SHA1_Final(b, &ref);
    EXPECT_EQ(toHex(a, 20), toHex(b, 20));
}

// SHA-256 never carries from the low into the high count word. Model: OpenSSL's SHA-256 from
// the same count, with the carry it made taken out of its high word before the final block.
TEST(Sha, Sha256CountDoesNotCarry) {
    Bytes m = vctest::Rng(14).bytes(1024);
    forEachPath(kEngines[1], [&](const char *path) {
        Sha256Context ours;
        E_SHA256_Init(&ours);
        ours.countLow = 0xFFFFFE00;
        SHA256_CTX ref;
        SHA256_Init(&ref);
        ref.Nl = 0xFFFFFE00;
        for (int i = 0; i < 2; ++i) {
            E_SHA256_Update(&ours, m.data() + 512 * i, 512);
            SHA256_Update(&ref, m.data() + 512 * i, 512);
        }
        ASSERT_EQ(ref.Nh, 1u);
        ref.Nh = 0;
        EXPECT_EQ(ours.countHigh, 0u) << path;
        uint8_t a[32], b[32];
        E_SHA256_Final(&ours, a);
        SHA256_Final(b, &ref);
        EXPECT_EQ(toHex(a, 32), toHex(b, 32)) << path;
    });
}

// SHA-512's 128-bit count carries through all four words.
TEST(Sha, Sha512CountCarries) {
    Bytes m = vctest::Rng(15).bytes(1024);
    Sha512Context ours;
    E_SHA512_Init(&ours);
    ours.count[0] = 0xFFFFFC00;
    ours.count[1] = 0xFFFFFFFF;
    SHA512_CTX ref;
    SHA512_Init(&ref);
    ref.Nl = 0xFFFFFFFFFFFFFC00ull;
    E_SHA512_Update(&ours, m.data(), 1024);
    SHA512_Update(&ref, m.data(), 1024);
    EXPECT_EQ(ours.count[2], 1u);
    uint8_t a[64], b[64];
    E_SHA512_Final(&ours, a);
    SHA512_Final(b, &ref);
    EXPECT_EQ(toHex(a, 64), toHex(b, 64));
}

// ---- E_MySHA1 ----

TEST(Sha, MySha1IsOneCompressionFromTheInitialValues) {
    vctest::Rng rng(16);
    for (int trial = 0; trial < 20; ++trial) {
        Bytes block = trial == 0 ? Bytes(64, 0) : rng.bytes(64);
        SHA_CTX ref;
        SHA1_Init(&ref);
        SHA1_Transform(&ref, block.data());
        uint8_t expected[20];
        const uint32_t h[5] = {ref.h0, ref.h1, ref.h2, ref.h3, ref.h4};
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 4; ++j) expected[4 * i + j] = uint8_t(h[i] >> (24 - 8 * j));
        forEachPath(kEngines[0], [&](const char *path) {
            uint8_t d[20];
            E_MySHA1(d, block.data());
            EXPECT_EQ(toHex(d, 20), toHex(expected, 20)) << path << " trial " << trial;
        });
    }
    uint8_t zero[64] = {}, my[20], full[20];
    E_MySHA1(my, zero);
    E_SHA1(full, zero, 64);
    EXPECT_NE(toHex(my, 20), toHex(full, 20));
}

}  // namespace
