// GF(2^m) for m <= 192, reduced by a pentanomial x^m + x^k3 + x^k2 + x^k1 + 1: elements are
// three 64-bit limbs, least significant first. Multiplication runs on the carry-less multiply
// instruction (PCLMULQDQ) when the processor has it and on a portable integer kernel otherwise;
// the two 163-bit pentanomials of the built-in curves have their own reduction, any other
// polynomial takes a generic one.
#pragma once

#include "ecc/binary_curve.h"

#include <cstdint>

namespace vc::ecc::gf2m {

struct Fe {
    uint64_t w[3];
};

inline Fe feZero() { return Fe{{0, 0, 0}}; }
inline Fe feOne() { return Fe{{1, 0, 0}}; }
inline Fe operator+(const Fe &a, const Fe &b) { return Fe{{a.w[0] ^ b.w[0], a.w[1] ^ b.w[1], a.w[2] ^ b.w[2]}}; }
inline Fe &operator+=(Fe &a, const Fe &b) { return a = a + b; }
inline bool isZero(const Fe &a) { return (a.w[0] | a.w[1] | a.w[2]) == 0; }
inline bool operator==(const Fe &a, const Fe &b) { return isZero(a + b); }
// All ones when a is zero, else zero, without a branch.
inline uint64_t zeroMask(const Fe &a) {
    const uint64_t t = a.w[0] | a.w[1] | a.w[2];
    return ((t | (0 - t)) >> 63) - 1;
}
// a where mask is all ones, b where it is zero.
inline Fe select(uint64_t mask, const Fe &a, const Fe &b) {
    Fe r;
    for (int i = 0; i < 3; i++) r.w[i] = (a.w[i] & mask) | (b.w[i] & ~mask);
    return r;
}
// Swaps a and b where mask is all ones.
inline void cswap(uint64_t mask, Fe &a, Fe &b) {
    for (int i = 0; i < 3; i++) {
        const uint64_t t = (a.w[i] ^ b.w[i]) & mask;
        a.w[i] ^= t, b.w[i] ^= t;
    }
}

// Six interface words <-> limbs.
Fe fromWords(const uint32_t w[6]);
void toWords(const Fe &a, uint32_t w[6]);

// The unreduced 384-bit carry-less products of the two kernels (for cross-checks); the PCLMUL
// one only where clmulAvailable().
void productPortable(uint64_t c[6], const Fe &a, const Fe &b);
void productClmul(uint64_t c[6], const Fe &a, const Fe &b);
bool clmulAvailable();

// best: PCLMUL where the processor has it; portable: the integer kernel everywhere (tests and
// benchmarks run it on any machine).
enum class Kernel { best, portable };

class Field {
public:
    explicit Field(const BinaryField &f, Kernel kernel = Kernel::best);

    void mul(Fe &r, const Fe &a, const Fe &b) const { ops_->mul(*this, r, a, b); }
    void sqr(Fe &r, const Fe &a) const { ops_->sqrn(*this, r, a, 1); }
    // r = a^(2^n)
    void sqrn(Fe &r, const Fe &a, unsigned n) const { ops_->sqrn(*this, r, a, n); }
    // r = a^-1 (Itoh-Tsujii); zero maps to zero.
    void inv(Fe &r, const Fe &a) const { ops_->inv(*this, r, a); }
    // r = c mod the pentanomial, for any 384-bit c (c is clobbered).
    void reduce(Fe &r, uint64_t c[6]) const { ops_->reduce(*this, r, c); }
    Fe reduced(const Fe &a) const;

    // Tr(c) in {0, 1}.
    unsigned trace(const Fe &c) const;
    // For odd m: z with z^2 + z = c when Tr(c) = 0 (the other root is z + 1); when Tr(c) = 1
    // there is none and z^2 + z = c + 1 holds instead.
    Fe halfTrace(const Fe &c) const;

    const BinaryField &params() const { return f_; }

    struct Ops {
        void (*mul)(const Field &, Fe &, const Fe &, const Fe &);
        void (*sqrn)(const Field &, Fe &, const Fe &, unsigned);
        void (*inv)(const Field &, Fe &, const Fe &);
        void (*reduce)(const Field &, Fe &, uint64_t *);
    };

private:
    BinaryField f_;
    const Ops *ops_;
};

}  // namespace vc::ecc::gf2m
