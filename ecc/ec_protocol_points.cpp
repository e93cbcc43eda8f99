// The curve-level helpers of the EC protocols: arithmetic modulo n, public-key loading and
// decompression, affine point addition, the ECDH value.
#include "common/wipe.h"
#include "ecc/binary_curve.h"
#include "ecc/gf2m_point.h"
#include "ecc/p160.h"
#include "ecc/protocol_internal.h"
#include "ecc/scalar_mul.h"

#include <vorelcrypto/hash.h>

#include <array>
#include <cstring>

namespace vc::ecc::proto {
namespace {

// A plain value as n big-endian octets, zero-padded on the left.
void toOctets(const Fe &a, uint8_t *out, uint32_t n) {
    for (uint32_t i = 0; i < n; i++) {
        const uint32_t bit = 8 * (n - 1 - i);
        out[i] = bit < 192 ? uint8_t(a.v[bit / 64] >> (bit % 64)) : 0;
    }
}

const uint8_t *orderOctets(int curveId) {
    return curveId == kPrimeCurveId ? kSecp160r1.n : binaryCurveConstants(curveId)->n;
}

// Slot of a built-in curve in small per-curve tables.
int curveSlot(int curveId) {
    switch (curveId) {
    case 3: return 0;
    case 5: return 1;
    case 7: return 2;
    case 11: return 3;
    case 21: return 4;
    default: return 5;
    }
}

// ---- GF(p) of curve 7 (Montgomery form)

const Field &primeField() {
    static const Field f = makeField(feFromBytes(kSecp160r1.p, 20));
    return f;
}

Fe primeConstant(const uint8_t bytes[20]) {
    Fe r;
    fieldToMont(primeField(), r, feFromBytes(bytes, 20));
    return r;
}

// a^e for a public exponent given as three limbs.
Fe primePow(const Field &f, const Fe &a, const Fe &e) {
    Fe acc = f.one;
    for (int bit = 191; bit >= 0; bit--) {
        fieldMul(f, acc, acc, acc);
        if ((e.v[bit / 64] >> (bit % 64)) & 1) fieldMul(f, acc, acc, a);
    }
    return acc;
}

// x^3 + a x + b in Montgomery form.
Fe primeRhs(const Field &f, const Fe &x) {
    Fe t, r;
    fieldMul(f, t, x, x);
    fieldAdd(f, t, t, primeConstant(kSecp160r1.a));
    fieldMul(f, r, t, x);
    fieldAdd(f, r, r, primeConstant(kSecp160r1.b));
    return r;
}

// p = 2^160 - 2^31 - 1 is 3 mod 4, so a square c has the roots +-c^((p + 1) / 4).
bool primeDecompress(const uint8_t *x, int odd, uint8_t *point) {
    const Field &f = primeField();
    const Fe px = feFromBytes(x, 20);
    if (compareNumbers(x, 20, kSecp160r1.p, 20) >= 0) return false;
    Fe mx, c, y, check;
    fieldToMont(f, mx, px);
    c = primeRhs(f, mx);
    Fe e = f.p;  // (p + 1) / 4
    e.v[0] += 1;  // p is odd and far from 2^64 - 1 in its low limb
    for (int i = 0; i < 3; i++) e.v[i] = (e.v[i] >> 2) | (i < 2 ? e.v[i + 1] << 62 : 0);
    y = primePow(f, c, e);
    fieldMul(f, check, y, y);
    if (!fieldEqual(check, c)) return false;
    Fe plain;
    fieldFromMont(f, plain, y);
    if (int(plain.v[0] & 1) != odd) {
        if (fieldIsZero(plain)) return false;
        fieldNeg(f, y, y);
        fieldFromMont(f, plain, y);
    }
    point[0] = 0x04;
    std::memcpy(point + 1, x, 20);
    toOctets(plain, point + 21, 20);
    return true;
}

// ---- GF(2^163) of the binary curves

using Fe2 = gf2m::Fe;

struct BinaryCurve {
    BinaryField params;
    Fe2 a, b;  // b of the curve through G (the published b on curves 3, 5 and 11)
};

const BinaryCurve &binaryCurve(int curveId) {
    static const std::array<BinaryCurve, 6> curves = [] {
        std::array<BinaryCurve, 6> all{};
        for (int id : {3, 5, 11, 21, 22}) {
            const BinaryCurveConstants *c = binaryCurveConstants(id);
            BinaryCurve &bc = all[size_t(curveSlot(id))];
            parseBinaryField(c->polynomial, &bc.params);
            const gf2m::Field f(bc.params);
            bc.a = binary::constantToFe(c->a);
            const binary::Point g = binary::basePoint(*c);
            bc.b = binary::curveB(f, bc.a, g.x, g.y);
        }
        return all;
    }();
    return curves[size_t(curveSlot(curveId))];
}

void fe2ToBytes(const Fe2 &a, uint8_t out[21]) {
    for (int i = 0; i < 21; i++) {
        const int bit = 8 * (20 - i);
        out[i] = uint8_t(a.w[bit / 64] >> (bit % 64));
    }
}

binary::Point binaryPoint(const uint8_t *point) {
    return {binary::constantToFe(point + 1), binary::constantToFe(point + 22)};
}

void putBinaryPoint(const binary::Point &p, uint8_t *out) {
    out[0] = 0x04;
    fe2ToBytes(p.x, out + 1);
    fe2ToBytes(p.y, out + 22);
}

// y^2 + xy = x^3 + a x^2 + b: with x != 0 and y = x z, z^2 + z = x + a + b / x^2, whose roots
// z and z + 1 differ in their lowest bit, which the prefix names; x = 0 has y = sqrt(b).
bool binaryDecompress(int curveId, const uint8_t *x, int odd, uint8_t *point) {
    if (x[0] > 7) return false;  // beyond x^163
    const BinaryCurve &c = binaryCurve(curveId);
    const gf2m::Field f(c.params);
    const Fe2 fx = binary::constantToFe(x);
    binary::Point p{fx, {}};
    if (gf2m::isZero(fx)) {
        f.sqrn(p.y, c.b, c.params.m - 1);
    } else {
        Fe2 inv, beta;
        f.inv(inv, fx);
        f.sqr(inv, inv);
        f.mul(beta, c.b, inv);
        beta += fx + c.a;
        if (f.trace(beta) != 0) return false;
        Fe2 z = f.halfTrace(beta);
        if (int(z.w[0] & 1) != odd) z += gf2m::feOne();
        f.mul(p.y, fx, z);
    }
    putBinaryPoint(p, point);
    return true;
}

// The usual affine chord-and-tangent formulas of y^2 + xy = x^3 + a x^2 + b (b does not
// appear), (0, 0) standing for infinity.
binary::Point binaryAdd(const gf2m::Field &f, const Fe2 &a, const binary::Point &p, const binary::Point &q) {
    const auto inf = [](const binary::Point &t) { return gf2m::isZero(t.x) && gf2m::isZero(t.y); };
    if (inf(p)) return q;
    if (inf(q)) return p;
    Fe2 lambda, t, x3, y3;
    if (p.x == q.x) {
        if (!(p.y == q.y) || gf2m::isZero(p.x)) return binary::Point{};  // q = -p, or 2p with x = 0
        f.inv(t, p.x);
        f.mul(lambda, p.y, t);
        lambda += p.x;
        f.sqr(x3, lambda);
        x3 += lambda + a;
        f.sqr(t, p.x);
        f.mul(y3, lambda + gf2m::feOne(), x3);
        return binary::Point{x3, y3 + t};
    }
    f.inv(t, p.x + q.x);
    f.mul(lambda, p.y + q.y, t);
    f.sqr(x3, lambda);
    x3 += lambda + p.x + q.x + a;
    f.mul(y3, lambda, p.x + x3);
    return binary::Point{x3, y3 + x3 + p.y};
}

struct PrimePoint {
    Fe x, y;
    bool infinity;
};

PrimePoint primeAdd(const Field &f, const PrimePoint &p, const PrimePoint &q) {
    if (p.infinity) return q;
    if (q.infinity) return p;
    Fe num, den, lambda, t, x3, y3;
    if (fieldEqual(p.x, q.x)) {
        if (!fieldEqual(p.y, q.y) || fieldIsZero(p.y)) return PrimePoint{{}, {}, true};
        fieldMul(f, t, p.x, p.x);
        fieldAdd(f, num, t, t);
        fieldAdd(f, num, num, t);
        fieldAdd(f, num, num, primeConstant(kSecp160r1.a));
        fieldAdd(f, den, p.y, p.y);
    } else {
        fieldSub(f, num, q.y, p.y);
        fieldSub(f, den, q.x, p.x);
    }
    invPublic(f, den, den);
    fieldMul(f, lambda, num, den);
    fieldMul(f, t, lambda, lambda);
    fieldSub(f, t, t, p.x);
    fieldSub(f, x3, t, q.x);
    fieldSub(f, t, p.x, x3);
    fieldMul(f, t, lambda, t);
    fieldSub(f, y3, t, p.y);
    return PrimePoint{x3, y3, false};
}

PrimePoint primePoint(const uint8_t *point) {
    const Field &f = primeField();
    PrimePoint r{{}, {}, isInfinity(kPrimeCurveId, point)};
    fieldToMont(f, r.x, feFromBytes(point + 1, 20));
    fieldToMont(f, r.y, feFromBytes(point + 21, 20));
    return r;
}

}  // namespace

const Order &curveOrder(int curveId) {
    static const std::array<Order, 6> orders = [] {
        std::array<Order, 6> all{};
        for (int id : {3, 5, 7, 11, 21, 22}) {
            Order &o = all[size_t(curveSlot(id))];
            std::memcpy(o.n, orderOctets(id), kOrderBytes);
            o.f = makeField(feFromBytes(o.n, kOrderBytes));
        }
        return all;
    }();
    return orders[size_t(curveSlot(curveId))];
}

uint32_t leadingZeros(const uint8_t *bytes, uint32_t length) {
    uint32_t i = 0;
    while (i < length && bytes[i] == 0) i++;
    return i;
}

int compareNumbers(const uint8_t *a, uint32_t aLength, const uint8_t *b, uint32_t bLength) {
    const uint32_t za = leadingZeros(a, aLength), zb = leadingZeros(b, bLength);
    const uint32_t la = aLength - za, lb = bLength - zb;
    if (la != lb) return la < lb ? -1 : 1;
    return la == 0 ? 0 : std::memcmp(a + za, b + zb, la);
}

bool toOrder(const Order &o, const uint8_t *bytes, uint32_t length, Fe &out) {
    const uint32_t skip = bytes == nullptr ? length : leadingZeros(bytes, length);
    if (length - skip > 24) return false;
    fieldToMont(o.f, out, feFromBytes(bytes + skip, length - skip));  // reduces modulo n
    return true;
}

void fromOrder(const Order &o, const Fe &a, uint8_t out[kOrderBytes]) {
    Fe plain;
    fieldFromMont(o.f, plain, a);
    toOctets(plain, out, kOrderBytes);
}

void putMinimal(const uint8_t value[kOrderBytes], Opaque8 *out) {
    const uint32_t skip = leadingZeros(value, kOrderBytes);
    out->length = kOrderBytes - skip;
    std::memcpy(out->data, value + skip, out->length);
}

bool isInfinity(int curveId, const uint8_t *point) {
    uint8_t any = 0;
    for (uint32_t i = 1; i < pointBytes(curveId); i++) any |= point[i];
    return any == 0;
}

bool loadPublicPoint(int curveId, const Opaque8 *key, uint8_t point[kMaxPointBytes]) {
    if (key == nullptr || key->data == nullptr || key->length == 0) return false;
    const uint32_t width = coordinateBytes(curveId);
    const uint8_t first = key->data[0];
    if (first == 0x04) {
        for (uint32_t i = 0; i < pointBytes(curveId); i++) point[i] = octetAt(key, i);
        return true;
    }
    if ((first != 0x02 && first != 0x03) || key->length != 1 + width) return false;
    const int odd = first & 1;
    return curveId == kPrimeCurveId ? primeDecompress(key->data + 1, odd, point)
                                    : binaryDecompress(curveId, key->data + 1, odd, point);
}

bool onCurve(int curveId, const uint8_t *point) {
    if (curveId == kPrimeCurveId) {
        if (compareNumbers(point + 1, 20, kSecp160r1.p, 20) >= 0 ||
            compareNumbers(point + 21, 20, kSecp160r1.p, 20) >= 0)
            return false;
        const PrimePoint p = primePoint(point);
        Fe lhs;
        fieldMul(primeField(), lhs, p.y, p.y);
        return fieldEqual(lhs, primeRhs(primeField(), p.x));
    }
    if (point[1] > 7 || point[22] > 7) return false;
    const BinaryCurve &c = binaryCurve(curveId);
    const gf2m::Field f(c.params);
    const binary::Point p = binaryPoint(point);
    return binary::curveB(f, c.a, p.x, p.y) == c.b;
}

void addPoints(int curveId, const uint8_t *p, const uint8_t *q, uint8_t *out) {
    if (curveId == kPrimeCurveId) {
        const Field &f = primeField();
        const PrimePoint r = primeAdd(f, primePoint(p), primePoint(q));
        std::memset(out, 0, 41);
        out[0] = 0x04;
        if (r.infinity) return;
        Fe plain;
        fieldFromMont(f, plain, r.x);
        toOctets(plain, out + 1, 20);
        fieldFromMont(f, plain, r.y);
        toOctets(plain, out + 21, 20);
        return;
    }
    const BinaryCurve &c = binaryCurve(curveId);
    const gf2m::Field f(c.params);
    const auto load = [&](const uint8_t *t) {
        const binary::Point b = binaryPoint(t);
        return binary::Point{f.reduced(b.x), f.reduced(b.y)};
    };
    const binary::Point r = binaryAdd(f, c.a, load(p), load(q));
    putBinaryPoint(r, out);
}

int jointMul(int curveId, const uint8_t u1[kOrderBytes], const uint8_t u2[kOrderBytes], const uint8_t *q,
             uint8_t *out) {
    if (!isBuiltInCurve(curveId)) return -4;
    // The scalars are public: their leading zero octets are left out, which shortens the
    // multiplications (their length in octets bounds the work).
    // On curve 7 a key on the curve takes one joint pass of doublings (Shamir's trick); a point
    // off the curve keeps the two separate products, whose affine sum differs from the joint one.
    if (curveId == kPrimeCurveId && onCurve(curveId, q)) {
        uint32_t w1[6], w2[6], words[12] = {}, result[12];
        lowOctetsToWords(u1, kOrderBytes, w1);
        lowOctetsToWords(u2, kOrderBytes, w2);
        const Opaque8 in{pointBytes(curveId), const_cast<uint8_t *>(q)};
        ZENOR_V1_opaque8ToECPoints(curveId, &in, words);
        p160MulAddPublic(w1, w2, words, result);
        Opaque8 o{0, out};
        ZENOR_V1_ECPointsToopaque8(curveId, 1, result, &o);
        return 0;
    }
    const uint32_t skip1 = leadingZeros(u1, kOrderBytes), skip2 = leadingZeros(u2, kOrderBytes);
    uint8_t p1[kMaxPointBytes], p2[kMaxPointBytes];
    if (scalarMulBase(curveId, u1 + skip1, kOrderBytes - skip1, p1, false) != 0 ||
        scalarMul(curveId, q, pointBytes(curveId), u2 + skip2, kOrderBytes - skip2, p2, false) != 0)
        return -4;
    addPoints(curveId, p1, p2, out);
    return 0;
}

void invPublic(const Field &f, Fe &r, const Fe &a) {
    Fe plain;
    fieldFromMont(f, plain, a);
    // Binary extended Euclid on u = a, v = p with u = x1 a, v = x2 a (mod p) throughout.
    Fe u = plain, v = f.p, x1{{1, 0, 0}}, x2{};
    const auto isOne = [](const Fe &t) { return t.v[0] == 1 && t.v[1] == 0 && t.v[2] == 0; };
    const auto halve = [&](Fe &t) {
        for (int i = 0; i < 3; i++) t.v[i] = (t.v[i] >> 1) | (i < 2 ? t.v[i + 1] << 63 : 0);
    };
    // x / 2 mod p: (x + p) / 2 for odd x; p < 2^191, so the sum fits three limbs.
    const auto halveMod = [&](Fe &t) {
        if (t.v[0] & 1) {
            u64 carry = 0;
            for (int i = 0; i < 3; i++) {
                const u128 s = u128(t.v[i]) + f.p.v[i] + carry;
                t.v[i] = u64(s);
                carry = u64(s >> 64);
            }
        }
        halve(t);
    };
    const auto less = [](const Fe &x, const Fe &y) {
        for (int i = 2; i >= 0; i--)
            if (x.v[i] != y.v[i]) return x.v[i] < y.v[i];
        return false;
    };
    const auto minus = [](Fe &x, const Fe &y) {
        u64 borrow = 0;
        for (int i = 0; i < 3; i++) {
            const u128 d = u128(x.v[i]) - y.v[i] - borrow;
            x.v[i] = u64(d);
            borrow = u64(d >> 64) & 1;
        }
    };
    if (fieldIsZero(plain)) {
        r = Fe{};
        return;
    }
    while (!isOne(u) && !isOne(v)) {
        while ((u.v[0] & 1) == 0) halve(u), halveMod(x1);
        while ((v.v[0] & 1) == 0) halve(v), halveMod(x2);
        if (!less(u, v)) {
            minus(u, v);
            fieldSub(f, x1, x1, x2);
        } else {
            minus(v, u);
            fieldSub(f, x2, x2, x1);
        }
    }
    fieldToMont(f, r, isOne(u) ? x1 : x2);  // plain a^-1 back to Montgomery form
}

int ecdhValue(int curveId, const Opaque8 *peer, const Opaque8 *d, uint8_t z[21], uint32_t *zLength) {
    if (!isBuiltInCurve(curveId) || d == nullptr || d->data == nullptr || d->length == 0) return -4;
    uint8_t q[kMaxPointBytes], product[kMaxPointBytes];
    if (!loadPublicPoint(curveId, peer, q) || isInfinity(curveId, q) || !onCurve(curveId, q)) return -4;
    if (scalarMul(curveId, q, pointBytes(curveId), d->data, d->length, product, true) != 0) return -4;
    const bool infinity = isInfinity(curveId, product);
    const uint32_t width = coordinateBytes(curveId);
    std::memcpy(z, product + 1, width);
    *zLength = width;
    secure_wipe(product, sizeof product);
    return infinity ? -4 : 0;
}

void sha1CounterStream(const uint8_t *z, uint32_t zLength, const uint8_t *info, uint32_t infoLength,
                       uint8_t *out, uint64_t length, bool xorInto) {
    uint8_t block[20];
    for (uint64_t done = 0, counter = 1; done < length; done += 20, counter++) {
        const uint8_t c[4] = {0, 0, 0, uint8_t(counter)};  // only the last octet carries the count
        ShaContext ctx;
        E_SHA1_Init(&ctx);
        E_SHA1_Update(&ctx, z, zLength);
        E_SHA1_Update(&ctx, c, 4);
        if (infoLength != 0) E_SHA1_Update(&ctx, info, infoLength);
        E_SHA1_Final(&ctx, block);
        const uint64_t n = length - done < 20 ? length - done : 20;
        for (uint64_t i = 0; i < n; i++) out[done + i] = uint8_t((xorInto ? out[done + i] : 0) ^ block[i]);
        secure_wipe(&ctx, sizeof ctx);
    }
    secure_wipe(block, sizeof block);
}

}  // namespace vc::ecc::proto
