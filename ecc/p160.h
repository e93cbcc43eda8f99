// Fast scalar multiplication on secp160r1 (curve 7): Montgomery arithmetic in three 64-bit
// limbs, Jacobian coordinates with the a = -3 doubling, signed 4-bit windows with
// constant-time table selection, and a fixed-base table of the base point.
//
// Points are affine word arrays as the curve layer holds them (x in words 0-4, y in 6-10;
// words 5 and 11 are ignored on input and written zero), coordinates taken modulo p, the
// all-zero point meaning infinity. Results equal those of ZENOR_V1_psmul with the curve's a
// and p for every input point, on the curve or not: the formulas do not involve b, so a point
// off the curve is multiplied on the curve y^2 = x^3 - 3x + b' that passes through it.
#pragma once

#include <cstdint>

namespace vc::ecc {

// result = scalar * point for the low `bits` bits of the six-word scalar (bits <= 192; the
// count is public, the scalar's bits are not).
void p160Mul(const uint32_t point[12], const uint32_t scalar[6], uint32_t bits, uint32_t result[12]);
// result = scalar * G.
void p160MulBase(const uint32_t scalar[6], uint32_t bits, uint32_t result[12]);
// result = u1 * G + u2 * point for public scalars (signature verification), in one pass of
// doublings over both digit strings; variable time. For a point on the curve the result is the
// affine sum of p160MulBase(u1) and p160Mul(point, u2).
void p160MulAddPublic(const uint32_t u1[6], const uint32_t u2[6], const uint32_t point[12],
                      uint32_t result[12]);
// Builds the fixed-base table of G now (it is otherwise built on first use).
void p160PrepareBase();

}  // namespace vc::ecc
