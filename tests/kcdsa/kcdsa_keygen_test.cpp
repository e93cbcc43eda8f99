// KCDSA key generation checked by GMP: domains, key pairs, the seeded 1024/160 search and the
// built-in parameter set.
#include <openssl/x509.h>
#include <vorelcrypto/random.h>

#include "kcdsa/kcdsa_model.h"

namespace {

using namespace kcdsatest;

struct Record {
    KcdsaKey k;
    Record() {
        std::memset(&k, 0, sizeof k);
        E_KCDSA_Init(&k);
    }
};

// y = g^(x^-1 mod q) mod p, x not zero mod q (below q when `reduced`).
void expectPair(const KcdsaKey &k, bool reduced = true) {
    Mpz p, q, g, x, u, y;
    bntest::toMpz(p, &k.p), bntest::toMpz(q, &k.q), bntest::toMpz(g, &k.g), bntest::toMpz(x, &k.x);
    if (reduced) {
        EXPECT_LT(mpz_cmp(x, q), 0);
    }
    ASSERT_NE(mpz_invert(u, x, q), 0);
    mpz_powm(y, g, u, p);
    EXPECT_TRUE(dltest::equal(&k.y, y));
}

TEST(KcdsaKeygen, FreshDomainAndPair) {
    Record r;
    ASSERT_EQ(E_KCDSA_GenerateKey(&r.k, 512, 160), 1);
    dltest::expectDomain(&r.k.p, &r.k.q, &r.k.g, 512, 160);
    expectPair(r.k);
    // New x and y on the same domain.
    Mpz p0, x0;
    bntest::toMpz(p0, &r.k.p), bntest::toMpz(x0, &r.k.x);
    ASSERT_EQ(E_KCDSA_GenerateXY(&r.k, 0, 160), 1);
    EXPECT_TRUE(dltest::equal(&r.k.p, p0));
    EXPECT_FALSE(dltest::equal(&r.k.x, x0));
    expectPair(r.k);
}

// x comes from the X9.31 generator run on the caller's seeds with q reducing each step: reduced
// mod q by GenerateKey2, kept as drawn by GenerateKey3 (on the record's domain).
TEST(KcdsaKeygen, X931Pairs) {
    Record r;
    uint8_t seed1[20], seed2[20], again[20];
    for (int i = 0; i < 20; i++) seed1[i] = uint8_t(0xA0 + i), seed2[i] = uint8_t(i * 7);
    std::memcpy(again, seed1, 20);
    uint32_t len1 = 0, len2 = 0;
    ASSERT_EQ(E_KCDSA_GenerateKey2(&r.k, 512, 160, seed1, &len1, seed2, &len2), 1);
    EXPECT_EQ(len1, 20u);
    EXPECT_EQ(len2, 20u);
    dltest::expectDomain(&r.k.p, &r.k.q, &r.k.g, 512, 160);
    expectPair(r.k);

    uint8_t q[20], out[20];
    const uint32_t qLen = EN_ENUMToBytes(&r.k.q, q);
    uint32_t keyLen = 20;
    E_X9_31RandomBytes2(out, 20, again, &keyLen, seed2, 20, q, qLen);
    EXPECT_EQ(Bytes(again, again + 20), Bytes(seed1, seed1 + 20));  // seed1 advanced alike
    Mpz R, Q;
    dltest::fromBytes(R, out, 20);
    bntest::toMpz(Q, &r.k.q);
    mpz_mod(R, R, Q);
    EXPECT_TRUE(dltest::equal(&r.k.x, R));

    // GenerateKey3 keeps x as drawn; draw until it is at least q, to see that it is not reduced.
    Mpz x;
    do {
        std::memcpy(again, seed1, 20);
        ASSERT_EQ(E_KCDSA_GenerateKey3(&r.k, 0, 160, seed1, &len1, nullptr, &len2), 1);
        keyLen = 20;
        E_X9_31RandomBytes2(out, 20, again, &keyLen, nullptr, 0, q, qLen);
        dltest::fromBytes(x, out, 20);
        EXPECT_TRUE(dltest::equal(&r.k.x, x));
        expectPair(r.k, false);
    } while (mpz_cmp(x, Q) < 0);
}

// The seeded search: the marks on standard output, and p, q, g rebuilt by GMP from the seed,
// count, counter and h that it reports.
TEST(KcdsaKeygen, SeededDomain) {
    Record r;
    uint8_t seed[20], h[200];
    uint32_t seedLen = 0, count = 0, counter = 0, hLen = 0;
    testing::internal::CaptureStdout();
    ASSERT_EQ(E_KCDSA_GenerateX9Key(&r.k, 1024, 160, seed, &seedLen, &count, &counter, h, &hLen), 1);
    const std::string marks = testing::internal::GetCapturedStdout();
    // (2+d)+3+: candidates, the end of each search, private-key draws.
    const size_t threes = marks.find('3');
    ASSERT_NE(threes, std::string::npos);
    EXPECT_EQ(marks.find_first_not_of('3', threes), std::string::npos);
    EXPECT_EQ(marks.find_first_not_of("2d"), threes);
    EXPECT_EQ(marks[0], '2');
    EXPECT_EQ(marks[threes - 1], 'd');
    EXPECT_EQ(marks.find("dd"), std::string::npos);
    dltest::expectDomain(&r.k.p, &r.k.q, &r.k.g, 1024, 160);
    expectPair(r.k);
    ASSERT_LE(seedLen, 20u);
    ASSERT_GE(count, 1u);
    ASSERT_LT(count, 4096u);
    ASSERT_LT(counter, 1024u);

    Mpz S, t, J, q, p, g, hv;
    dltest::fromBytes(S, seed, seedLen);
    auto hashPlus = [&](unsigned long i) {
        mpz_add_ui(t, S, i);
        return has160(dltest::bytesOf(t));
    };
    Bytes all;
    for (int i = 5; i >= 0; i--) all = concat(all, hashPlus(unsigned(i)));
    dltest::fromBytes(J, all.data() + 12, 108);
    mpz_setbit(J, 0), mpz_clrbit(J, 863), mpz_setbit(J, 862);
    EXPECT_NE(mpz_probab_prime_p(J, 25), 0);
    dltest::fromBytes(q, hashPlus(count * 1024ul + counter));
    mpz_setbit(q, 0), mpz_setbit(q, 159);
    mpz_mul(p, J, q);
    mpz_mul_2exp(p, p, 1);
    mpz_add_ui(p, p, 1);
    EXPECT_TRUE(dltest::equal(&r.k.q, q));
    EXPECT_TRUE(dltest::equal(&r.k.p, p));
    dltest::fromBytes(hv, h, hLen);
    mpz_sub_ui(t, p, 1);
    mpz_divexact(t, t, q);
    mpz_powm(g, hv, t, p);
    EXPECT_TRUE(dltest::equal(&r.k.g, g));
}

// The built-in set: valid by GMP, its DER (read by OpenSSL) exactly 290 bytes and the same
// numbers that GenerateKey_fixParam loads.
TEST(KcdsaKeygen, BuiltInParameters) {
    ASSERT_EQ(std::strlen(E_KCDSA_FixedParamsDerHex), 580u);
    const Bytes der = vctest::fromHex(E_KCDSA_FixedParamsDerHex);
    ASSERT_EQ(der.size(), 290u);
    const unsigned char *at = der.data();
    EVP_PKEY *params = d2i_KeyParams(EVP_PKEY_DSA, nullptr, &at, long(der.size()));
    ASSERT_NE(params, nullptr);
    EXPECT_EQ(at, der.data() + der.size());
    Record r;
    ASSERT_EQ(E_KCDSA_GenerateKey_fixParam(&r.k, 0, 160), 1);
    dltest::expectDomain(&r.k.p, &r.k.q, &r.k.g, 1024, 160);
    for (auto [name, e] : {std::pair<const char *, const ENUM *>{OSSL_PKEY_PARAM_FFC_P, &r.k.p},
                           {OSSL_PKEY_PARAM_FFC_Q, &r.k.q}, {OSSL_PKEY_PARAM_FFC_G, &r.k.g}}) {
        Mpz v;
        EXPECT_TRUE(dltest::keyParam(params, name, v));
        EXPECT_TRUE(dltest::equal(e, v)) << name;
    }
    EVP_PKEY_free(params);
    expectPair(r.k);
}

// Sizes the generators cannot serve are refused at once, the record untouched.
TEST(KcdsaKeygen, RefusedSizes) {
    Record r;
    uint8_t seed[20] = {1}, out[200];
    uint32_t l[4] = {};
    EXPECT_EQ(E_KCDSA_GenerateKey(&r.k, 512, 8) + E_KCDSA_GenerateKey(&r.k, 160, 160) +
                  E_KCDSA_GenerateKey(&r.k, 2432, 160) + E_KCDSA_GenerateKey2(&r.k, 512, 160, nullptr, l, seed, l) +
                  E_KCDSA_GenerateKey3(&r.k, 0, 160, seed, l, seed, l) + E_KCDSA_GenerateXY(&r.k, 0, 160) +
                  E_KCDSA_GenerateKey_fixParam(&r.k, 0, 0) +
                  E_KCDSA_GenerateX9Key(&r.k, 1, 160, seed, l, l + 1, l + 2, out, l + 3),
              0);
    EXPECT_EQ(l[0] + l[1] + l[2] + l[3] + uint32_t(r.k.p.length + r.k.q.length + r.k.x.length), 0u);
}

}  // namespace
