// Internal routines of the prime search, visible to the tests: the small-prime table, the
// Barrett steps, the witness test, its trial count and the candidate makers.
#pragma once

#include <vorelcrypto/bignum.h>

#include <array>
#include <cstdint>

namespace vc::prime {

inline constexpr int kSmallPrimeCount = 2048;

// A sieve of Eratosthenes up to the 2048th prime, cheap enough for any compiler's constant
// evaluation limits.
constexpr std::array<uint32_t, kSmallPrimeCount> makeSmallPrimes() {
    constexpr uint32_t kLimit = 17864;
    std::array<bool, kLimit> composite{};
    std::array<uint32_t, kSmallPrimeCount> out{};
    int found = 0;
    for (uint32_t c = 2; c < kLimit && found < kSmallPrimeCount; c++) {
        if (composite[c]) continue;
        out[found++] = c;
        for (uint32_t m = c * c; m < kLimit; m += c) composite[m] = true;
    }
    return out;
}
// The first 2048 primes, 2 ... 17863; sieves use entries 1 ... 2047.
inline constexpr std::array<uint32_t, kSmallPrimeCount> kSmallPrimes = makeSmallPrimes();
static_assert(kSmallPrimes[kSmallPrimeCount - 1] == 17863);

// recip = 2^(2 nb) / n (quotient), nb = bit length of n; returns nb.
int32_t reciprocal(ENUM *recip, const ENUM *n);
// r = x y mod n by Barrett reduction; -1 when three subtractions leave r >= n, else 1.
int32_t modMulReciprocal(ENUM *r, const ENUM *x, const ENUM *y, const ENUM *n,
                            const ENUM *recip, int32_t nb);
// 1 when a proves n composite (a non-trivial square root of 1, or a^(n-1) != 1), else 0.
int32_t witness(const ENUM *a, const ENUM *n);
// `trials` witnesses from EN_Random (or EN_X9_31Random): 1 probable prime, 0 composite.
int32_t isProbablePrime(const ENUM *n, int32_t trials);
int32_t isProbablePrimeX9(const ENUM *n, int32_t trials);
// Witness trials run so far on this thread (isProbablePrime's draws and EN_MillerRabin calls),
// so that tests can count them exactly.
uint64_t witnessTrials();

// RSA/X9 candidate: random bits-bit odd number with two top bits, moved up by the least even
// delta that leaves no residue 0 or 1 modulo kSmallPrimes[1 ... 2047]. residues: 2048 words.
void rsaCandidate(ENUM *p, uint32_t bits, bool x9, uint32_t *residues);
// p = rem (mod add) (rem null: 1) from EN_Random(bits, 0, 1), moved up by add until no small
// prime leaves residue 0 or 1.
void classCandidate(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem);
// p = 2q + 1 with q from EN_Random(qBits, 0, 1) placed in its class modulo add / 2, moved up
// until neither p nor q has a small prime factor. q needs as many words as p.
void safeClassCandidate(ENUM *p, ENUM *q, uint32_t qBits, const ENUM *add, const ENUM *rem);

}  // namespace vc::prime
