// The Lopez-Dahab Montgomery ladder on y^2 + xy = x^3 + ax^2 + b: projective x-only
// coordinates (X : Z) with x = X / Z and the point at infinity at Z = 0, the invariant
// R1 - R0 = P, and y recovered from x(kP), x((k+1)P) and P at the end.
#include "common/wipe.h"
#include "ecc/gf2m_point.h"

namespace vc::ecc::binary {

using namespace gf2m;

namespace {

unsigned bitLength(const Scalar &k) {
    for (int i = 2; i >= 0; i--)
        if (k.w[i] != 0) return unsigned(64 * i + 64 - __builtin_clzll(k.w[i]));
    return 0;
}

struct Ladder {
    Fe x1, z1, x2, z2;
};

// R0 + R1 into (x2 : z2) given their difference P = (x, .), and 2 R0 into (x1 : z1):
// Z = (X1 Z2 + X2 Z1)^2, X = x Z + X1 Z2 X2 Z1; 2R: X = X^4 + b Z^4, Z = X^2 Z^2.
// Both hold with either operand at infinity, as long as x != 0.
void step(const Field &f, const Fe &x, const Fe &b, Ladder &r) {
    Fe t1, t2, u, v;
    f.mul(t1, r.x1, r.z2);
    f.mul(t2, r.x2, r.z1);
    f.sqr(r.z2, t1 + t2);
    f.mul(u, t1, t2);
    f.mul(r.x2, x, r.z2);
    r.x2 += u;
    f.sqr(u, r.x1);
    f.sqr(v, r.z1);
    f.mul(r.z1, u, v);
    f.sqr(u, u);
    f.sqr(v, v);
    f.mul(v, v, b);
    r.x1 = u + v;
}

}  // namespace

Point ladder(const Field &f, const Fe &a, const Point &p, const Scalar &k, bool constantTime) {
    const Fe b = curveB(f, a, p.x, p.y);
    Ladder r{feOne(), feZero(), p.x, feOne()};
    const unsigned bits = constantTime ? 192 : bitLength(k);
    uint64_t swapped = 0;
    for (unsigned i = bits; i-- > 0;) {
        const uint64_t bit = 0 - ((k.w[i / 64] >> (i % 64)) & 1);
        cswap(bit ^ swapped, r.x1, r.x2);
        cswap(bit ^ swapped, r.z1, r.z2);
        swapped = bit;
        step(f, p.x, b, r);
    }
    cswap(swapped, r.x1, r.x2);
    cswap(swapped, r.z1, r.z2);

    // (x1 : z1) = kP, (x2 : z2) = (k+1)P. With one inversion of x z1 z2:
    // x_k = X1 / Z1, y_k = (x_k + x)((x_k + x)(x_(k+1) + x) + x^2 + y) / x + y.
    Fe t, inv, xk, xk1, xInv, y;
    f.mul(t, r.z1, r.z2);
    f.mul(inv, t, p.x);
    f.inv(inv, inv);
    f.mul(xInv, t, inv);
    f.mul(t, p.x, r.z2);
    f.mul(t, t, inv);
    f.mul(xk, r.x1, t);
    f.mul(t, p.x, r.z1);
    f.mul(t, t, inv);
    f.mul(xk1, r.x2, t);
    f.mul(t, xk + p.x, xk1 + p.x);
    f.sqr(y, p.x);
    t += y + p.y;
    f.mul(t, t, xk + p.x);
    f.mul(t, t, xInv);
    y = t + p.y;

    // kP at infinity (z1 = 0); (k+1)P at infinity, so kP = -P = (x, x + y); and P of order two
    // (x = 0), where kP is P for odd k and infinity for even k.
    const uint64_t odd = 0 - (k.w[0] & 1);
    const uint64_t xZero = zeroMask(p.x), z1Zero = zeroMask(r.z1) & ~xZero, z2Zero = zeroMask(r.z2) & ~xZero & ~z1Zero;
    Point out{select(z2Zero, p.x, xk), select(z2Zero, p.x + p.y, y)};
    out.x = select(z1Zero, feZero(), out.x);
    out.y = select(z1Zero, feZero(), out.y);
    out.x = select(xZero, select(odd, p.x, feZero()), out.x);
    out.y = select(xZero, select(odd, p.y, feZero()), out.y);
    secure_wipe_object(r);
    secure_wipe_object(xk);
    secure_wipe_object(xk1);
    secure_wipe_object(t);
    return out;
}

}  // namespace vc::ecc::binary
