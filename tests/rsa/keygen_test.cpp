// Keys from the four generators, checked with GMP: p q = n with p > q, p and q prime (safe
// primes for the strong generators), d e = 1 mod lcm(p - 1, q - 1), the CRT values, and for the
// X9.31 generators the auxiliary primes and the self-check lines.
#include "rsa/rsa_test_util.h"

namespace {

using namespace rsatest;

struct Mpz {
    mpz_t z;
    Mpz() { mpz_init(z); }
    explicit Mpz(const ENUM *x) : Mpz() { toMpz(z, x); }
    ~Mpz() { mpz_clear(z); }
    operator mpz_ptr() { return z; }
};

bool isPrime(mpz_ptr x) { return mpz_probab_prime_p(x, 30) > 0; }

// Everything a complete key must satisfy, whatever made it.
void checkKey(RsaKey *key, uint32_t e) {
    Mpz n(&key->n), p(&key->p), q(&key->q), d(&key->d), dP(&key->dP), dQ(&key->dQ), qInv(&key->qInv);
    Mpz t, pm, qm, lambda;
    mpz_mul(t, p, q);
    EXPECT_EQ(mpz_cmp(t, n), 0);
    EXPECT_GT(mpz_cmp(p, q), 0);
    EXPECT_TRUE(isPrime(p) && isPrime(q));
    EXPECT_EQ(key->e.length, 1);
    EXPECT_EQ(key->e.words[0], e);
    mpz_sub_ui(pm, p, 1);
    mpz_sub_ui(qm, q, 1);
    mpz_lcm(lambda, pm, qm);
    mpz_mul_ui(t, d, e);
    mpz_mod(t, t, lambda);
    EXPECT_EQ(mpz_cmp_ui(t.z, 1), 0);
    EXPECT_LT(mpz_cmp(d, lambda), 0);  // Carmichael's function, not Euler's
    mpz_mod(t, d, pm);
    EXPECT_EQ(mpz_cmp(t, dP), 0);
    mpz_mod(t, d, qm);
    EXPECT_EQ(mpz_cmp(t, dQ), 0);
    mpz_mul(t, qInv, q);
    mpz_mod(t, t, p);
    EXPECT_EQ(mpz_cmp_ui(t.z, 1), 0);
    // Each number sits in its own storage.
    EXPECT_EQ(key->p.words, key->pWords);
    EXPECT_EQ(key->q.words, key->qWords);
}

bool isSafe(mpz_ptr p) {
    Mpz h;
    mpz_sub_ui(h, p, 1);
    mpz_divexact_ui(h, h, 2);
    return isPrime(h);
}

TEST(RsaKeygen, PlainAndSafePrimes) {
    struct Case {
        void (*generate)(RsaKey *, uint32_t, uint32_t);
        uint32_t bits, e;
        bool safe;
    };
    for (const Case &c : {Case{E_RSA_GenerateKey, 1024, 65537, false}, Case{E_RSA_GenerateKey, 513, 3, false},
                          Case{E_RSA_GenerateStrongKey, 512, 65537, true}}) {
        Key key;
        c.generate(key.get(), c.bits, c.e);
        checkKey(key.get(), c.e);
        Mpz n(&key->n), p(&key->p), q(&key->q);
        EXPECT_EQ(mpz_sizeinbase(n, 2), c.bits);               // two top bits set in p and q
        EXPECT_EQ(mpz_sizeinbase(p, 2), c.bits - c.bits / 2);  // the larger prime comes first
        EXPECT_EQ(mpz_sizeinbase(q, 2), c.bits / 2);
        if (c.safe) {
            EXPECT_TRUE(isSafe(p) && isSafe(q));
        }
    }
}

TEST(RsaKeygen, X931WithItsAuxiliaryPrimes) {
    for (bool strong : {false, true}) {
        Key key;
        uint8_t aux[4][32] = {};
        const std::string printed = captureStdout([&] {
            (strong ? E_RSA_GenerateStrongX9Key : E_RSA_GenerateX9Key)(key.get(), 512, 65537, aux[0], aux[1],
                                                                       aux[2], aux[3]);
        });
        checkKey(key.get(), 65537);
        Mpz p(&key->p), q(&key->q), g, pm, qm;
        const mpz_ptr primes[4] = {p, p, q, q};
        for (int i = 0; i < 4; i++) {
            Mpz a, t;
            mpz_import(a, 13, 1, 1, 0, 0, aux[i]);  // 101 bits: 13 bytes
            EXPECT_EQ(mpz_sizeinbase(a, 2), 101u);
            EXPECT_TRUE(isPrime(a));
            if (strong) {
                EXPECT_TRUE(isSafe(a));
            }
            (i % 2 == 0 ? mpz_sub_ui : mpz_add_ui)(t, primes[i], 1);  // a1 | x - 1, a2 | x + 1
            EXPECT_TRUE(mpz_divisible_p(t, a)) << i;
        }
        mpz_sub_ui(pm, p, 1);
        mpz_sub_ui(qm, q, 1);
        mpz_gcd(g, pm, qm);
        const size_t words = (mpz_sizeinbase(g, 2) + 31) / 32;
        EXPECT_EQ(printed, "p1 OK\np2 OK\nq1 OK\nq2 OK\nlen = " + std::to_string(words) + "\n");
    }
}

}  // namespace
