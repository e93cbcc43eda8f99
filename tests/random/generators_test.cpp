// The generators' output algorithms against independent models built on OpenSSL (MD5, DES,
// the SHA-1 compression) and on our separately tested HAS-160, from states the tests set;
// then their shapes on the real seeding.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "random/random_internal.h"
#include "support/oracles.h"

#include <vorelcrypto/hash.h>
#include <vorelcrypto/random.h>

#include <openssl/des.h>
#include <openssl/sha.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <tuple>

#include "bignum/bn_test_util.h"

namespace {

using Bytes = std::vector<uint8_t>;
using bntest::Mpz;
using bntest::Num;
using bntest::toMpz;
namespace vr = vc::random;

Bytes md5(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &p : parts) all.insert(all.end(), p.begin(), p.end());
    return vctest::digest("MD5", all);
}

// ---- pool model: indexes kept as plain integers, wrap by modulo ----
struct PoolModel {
    Bytes pool = Bytes(1023);
    Bytes md = Bytes(16);
    uint32_t counter = 0;
    int index = 0, filled = 0;

    void mix(const Bytes &in) {
        int p = index, f = filled;
        index += int(in.size());
        if (index >= 1024) {
            index %= 1023;
            f = 1023;
        } else if (f < 1023) {
            f = std::max(f, index);
        }
        for (size_t off = 0; off < in.size(); off += 16) {
            size_t j = std::min<size_t>(16, in.size() - off);
            Bytes window, chunk(in.begin() + long(off), in.begin() + long(off + j));
            for (size_t i = 0; i < j; i++) window.push_back(pool[(size_t(p) + i) % 1023]);
            md = md5({md, window, chunk});
            for (size_t i = 0; i < j; i++) {
                if (p + int(i) >= 1023 && f < 1023) f = 1023;
                pool[(size_t(p) + i) % 1023] ^= md[i];
            }
            p = int((size_t(p) + j) % 1023);
        }
        filled = f;
    }
    Bytes draw(Bytes out) {
        int p = index;
        index += int(out.size());
        if (index > filled) index %= filled;
        for (size_t off = 0; off < out.size(); off += 8) {
            size_t j = std::min<size_t>(8, out.size() - off);
            Bytes window, prev(out.begin() + long(off), out.begin() + long(off + j));
            for (size_t i = 0; i < j; i++) window.push_back(pool[(size_t(p) + i) % size_t(filled)]);
            md = md5({Bytes(md.begin() + 8, md.end()), prev, window});
            for (size_t i = 0; i < j; i++) {
                pool[(size_t(p) + i) % size_t(filled)] ^= md[i];
                out[off + i] = md[8 + i];
            }
            p = int((size_t(p) + j) % size_t(filled));
        }
        Bytes ctr(4);
        std::memcpy(ctr.data(), &counter, 4);
        counter++;
        md = md5({ctr, md});
        return out;
    }
};

void load(vr::Pool &pool, const PoolModel &m) {
    std::memcpy(pool.bytes, m.pool.data(), 1023);
    std::memcpy(pool.md, m.md.data(), 16);
    pool.counter = m.counter;
    pool.index = m.index;
    pool.filled = m.filled;
    pool.firstUse = false;
}

auto state(const vr::Pool &p) {
    return std::tuple(Bytes(p.bytes, p.bytes + 1023), Bytes(p.md, p.md + 16), p.counter, p.index, p.filled);
}
auto state(const PoolModel &m) { return std::tuple(m.pool, m.md, m.counter, m.index, m.filled); }

Bytes pattern(size_t n, uint8_t seed) {
    Bytes b(n);
    for (size_t i = 0; i < n; i++) b[i] = uint8_t(seed + 37 * i + (i >> 3));
    return b;
}

// Mixing and drawing lengths that cross the chunk sizes and wrap the pool.
TEST(Pool, MixAndOutputMatchModel) {
    for (vr::Pool *pool : {&vr::entropyPool(), &vr::rsaPool()}) {
        const vr::Pool saved = *pool;
        const bool entropy = pool == &vr::entropyPool();
        PoolModel m;
        m.pool = pattern(1023, 5);
        m.md = pattern(16, 9);
        m.counter = 7;
        m.index = 1000;
        m.filled = 1010;
        load(*pool, m);
        const int lengths[] = {1, 15, 16, 17, 40, 100, 1023, 3};
        for (int len : lengths) {
            Bytes in = pattern(size_t(len), uint8_t(len));
            (entropy ? vr::RAND_Seed : E_GenerateSeed_RSA)(in.data(), len);
            m.mix(in);
            EXPECT_EQ(state(*pool), state(m)) << len;
            Bytes out = pattern(size_t(len) + 3, uint8_t(len + 1));  // previous contents are input
            Bytes got = out;
            (entropy ? RAND_Bytes : E_GenerateRandom_RSA)(got.data(), int32_t(got.size()));
            EXPECT_EQ(got, m.draw(out)) << len;
            EXPECT_EQ(state(*pool), state(m)) << len;
        }
        *pool = saved;
    }
}

TEST(Des, FixedSchedulesAndChaining) {
    // OpenSSL under the two fixed keys also confirms the stored precomputed schedules.
    DES_cblock key1, key2;
    std::memcpy(key1, vr::kDesKey1, 8);
    std::memcpy(key2, vr::kDesKey2, 8);
    DES_key_schedule k1, k2;
    DES_set_key_unchecked(&key1, &k1);
    DES_set_key_unchecked(&key2, &k2);
    auto enc = [](Bytes &b, DES_key_schedule &k) {
        DES_ecb_encrypt(reinterpret_cast<const_DES_cblock *>(b.data()),
                        reinterpret_cast<DES_cblock *>(b.data()), &k, DES_ENCRYPT);
    };
    auto x = [](Bytes &d, const Bytes &s2) {
        for (int i = 0; i < 8; i++) d[size_t(i)] ^= s2[size_t(i)];
    };
    vr::DesState &st = vr::desState();
    for (uint32_t len : {1u, 8u, 9u, 16u, 30u, 64u}) {
        Bytes A = pattern(8, 1), B = pattern(8, 2);
        std::memcpy(st.a, A.data(), 8);
        std::memcpy(st.b, B.data(), 8);
        st.firstUse = false;
        Bytes want;  // per step: A' = E1(A ^ B), B' = E2(B) ^ A'; then A = B, B = A' between steps
        for (uint32_t done = 0; done < len; done += 8) {
            const Bytes oldB = B;
            x(A, B), enc(A, k1), enc(B, k2), x(B, A);
            want.insert(want.end(), B.begin(), B.begin() + std::min(8u, len - done));
            if (len - done > 8) B = A, A = oldB;
        }
        Bytes got(len);
        E_GenerateRandom(got.data(), len, 1);
        EXPECT_EQ(got, want) << len;
        EXPECT_EQ(Bytes(st.a, st.a + 8), A);
        EXPECT_EQ(Bytes(st.b, st.b + 8), B);
    }
}

TEST(HashChain, OutputIsTheChain) {
    vr::ChainState &st = vr::chainState();
    Bytes s = pattern(16, 3);
    std::memcpy(st.s, s.data(), 16);
    st.firstUse = false;
    Bytes got(40);
    E_GenerateRandom(got.data(), 40, 0);
    Bytes want;
    for (int i = 0; i < 3; i++) {
        s = md5({s});
        want.insert(want.end(), s.begin(), s.end());
    }
    want.resize(40);
    EXPECT_EQ(got, want);
    EXPECT_EQ(Bytes(st.s, st.s + 16), s);
}

// ---- G-function models: SHA-1 compression through OpenSSL, numbers through GMP ----
Bytes compress(const Bytes &value20) {
    SHA_CTX c;
    SHA1_Init(&c);
    uint8_t block[64] = {};
    std::memcpy(block, value20.data(), 20);
    SHA1_Transform(&c, block);
    Bytes out(20);
    const uint32_t h[5] = {c.h0, c.h1, c.h2, c.h3, c.h4};
    for (int i = 0; i < 20; i++) out[size_t(i)] = uint8_t(h[i / 4] >> (24 - 8 * (i % 4)));
    return out;
}

Bytes bytesOf(mpz_srcptr v, size_t width = 0) {  // big-endian, no leading zeros or padded to width
    Bytes b(mpz_sizeinbase(v, 2) / 8 + 1);
    size_t n = 0;
    mpz_export(b.data(), &n, 1, 1, 1, 0, v);
    b.resize(n);
    b.insert(b.begin(), n < width ? width - n : 0, 0);
    return b;
}
void fromBytes(mpz_ptr v, const Bytes &b) { mpz_import(v, b.size(), 1, 1, 1, 0, b.data()); }

Bytes seedFor(int i) { return pattern(20, uint8_t(100 + i)); }
void testSeed(ENUM *xseed, void *arg) {
    int &i = *static_cast<int *>(arg);
    Bytes b = seedFor(i++);
    EN_BytesToENUM(xseed, b.data(), 20);
}

// The G-function loop shared by both variants: s = XKEY (+ XSEED_i for X9.31), G = SHA-1
// compression of s (mod q for X9.31), XKEY = XKEY + G + 1 mod 2^160. Returns G and XKEY per block.
std::vector<std::pair<Bytes, Bytes>> gLoop(const Bytes &key, uint32_t blocks, const Bytes *q) {
    Mpz k, s, g, qq, two160;
    fromBytes(k, key);
    if (q) fromBytes(qq, *q);
    mpz_setbit(two160, 160);
    std::vector<std::pair<Bytes, Bytes>> steps;
    for (uint32_t i = 0; i < blocks; i++) {
        fromBytes(s, q ? seedFor(int(i)) : Bytes());
        mpz_add(s, s, k);
        mpz_mod(s, s, two160);
        fromBytes(g, compress(bytesOf(s, 20)));
        if (q) mpz_mod(g, g, qq);
        mpz_add(k, k, g);
        mpz_add_ui(k, k, 1);
        mpz_mod(k, k, two160);
        steps.emplace_back(bytesOf(g, 20), bytesOf(k, 20));
    }
    return steps;
}

TEST(GFunction, X931LoopMatchesModel) {
    Bytes key = pattern(20, 50), qb = pattern(20, 60);
    qb[0] |= 0x80;
    for (uint32_t len : {1u, 20u, 30u, 41u}) {
        Num xkey, q;
        EN_BytesToENUM(xkey.p(), key.data(), 20);
        EN_BytesToENUM(q.p(), qb.data(), 20);
        int counter = 0;
        Bytes got(len), want;
        vr::x931Loop(got.data(), len, xkey.p(), q.p(), testSeed, &counter);
        for (const auto &st : gLoop(key, (8 * len + 159) / 160, &qb))
            want.insert(want.end(), st.second.begin(), st.second.end());
        want.resize(len);
        EXPECT_EQ(got, want) << len;
        EXPECT_EQ(counter, int((8 * len + 159) / 160));
    }
}

TEST(GFunction, X962MatchesModel) {
    Bytes key = pattern(20, 70), order = pattern(21, 80);
    order[0] = 0x04;  // a 163-bit order
    for (uint32_t bits : {160u, 161u, 163u, 330u}) {
        Bytes xkey = key, out(order.size());
        uint32_t xkeyLen = 20, outLen = 0;
        E_X9_62RandomBytes(out.data(), &outLen, xkey.data(), &xkeyLen, order.data(),
                           uint32_t(order.size()), bits);
        Bytes v, k;
        for (const auto &st : gLoop(key, (bits + 159) / 160, nullptr)) {
            v.insert(v.end(), st.first.begin(), st.first.end());
            k = st.second;
        }
        Mpz want, ord;
        fromBytes(want, v), fromBytes(ord, order);
        mpz_sub_ui(ord, ord, 1), mpz_mod(want, want, ord), mpz_add_ui(want, want, 1);
        EXPECT_EQ(Bytes(out.begin(), out.begin() + outLen), bytesOf(want)) << bits;
        EXPECT_EQ(Bytes(xkey.begin(), xkey.begin() + xkeyLen), k) << bits;
    }
}

// The DSA example of FIPS 186-2 (its change notice 1): XKEY below, XSEED 0, q below; the G
// outputs are w0 (the example's private key x) and w1. E_X9_31RandomBytes2 writes the advanced
// XKEYs (XKEY + w0 + 1, then + w1 + 1, mod 2^160), E_X9_62RandomBytes_Original the G outputs.
TEST(GFunction, Fips186KnownAnswers) {
    const Bytes xkey0 = vctest::fromHex("bd029bbe7f51960bcf9edb2b61f06f0feb5a38b6");
    const Bytes q = vctest::fromHex("c773218c737ec8ee993b4f2ded30f48edace915f");
    const Bytes w0 = vctest::fromHex("2070b3223dba372fde1c0ffc7b2e3b498b260614");
    const Bytes w1 = vctest::fromHex("3c6c18bacb0f6c55babb13788e20d737a3275116");
    Mpz k, w;
    Bytes keys;
    fromBytes(k, xkey0);
    for (const Bytes *g : {&w0, &w1}) {
        fromBytes(w, *g), mpz_add(k, k, w), mpz_add_ui(k, k, 1), mpz_fdiv_r_2exp(k, k, 160);
        Bytes b = bytesOf(k, 20);
        keys.insert(keys.end(), b.begin(), b.end());
    }
    Bytes xkey = xkey0, out(40);
    uint32_t xkeyLen = 20;
    E_X9_31RandomBytes2(out.data(), 40, xkey.data(), &xkeyLen, nullptr, 0, q.data(), 20);
    EXPECT_EQ(out, keys);
    EXPECT_EQ(xkey, Bytes(keys.begin() + 20, keys.end()));
    xkey = xkey0;
    E_X9_62RandomBytes_Original(out.data(), 40, xkey.data(), &xkeyLen);
    Bytes gs = w0;
    gs.insert(gs.end(), w1.begin(), w1.end());
    EXPECT_EQ(out, gs);
    EXPECT_EQ(Bytes(xkey.begin(), xkey.begin() + xkeyLen), Bytes(keys.begin() + 20, keys.end()));
}

// HAS-160 expansion: blocks HAS-160(in || i), block 0 least significant, cut to `bits` bits.
void expandModel(mpz_ptr out, const Bytes &in, uint32_t bits) {
    Mpz blk;
    mpz_set_ui(out, 0);
    for (uint32_t i = 0; i <= (bits - 1) / 160; i++) {
        Bytes msg = in, d(20);
        msg.push_back(uint8_t(i));
        E_HAS160(d.data(), msg.data(), uint32_t(msg.size()));
        fromBytes(blk, d);
        mpz_mul_2exp(blk, blk, 160 * i), mpz_add(out, out, blk);
    }
    mpz_fdiv_r_2exp(out, out, bits);
}

TEST(Has160Expand, BlocksAndLastBlockCut) {
    const Bytes in = pattern(13, 21);
    for (uint32_t bits : {1u, 8u, 159u, 160u, 161u, 165u, 322u, 326u}) {
        Num got;
        Mpz g, want;
        E_HAS160_Expand(got.p(), in.data(), uint32_t(in.size()), bits);
        toMpz(g, got.p()), expandModel(want, in, bits);
        EXPECT_EQ(mpz_cmp(g, want), 0) << bits;
    }
}

// EC-KCDSA: k = expand(bytes of (XKEY + expand(seed, 165)) mod 2^165, 2b) mod q.
TEST(EcKcdsa, WidthsAndReduction) {
    Bytes order = pattern(21, 90), key = pattern(21, 91), seed = pattern(9, 92);
    order[0] = 0x04;
    for (uint32_t b : {161u, 163u}) {
        for (bool withSeed : {false, true}) {
            Num xkey, q;
            EN_BytesToENUM(xkey.p(), key.data(), 21);
            EN_BytesToENUM(q.p(), order.data(), 21);
            Bytes out(21);
            uint32_t outLen = 0;
            vr::eckcdsaFromXkey(xkey.p(), withSeed ? seed.data() : nullptr,
                                withSeed ? uint32_t(seed.size()) : 0, q.p(), b, out.data(), &outLen);
            Mpz x, s, k, ord;
            fromBytes(x, key), fromBytes(ord, order);
            if (withSeed) expandModel(s, seed, 165), mpz_add(x, x, s);
            mpz_fdiv_r_2exp(x, x, 165);
            expandModel(k, bytesOf(x), 2 * b);
            mpz_mod(k, k, ord);
            EXPECT_EQ(Bytes(out.begin(), out.begin() + outLen), bytesOf(k)) << b << withSeed;
        }
    }
}

// ---- shapes on the real first-use seeding: lengths, forced bits, chaining ----
using RandomFn = void (*)(ENUM *, uint32_t, uint32_t, uint32_t);

TEST(RandomNumbers, BitLengthTopAndOdd) {
    for (RandomFn fn : {EN_Random, EN_X9_31Random}) {
        for (uint32_t bits : {1u, 2u, 8u, 9u, 17u, 32u, 33u, 160u, 257u}) {
            for (uint32_t top : {0u, 1u}) {
                for (uint32_t odd : {0u, 1u}) {
                    Num a;
                    fn(a.p(), bits, top, odd);
                    EXPECT_EQ(EN_GetFilledBitNum(a.p()), bits);
                    EXPECT_TRUE(top == 0 || bits < 2 || EN_IsBitSet(a.p(), int32_t(bits - 2))) << bits;
                    EXPECT_TRUE(odd == 0 || EN_IsBitSet(a.p(), 0)) << bits;
                }
            }
        }
    }
}

TEST(RandomNumbers, GenerateRandomLengthIsNotTrimmed) {
    for (uint32_t useDes : {0u, 1u}) {
        Num a;
        EN_GenerateRandom(a.p(), 5, useDes);
        EXPECT_EQ(a.e.length, 2);
        EXPECT_EQ(a.e.sign, 0u);
        EXPECT_EQ(a.store[1] >> 8, 0u);  // only one byte of the top word is drawn
    }
}

// sect163k1's order.
const Bytes kOrder163 = vctest::fromHex("04000000000000000000020108a2e0cc0d99f8a5ef");

// A destination of exactly the size a routine promises to fill, followed by guard bytes.
struct Guarded {
    explicit Guarded(size_t n) : size(n), buf(n + 16, 0xA5) {}
    uint8_t *p() { return buf.data(); }
    bool intact() const {
        return std::all_of(buf.begin() + long(size), buf.end(), [](uint8_t b) { return b == 0xA5; });
    }
    size_t size;
    Bytes buf;
};
// An ENUM with exactly `words` words of storage, followed by guard words.
struct GuardedNum {
    explicit GuardedNum(uint32_t words) : g(4 * size_t(words)) {}
    ENUM *p() {
        e = {0, 0, reinterpret_cast<uint32_t *>(g.p())};
        return &e;
    }
    bool intact() const { return g.intact(); }
    Guarded g;
    ENUM e{};
};

// Every routine writes within the size its header states, for lengths and widths around the
// block sizes (n is a byte count or a bit count, as the routine takes); outputs reduced by the
// order, from fresh XKEYs of both curve widths, are also below it.
TEST(WrittenExtent, EveryRoutineStaysInItsDestination) {
    const Bytes key = pattern(20, 50), seed = pattern(9, 3), q = pattern(20, 60);
    const uint8_t *order = kOrder163.data();
    auto belowOrder = [order](Guarded &o, uint32_t len) {
        return o.intact() && len > 0 && (len < 21 || std::memcmp(o.p(), order, 21) < 0);
    };
    using Bytes1 = void (*)(uint8_t *, uint32_t);
    using Number = void (*)(ENUM *, uint32_t, uint32_t, uint32_t);
    auto bytes1 = [](Bytes1 fn) {
        return [fn](uint32_t n) { Guarded o(n); fn(o.p(), n); return o.intact(); };
    };
    auto number = [](Number fn) {
        return [fn](uint32_t n) { GuardedNum a((n + 31) / 32); fn(a.p(), n, 1, 1); return a.intact(); };
    };
    // Routines that also write the caller's XKEY back get a 20-byte guarded XKEY buffer.
    auto withKey = [&](auto fn) {
        return [&key, fn](uint32_t n) {
            Guarded xkey(20);
            std::copy(key.begin(), key.end(), xkey.p());
            uint32_t xkeyLen = 20;
            return fn(n, xkey.p(), &xkeyLen) && xkey.intact();
        };
    };
    const std::pair<const char *, std::function<bool(uint32_t)>> cases[] = {
        {"RAND_Bytes", bytes1([](uint8_t *o, uint32_t n) { RAND_Bytes(o, int32_t(n)); })},
        {"E_GenerateRandom_RSA", bytes1([](uint8_t *o, uint32_t n) { E_GenerateRandom_RSA(o, int32_t(n)); })},
        {"E_GenerateRandom_DES", bytes1(E_GenerateRandom_DES)},
        {"E_GenerateRandom_MD5", bytes1(E_GenerateRandom_MD5)},
        {"E_X9_31RandomBytes", bytes1(E_X9_31RandomBytes)},
        {"EN_Random", number(EN_Random)},
        {"EN_X9_31Random", number(EN_X9_31Random)},
        {"EN_GenerateRandom", [](uint32_t n) {
             GuardedNum a((n + 3) / 4);
             EN_GenerateRandom(a.p(), n, n % 2);
             return a.intact();
         }},
        {"E_HAS160_Expand", [&](uint32_t n) {
             GuardedNum a((n + 31) / 32);
             E_HAS160_Expand(a.p(), seed.data(), uint32_t(seed.size()), n);
             return a.intact();
         }},
        {"E_X9_31RandomBytes2", withKey([&](uint32_t n, uint8_t *xkey, uint32_t *xkeyLen) {
             Guarded o(n);
             E_X9_31RandomBytes2(o.p(), n, xkey, xkeyLen, seed.data(), 9, q.data(), 20);
             return o.intact();
         })},
        {"E_X9_62RandomBytes_Original", withKey([](uint32_t n, uint8_t *xkey, uint32_t *xkeyLen) {
             Guarded o(n);
             E_X9_62RandomBytes_Original(o.p(), n, xkey, xkeyLen);
             return o.intact();
         })},
        {"E_X9_62RandomBytes", withKey([order](uint32_t n, uint8_t *xkey, uint32_t *xkeyLen) {
             Guarded o(21);
             uint32_t len = 0;
             E_X9_62RandomBytes(o.p(), &len, xkey, xkeyLen, order, 21, n);
             return o.intact();
         })},
        {"E_ECKCDSA_RandomBytes", withKey([&](uint32_t n, uint8_t *xkey, uint32_t *xkeyLen) {
             Guarded o(21);
             uint32_t len = 0;
             E_ECKCDSA_RandomBytes(o.p(), &len, xkey, xkeyLen, seed.data(), 9, order, 21, n);
             return o.intact();
         })},
        {"E_GenerateRandom_X962", [&](uint32_t n) {
             Guarded o(21);
             uint32_t len = 0;
             E_GenerateRandom_X962(n % 2 ? 7 : 3, o.p(), &len, order, 21);
             return belowOrder(o, len);
         }},
        {"E_GenerateRandom_ECKCDSA", [&](uint32_t n) {
             Guarded o(21);
             uint32_t len = 0;
             E_GenerateRandom_ECKCDSA(n % 2 ? 7 : 3, o.p(), &len, seed.data(), n % 9, order, 21);
             return belowOrder(o, len);
         }},
    };
    for (const auto &[name, run] : cases)
        for (uint32_t n : {1u, 7u, 8u, 20u, 33u, 160u, 161u, 330u}) EXPECT_TRUE(run(n)) << name << " " << n;
}

}  // namespace
