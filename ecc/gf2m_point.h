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

}  // namespace vc::ecc::binary
