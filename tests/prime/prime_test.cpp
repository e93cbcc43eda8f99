// Prime tests and generators, every result confirmed with GMP.
#include "primes/prime_internal.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <cstdlib>
#include <cstring>

#include "bignum/bn_test_util.h"

namespace {

using namespace bntest;
using vc::prime::kSmallPrimeCount;
using vc::prime::kSmallPrimes;

Num hexNum(const char *hex) {
    Mpz v;
    mpz_set_str(v, hex, 16);
    return fromMpz(v);
}

bool gmpPrime(const ENUM *a) {
    Mpz v;
    toMpz(v, a);
    return mpz_probab_prime_p(v, 30) != 0;
}

// The 2048-bit MODP group of RFC 3526, a safe prime.
const char *const rfc3526 =
    "FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A0879"
    "8E3404DDEF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B"
    "0BFF5CB6F406B7EDEE386BFB5A899FA5AE9F24117C4B1FE649286651ECE45B3DC2007CB8A163BF0598DA4836"
    "1C55D39A69163FA8FD24CF5F83655D23DCA3AD961C62F356208552BB9ED529077096966D670C354E4ABC9804"
    "F1746C08CA18217C32905E462E36CE3BE39E772C180E86039B2783A2EC07A28FB5C55DF06F4C52C9DE2BCBF6"
    "955817183995497CEA956AE515D2261898FA051015728E5A8AACAA68FFFFFFFFFFFFFFFF";

TEST(SmallPrimes, TableIsTheFirst2048Primes) {
    Mpz p;
    mpz_set_ui(p, 1);
    for (int i = 0; i < kSmallPrimeCount; i++) {
        mpz_nextprime(p, p);
        ASSERT_EQ(kSmallPrimes[i], mpz_get_ui(p)) << i;
    }
}

TEST(Barrett, ModMulReciprocalAgreesWithGmp) {
    gmp_randstate_t rs;
    gmp_randinit_default(rs);
    gmp_randseed_ui(rs, 7);
    for (unsigned bits : {17u, 64u, 95u, 256u, 1024u, 2048u}) {
        for (int trial = 0; trial < 20; trial++) {
            Mpz n, x, y, got;
            mpz_urandomb(n, rs, bits);
            mpz_setbit(n, bits - 1);
            mpz_urandomm(x, rs, n);
            mpz_urandomm(y, rs, n);
            Num en = fromMpz(n), ex = fromMpz(x), ey = fromMpz(y), recip, r;
            const int32_t nb = vc::prime::reciprocal(recip.p(), en.p());
            ASSERT_EQ(uint32_t(nb), bits);
            ASSERT_EQ(vc::prime::modMulReciprocal(r.p(), ex.p(), ey.p(), en.p(), recip.p(), nb), 1);
            toMpz(got, r.p());
            mpz_mul(x, x, y);
            mpz_mod(x, x, n);
            ASSERT_EQ(mpz_cmp(got, x), 0) << bits;
        }
    }
    gmp_randclear(rs);
}

// Known primes and composites; the composites include Carmichael numbers and strong
// pseudoprimes to small bases, which a Fermat test or fixed bases would let through.
TEST(IsPrime, KnownPrimesAndComposites) {
    std::srand(1);
    const struct {
        const char *hex;
        int prime;
    } cases[] = {
        {"7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", 1},  // 2^127 - 1
        {rfc3526, 1},
        {"FFFFFFFB", 1},                          // 2^32 - 5
        {"FFFFFFFFFFFFFFC5", 1},                  // 2^64 - 59
        {"231", 0},                               // 561
        {"A051", 0},                              // 41041
        {"C97B1", 0},                             // 825265
        {"BFA0B1C7", 0},                          // 3215031751
        {"FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", 0},  // 2^128 - 1
        {"7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFD", 0},  // 2^127 - 3
    };
    for (const auto &c : cases) {
        Num n = hexNum(c.hex);
        EXPECT_EQ(EN_IsPrime(n.p()), c.prime) << c.hex;
        EXPECT_EQ(gmpPrime(n.p()), c.prime != 0);
        if (std::strlen(c.hex) < 5) continue;  // random bases below 2^16 are left to EN_IsPrime
        // 3215031751 is a strong pseudoprime to bases 2, 3, 5 and 7: random bases expose it.
        int passes = 0;
        for (int i = 0; i < 8; i++) passes += EN_MillerRabin(n.p());
        EXPECT_EQ(passes >= 4, c.prime != 0) << c.hex;
    }
}

TEST(IsPrime, AgreesWithGmpOnOddNumbers) {
    gmp_randstate_t rs;
    gmp_randinit_default(rs);
    gmp_randseed_ui(rs, 11);
    int primes = 0;
    for (int trial = 0; trial < 400; trial++) {
        Mpz v;
        mpz_urandomb(v, rs, 64);
        mpz_setbit(v, 63);
        mpz_setbit(v, 0);
        Num n = fromMpz(v), a;
        const int want = mpz_probab_prime_p(v, 30) != 0;
        primes += want;
        ASSERT_EQ(EN_IsPrime(n.p()), want) << mpz_get_ui(v);
        EN_Random(a.p(), 63, 0, 0);
        ASSERT_TRUE(!want || vc::prime::witness(a.p(), n.p()) == 0);
    }
    EXPECT_GT(primes, 0);
    gmp_randclear(rs);
}

// Strong (RSA) and X9.31-strong tests on known safe primes and on primes that are not.
TEST(IsPrime, StrongTests) {
    const struct {
        const char *hex;
        int safe, strong, x9;  // -1: not asked
    } cases[] = {
        {"FFFFFFFFFFFFFFC5", 0, -1, 0},                  // 2^64 - 59
        {"7FFFFFFFFFFFFFFFFFFFFFFFFFFFF55F", 1, -1, 1},  // a safe prime
        {rfc3526, 1, 1, -1},
        {"7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF", 0, 0, -1},  // (p - 1) / 2 is divisible by 3
    };
    for (const auto &c : cases) {
        Num p = hexNum(c.hex), q;
        EN_RShift(q.p(), p.p(), 1);
        EXPECT_EQ(gmpPrime(p.p()) && gmpPrime(q.p()), c.safe != 0) << c.hex;
        if (c.strong >= 0) { EXPECT_EQ(EN_IsStrongPrime(p.p()), c.strong) << c.hex; }
        if (c.x9 >= 0) { EXPECT_EQ(EN_IsStrongX9Prime(p.p()), c.x9) << c.hex; }
    }
}

// Bit length, prime, p = rem mod add (rem 0: no class asked), and safe when asked. RSA kinds
// also have the second bit set and p mod every odd small prime above 1.
void expectPrime(const Num &p, uint32_t bits, bool rsa, bool safe, uint32_t add = 0, uint32_t rem = 0) {
    Num copy = p, q;
    ASSERT_EQ(EN_GetFilledBitNum(copy.p()), bits);
    EXPECT_TRUE(gmpPrime(p.p()));
    EXPECT_TRUE(rem == 0 || EN_ModWord(p.p(), add) == rem);
    EN_RShift(q.p(), p.p(), 1);
    EXPECT_TRUE(!safe || gmpPrime(q.p()));
    if (!rsa) return;
    EXPECT_TRUE(EN_IsBitSet(p.p(), int32_t(bits - 2)));
    for (int i = 1; i < kSmallPrimeCount; i++) ASSERT_GT(EN_ModWord(p.p(), kSmallPrimes[i]), 1u) << i;
}

TEST(GeneratePrime, RsaAndX9Kinds) {
    Num p;
    for (uint32_t bits : {33u, 48u, 63u, 64u, 100u, 160u, 256u}) {
        EXPECT_EQ(EN_GeneratePrimeRSA(p.p(), bits), 1);
        expectPrime(p, bits, true, false);
    }
    EXPECT_EQ(EN_GeneratePrimeStrongRSA(p.p(), 128), 1);
    expectPrime(p, 128, true, true);
    EXPECT_EQ(EN_IsStrongPrime(p.p()), 1);
    // Every X9.31 draw makes a 160-bit prime of its own, so a safe-prime search is for the
    // benchmarks; the strong X9 test runs on the known safe prime above.
    EXPECT_EQ(EN_GenerateX9Prime(p.p(), 64), 1);
    expectPrime(p, 64, true, false);
}

TEST(GeneratePrime, DhResidueClassesAndContext) {
    Num p;
    Num a12 = fromWords({12}), r11 = fromWords({11}), a64 = fromWords({64});
    EXPECT_EQ(EN_GeneratePrimeDH(p.p(), 256, a12.p(), r11.p()), 1);
    expectPrime(p, 256, false, false, 12, 11);
    // Null rem: residue 1 (add must then have no odd small factor, or no candidate survives).
    EXPECT_EQ(EN_GeneratePrimeDH(p.p(), 128, a64.p(), nullptr), 1);
    expectPrime(p, 128, false, false, 64, 1);
    EXPECT_EQ(EN_GeneratePrimeStrongDH(p.p(), 128, a12.p(), r11.p()), 1);
    expectPrime(p, 128, false, true, 12, 11);

    EN_PrimeCtx ctx;
    EN_PrimeInit(&ctx, 256, 1, 0, a12.p(), r11.p());
    EXPECT_EQ(ctx.flags, 0u);
    EXPECT_EQ(EN_PrimeUpdate(p.p(), 128, &ctx), 1);  // add and rem ignored
    expectPrime(p, 128, true, false);
    EN_PrimeInit(&ctx, 0, 0, 1, a12.p(), r11.p());
    EXPECT_EQ(ctx.flags, 32u);
    EXPECT_EQ(EN_PrimeUpdate(p.p(), 128, &ctx), 1);
    expectPrime(p, 128, false, false, 12, 11);
    // The safe search draws q with the full bit count, so p has one bit more.
    EN_PrimeInit(&ctx, 0, 1, 1, a12.p(), r11.p());
    EXPECT_EQ(ctx.flags, 48u);
    EXPECT_EQ(EN_PrimeUpdate(p.p(), 96, &ctx), 1);
    expectPrime(p, 97, false, true, 12, 11);
}

}  // namespace
