// Prime tests and generators, every result confirmed with GMP.
#include "bignum/prime_internal.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <gmp.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using vc::prime::kSmallPrimeCount;
using vc::prime::kSmallPrimes;

// A stack number with room for 2400-bit values and their products.
struct Num {
    uint32_t w[160] = {};
    ENUM n{0, 0, w};
    ENUM *operator&() { return &n; }
};

struct Mpz {
    mpz_t v;
    Mpz() { mpz_init(v); }
    explicit Mpz(const char *hex) { mpz_init_set_str(v, hex, 16); }
    ~Mpz() { mpz_clear(v); }
};

void toEnum(ENUM *a, const mpz_t v) {
    std::vector<uint8_t> bytes((mpz_sizeinbase(v, 2) + 7) / 8 + 1);
    size_t count = 0;
    mpz_export(bytes.data(), &count, 1, 1, 1, 0, v);
    EN_BytesToENUM(a, bytes.data(), uint32_t(count));
}

void toMpz(mpz_t v, const ENUM *a) { mpz_import(v, size_t(a->length), -1, 4, 0, 0, a->words); }

void fromHexEnum(ENUM *a, const char *hex) {
    Mpz v(hex);
    toEnum(a, v.v);
}

bool gmpPrime(const ENUM *a) {
    Mpz v;
    toMpz(v.v, a);
    return mpz_probab_prime_p(v.v, 30) != 0;
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
    mpz_set_ui(p.v, 1);
    for (int i = 0; i < kSmallPrimeCount; i++) {
        mpz_nextprime(p.v, p.v);
        ASSERT_EQ(kSmallPrimes[i], mpz_get_ui(p.v)) << i;
    }
}

TEST(Barrett, ModMulReciprocalAgreesWithGmp) {
    gmp_randstate_t rs;
    gmp_randinit_default(rs);
    gmp_randseed_ui(rs, 7);
    for (unsigned bits : {17u, 64u, 95u, 256u, 1024u, 2048u}) {
        for (int trial = 0; trial < 20; trial++) {
            Mpz n, x, y, want;
            mpz_urandomb(n.v, rs, bits);
            mpz_setbit(n.v, bits - 1);
            mpz_urandomm(x.v, rs, n.v);
            mpz_urandomm(y.v, rs, n.v);
            Num en, ex, ey, recip, r;
            for (auto [e, v] : {std::pair{&en, &n}, {&ex, &x}, {&ey, &y}}) toEnum(&*e, v->v);
            const int32_t nb = vc::prime::EN_Reciprocal(&recip, &en);
            ASSERT_EQ(uint32_t(nb), bits);
            ASSERT_EQ(vc::prime::EN_ModMulReciprocal(&r, &ex, &ey, &en, &recip, nb), 1);
            Mpz got;
            toMpz(got.v, &r);
            mpz_mul(want.v, x.v, y.v);
            mpz_mod(want.v, want.v, n.v);
            ASSERT_EQ(mpz_cmp(got.v, want.v), 0) << bits;
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
        Num n;
        fromHexEnum(&n, c.hex);
        EXPECT_EQ(EN_IsPrime(&n), c.prime) << c.hex;
        EXPECT_EQ(gmpPrime(&n), c.prime != 0);
        if (std::strlen(c.hex) < 5) continue;  // random bases below 2^16 are left to EN_IsPrime
        // 3215031751 is a strong pseudoprime to bases 2, 3, 5 and 7: random bases expose it.
        int passes = 0;
        for (int i = 0; i < 8; i++) passes += EN_MillerRabin(&n);
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
        mpz_urandomb(v.v, rs, 64);
        mpz_setbit(v.v, 63);
        mpz_setbit(v.v, 0);
        Num n;
        toEnum(&n, v.v);
        const int want = mpz_probab_prime_p(v.v, 30) != 0;
        primes += want;
        ASSERT_EQ(EN_IsPrime(&n), want) << mpz_get_str(nullptr, 16, v.v);
        Num a;
        EN_Random(&a, 63, 0, 0);
        if (want) {
            ASSERT_EQ(vc::prime::EN_Witness(&a, &n), 0);
        }
    }
    EXPECT_GT(primes, 0);
    gmp_randclear(rs);
}

// Shapes every RSA-kind prime must have.
void expectRsaPrime(const ENUM *p, uint32_t bits) {
    Num copy;
    EN_Copy(&copy, p);
    ASSERT_EQ(EN_GetFilledBitNum(&copy), bits);
    EXPECT_TRUE(EN_IsBitSet(p, int32_t(bits - 2)));
    EXPECT_TRUE(gmpPrime(p));
    for (int i = 1; i < kSmallPrimeCount; i++) ASSERT_GT(EN_ModWord(p, kSmallPrimes[i]), 1u) << i;
}

void expectSafe(const ENUM *p) {
    Num q;
    EN_RShift(&q, p, 1);
    EXPECT_TRUE(gmpPrime(p));
    EXPECT_TRUE(gmpPrime(&q));
}

TEST(GeneratePrime, RsaKinds) {
    for (uint32_t bits : {33u, 48u, 63u, 64u, 100u, 160u, 256u}) {
        Num p;
        EXPECT_EQ(EN_GeneratePrimeRSA(&p, bits), 1);
        expectRsaPrime(&p, bits);
    }
    Num p;
    EXPECT_EQ(EN_GeneratePrimeStrongRSA(&p, 128), 1);
    expectRsaPrime(&p, 128);
    expectSafe(&p);
    EXPECT_EQ(EN_IsStrongPrime(&p), 1);
}

TEST(GeneratePrime, X9KindsAndStrongTests) {
    Num p;
    EXPECT_EQ(EN_GenerateX9Prime(&p, 64), 1);
    expectRsaPrime(&p, 64);
    // Every X9.31 draw makes a 160-bit prime of its own, so a safe-prime search is for the
    // benchmarks; the strong test runs on a known safe prime (2^64 - 59 is not one).
    fromHexEnum(&p, "FFFFFFFFFFFFFFC5");
    EXPECT_EQ(EN_IsStrongX9Prime(&p), 0);
    fromHexEnum(&p, "7FFFFFFFFFFFFFFFFFFFFFFFFFFFF55F");
    expectSafe(&p);
    EXPECT_EQ(EN_IsStrongX9Prime(&p), 1);
    fromHexEnum(&p, rfc3526);
    expectSafe(&p);
    EXPECT_EQ(EN_IsStrongPrime(&p), 1);
    fromHexEnum(&p, "7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF");  // (p - 1) / 2 is divisible by 3
    EXPECT_EQ(EN_IsStrongPrime(&p), 0);
}

// Bit length, residue p = rem mod add (rem 0: no class asked), prime, and safe when asked.
void expectShape(const ENUM *p, uint32_t bits, uint32_t add, uint32_t rem, bool safe) {
    Num copy;
    EN_Copy(&copy, p);
    EXPECT_EQ(EN_GetFilledBitNum(&copy), bits);
    EXPECT_TRUE(rem == 0 || EN_ModWord(p, add) == rem);
    EXPECT_TRUE(gmpPrime(p));
    if (safe) expectSafe(p);
}

TEST(GeneratePrime, DhResidueClassesAndContext) {
    Num p, a12, r11, a64;
    EN_U32ToENUM(&a12, 12);
    EN_U32ToENUM(&r11, 11);
    EN_U32ToENUM(&a64, 64);
    EXPECT_EQ(EN_GeneratePrimeDH(&p, 256, &a12, &r11), 1);
    expectShape(&p, 256, 12, 11, false);
    // Null rem: residue 1 (add must then have no odd small factor, or no candidate survives).
    EXPECT_EQ(EN_GeneratePrimeDH(&p, 128, &a64, nullptr), 1);
    expectShape(&p, 128, 64, 1, false);
    EXPECT_EQ(EN_GeneratePrimeStrongDH(&p, 128, &a12, &r11), 1);
    expectShape(&p, 128, 12, 11, true);

    EN_PrimeCtx ctx;
    EN_PrimeInit(&ctx, 256, 1, 0, &a12, &r11);
    EXPECT_EQ(ctx.flags, 0u);
    EXPECT_EQ(EN_PrimeUpdate(&p, 128, &ctx), 1);  // add and rem ignored
    expectRsaPrime(&p, 128);
    EN_PrimeInit(&ctx, 0, 0, 1, &a12, &r11);
    EXPECT_EQ(ctx.flags, 32u);
    EXPECT_EQ(EN_PrimeUpdate(&p, 128, &ctx), 1);
    expectShape(&p, 128, 12, 11, false);
    // The safe search draws q with the full bit count, so p has one bit more.
    EN_PrimeInit(&ctx, 0, 1, 1, &a12, &r11);
    EXPECT_EQ(ctx.flags, 48u);
    EXPECT_EQ(EN_PrimeUpdate(&p, 96, &ctx), 1);
    expectShape(&p, 97, 12, 11, true);
}

}  // namespace
