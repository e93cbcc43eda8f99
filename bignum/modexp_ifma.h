// Montgomery multiplication in radix 2^52 with the AVX-512 IFMA instructions, for moduli of up to
// 32 limbs (2048 bits). One element is a number below 2m held as k = ceil((64 n + 2) / 52) digits
// of 52 bits in a zero-padded array of 8-digit vectors; R = 2^(52 k) > 4m, so products of
// elements below 2m stay below 2m without a final subtraction (the exact value is reduced once,
// on the way out).
#pragma once

#include "bignum/bn_internal.h"

namespace vc::bignum::ifma {

inline constexpr int kMaxLimbs = 32;
inline constexpr int kMaxVectors = 5;
inline constexpr int kWords = 8 * kMaxVectors;  // u64 words of one element

// The processor offers IFMA (and the switch below allows it) and m has at most kMaxLimbs limbs.
bool usable(int limbs);
// Tests run both kernels: false makes every exponentiation take the 64-bit limb kernels.
void allow(bool on);

struct Mont {
    int n = 0;        // limbs of m
    int k = 0;        // 52-bit digits of an element
    int vectors = 0;  // 8-digit vectors of an element
    alignas(64) u64 m[kWords] = {};
    const u64 *mLimbs = nullptr;
    u64 k0 = 0;  // -m^-1 mod 2^52
    void (*mulFn)(u64 *, const u64 *, const u64 *, const Mont &) = nullptr;

    // m: n limbs (odd, kept by pointer), n0 = -m^-1 mod 2^64.
    Mont(const u64 *mod, int limbs, u64 n0);

    void mul(u64 *r, const u64 *a, const u64 *b) const { mulFn(r, a, b, *this); }
    void sqr(u64 *r, const u64 *a) const { mulFn(r, a, a, *this); }
    // one = R mod m and x = base R mod m (base: n limbs below m), elements.
    void start(u64 *one, u64 *x, const u64 *base, const ENUM *mod) const;
    // limbs = x R^-1 mod m as n limbs, at most m (equal to m only for x = 0 mod m).
    void finish(u64 *limbs, const u64 *x) const;
    // pick = table[index], reading every one of the entries with masks.
    const u64 *limbs() const { return mLimbs; }
    void select(u64 *pick, const u64 (*table)[kWords], int entries, u64 index) const;
};

// Two multiplications modulo different moduli of the same digit count, interleaved so that the
// serial steps of one overlap the other's: r1 = a1 b1 / R mod m1, r2 = a2 b2 / R mod m2.
void mul2(u64 *r1, const u64 *a1, const u64 *b1, const Mont &m1, u64 *r2, const u64 *a2, const u64 *b2,
          const Mont &m2);

}  // namespace vc::bignum::ifma
