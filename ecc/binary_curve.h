// Arithmetic on the binary curves y^2 + xy = x^3 + ax^2 + b over GF(2^m), m <= 192, for the
// curve layer (curve records, point validation, the scalar-multiplication dispatcher and the
// EC protocols). Elements cross this interface as six 32-bit words, least significant first;
// an affine point is twelve words (x in 0-5, y in 6-11) and the point at infinity is all zero.
#pragma once

#include <cstdint>

namespace vc::ecc {

// GF(2^m) reduced by x^m + x^k3 + x^k2 + x^k1 + 1.
struct BinaryField {
    uint32_t m, k3, k2, k1;
};

// The published constants of a built-in binary curve (ids 3, 5, 11, 21, 22), big-endian,
// 21 octets each. Ids 21 and 22 pair the X9.62 c2pnb163v2/v3 constants with the polynomial
// "163;7;6;3;0" on purpose: stored keys depend on that pairing.
struct BinaryCurveConstants {
    const char *name;        // "sect163k1", "c2pnb163v1", "sect163r2", ...
    const char *polynomial;  // text form, "163;7;6;3;0" or "163;8;2;1;0"
    uint8_t a[21], b[21], gx[21], gy[21], n[21];
    uint8_t h;
    uint8_t seed[20];
    uint32_t seedLength;  // 20, or 0 where the curve has no seed (id 3)
};
// The constants of a built-in binary curve, or nullptr for any other id.
const BinaryCurveConstants *binaryCurveConstants(int curveId);

// Parses the text form "m;k3;k2;k1;0" (for example "163;7;6;3;0"); false on anything else,
// including m above 192 or exponents out of order.
bool parseBinaryField(const char *text, BinaryField *field);

// Whether y^2 + xy == x^3 + ax^2 + b in the field (operands reduced below x^m).
bool binaryOnCurve(const BinaryField &field, const uint32_t a[6], const uint32_t b[6],
                   const uint32_t x[6], const uint32_t y[6]);

// z with z^2 + z = c in the field (odd m): the half-trace of c; z + 1 is the other root.
// False when there is none (the trace of c is 1) or m is even; z is then untouched.
bool binarySolveQuadratic(const BinaryField &field, const uint32_t c[6], uint32_t z[6]);

// result = scalar * point on the curve with coefficients a and b, scalar up to 192 bits.
// `curveId` selects the curve-specific methods (3: the Koblitz curve; 5, 11, 21, 22: the
// general method) and `methodFlag` != 0 takes the built-in fixed-base tables of the curve's G
// instead of the given point. `constantTime` asks for a multiplication whose branches and
// memory accesses do not depend on the scalar's bits (used for private scalars).
// The result equals that of the affine double-and-add with the usual b-free affine formulas
// for every input point, on the curve or not.
void binaryScalarMul(int curveId, int methodFlag, const BinaryField &field, const uint32_t a[6],
                     const uint32_t b[6], const uint32_t point[12], const uint32_t scalar[6],
                     uint32_t result[12], bool constantTime);

}  // namespace vc::ecc
