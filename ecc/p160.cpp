// secp160r1 scalar multiplication. The secret scalar decides nothing but the digits fed to
// constant-time table scans and conditional negations; the only data-dependent branch is the
// doubling that an addition of two equal points needs, which a point of order n multiplied by
// a scalar below n never reaches (see docs/design/ecc.md).
#include "ecc/p160.h"

// Vectorised three-limb selections cost more than they save here.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-tree-vectorize")
#endif

#include <immintrin.h>

#include "common/wipe.h"
#include "ecc/curves.h"
#include "ecc/gfp.h"

namespace vc::ecc {
namespace {

struct Jac {
    Fe x, y, z;
};
struct Aff {
    Fe x, y;
};

constexpr Fe kOne{{1, 0, 0}};
constexpr u64 kLow32 = 0xFFFFFFFFull;
constexpr u64 kP0 = 0xFFFFFFFF7FFFFFFFull, kP1 = ~0ull, kP2 = kLow32;  // p = 2^160 - 2^31 - 1
constexpr Fe kPMinus2{{kP0 - 2, kP1, kP2}};
using ull = unsigned long long;

// r = s - p when s >= p, else s, for s < 2p: the borrow of s - p picks, through a mask.
inline void subtractPOnce(Fe &r, u64 s0, u64 s1, u64 s2) {
    ull d0, d1, d2;
    unsigned char b = _subborrow_u64(0, s0, kP0, &d0);
    b = _subborrow_u64(b, s1, kP1, &d1);
    b = _subborrow_u64(b, s2, kP2, &d2);
    const u64 keep = 0 - u64(b);
    r.v[0] = (s0 & keep) | (d0 & ~keep);
    r.v[1] = (s1 & keep) | (d1 & ~keep);
    r.v[2] = (s2 & keep) | (d2 & ~keep);
}

// Sums of two residues stay below 2^161, inside three limbs.
inline void add(Fe &r, const Fe &a, const Fe &b) {
    ull s0, s1, s2;
    unsigned char c = _addcarry_u64(0, a.v[0], b.v[0], &s0);
    c = _addcarry_u64(c, a.v[1], b.v[1], &s1);
    _addcarry_u64(c, a.v[2], b.v[2], &s2);
    subtractPOnce(r, s0, s1, s2);
}

inline void sub(Fe &r, const Fe &a, const Fe &b) {
    ull d0, d1, d2;
    unsigned char b0 = _subborrow_u64(0, a.v[0], b.v[0], &d0);
    b0 = _subborrow_u64(b0, a.v[1], b.v[1], &d1);
    b0 = _subborrow_u64(b0, a.v[2], b.v[2], &d2);
    const u64 m = 0 - u64(b0);
    ull r0, r1, r2;
    unsigned char c = _addcarry_u64(0, d0, kP0 & m, &r0);
    c = _addcarry_u64(c, d1, kP1 & m, &r1);
    _addcarry_u64(c, d2, kP2 & m, &r2);
    r.v[0] = r0, r.v[1] = r1, r.v[2] = r2;
}

// r = t mod p for a product t < 2^320 (five limbs). With p = 2^160 - c, c = 2^31 + 1, the part
// above bit 160 folds down as H c = (H << 31) + H: three folds bring any product below 2^160,
// one conditional subtraction below p. Elements are plain residues, not Montgomery forms.
inline void reduce(Fe &r, const u64 t[5]) {
    const u64 h0 = (t[2] >> 32) | (t[3] << 32), h1 = (t[3] >> 32) | (t[4] << 32), h2 = t[4] >> 32;
    u128 s = u128(t[0]) + h0 + (h0 << 31);
    u64 s0 = u64(s);
    s = u128(t[1]) + h1 + ((h1 << 31) | (h0 >> 33)) + u64(s >> 64);
    u64 s1 = u64(s);
    u64 s2 = (t[2] & kLow32) + h2 + ((h2 << 31) | (h1 >> 33)) + u64(s >> 64);
    for (int fold = 0; fold < 2; fold++) {
        const u64 h = s2 >> 32;
        s = u128(s0) + h + (h << 31);
        s0 = u64(s);
        s = u128(s1) + u64(s >> 64);
        s1 = u64(s);
        s2 = (s2 & kLow32) + u64(s >> 64);
    }
    subtractPOnce(r, s0, s1, s2);
}

inline void mul(Fe &r, const Fe &a, const Fe &b) {
    u64 t[6] = {};
    for (int i = 0; i < 3; i++) {
        u64 c = 0;
        for (int j = 0; j < 3; j++) {
            const u128 x = u128(a.v[i]) * b.v[j] + t[i + j] + c;
            t[i + j] = u64(x);
            c = u64(x >> 64);
        }
        t[i + 3] = c;
    }
    reduce(r, t);
}

inline void sqr(Fe &r, const Fe &a) {
    // Cross products once, doubled, then the squares on the diagonal.
    u64 t[6] = {};
    u128 x = u128(a.v[0]) * a.v[1];
    t[1] = u64(x);
    x = u128(a.v[0]) * a.v[2] + u64(x >> 64);
    t[2] = u64(x);
    t[3] = u64(x >> 64);
    x = u128(a.v[1]) * a.v[2] + t[3];
    t[3] = u64(x);
    t[4] = u64(x >> 64);
    t[5] = t[4] >> 63;
    t[4] = (t[4] << 1) | (t[3] >> 63);
    t[3] = (t[3] << 1) | (t[2] >> 63);
    t[2] = (t[2] << 1) | (t[1] >> 63);
    t[1] <<= 1;
    u64 c = 0;
    for (int i = 0; i < 3; i++) {
        const u128 d = u128(a.v[i]) * a.v[i];
        u128 y = u128(t[2 * i]) + u64(d) + c;
        t[2 * i] = u64(y);
        y = u128(t[2 * i + 1]) + u64(d >> 64) + u64(y >> 64);
        t[2 * i + 1] = u64(y);
        c = u64(y >> 64);
    }
    reduce(r, t);
}

// r = a^(p - 2) = a^-1 (0 for 0): a fixed window over the public exponent.
void invert(Fe &r, const Fe &a) {
    Fe table[16];
    table[0] = kOne;
    for (int i = 1; i < 16; i++) mul(table[i], table[i - 1], a);
    Fe acc = kOne;
    for (int nibble = 39; nibble >= 0; nibble--) {
        for (int s = 0; s < 4; s++) sqr(acc, acc);
        mul(acc, acc, table[(kPMinus2.v[nibble / 16] >> (4 * (nibble % 16))) & 15]);
    }
    r = acc;
}

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
    fieldSelect(s.x, b.x, aInf), fieldSelect(s.y, b.y, aInf), fieldSelect(s.z, kOne, aInf);
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
    sub(n, Fe{}, y);
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
    subtractPOnce(out.x, x.v[0], x.v[1], x.v[2]);  // coordinates below 2^160 < 2p
    subtractPOnce(out.y, y.v[0], y.v[1], y.v[2]);
    out.z = kOne;
    return !(fieldIsZero(out.x) && fieldIsZero(out.y));
}

void store(const Jac &p, uint32_t result[12]) {
    Fe zi, zi2, x, y;
    invert(zi, p.z);  // 0 for infinity, which then stores the all-zero point
    sqr(zi2, zi);
    mul(x, p.x, zi2);
    mul(zi2, zi2, zi);
    mul(y, p.y, zi2);
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
            invert(zi, m[i].z);
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
    Jac acc{kOne, kOne, Fe{}};
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
    Jac acc{kOne, kOne, Fe{}};
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

void p160MulAddPublic(const uint32_t u1[6], const uint32_t u2[6], const uint32_t point[12],
                      uint32_t result[12]) {
    const BaseTable &base = baseTable();
    Jac p, table[8];
    const bool havePoint = load(point, p);
    if (havePoint) multiples(table, p);
    int8_t d1[kMaxDigits], d2[kMaxDigits];
    const int count = boothDigits(u1, 192, d1);
    boothDigits(u2, 192, d2);
    Jac acc{kOne, kOne, Fe{}};
    bool started = false;  // doublings of the point at infinity are skipped
    for (int j = count - 1; j >= 0; j--) {
        if (started)
            for (int s = 0; s < 4; s++) dbl(acc, acc);
        if (d1[j] != 0) {
            Aff t = base.rows[0][(d1[j] < 0 ? -d1[j] : d1[j]) - 1];
            if (d1[j] < 0) negateWhere(t.y, ~u64(0));
            addMixed(acc, acc, t, 0);
            started = true;
        }
        if (havePoint && d2[j] != 0) {
            Jac t = table[(d2[j] < 0 ? -d2[j] : d2[j]) - 1];
            if (d2[j] < 0) negateWhere(t.y, ~u64(0));
            addFull(acc, acc, t);
            started = true;
        }
    }
    store(acc, result);
}

void p160PrepareBase() { (void)baseTable(); }

}  // namespace vc::ecc
