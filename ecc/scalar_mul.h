// Scalar multiplication for the curve layer and the EC protocols.
//
// The protocols call scalarMul / scalarMulBase: points are uncompressed octet strings of the
// curve's length (43 octets, 41 on curve 7), scalars big-endian octets of any length (taken
// modulo 2^192). With secretScalar the multiplication runs without branches or table indices
// that depend on the scalar's bits (curve 7 always does). Results equal those of the exported
// ZENOR_V1_ScalarMultiplicationOnEllipticCurves for the curve's built-in record.
#pragma once

#include <vorelcrypto/ecc.h>

#include <cstdint>

namespace vc::ecc {

inline constexpr int kUnknownCurve = -2;  // not one of 3, 5, 7, 11, 21, 22
inline constexpr int kBadPoint = -3;      // not 0x04 || X || Y of the curve's length

// out (pointBytes(curveId) octets) = scalar * point. Returns 0, kUnknownCurve or kBadPoint.
int scalarMul(int curveId, const uint8_t *point, uint32_t pointLength, const uint8_t *scalar,
              uint32_t scalarLength, uint8_t *out, bool secretScalar);
// out = scalar * G through the curve's fixed-base tables. Returns 0 or kUnknownCurve.
int scalarMulBase(int curveId, const uint8_t *scalar, uint32_t scalarLength, uint8_t *out,
                  bool secretScalar);

// The record-driven multiplication behind ZENOR_V1_ScalarMultiplicationOnEllipticCurves and
// point validation, on affine word arrays (all-zero = infinity); `bits` bounds the scalar
// (public). curveId must be a built-in curve.
void multiplyWithRecord(int curveId, int methodFlag, const EcParams *params, const uint32_t scalar[6],
                        uint32_t bits, const uint32_t point[12], uint32_t result[12], bool secret);

// Whether y^2 = x^3 + a x + b modulo the odd p (five words each, coordinates taken mod p).
bool primeOnCurve(const uint32_t p[6], const uint32_t a[6], const uint32_t b[6], const uint32_t xy[12]);

}  // namespace vc::ecc
