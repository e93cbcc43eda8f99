// Every digest engine behind one table: published vectors, and a differential loop against an
// oracle (OpenSSL, nettle for MD2) over every short length, odd addresses and random splits.
#include <gtest/gtest.h>
#include <vorelcrypto/hash.h>

#include "hash/md5.h"
#include "hash/sha1.h"
#include "support/oracles.h"

#include <cstdlib>
#include <functional>

namespace {

using vctest::Bytes;
using vctest::toHex;
using Sizes = std::vector<uint32_t>;

// Init, one Update per piece (an empty piece passes a null pointer, as callers do), Final.
template <class Ctx, size_t N, auto Init, auto Update, auto Final>
Bytes staged(const uint8_t *data, const Sizes &sizes) {
    Ctx ctx;
    Init(&ctx);
    for (uint32_t n : sizes) Update(&ctx, n == 0 ? nullptr : data, n), data += n;
    Bytes out(N);
    Final(&ctx, out.data());
    return out;
}

template <size_t N, auto F>
Bytes oneShot(const uint8_t *data, uint32_t n) {
    Bytes out(N);
    F(out.data(), data, n);
    return out;
}

// The SHA-2 one-shots report the digest length and write nothing past it.
template <size_t N, auto F>
Bytes oneShotSized(const uint8_t *data, uint32_t n) {
    Bytes out(64, 0xEE);
    uint32_t length = 0;
    F(out.data(), &length, data, n);
    for (size_t i = length; i < out.size(); ++i)
        if (out[i] != 0xEE) return {};
    out.resize(length);
    return out;
}

enum class Paths { One, ShaExtensions, Sha512Codes };

struct Engine {
    const char *name;
    Bytes (*pieces)(const uint8_t *, const Sizes &);
    Bytes (*oneShot)(const uint8_t *, uint32_t);
    Bytes (*oracle)(const uint8_t *, size_t);  // nullptr: the one-shot is the reference
    Paths paths = Paths::One;
    uint32_t splitUnit = 1;  // SHA-0 gives the standard value only for pieces of whole blocks
};

#define ORACLE(NAME) [](const uint8_t *p, size_t n) { return vctest::digest(NAME, p, n); }
namespace h = vc::hash;
const Engine kEngines[] = {
    {"sha1", staged<ShaContext, 20, E_SHA1_Init, E_SHA1_Update, E_SHA1_Final>, oneShot<20, E_SHA1>,
     ORACLE("SHA1"), Paths::ShaExtensions},
    {"sha0", staged<ShaContext, 20, E_SHA_Init, E_SHA_Update, E_SHA_Final>, oneShot<20, E_SHA>, nullptr,
     Paths::One, 64},
    {"sha256", staged<Sha256Context, 32, E_SHA256_Init, E_SHA256_Update, E_SHA256_Final>,
     oneShotSized<32, E_SHA256>, ORACLE("SHA256"), Paths::ShaExtensions},
    {"sha384", staged<Sha512Context, 48, E_SHA384_Init, E_SHA384_Update, E_SHA384_Final>,
     oneShotSized<48, E_SHA384>, ORACLE("SHA384"), Paths::Sha512Codes},
    {"sha512", staged<Sha512Context, 64, E_SHA512_Init, E_SHA512_Update, E_SHA512_Final>,
     oneShotSized<64, E_SHA512>, ORACLE("SHA512"), Paths::Sha512Codes},
    {"md2", staged<Md2Context, 16, E_MD2_Init, E_MD2_Update, E_MD2_Final>, oneShot<16, E_MD2>, ORACLE("MD2")},
    {"md4", staged<Md4Context, 16, E_MD4_Init, E_MD4_Update, E_MD4_Final>, oneShot<16, E_MD4>, ORACLE("MD4")},
    {"md5", staged<h::Md5Context, 16, h::md5Init, h::md5Update, h::md5Final>, oneShot<16, h::md5>,
     ORACLE("MD5")},
    {"ripemd160", staged<Ripemd160Context, 20, E_RIPEMD160_Init, E_RIPEMD160_Update, E_RIPEMD160_Final>,
     oneShot<20, E_RIPEMD160>, ORACLE("RIPEMD160")},
    {"has160", staged<Has160Context, 20, E_HAS160_Init, E_HAS160_Update, E_HAS160_Final>,
     oneShot<20, E_HAS160>, nullptr},
};
#undef ORACLE

const Engine &engine(std::string_view name) {
    for (const Engine &e : kEngines)
        if (name == e.name) return e;
    std::abort();
}

// Runs body once per code path this processor can run: SHA extensions and portable code for
// SHA-1 and SHA-256, each build of the SHA-512 compression for SHA-384/512. Leaves the best on.
void forEachPath(const Engine &e, const std::function<void(const char *)> &body) {
    using h::Sha512Code;
    const std::pair<Sha512Code, const char *> codes[] = {
        {Sha512Code::Baseline, "baseline"}, {Sha512Code::Bmi2Avx, "bmi2-avx"}, {Sha512Code::Avx512, "avx512"}};
    switch (e.paths) {
    case Paths::One: return body("");
    case Paths::Sha512Codes:
        for (auto [code, name] : codes)
            if (h::selectSha512Code(code)) body(name);
        for (auto it = std::rbegin(codes); it != std::rend(codes) && !h::selectSha512Code(it->first); ++it) {
        }
        return;
    case Paths::ShaExtensions:
        if (h::cpuHasShaExtensions()) h::setShaExtensionsEnabled(true), body("sha-extensions");
        h::setShaExtensionsEnabled(false), body("portable");
        h::setShaExtensionsEnabled(true);
    }
}

// Random cut of `length` into pieces: mostly short ones around block boundaries, now and then an
// empty or a long one.
Sizes randomPieces(vctest::Rng &rng, uint32_t length) {
    Sizes sizes;
    while (length > 0) {
        uint32_t n = rng.below(4) == 0 ? rng.below(length + 1) : rng.below(length < 70 ? length + 1 : 70);
        sizes.push_back(n);
        length -= n;
    }
    if (rng.below(2) == 0) sizes.push_back(0);
    return sizes;
}

const char kAlnum[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
const char k448[] = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";

// The FIPS 180 values, the RFC 1319/1320/1321 suites, the RIPEMD-160 reference vectors and the
// HAS-160 vectors of TTAS.KO-12.0011/R1: the engine's digest of `text` repeated `repeat` times.
// Engines with an oracle keep one anchor here (the loop below covers their other lengths); SHA-0
// and HAS-160, which have none, keep their whole sets.
struct Vector {
    const char *engine, *text;
    size_t repeat;
    const char *digest;
} const kVectors[] = {
    {"sha1", "abc", 1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {"sha0", "abc", 1, "0164b8a914cd2a5e74c4f7ff082c4d97f1edf880"},
    {"sha0", k448, 1, "d2516ee1acfa5baf33dfc1c471e438449ef134c8"},
    {"sha0", "a", 1000000, "3232affa48628a26653b5aaa44541fd90d690603"},
    {"sha256", "abc", 1, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"sha384", "abc", 1,
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
    {"sha512", "abc", 1,
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    {"md2", "abc", 1, "da853b0d3f88d99b30283a69e6ded6bb"},
    {"md4", "abc", 1, "a448017aaf21d8525fc10ae87aa6729d"},
    {"md5", "abc", 1, "900150983cd24fb0d6963f7d28e17f72"},
    {"ripemd160", "abc", 1, "8eb208f7e05d987a9b044a8e98c6b087f15a0bfc"},
    {"has160", "", 1, "307964ef34151d37c8047adec7ab50f4ff89762d"},
    {"has160", "a", 1, "4872bcbc4cd0f0a9dc7c2f7045e5b43b6c830db8"},
    {"has160", "abc", 1, "975e810488cf2a3d49838478124afce4b1c78804"},
    {"has160", "message digest", 1, "2338dbc8638d31225f73086246ba529f96710bc6"},
    {"has160", "abcdefghijklmnopqrstuvwxyz", 1, "596185c9ab6703d0d0dbb98702bc0f5729cd1d3c"},
    {"has160", kAlnum, 1, "cb5d7efbca2f02e0fb7167cabb123af5795764e5"},
    {"has160", "1234567890", 8, "07f05c8c0773c55ca3a5a695ce6aca4c438911b5"},
    {"has160", "a", 1000000, "d6ad6f0608b878da9b87999c2525cc84f4c9f18d"},
};

// Each vector in one call and in three pieces (for SHA-0, cut at a block boundary).
TEST(Digest, PublishedVectors) {
    for (const Vector &v : kVectors) {
        const Engine &e = engine(v.engine);
        std::string text;
        for (size_t i = 0; i < v.repeat; ++i) text += v.text;
        auto data = reinterpret_cast<const uint8_t *>(text.data());
        uint32_t n = uint32_t(text.size()), cut = n / 3 / e.splitUnit * e.splitUnit;
        forEachPath(e, [&](const char *path) {
            SCOPED_TRACE(std::string(e.name) + " " + path + " of " + std::to_string(n) + " bytes");
            EXPECT_EQ(toHex(e.oneShot(data, n)), v.digest);
            EXPECT_EQ(toHex(e.pieces(data, {cut, 0, n - cut})), v.digest);
        });
    }
}

// Lengths 0..300 cover the 55/56- and 63/64-byte endings (MD2's 15/16) over several blocks, from
// aligned and odd addresses, in one call and in random pieces; then long inputs in random pieces.
// HAS-160 has no oracle: its pieces must agree with its one-shot.
TEST(Digest, AgreesWithOracle) {
    vctest::Rng rng(11);
    const Bytes pool = rng.bytes(70000);
    for (const Engine &e : kEngines) {
        if (e.splitUnit != 1) continue;
        forEachPath(e, [&](const char *path) {
            auto expect = [&](const uint8_t *data, uint32_t n, const Sizes &sizes) {
                SCOPED_TRACE(std::string(e.name) + " " + path + " length " + std::to_string(n) + " at " +
                             std::to_string(data - pool.data()));
                Bytes expected = e.oracle != nullptr ? e.oracle(data, n) : e.oneShot(data, n);
                ASSERT_EQ(toHex(e.pieces(data, sizes)), toHex(expected));
                if (e.oracle != nullptr) {
                    ASSERT_EQ(toHex(e.oneShot(data, n)), toHex(expected));
                }
            };
            for (uint32_t n = 0; n <= 300; ++n)
                for (size_t offset : {0, 1, 3})
                    expect(pool.data() + offset, n, offset == 0 ? Sizes{n} : randomPieces(rng, n));
            for (int trial = 0; trial < 12; ++trial) {
                uint32_t n = trial % 4 == 0 ? 65536 + rng.below(4000) : 300 + rng.below(5000);
                expect(pool.data() + rng.below(4), n, randomPieces(rng, n));
            }
        });
    }
}

}  // namespace
