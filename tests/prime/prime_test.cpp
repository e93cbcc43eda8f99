// Prime tests and generators, every result confirmed with GMP.
#include "primes/prime_internal.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

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

// The MODP primes of RFC 3526 that fit the 75-word moduli: groups 5 (1536 bits) and 14 (2048
// bits), both safe primes. They share their first 368 hex digits (the bits of pi).
const std::string kModpPrefix =
    "FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A0879"
    "8E3404DDEF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B"
    "0BFF5CB6F406B7EDEE386BFB5A899FA5AE9F24117C4B1FE649286651ECE45B3DC2007CB8A163BF0598DA4836"
    "1C55D39A69163FA8FD24CF5F83655D23DCA3AD961C62F356208552BB9ED529077096966D670C354E4ABC9804"
    "F1746C08CA";
const std::string kModp1536 = kModpPrefix + "237327FFFFFFFFFFFFFFFF";
const std::string kModp2048 = kModpPrefix +
    "18217C32905E462E36CE3BE39E772C180E86039B2783A2EC07A28FB5C55DF06F4C52C9DE2BCBF6"
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
            if (trial == 0) {  // all-ones words: (2^bits - 2)^2, squared through one record
                mpz_set_ui(n, 0), mpz_setbit(n, bits), mpz_sub_ui(n, n, 1);
                mpz_sub_ui(x, n, 1), mpz_set(y, x);
            }
            Num en = fromMpz(n), ex = fromMpz(x), ey = fromMpz(y), recip, r;
            const int32_t nb = vc::prime::reciprocal(recip.p(), en.p());
            ASSERT_EQ(uint32_t(nb), bits);
            const ENUM *second = trial == 0 ? ex.p() : ey.p();
            ASSERT_EQ(vc::prime::modMulReciprocal(r.p(), ex.p(), second, en.p(), recip.p(), nb), 1);
            toMpz(got, r.p());
            mpz_mul(x, x, y);
            mpz_mod(x, x, n);
            ASSERT_EQ(mpz_cmp(got, x), 0) << bits;
        }
    }
    gmp_randclear(rs);
}

struct Known {
    Num n;
    bool prime;
};

// Every Mersenne prime within the 75-word moduli, the MODP primes, and composites that fool
// weaker tests: Carmichael numbers (every coprime base passes Fermat's test) and strong
// pseudoprimes to base 2 (the last three to every base up to 23, 37 and 41).
std::vector<Known> knownNumbers() {
    std::vector<Known> out;
    for (unsigned e : {2u, 3u, 5u, 7u, 13u, 17u, 19u, 31u, 61u, 89u, 107u, 127u, 521u, 607u, 1279u,
                       2203u, 2281u}) {
        Mpz v;
        mpz_setbit(v, e);
        mpz_sub_ui(v, v, 1);
        out.push_back({fromMpz(v), true});
    }
    out.push_back({hexNum(kModp1536.c_str()), true});
    out.push_back({hexNum(kModp2048.c_str()), true});
    out.push_back({hexNum("FFFFFFFFFFFFFFC5"), true});  // 2^64 - 59, no all-ones words below
    for (const char *dec : {"561", "1105", "1729", "2465", "2821", "6601", "8911", "10585", "41041",
                            "62745", "101101", "825265", "321197185", "3215031751", "2047",
                            "3277", "4033", "4681", "8321", "42799", "65281", "90751",
                            "3825123056546413051", "318665857834031151167461",
                            "3317044064679887385961981"}) {
        Mpz v;
        mpz_set_str(v, dec, 10);
        out.push_back({fromMpz(v), false});
    }
    out.push_back({hexNum("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"), false});  // 2^128 - 1
    out.push_back({hexNum("7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFD"), false});  // 2^127 - 3
    return out;
}

// GMP's strong test to one base: false when a proves n composite.
bool strongProbablePrime(mpz_srcptr n, mpz_srcptr a) {
    Mpz m, u, x;
    mpz_sub_ui(m, n, 1);
    const mp_bitcnt_t s = mpz_scan1(m, 0);
    mpz_tdiv_q_2exp(u, m, s);
    mpz_powm(x, a, u, n);
    if (mpz_cmp_ui(x.z, 1) == 0 || mpz_cmp(x, m) == 0) return true;
    for (mp_bitcnt_t i = 1; i < s; i++) {
        mpz_powm_ui(x, x, 2, n);
        if (mpz_cmp(x, m) == 0) return true;
    }
    return false;
}

// The table agrees with GMP; the exported tests classify every entry (random witnesses never
// reject a prime, and the composites have few strong liars); and the internal witness test,
// on fixed bases, never rejects a prime and finds every base that GMP's strong test finds.
TEST(IsPrime, KnownNumbersAgainstGmp) {
    gmp_randstate_t rs;
    gmp_randinit_default(rs);
    gmp_randseed_ui(rs, 3);
    for (const Known &k : knownNumbers()) {
        Mpz n, a, top;
        toMpz(n, k.n.p());
        std::string name(mpz_sizeinbase(n, 16) + 2, '\0');
        name.resize(std::strlen(mpz_get_str(name.data(), 16, n)));
        ASSERT_EQ(mpz_probab_prime_p(n, 30) != 0, k.prime) << name;
        EXPECT_EQ(EN_IsPrime(k.n.p()), int32_t(k.prime)) << name;
        if (k.prime && mpz_sizeinbase(n, 2) > 32) {  // one-word witnesses: redrawn below n, may be 0
            for (int i = 0; i < 3; i++) EXPECT_EQ(EN_MillerRabin(k.n.p()), 1) << name;
        }
        if (mpz_cmp_ui(n.z, 5) < 0) continue;
        mpz_sub_ui(top, n, 3);
        for (int i = 0; i < (mpz_sizeinbase(n, 2) > 1000 ? 3 : 12); i++) {
            mpz_urandomm(a, rs, top);
            mpz_add_ui(a, a, 2);  // 2 <= a <= n - 2
            if (i == 0) mpz_set_ui(a, 2);
            const int32_t found = vc::prime::witness(fromMpz(a).p(), k.n.p());
            if (k.prime || !strongProbablePrime(n, a)) { ASSERT_EQ(found, k.prime ? 0 : 1) << name; }
        }
    }
    gmp_randclear(rs);
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
        {kModp2048.c_str(), 1, 1, -1},
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

// The context search in its three kinds (the residue classes themselves: GeneratePrime.DhClasses).
TEST(GeneratePrime, Context) {
    Num p, a12 = fromWords({12}), r11 = fromWords({11});
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

namespace {

// A prime passes every trial, so the trials counted on it are exactly the tests' trial counts;
// a composite that the first witness exposes stops after one.
TEST(IsPrime, TrialCounts) {
    Num prime = hexNum("FFFFFFFFFFFFFFC5"), safe = hexNum("7FFFFFFFFFFFFFFFFFFFFFFFFFFFF55F");
    Num composite = hexNum("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF");  // 2^128 - 1: 512 liars in all
    const struct {
        const char *name;
        int32_t (*test)(const ENUM *);
        const Num &n;
        int32_t result;
        uint64_t trials;
    } cases[] = {
        {"EN_IsPrime", EN_IsPrime, prime, 1, 5},
        {"EN_IsPrime", EN_IsPrime, composite, 0, 1},
        {"EN_IsStrongPrime", EN_IsStrongPrime, safe, 1, 10},
        {"EN_MillerRabin", EN_MillerRabin, prime, 1, 1},
    };
    for (const auto &c : cases) {
        const uint64_t before = vc::prime::witnessTrials();
        EXPECT_EQ(c.test(c.n.p()), c.result) << c.name;
        EXPECT_EQ(vc::prime::witnessTrials() - before, c.trials) << c.name;
    }
    // The context search tests its final candidate with 20 trials (on p and q for safe primes).
    Num p, a12 = fromWords({12}), r11 = fromWords({11});
    EN_PrimeCtx ctx;
    EN_PrimeInit(&ctx, 0, 1, 1, a12.p(), r11.p());
    ASSERT_EQ(EN_PrimeUpdate(p.p(), 64, &ctx), 1);
    const uint64_t before = vc::prime::witnessTrials();
    for (int i = 0; i < 20; i++) EN_MillerRabin(p.p());
    EXPECT_EQ(vc::prime::witnessTrials() - before, 20u);
}

// The witnesses come from the library's own generator: the host's rand() sequence is the same
// with and without a prime search in between (EN_PrimeUpdate used to reseed it).
TEST(PrimeSearch, LeavesHostRandAlone) {
    std::srand(1234);
    std::vector<int> want;
    for (int i = 0; i < 8; i++) want.push_back(std::rand());
    std::srand(1234);
    Num p, a12 = fromWords({12}), r11 = fromWords({11});
    EN_PrimeCtx ctx;
    EN_PrimeInit(&ctx, 0, 0, 1, a12.p(), r11.p());
    ASSERT_EQ(EN_PrimeUpdate(p.p(), 96, &ctx), 1);
    EXPECT_EQ(EN_MillerRabin(p.p()), 1);
    for (int w : want) EXPECT_EQ(std::rand(), w);
}

// Residue classes no search can finish in are refused at once with 0 and a zero p: add zero,
// gcd(rem, add) > 1, an odd small prime s | add with rem = 1 mod s (the sieve rejects residue 1),
// and for safe primes q0 = rem >> 1 or 2 q0 + 1 sharing a factor with add / 2. The classes that
// admit primes still give one of the class (GMP confirms). rem -1: null (residue 1).
TEST(GeneratePrime, DhClasses) {
    const struct {
        uint32_t add;
        int64_t rem;
        bool safe, possible;
    } cases[] = {
        {12, 11, false, true},  {64, -1, false, true},  {210, 17, false, true},
        {12, -1, false, false}, {210, 11, false, false}, {30, 6, false, false},
        {12, 4, false, false},  {0, 1, false, false},    {12, 0, false, false},
        {12, 11, true, true},   {24, 23, true, true},    {10, 3, true, true},
        {12, -1, true, false},  {12, 5, true, false},    {10, 5, true, false},
        {1, -1, true, false},   {30, 19, true, false},   {36, 7, true, false},
    };
    for (const auto &c : cases) {
        Num p, add = fromWords({c.add}), rem = fromWords({uint32_t(c.rem)});
        const ENUM *r = c.rem < 0 ? nullptr : rem.p();
        const uint32_t bits = c.safe ? 64 : 96;
        const int32_t got = c.safe ? EN_GeneratePrimeStrongDH(p.p(), bits, add.p(), r)
                                   : EN_GeneratePrimeDH(p.p(), bits, add.p(), r);
        ASSERT_EQ(got, int32_t(c.possible)) << c.add << " " << c.rem << " " << c.safe;
        if (!c.possible) {
            EXPECT_EQ(p.e.length, 0);
            EN_PrimeCtx ctx;
            EN_PrimeInit(&ctx, 0, c.safe, 1, add.p(), const_cast<ENUM *>(r));
            EXPECT_EQ(EN_PrimeUpdate(p.p(), bits, &ctx), 0) << c.add << " " << c.rem;
            continue;
        }
        // The safe search keeps q = rem >> 1 (mod add / 2), so p = 2 (rem >> 1) + 1 (mod add).
        const uint32_t r0 = c.rem < 0 ? 1 : uint32_t(c.rem);
        expectPrime(p, bits, false, c.safe, c.add, (c.safe ? 2 * (r0 >> 1) + 1 : r0) % c.add);
    }
}

}  // namespace
