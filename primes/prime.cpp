// Probable-prime tests and the prime generators for RSA, X9.31 and Diffie-Hellman parameters.
#include "bignum/bn_internal.h"
#include "primes/prime_internal.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <cstdlib>
#include <ctime>

namespace vc::prime {

using bignum::Temp;

namespace {

bool isOne(const ENUM *a) { return a->length == 1 && a->words[0] == 1; }

bool equal(const ENUM *a, const ENUM *b) {
    Temp x, y;
    bignum::loadTemp(x, a);
    bignum::loadTemp(y, b);
    vc::bignum::trim(x.get());
    vc::bignum::trim(y.get());
    return EN_UComp(x.get(), y.get()) == 0;
}

// p = p + w for a small w.
void addWord(ENUM *p, uint32_t w) {
    Temp s, one;
    EN_U32ToENUM(one.get(), w);
    EN_Add(s.get(), p, one.get());
    EN_Copy(p, s.get());
}

void addNumber(ENUM *p, const ENUM *w) {
    Temp s;
    EN_Add(s.get(), p, w);
    EN_Copy(p, s.get());
}

using Draw = void (*)(ENUM *, uint32_t, uint32_t, uint32_t);

int32_t probablePrime(const ENUM *n, int32_t trials, Draw draw) {
    Temp nn, a;
    bignum::loadTemp(nn, n);
    const uint32_t bits = EN_GetFilledBitNum(nn.get());
    for (int32_t t = 0; t < trials; t++) {
        draw(a.get(), bits - 1, 0, 0);
        if (witness(a.get(), n) == 1) return 0;
    }
    return 1;
}

// Five rounds of one trial on p and one on p >> 1.
int32_t strongTest(const ENUM *p, Draw draw) {
    Temp q;
    EN_RShift(q.get(), p, 1);
    for (int round = 0; round < 5; round++) {
        if (probablePrime(p, 1, draw) == 0) return 0;
        if (probablePrime(q.get(), 1, draw) == 0) return 0;
    }
    return 1;
}

// Any small prime s with x mod s in {0, 1}.
bool hitsSmallPrime(const ENUM *x, uint32_t maxResidue) {
    for (int i = 1; i < kSmallPrimeCount; i++)
        if (EN_ModWord(x, kSmallPrimes[i]) <= maxResidue) return true;
    return false;
}

uint32_t g_sharedResidues[kSmallPrimeCount];

int32_t generateRsa(ENUM *p, uint32_t bits, bool x9, bool safe) {
    Draw draw = x9 ? EN_X9_31Random : EN_Random;
    for (;;) {
        rsaCandidate(p, bits, x9, g_sharedResidues);
        if (safe ? strongTest(p, draw) : probablePrime(p, 5, draw)) return 1;
    }
}

// One witness word from two rand() draws of 15 bits each (the width of the C run-time that
// existing callers were built with; glibc's wider rand() would make small moduli unreachable).
uint32_t randWord() {
    const uint32_t hi = uint32_t(std::rand()) & 0x7fff;
    return (hi << 16) | (uint32_t(std::rand()) & 0x7fff);
}

}  // namespace

int32_t reciprocal(ENUM *recip, const ENUM *n) {
    Temp nn, power;
    bignum::loadTemp(nn, n);
    const int32_t nb = int32_t(EN_GetFilledBitNum(nn.get()));
    const int32_t top = 2 * nb;
    power->length = top / 32 + 1;
    power->words[top / 32] = 1u << (top % 32);
    EN_Div(recip, nullptr, power.get(), nn.get());
    return nb;
}

int32_t modMulReciprocal(ENUM *r, const ENUM *x, const ENUM *y, const ENUM *n,
                            const ENUM *recip, int32_t nb) {
    Temp t, a, d, nd, diff;
    // EN_Sqr drops a carry into an all-ones word of the doubled cross products (stored results
    // depend on that square), which made the witness test square n - 1 of a Mersenne prime
    // wrongly and call the prime composite; the product of x with itself is always exact.
    EN_Mul(t.get(), x, y);
    // The quotient estimate is taken as a value: a shift that empties a number leaves the
    // one-word zero, whose extra length would make the magnitude comparison inside EN_Sub
    // treat n * 0 as larger than t, so each step is trimmed before it is used.
    EN_RShift(a.get(), t.get(), nb);
    vc::bignum::trim(a.get());
    EN_Mul(d.get(), a.get(), recip);
    EN_RShift(d.get(), d.get(), nb);
    vc::bignum::trim(d.get());
    EN_Mul(nd.get(), n, d.get());
    vc::bignum::trim(nd.get());
    EN_Sub(diff.get(), t.get(), nd.get());
    for (int i = 0; i < 3 && EN_Comp(diff.get(), n) >= 0; i++) {
        EN_Sub(t.get(), diff.get(), n);
        EN_Copy(diff.get(), t.get());
    }
    EN_Copy(r, diff.get());
    return EN_Comp(diff.get(), n) >= 0 ? -1 : 1;
}

int32_t witness(const ENUM *a, const ENUM *n) {
    Temp m, recip, d, x;
    EN_SubU32(m.get(), n, 1);
    vc::bignum::trim(m.get());
    const int32_t k = int32_t(EN_GetFilledBitNum(m.get()));
    const int32_t nb = reciprocal(recip.get(), n);
    EN_U32ToENUM(d.get(), 1);
    for (int32_t i = k - 1; i >= 0; i--) {
        EN_Copy(x.get(), d.get());
        modMulReciprocal(d.get(), x.get(), x.get(), n, recip.get(), nb);
        if (isOne(d.get()) && !isOne(x.get()) && !equal(x.get(), m.get())) return 1;
        if (EN_IsBitSet(m.get(), i)) {
            EN_Copy(x.get(), d.get());
            modMulReciprocal(d.get(), x.get(), a, n, recip.get(), nb);
        }
    }
    return isOne(d.get()) ? 0 : 1;
}

int32_t isProbablePrime(const ENUM *n, int32_t trials) { return probablePrime(n, trials, EN_Random); }

int32_t EN_IsProbablePrimeX9(const ENUM *n, int32_t trials) {
    return probablePrime(n, trials, EN_X9_31Random);
}

void rsaCandidate(ENUM *p, uint32_t bits, bool x9, uint32_t *residues) {
    (x9 ? EN_X9_31Random : EN_Random)(p, bits, 1, 1);
    for (int i = 1; i < kSmallPrimeCount; i++) residues[i] = EN_ModWord(p, kSmallPrimes[i]);
    uint32_t delta = 0;
    for (int i = 1; i < kSmallPrimeCount; i++) {
        if ((residues[i] + delta) % kSmallPrimes[i] <= 1) {
            delta += 2;
            i = 0;  // restart the scan
        }
    }
    addWord(p, delta);
}

void classCandidate(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem) {
    Temp r, t;
    EN_Random(t.get(), bits, 0, 1);
    EN_Mod(r.get(), t.get(), add);
    EN_Sub(p, t.get(), r.get());
    if (rem != nullptr)
        addNumber(p, rem);
    else
        addWord(p, 1);
    while (hitsSmallPrime(p, 1)) addNumber(p, add);
}

void safeClassCandidate(ENUM *p, ENUM *q, uint32_t qBits, const ENUM *add, const ENUM *rem) {
    Temp h, r, t;
    EN_RShift(h.get(), add, 1);
    vc::bignum::trim(h.get());
    EN_Random(t.get(), qBits, 0, 1);
    EN_Mod(r.get(), t.get(), h.get());
    EN_Sub(q, t.get(), r.get());
    if (rem != nullptr) {
        EN_RShift(r.get(), rem, 1);
        bignum::trim(r.get());
        addNumber(q, r.get());
    } else {
        addWord(q, 1);
    }
    for (;;) {
        EN_LShift1(p, q);
        addWord(p, 1);
        bool hit = false;
        for (int i = 1; i < kSmallPrimeCount && !hit; i++)
            hit = EN_ModWord(p, kSmallPrimes[i]) == 0 || EN_ModWord(q, kSmallPrimes[i]) == 0;
        if (!hit) return;
        addNumber(q, h.get());
    }
}

}  // namespace vc::prime

using namespace vc::prime;

extern "C" {

int32_t EN_IsPrime(const ENUM *n) { return isProbablePrime(n, 5); }

int32_t EN_IsStrongPrime(const ENUM *p) { return strongTest(p, EN_Random); }

int32_t EN_IsStrongX9Prime(const ENUM *p) { return strongTest(p, EN_X9_31Random); }

int32_t EN_GeneratePrimeRSA(ENUM *p, uint32_t bits) { return generateRsa(p, bits, false, false); }

int32_t EN_GeneratePrimeStrongRSA(ENUM *p, uint32_t bits) { return generateRsa(p, bits, false, true); }

int32_t EN_GenerateX9Prime(ENUM *p, int32_t bits) { return generateRsa(p, uint32_t(bits), true, false); }

int32_t EN_GenerateStrongX9Prime(ENUM *p, int32_t bits) {
    return generateRsa(p, uint32_t(bits), true, true);
}

int32_t EN_GeneratePrimeDH(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem) {
    do classCandidate(p, bits, add, rem);
    while (isProbablePrime(p, 5) == 0);
    return 1;
}

int32_t EN_GeneratePrimeStrongDH(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem) {
    Temp q;
    do safeClassCandidate(p, q.get(), bits - 1, add, rem);
    while (strongTest(p, EN_Random) == 0);
    return 1;
}

void EN_PrimeInit(EN_PrimeCtx *ctx, uint32_t, uint32_t safe, uint32_t useClass, ENUM *add,
                  ENUM *rem) {
    ctx->flags = useClass == 0 ? 0 : (safe != 0 ? 16u + 32u : 32u);
    ctx->add = useClass == 0 ? nullptr : add;
    ctx->rem = useClass == 0 ? nullptr : rem;
}

int32_t EN_PrimeUpdate(ENUM *p, uint32_t bits, const EN_PrimeCtx *ctx) {
    const bool safe = (ctx->flags & 16) != 0;
    for (;;) {
        Temp q;
        if ((ctx->flags & 32) == 0) {
            uint32_t residues[kSmallPrimeCount];
            rsaCandidate(p, bits, false, residues);
        } else if (!safe) {
            classCandidate(p, bits, ctx->add, ctx->rem);
        } else {
            // q has bits bits, so p has bits + 1: existing parameters depend on it.
            safeClassCandidate(p, q.get(), bits, ctx->add, ctx->rem);
        }
        if (safe) EN_RShift(q.get(), p, 1);
        std::srand(unsigned(std::time(nullptr) + 100));
        bool passed = true;
        for (int t = 0; t < 20 && passed; t++)
            passed = EN_MillerRabin(p) == 1 && (!safe || EN_MillerRabin(q.get()) == 1);
        if (passed) return 1;
    }
}

int32_t EN_MillerRabin(const ENUM *n) {
    Temp m, u, a, z, t;
    EN_SubU32(m.get(), n, 1);
    vc::bignum::trim(m.get());
    int32_t s = 0;
    while (!EN_IsBitSet(m.get(), s)) s++;
    EN_RShift(u.get(), m.get(), s);
    vc::bignum::trim(u.get());
    if (n->length == 1) {
        do a->words[0] = randWord();
        while (a->words[0] >= n->words[0]);
        a->length = 1;
    } else {
        a->length = n->length - 1;
        for (int32_t i = 0; i < a->length; i++) a->words[i] = randWord();
    }
    vc::bignum::trim(a.get());
    EN_Mod_Exp(z.get(), a.get(), u.get(), n);
    if (isOne(z.get()) || equal(z.get(), m.get())) return 1;
    for (int32_t j = 1;; j++) {
        if (j < s && !equal(z.get(), m.get())) {
            EN_Mod_Sqr(t.get(), z.get(), n);
            EN_Copy(z.get(), t.get());
        }
        if (equal(z.get(), m.get())) return 1;
        if (j >= s || isOne(z.get())) return 0;
    }
}

}  // extern "C"
