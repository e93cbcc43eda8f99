// Points and scalar multiplications on y^2 + xy = x^3 + ax^2 + b over a gf2m::Field, shared by
// the scalar-multiplication sources. Affine points; the point at infinity is (0, 0).
#pragma once

#include "ecc/gf2m.h"

namespace vc::ecc::binary {

using gf2m::Fe;

struct Point {
    Fe x, y;
};

// Scalars up to 192 bits, three limbs, least significant first.
struct Scalar {
    uint64_t w[3];
};

// y^2 + xy + x^3 + ax^2: the b of the curve with coefficient a through (x, y). The b-free
// addition and doubling formulas keep every multiple of (x, y) on that curve, so a
// multiplication that runs with this b gives the affine double-and-add result for any point.
Fe curveB(const gf2m::Field &f, const Fe &a, const Fe &x, const Fe &y);

Point basePoint(const BinaryCurveConstants &c);
Fe constantToFe(const uint8_t b[21]);

// k * p by the Lopez-Dahab x-only Montgomery ladder with y recovered at the end. With
// `constantTime` the ladder runs over all 192 scalar bits with masked swaps and the special
// cases (x = 0, results at infinity) are chosen by masks; otherwise it starts at the top set
// bit.
Point ladder(const gf2m::Field &f, const Fe &a, const Point &p, const Scalar &k, bool constantTime);

// Lopez-Dahab projective points: (X : Y : Z) stands for (X / Z, Y / Z^2); Z = 0 is infinity.
struct LdPoint {
    Fe x, y, z;
};

// The curve a point and its multiples live on: coefficients a and b (b from curveB).
struct Curve {
    const gf2m::Field &f;
    Fe a, b;
};

LdPoint ldFromAffine(const Point &p);  // (0, 0) becomes infinity
Point ldToAffine(const Curve &c, const LdPoint &p);
// 2p: Z3 = X^2 Z^2, X3 = X^4 + b Z^4, Y3 = b Z^4 Z3 + X3 (a Z3 + Y^2 + b Z^4).
LdPoint ldDouble(const Curve &c, const LdPoint &p);
// p + q for affine q, whatever the operands: infinity on either side, q = p and q = -p. With
// `constantTime` these cases are resolved by masks, so the time does not depend on which one
// applies; otherwise by branches.
LdPoint ldAddAffine(const Curve &c, const LdPoint &p, const Point &q, bool constantTime);
// (X^2 : Y^2 : Z^2), the Frobenius map, an endomorphism of Koblitz curves.
LdPoint ldFrobenius(const gf2m::Field &f, const LdPoint &p);

// k * p by the tau-adic NAF on the Koblitz curves y^2 + xy = x^3 + ax^2 + 1, a in {0, 1}, over
// GF(2^163), after reducing k modulo tau^163 - 1 (which fixes every point of the curve). False
// when p is not on such a curve or has x = 0; variable time.
bool koblitzMul(const gf2m::Field &f, const Fe &a, const Point &p, const Scalar &k, Point &out);

// k * G from the built-in table of a built-in curve's base point, when `curveId` has one for
// this field and coefficient a (false otherwise, `out` untouched). Each of the 48 four-bit
// digits of k adds one table entry; with `constantTime` every entry of the row is read and
// zero digits are masked instead of skipped.
bool fixedBaseMul(int curveId, const gf2m::Field &f, const Fe &a, const Scalar &k, bool constantTime, Point &out);

}  // namespace vc::ecc::binary
