// secp160r1 scalar multiplication. The secret scalar decides nothing but the digits fed to
// constant-time table scans and conditional negations; the only data-dependent branch is the
// doubling that an addition of two equal points needs, which a point of order n multiplied by
// a scalar below n never reaches (see docs/design/ecc.md).
#include "ecc/p160.h"

#include "common/wipe.h"
#include "ecc/curves.h"
#include "ecc/gfp.h"

namespace vc::ecc {
namespace {

constexpr Field kF = makeField(Fe{{0xFFFFFFFF7FFFFFFFull, 0xFFFFFFFFFFFFFFFFull, 0xFFFFFFFFull}});

struct Jac {
    Fe x, y, z;
};
struct Aff {
    Fe x, y;
};

inline void mul(Fe &r, const Fe &a, const Fe &b) { fieldMul(kF, r, a, b); }
inline void sqr(Fe &r, const Fe &a) { fieldMul(kF, r, a, a); }
inline void add(Fe &r, const Fe &a, const Fe &b) { fieldAdd(kF, r, a, b); }
inline void sub(Fe &r, const Fe &a, const Fe &b) { fieldSub(kF, r, a, b); }

// 2P with a = -3 (dbl-2001-b). Y = 0 or Z = 0 gives Z3 = 0, the point at infinity, as the
// affine doubling of a point with y = 0 does.
void dbl(Jac &r, const Jac &p) {
    Fe delta, gamma, beta, alpha, t, u;
    sqr(delta, p.z);
    sqr(gamma, p.y);
    mul(beta, p.x, gamma);
    sub(t, p.x, delta);
    add(u, p.x, delta);
    mul(alpha, t, u);
    add(t, alpha, alpha);
    add(alpha, t, alpha);
    add(t, p.y, p.z);
    sqr(t, t);
    sub(t, t, gamma);
    sub(r.z, t, delta);
    add(beta, beta, beta);
    add(beta, beta, beta);
    sqr(t, alpha);
    add(u, beta, beta);
    sub(r.x, t, u);
    sub(t, beta, r.x);
    mul(t, alpha, t);
    sqr(gamma, gamma);
    add(gamma, gamma, gamma);
    add(gamma, gamma, gamma);
    add(gamma, gamma, gamma);
    sub(r.y, t, gamma);
}

// The tail shared by both additions: with H = U2 - U1 and R = S2 - S1 (both un-doubled),
// X3 = (2R)^2 - J - 2V, Y3 = 2R (V - X3) - 2 S1 J, where I = (2H)^2, J = H I, V = U1 I.
void addTail(Jac &r, const Fe &u1, const Fe &s1, const Fe &h, const Fe &rr) {
    Fe i, j, v, t, r2;
    add(t, h, h);
    sqr(i, t);
    mul(j, h, i);
    mul(v, u1, i);
    add(r2, rr, rr);
    sqr(t, r2);
    sub(t, t, j);
    sub(t, t, v);
    sub(r.x, t, v);
    sub(t, v, r.x);
    mul(t, r2, t);
    mul(v, s1, j);
    add(v, v, v);
    sub(r.y, t, v);
}

// a + b in every case. Infinity on either side is handled by constant-time selection; a = b
// (a doubling) branches.
void addFull(Jac &r, const Jac &a, const Jac &b) {
    const u64 aInf = fieldZeroMask(a.z), bInf = fieldZeroMask(b.z);
    Fe z1z1, z2z2, u1, u2, s1, s2, h, rr, t;
    sqr(z1z1, a.z);
    sqr(z2z2, b.z);
    mul(u1, a.x, z2z2);
    mul(u2, b.x, z1z1);
    mul(t, b.z, z2z2);
    mul(s1, a.y, t);
    mul(t, a.z, z1z1);
    mul(s2, b.y, t);
    sub(h, u2, u1);
    sub(rr, s2, s1);
    if ((fieldZeroMask(h) & fieldZeroMask(rr) & ~aInf & ~bInf) != 0) {
        dbl(r, a);
        return;
    }
    Jac s;
    addTail(s, u1, s1, h, rr);
    add(t, a.z, b.z);
    sqr(t, t);
    sub(t, t, z1z1);
    sub(t, t, z2z2);
    mul(s.z, t, h);
    fieldSelect(s.x, b.x, aInf), fieldSelect(s.y, b.y, aInf), fieldSelect(s.z, b.z, aInf);
    fieldSelect(s.x, a.x, bInf), fieldSelect(s.y, a.y, bInf), fieldSelect(s.z, a.z, bInf);
    r = s;
}

// a + b for an affine b (Z = 1), b standing for infinity where bInf is all ones.
void addMixed(Jac &r, const Jac &a, const Aff &b, u64 bInf) {
    const u64 aInf = fieldZeroMask(a.z);
    Fe z1z1, u2, s2, h, rr, t;
    sqr(z1z1, a.z);
    mul(u2, b.x, z1z1);
    mul(t, a.z, z1z1);
    mul(s2, b.y, t);
    sub(h, u2, a.x);
    sub(rr, s2, a.y);
    if ((fieldZeroMask(h) & fieldZeroMask(rr) & ~aInf & ~bInf) != 0) {
        dbl(r, a);
        return;
    }
    Jac s;
    addTail(s, a.x, a.y, h, rr);
    add(t, a.z, h);
    sqr(t, t);
    sub(t, t, z1z1);
    sqr(u2, h);
    sub(s.z, t, u2);  // (Z1 + H)^2 - Z1Z1 - HH = 2 Z1 H, the scale of X3 and Y3
    fieldSelect(s.x, b.x, aInf), fieldSelect(s.y, b.y, aInf), fieldSelect(s.z, kF.one, aInf);
    fieldSelect(s.x, a.x, bInf), fieldSelect(s.y, a.y, bInf), fieldSelect(s.z, a.z, bInf);
    r = s;
}

inline u64 equalMask(u64 a, u64 b) { return 0 - (((a ^ b) - 1) >> 63); }

// The signed 4-bit digits of the low `bits` bits of the scalar: digit j is
// -8 b(4j+3) + 4 b(4j+2) + 2 b(4j+1) + b(4j) + b(4j-1), in [-8, 8]; they sum (times 16^j) to
// the scalar. Returns the count, ceil(bits / 4) + 1.
int boothDigits(const uint32_t scalar[6], uint32_t bits, int8_t *digits) {
    auto bit = [&](int i) -> int {
        return i < 0 || uint32_t(i) >= bits ? 0 : int(scalar[i / 32] >> (i % 32)) & 1;
    };
    const int count = int((bits + 3) / 4) + 1;
    for (int j = 0; j < count; j++) {
        const int b = 4 * j;
        digits[j] = int8_t(-8 * bit(b + 3) + 4 * bit(b + 2) + 2 * bit(b + 1) + bit(b) + bit(b - 1));
    }
    return count;
}

// Splits a digit into its magnitude and an all-ones mask when it is negative.
inline void digitParts(int8_t d, u64 &magnitude, u64 &negative) {
    const u64 m = u64(int64_t(d) >> 63);
    negative = m;
    magnitude = (u64(int64_t(d)) ^ m) - m;
}

inline void negateWhere(Fe &y, u64 mask) {
    Fe n;
    fieldNeg(kF, n, y);
    fieldSelect(y, n, mask);
}

// Multiples 1..8 of P (entry i - 1 holds i P).
void multiples(Jac table[8], const Jac &p) {
    table[0] = p;
    dbl(table[1], p);
    addFull(table[2], table[1], p);
    dbl(table[3], table[1]);
    addFull(table[4], table[3], p);
    dbl(table[5], table[2]);
    addFull(table[6], table[5], p);
    dbl(table[7], table[3]);
}

// Affine words (coordinates taken modulo p) to Jacobian in Montgomery form; false for the
// all-zero point.
bool load(const uint32_t point[12], Jac &out) {
    Fe x = feFromWords(point, 5), y = feFromWords(point + 6, 5);
    fieldToMont(kF, out.x, x);
    fieldToMont(kF, out.y, y);
    out.z = kF.one;
    return !(fieldIsZero(out.x) && fieldIsZero(out.y));
}

void store(const Jac &p, uint32_t result[12]) {
    Fe zi, zi2, x, y;
    fieldInv(kF, zi, p.z);  // 0 for infinity, which then stores the all-zero point
    sqr(zi2, zi);
    mul(x, p.x, zi2);
    mul(zi2, zi2, zi);
    mul(y, p.y, zi2);
    fieldFromMont(kF, x, x);
    fieldFromMont(kF, y, y);
    feToWords(x, result, 5);
    feToWords(y, result + 6, 5);
    result[5] = result[11] = 0;
}

constexpr int kMaxDigits = 49;  // 192 bits

struct BaseTable {
    Aff rows[kMaxDigits][8];  // rows[j][i - 1] = i 16^j G
};

BaseTable buildBaseTable() {
    BaseTable t{};
    uint32_t g[12] = {};
    feToWords(feFromBytes(kSecp160r1.gx, 20), g, 5);
    feToWords(feFromBytes(kSecp160r1.gy, 20), g + 6, 5);
    Jac base;
    load(g, base);
    for (int j = 0; j < kMaxDigits; j++) {
        Jac m[8];
        multiples(m, base);
        for (int i = 0; i < 8; i++) {
            Fe zi, zi2;
            fieldInv(kF, zi, m[i].z);
            sqr(zi2, zi);
            mul(t.rows[j][i].x, m[i].x, zi2);
            mul(zi2, zi2, zi);
            mul(t.rows[j][i].y, m[i].y, zi2);
        }
        for (int s = 0; s < 4; s++) dbl(base, base);
    }
    return t;
}

const BaseTable &baseTable() {
    static const BaseTable table = buildBaseTable();
    return table;
}

}  // namespace

void p160Mul(const uint32_t point[12], const uint32_t scalar[6], uint32_t bits, uint32_t result[12]) {
    Jac p;
    if (!load(point, p)) {
        for (int i = 0; i < 12; i++) result[i] = 0;
        return;
    }
    Jac table[8];
    multiples(table, p);
    int8_t digits[kMaxDigits];
    const int count = boothDigits(scalar, bits > 192 ? 192 : bits, digits);
    Jac acc{kF.one, kF.one, Fe{}};
    for (int j = count - 1; j >= 0; j--) {
        if (j != count - 1)
            for (int s = 0; s < 4; s++) dbl(acc, acc);
        u64 magnitude, negative;
        digitParts(digits[j], magnitude, negative);
        Jac t{};
        for (int i = 0; i < 8; i++) {
            const u64 m = equalMask(magnitude, u64(i + 1));
            fieldSelect(t.x, table[i].x, m), fieldSelect(t.y, table[i].y, m), fieldSelect(t.z, table[i].z, m);
        }
        negateWhere(t.y, negative);
        addFull(acc, acc, t);  // magnitude 0 leaves t all zero: Z = 0, infinity
    }
    store(acc, result);
    secure_wipe(digits, sizeof digits);
}

void p160MulBase(const uint32_t scalar[6], uint32_t bits, uint32_t result[12]) {
    const BaseTable &table = baseTable();
    int8_t digits[kMaxDigits];
    const int count = boothDigits(scalar, bits > 192 ? 192 : bits, digits);
    Jac acc{kF.one, kF.one, Fe{}};
    for (int j = 0; j < count; j++) {
        u64 magnitude, negative;
        digitParts(digits[j], magnitude, negative);
        Aff t{};
        for (int i = 0; i < 8; i++) {
            const u64 m = equalMask(magnitude, u64(i + 1));
            fieldSelect(t.x, table.rows[j][i].x, m), fieldSelect(t.y, table.rows[j][i].y, m);
        }
        negateWhere(t.y, negative);
        addMixed(acc, acc, t, equalMask(magnitude, 0));
    }
    store(acc, result);
    secure_wipe(digits, sizeof digits);
}

void p160PrepareBase() { (void)baseTable(); }

}  // namespace vc::ecc
