// Lopez-Dahab projective arithmetic on y^2 + xy = x^3 + ax^2 + b.
#include "ecc/gf2m_point.h"

namespace vc::ecc::binary {

using namespace gf2m;

namespace {

LdPoint selectLd(uint64_t mask, const LdPoint &p, const LdPoint &q) {
    return LdPoint{select(mask, p.x, q.x), select(mask, p.y, q.y), select(mask, p.z, q.z)};
}

}  // namespace

LdPoint ldFromAffine(const Point &p) {
    const uint64_t inf = zeroMask(p.x) & zeroMask(p.y);
    return LdPoint{select(inf, feOne(), p.x), p.y, select(inf, feZero(), feOne())};
}

Point ldToAffine(const Curve &c, const LdPoint &p) {
    Fe zi, x, y;
    c.f.inv(zi, p.z);  // zero at infinity, which then maps to (0, 0)
    c.f.mul(x, p.x, zi);
    c.f.sqr(zi, zi);
    c.f.mul(y, p.y, zi);
    return Point{x, y};
}

LdPoint ldDouble(const Curve &c, const LdPoint &p) {
    Fe x2, z2, bz4, t;
    LdPoint r;
    c.f.sqr(x2, p.x);
    c.f.sqr(z2, p.z);
    c.f.mul(r.z, x2, z2);
    c.f.sqr(z2, z2);
    c.f.mul(bz4, c.b, z2);
    c.f.sqr(x2, x2);
    r.x = x2 + bz4;
    c.f.mul(t, c.a, r.z);
    c.f.sqr(x2, p.y);
    t += x2 + bz4;
    c.f.mul(t, t, r.x);
    c.f.mul(r.y, bz4, r.z);
    r.y += t;
    return r;
}

// A = y2 Z1^2 + Y1, B = x2 Z1 + X1, C = Z1 B, D = B^2 (C + a Z1^2), Z3 = C^2, E = A C,
// X3 = A^2 + D + E, F = X3 + x2 Z3, G = (x2 + y2) Z3^2, Y3 = (E + Z3) F + G.
// B = 0 gives Z3 = 0: right for q = -p, replaced by the doubling of q for q = p.
LdPoint ldAddAffine(const Curve &c, const LdPoint &p, const Point &q, bool constantTime) {
    if (!constantTime) {
        if (isZero(p.z)) return ldFromAffine(q);
        if (isZero(q.x) && isZero(q.y)) return p;
    }
    Fe z2, a, b, cc, d, e, t;
    LdPoint r;
    c.f.sqr(z2, p.z);
    c.f.mul(a, q.y, z2);
    a += p.y;
    c.f.mul(b, q.x, p.z);
    b += p.x;
    c.f.mul(cc, p.z, b);
    c.f.mul(t, c.a, z2);
    t += cc;
    c.f.sqr(d, b);
    c.f.mul(d, d, t);
    c.f.sqr(r.z, cc);
    c.f.mul(e, a, cc);
    c.f.sqr(r.x, a);
    r.x += d + e;
    c.f.mul(t, q.x, r.z);
    t += r.x;
    c.f.mul(t, t, e + r.z);
    c.f.sqr(d, r.z);
    c.f.mul(d, d, q.x + q.y);
    r.y = t + d;

    const LdPoint lq = ldFromAffine(q);
    if (!constantTime) return isZero(r.z) && isZero(a) ? ldDouble(c, lq) : r;
    const uint64_t pInf = zeroMask(p.z), qInf = zeroMask(lq.z);
    const uint64_t same = zeroMask(a) & zeroMask(b) & ~pInf & ~qInf;
    r = selectLd(same, ldDouble(c, lq), r);
    r = selectLd(pInf, lq, r);
    return selectLd(qInf, p, r);
}

LdPoint ldFrobenius(const Field &f, const LdPoint &p) {
    LdPoint r;
    f.sqr(r.x, p.x);
    f.sqr(r.y, p.y);
    f.sqr(r.z, p.z);
    return r;
}

}  // namespace vc::ecc::binary
