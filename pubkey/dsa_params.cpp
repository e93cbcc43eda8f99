// What KCDSA, DSA and Diffie-Hellman share: the DSA-style parameter search, the nonce draw, the
// retry rule and the exponentiations.
#include "pubkey/dlog_internal.h"

#include "bignum/modexp_fast.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <array>

namespace vc::dlog {

namespace {

// The odd primes below 2048, for a quick screen before the probabilistic test.
constexpr int kScreenLimit = 2048;
constexpr auto kScreenPrimes = [] {
    std::array<uint16_t, 308> out{};
    size_t n = 0;
    for (uint32_t c = 3; c < kScreenLimit; c += 2) {
        bool prime = true;
        for (uint32_t d = 3; d * d <= c; d += 2) prime = prime && c % d != 0;
        if (prime) out[n++] = uint16_t(c);
    }
    return out;
}();
static_assert(kScreenPrimes.back() == 2039);

}  // namespace

uint32_t byteLength(const ENUM *a) { return (bignum::bitLength(a) + 7) / 8; }

bool isOne(const ENUM *a) {
    ENUM t = *a;
    bignum::trim(&t);
    return t.length == 1 && t.words[0] == 1;
}

bool hashLengthFits(uint32_t hLen, const ENUM *q) {
    return hLen != 0 && hLen <= kMaxHashBytes && hLen <= byteLength(q);
}

bool domainUsable(const ENUM *p, const ENUM *q) {
    return p->sign == 0 && p->length > 0 && p->length <= bignum::kMaxModWords && (p->words[0] & 1) != 0 &&
           bignum::bitLength(p) > 1 && q->sign == 0 && q->length <= bignum::kMaxModWords && !bignum::isZero(q);
}

bool paramSizesFit(uint32_t pBits, uint32_t qBits) {
    return qBits >= kMinPrimeBits && pBits <= kMaxModulusBits && pBits >= qBits + 8;
}

void powSecret(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *p) { bignum::modExpSecret(r, a, e, p); }

void powPublic(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *p) { bignum::modExpPublic(r, a, e, p); }

bool probablePrime(const ENUM *n) {
    // A candidate with a small factor would fail the test anyway; the screen only saves time.
    for (uint16_t d : kScreenPrimes)
        if (EN_ModWord(n, d) == 0) return false;
    return EN_IsPrime(n) == 1;
}

void generateParams(ENUM *p, ENUM *q, ENUM *g, uint32_t pBits, uint32_t qBits) {
    Temp R, twoQ, rem, t, h, one;
    EN_U32ToENUM(one.get(), 1);
    for (;;) {
        EN_GeneratePrimeRSA(q, qBits);
        bignum::trim(q);
        EN_Random(R.get(), pBits, 1, 1);
        EN_LShift1(twoQ.get(), q);
        EN_Mod(rem.get(), R.get(), twoQ.get());
        EN_Sub(t.get(), R.get(), rem.get());
        EN_Add(p, t.get(), one.get());
        bignum::trim(p);
        if (!EN_IsBitSet(p, int32_t(pBits) - 1) || !probablePrime(p)) continue;
        EN_Sub(R.get(), p, one.get());
        EN_Div(t.get(), nullptr, R.get(), q);
        bignum::trim(t.get());
        EN_Random(R.get(), pBits, 1, 1);
        EN_Mod(h.get(), R.get(), p);
        powPublic(g, h.get(), t.get(), p);
        if (!isOne(g)) return;
    }
}

void drawNonce(ENUM *k, const ENUM *q) {
    ENUM t = *q;
    bignum::trim(&t);
    EN_Random(k, 32 * uint32_t(t.length), 1, 0);
}

bool coprimeToPMinus1(const ENUM *p, const ENUM *s) {
    if (bignum::isZero(s)) return false;
    // gcd(p - 1, s) = gcd(s, (p - 1) mod s): one division first keeps the binary gcd on numbers
    // of q's size.
    Temp pm1, rem, d;
    EN_SubU32(pm1.get(), p, 1);
    bignum::trim(pm1.get());
    EN_Mod(rem.get(), pm1.get(), s);
    EN_GCD(d.get(), s, rem.get());
    return isOne(d.get());
}

}  // namespace vc::dlog
