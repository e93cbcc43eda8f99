// Probable-prime tests and the prime generators for RSA, X9.31 and Diffie-Hellman parameters.
#include "bignum/bn_internal.h"
#include "common/wipe.h"
#include "primes/prime_internal.h"
#include "random/random_internal.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <ctime>

namespace vc::prime {

using bignum::Temp;

namespace {

thread_local uint64_t t_witnessTrials = 0;

template <typename... T>
void wipe(T &...temps) {
    (secure_wipe_object(temps.w), ...);
}

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
    int32_t result = 1;
    for (int32_t t = 0; t < trials && result == 1; t++) {
        t_witnessTrials++;
        draw(a.get(), bits - 1, 0, 0);
        if (witness(a.get(), n) == 1) result = 0;
    }
    wipe(nn, a);
    return result;
}

// Five rounds of one trial on p and one on p >> 1.
int32_t strongTest(const ENUM *p, Draw draw) {
    Temp q;
    EN_RShift(q.get(), p, 1);
    int32_t result = 1;
    for (int round = 0; round < 5 && result == 1; round++)
        result = probablePrime(p, 1, draw) == 1 && probablePrime(q.get(), 1, draw) == 1;
    wipe(q);
    return result;
}

// Any small prime s with x mod s in {0, 1}.
bool hitsSmallPrime(const ENUM *x, uint32_t maxResidue) {
    for (int i = 1; i < kSmallPrimeCount; i++)
        if (EN_ModWord(x, kSmallPrimes[i]) <= maxResidue) return true;
    return false;
}

int32_t generateRsa(ENUM *p, uint32_t bits, bool x9, bool safe) {
    Draw draw = x9 ? EN_X9_31Random : EN_Random;
    // The residues of the candidate are held per call, so that searches in several threads
    // never share them; they tell the candidate's value and are wiped at the end.
    uint32_t residues[kSmallPrimeCount];
    do rsaCandidate(p, bits, x9, residues);
    while ((safe ? strongTest(p, draw) : probablePrime(p, 5, draw)) == 0);
    secure_wipe_object(residues);
    return 1;
}

// ---- witnesses of EN_MillerRabin ----
// They come from a generator private to the library, one per thread, so that the prime search
// neither reads nor changes the host's rand() sequence. A word keeps the shape of two 15-bit
// draws, (hi << 16) | lo. The state is seeded from the operating system on a thread's first
// draw and again in a child process after fork(); EN_PrimeUpdate's reseed folds the time + 100
// into it.
struct WitnessRng {
    uint64_t state;
    bool firstUse;
    uint32_t forkGeneration;
};
thread_local WitnessRng t_witnessRng{0, true, 0};

uint64_t splitMix(uint64_t &state) {
    uint64_t z = (state += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
}

void mixWitnessRng(WitnessRng &g, const uint8_t *fresh) {
    for (uint32_t i = 0; i < random::kForkSeedLen; i++) g.state = (g.state << 8 | g.state >> 56) ^ fresh[i];
}

void seedWitnessRng(WitnessRng &g) {
    uint8_t fresh[random::kForkSeedLen];
    random::forkSeed(fresh);
    mixWitnessRng(g, fresh);
    secure_wipe_object(fresh);
}

WitnessRng &witnessRng() {
    random::refreshState(t_witnessRng, seedWitnessRng, mixWitnessRng);
    return t_witnessRng;
}

void reseedWitnesses(uint32_t value) {
    WitnessRng &g = witnessRng();
    g.state ^= splitMix(g.state) ^ value;
}

uint32_t witnessWord() {
    WitnessRng &g = witnessRng();
    const uint32_t hi = uint32_t(splitMix(g.state) >> 49);
    return (hi << 16) | uint32_t(splitMix(g.state) >> 49);
}

// ---- residue classes the searches can finish in ----
bool isZeroNumber(const ENUM *a) {
    Temp t;
    bignum::loadTemp(t, a);
    bignum::trim(t.get());
    return t->length == 0;
}

bool coprime(const ENUM *a, const ENUM *b) {
    Temp g;
    EN_GCD(g.get(), a, b);
    bignum::trim(g.get());
    return isOne(g.get());
}

// p = rem (mod add), rem null meaning 1. Primes need gcd(rem, add) = 1; and an odd small prime s
// dividing add fixes p mod s = rem mod s, which the sieve rejects when it is 1 (or 0).
bool classAdmitsPrimes(const ENUM *add, const ENUM *rem) {
    if (add == nullptr || isZeroNumber(add)) return false;
    Temp r;
    if (rem != nullptr)
        bignum::loadTemp(r, rem);
    else
        EN_U32ToENUM(r.get(), 1);
    bignum::trim(r.get());
    if (!coprime(r.get(), add)) return false;
    for (int i = 1; i < kSmallPrimeCount; i++)
        if (EN_ModWord(add, kSmallPrimes[i]) == 0 && EN_ModWord(r.get(), kSmallPrimes[i]) <= 1)
            return false;
    return true;
}

// p = 2q + 1 with q = rem >> 1 (rem null: 1) modulo h = add >> 1. Both q and p can be prime only
// when q0 = rem >> 1 and 2 q0 + 1 are coprime to h: otherwise every candidate shares a factor
// with h (an even h with an even q0 makes every q even; add = 12 with rem null makes every p a
// multiple of 3), and the sieve or the test rejects it for ever.
bool safeClassAdmitsPrimes(const ENUM *add, const ENUM *rem) {
    if (add == nullptr) return false;
    Temp h, q0, p0;
    EN_RShift(h.get(), add, 1);
    bignum::trim(h.get());
    if (h->length == 0) return false;
    if (rem != nullptr)
        EN_RShift(q0.get(), rem, 1);
    else
        EN_U32ToENUM(q0.get(), 1);
    bignum::trim(q0.get());
    EN_LShift1(p0.get(), q0.get());
    addWord(p0.get(), 1);
    return coprime(q0.get(), h.get()) && coprime(p0.get(), h.get());
}

void setZero(ENUM *p) {
    p->sign = 0;
    p->length = 0;
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
    int32_t found = -1;
    for (int32_t i = k - 1; i >= 0 && found < 0; i--) {
        EN_Copy(x.get(), d.get());
        modMulReciprocal(d.get(), x.get(), x.get(), n, recip.get(), nb);
        if (isOne(d.get()) && !isOne(x.get()) && !equal(x.get(), m.get())) found = 1;
        if (EN_IsBitSet(m.get(), i)) {
            EN_Copy(x.get(), d.get());
            modMulReciprocal(d.get(), x.get(), a, n, recip.get(), nb);
        }
    }
    if (found < 0) found = isOne(d.get()) ? 0 : 1;
    wipe(m, recip, d, x);
    return found;
}

int32_t isProbablePrime(const ENUM *n, int32_t trials) { return probablePrime(n, trials, EN_Random); }

uint64_t witnessTrials() { return t_witnessTrials; }

int32_t isProbablePrimeX9(const ENUM *n, int32_t trials) {
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
    wipe(r, t);
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
        if (!hit) break;
        addNumber(q, h.get());
    }
    wipe(r, t);
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
    if (!classAdmitsPrimes(add, rem)) return setZero(p), 0;
    do classCandidate(p, bits, add, rem);
    while (isProbablePrime(p, 5) == 0);
    return 1;
}

int32_t EN_GeneratePrimeStrongDH(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem) {
    if (!safeClassAdmitsPrimes(add, rem)) return setZero(p), 0;
    Temp q;
    do safeClassCandidate(p, q.get(), bits - 1, add, rem);
    while (strongTest(p, EN_Random) == 0);
    wipe(q);
    return 1;
}

void EN_PrimeInit(EN_PrimeCtx *ctx, uint32_t, uint32_t safe, uint32_t useClass, ENUM *add,
                  ENUM *rem) {
    ctx->flags = useClass == 0 ? 0 : (safe != 0 ? 16u + 32u : 32u);
    ctx->add = useClass == 0 ? nullptr : add;
    ctx->rem = useClass == 0 ? nullptr : rem;
}

int32_t EN_PrimeUpdate(ENUM *p, uint32_t bits, const EN_PrimeCtx *ctx) {
    const bool useClass = (ctx->flags & 32) != 0, safe = (ctx->flags & 16) != 0;
    if (useClass && !(safe ? safeClassAdmitsPrimes(ctx->add, ctx->rem)
                           : classAdmitsPrimes(ctx->add, ctx->rem)))
        return setZero(p), 0;
    Temp q;
    uint32_t residues[kSmallPrimeCount];
    for (bool passed = false; !passed;) {
        if (!useClass)
            rsaCandidate(p, bits, false, residues);
        else if (!safe)
            classCandidate(p, bits, ctx->add, ctx->rem);
        else  // q has bits bits, so p has bits + 1: existing parameters depend on it.
            safeClassCandidate(p, q.get(), bits, ctx->add, ctx->rem);
        if (safe) EN_RShift(q.get(), p, 1);
        reseedWitnesses(uint32_t(std::time(nullptr) + 100));
        passed = true;
        for (int t = 0; t < 20 && passed; t++)
            passed = EN_MillerRabin(p) == 1 && (!safe || EN_MillerRabin(q.get()) == 1);
    }
    wipe(q);
    vc::secure_wipe_object(residues);
    return 1;
}

int32_t EN_MillerRabin(const ENUM *n) {
    t_witnessTrials++;
    Temp m, u, a, z, t;
    EN_SubU32(m.get(), n, 1);
    vc::bignum::trim(m.get());
    int32_t s = 0;
    while (!EN_IsBitSet(m.get(), s)) s++;
    EN_RShift(u.get(), m.get(), s);
    vc::bignum::trim(u.get());
    if (n->length == 1) {
        do a->words[0] = witnessWord();
        while (a->words[0] >= n->words[0]);
        a->length = 1;
    } else {
        a->length = n->length - 1;
        for (int32_t i = 0; i < a->length; i++) a->words[i] = witnessWord();
    }
    vc::bignum::trim(a.get());
    EN_Mod_Exp(z.get(), a.get(), u.get(), n);
    int32_t result = -1;
    if (isOne(z.get()) || equal(z.get(), m.get())) result = 1;
    for (int32_t j = 1; result < 0; j++) {
        if (j < s && !equal(z.get(), m.get())) {
            EN_Mod_Sqr(t.get(), z.get(), n);
            EN_Copy(z.get(), t.get());
        }
        if (equal(z.get(), m.get()))
            result = 1;
        else if (j >= s || isOne(z.get()))
            result = 0;
    }
    wipe(m, u, a, z, t);
    return result;
}

}  // extern "C"
