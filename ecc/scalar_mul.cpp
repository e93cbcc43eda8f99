// Scalar multiplication: the affine reference ZENOR_V1_psmul, the dispatcher over the curves,
// the protocols' entry points, the precomputation hooks and the base-order self-test.
#include "ecc/scalar_mul.h"

#include "common/wipe.h"
#include "ecc/binary_curve.h"
#include "ecc/curves.h"
#include "ecc/gfp.h"
#include "ecc/p160.h"

#include <cstring>

namespace vc::ecc {
namespace {

// ---- affine arithmetic over GF(p) with the usual formulas (public data only)

struct AffinePoint {
    Fe x, y;
    bool infinity;
};

struct AffineCurve {
    Field f;
    Fe a;
};

void affineDouble(const AffineCurve &c, AffinePoint &r, const AffinePoint &p) {
    if (p.infinity || fieldIsZero(p.y)) {
        r.infinity = true;
        return;
    }
    const Field &f = c.f;
    Fe num, den, lambda, t;
    fieldMul(f, t, p.x, p.x);
    fieldAdd(f, num, t, t);
    fieldAdd(f, num, num, t);
    fieldAdd(f, num, num, c.a);
    fieldAdd(f, den, p.y, p.y);
    fieldInv(f, den, den);
    fieldMul(f, lambda, num, den);
    fieldMul(f, t, lambda, lambda);
    fieldSub(f, t, t, p.x);
    Fe x3;
    fieldSub(f, x3, t, p.x);
    fieldSub(f, t, p.x, x3);
    fieldMul(f, t, lambda, t);
    fieldSub(f, r.y, t, p.y);
    r.x = x3;
    r.infinity = false;
}

void affineAdd(const AffineCurve &c, AffinePoint &r, const AffinePoint &p, const AffinePoint &q) {
    if (p.infinity) {
        r = q;
        return;
    }
    if (q.infinity) {
        r = p;
        return;
    }
    if (fieldEqual(p.x, q.x)) {
        if (fieldEqual(p.y, q.y))
            affineDouble(c, r, p);
        else
            r.infinity = true;
        return;
    }
    const Field &f = c.f;
    Fe num, den, lambda, t, x3;
    fieldSub(f, num, q.y, p.y);
    fieldSub(f, den, q.x, p.x);
    fieldInv(f, den, den);
    fieldMul(f, lambda, num, den);
    fieldMul(f, t, lambda, lambda);
    fieldSub(f, t, t, p.x);
    fieldSub(f, x3, t, q.x);
    fieldSub(f, t, p.x, x3);
    fieldMul(f, t, lambda, t);
    fieldSub(f, r.y, t, p.y);
    r.x = x3;
    r.infinity = false;
}

// The signed-binary loop from the right: an odd k with k mod 4 = 3 subtracts the running
// point and steps k up, any other odd k adds it and steps k down; then k halves and the
// running point doubles.
void signedBinary(const AffineCurve &c, const AffinePoint &p, const uint32_t scalar[6],
                  AffinePoint &result) {
    u64 k[4] = {};
    for (int i = 0; i < 6; i++) k[i / 2] |= u64(scalar[i]) << (32 * (i % 2));
    AffinePoint acc{};
    acc.infinity = true;
    AffinePoint q = p;
    while ((k[0] | k[1] | k[2] | k[3]) != 0) {
        if (k[0] & 1) {
            if ((k[0] & 3) == 3) {
                AffinePoint minus = q;
                fieldNeg(c.f, minus.y, q.y);
                affineAdd(c, acc, acc, minus);
                for (int i = 0; i < 4 && ++k[i] == 0; i++) {
                }
            } else {
                affineAdd(c, acc, acc, q);
                k[0] -= 1;
            }
        }
        for (int i = 0; i < 4; i++) k[i] = (k[i] >> 1) | (i < 3 ? k[i + 1] << 63 : 0);
        affineDouble(c, q, q);
    }
    result = acc;
}

bool loadField(const uint32_t pWords[6], Field &f) {
    const Fe p = feFromWords(pWords, 5);
    if ((p.v[0] & 1) == 0 || (p.v[0] < 3 && p.v[1] == 0 && p.v[2] == 0)) return false;
    f = makeField(p);
    return true;
}

void loadCoordinates(const Field &f, const uint32_t xy[12], Fe &x, Fe &y) {
    fieldToMont(f, x, feFromWords(xy, 5));
    fieldToMont(f, y, feFromWords(xy + 6, 5));
}

bool equalOctets(const uint8_t *a, const uint8_t *b, uint32_t n) { return std::memcmp(a, b, n) == 0; }

// Whether the record's p and a are curve 7's, so that the fast path applies.
bool isBuiltInPrimeField(const EcParams *params) {
    return params->field.p.length == 20 && params->a.length == 20 &&
           equalOctets(params->field.p.data, kSecp160r1.p, 20) &&
           equalOctets(params->a.data, kSecp160r1.a, 20);
}

void primeBaseWords(uint32_t g[12]) {
    std::memset(g, 0, 12 * sizeof(uint32_t));
    feToWords(feFromBytes(kSecp160r1.gx, 20), g, 5);
    feToWords(feFromBytes(kSecp160r1.gy, 20), g + 6, 5);
}

void binaryWords(const uint8_t octets[21], uint32_t words[6]) { lowOctetsToWords(octets, 21, words); }

void binaryMultiply(int curveId, int methodFlag, const uint32_t a[6], const uint32_t b[6],
                    const uint32_t point[12], const uint32_t scalar[6], uint32_t result[12],
                    bool secret) {
    BinaryField field{};
    parseBinaryField(binaryCurveConstants(curveId)->polynomial, &field);
    binaryScalarMul(curveId, methodFlag, field, a, b, point, scalar, result, secret);
}

}  // namespace

bool primeOnCurve(const uint32_t p[6], const uint32_t a[6], const uint32_t b[6], const uint32_t xy[12]) {
    Field f;
    if (!loadField(p, f)) return false;
    Fe x, y, fa, fb, lhs, rhs, t;
    loadCoordinates(f, xy, x, y);
    fieldToMont(f, fa, feFromWords(a, 5));
    fieldToMont(f, fb, feFromWords(b, 5));
    fieldMul(f, lhs, y, y);
    fieldMul(f, t, x, x);
    fieldAdd(f, t, t, fa);
    fieldMul(f, rhs, t, x);
    fieldAdd(f, rhs, rhs, fb);
    return fieldEqual(lhs, rhs);
}

void multiplyWithRecord(int curveId, int methodFlag, const EcParams *params, const uint32_t scalar[6],
                        uint32_t bits, const uint32_t point[12], uint32_t result[12], bool secret) {
    uint32_t a[6], b[6];
    memberWords(params->a, a);
    memberWords(params->b, b);
    if (curveId != kPrimeCurveId) {
        binaryMultiply(curveId, methodFlag, a, b, point, scalar, result, secret);
        return;
    }
    if (isBuiltInPrimeField(params)) {
        uint32_t g[12];
        primeBaseWords(g);
        bool isBase = true;
        for (int i = 0; i < 5; i++) isBase = isBase && point[i] == g[i] && point[6 + i] == g[6 + i];
        if (isBase)
            p160MulBase(scalar, bits, result);
        else
            p160Mul(point, scalar, bits, result);
        return;
    }
    uint32_t curve[18] = {};
    std::memcpy(curve, a, sizeof a);
    std::memcpy(curve + 6, b, sizeof b);
    memberWords(params->field.p, curve + 12);
    ZENOR_V1_psmul(0, point, scalar, result, curve);
}

int scalarMul(int curveId, const uint8_t *point, uint32_t pointLength, const uint8_t *scalar,
              uint32_t scalarLength, uint8_t *out, bool secretScalar) {
    if (!isBuiltInCurve(curveId)) return kUnknownCurve;
    if (pointLength != pointBytes(curveId) || point[0] != 0x04) return kBadPoint;
    uint32_t words[12] = {}, k[6], result[12];
    const Opaque8 in{pointLength, const_cast<uint8_t *>(point)};
    ZENOR_V1_opaque8ToECPoints(curveId, &in, words);
    const uint32_t bits = lowOctetsToWords(scalar, scalarLength, k);
    if (curveId == kPrimeCurveId) {
        p160Mul(words, k, bits, result);
    } else {
        const BinaryCurveConstants *c = binaryCurveConstants(curveId);
        uint32_t a[6], b[6];
        binaryWords(c->a, a);
        binaryWords(c->b, b);
        binaryMultiply(curveId, 0, a, b, words, k, result, secretScalar);
    }
    Opaque8 o{0, out};
    ZENOR_V1_ECPointsToopaque8(curveId, 1, result, &o);
    secure_wipe(k, sizeof k);
    return 0;
}

int scalarMulBase(int curveId, const uint8_t *scalar, uint32_t scalarLength, uint8_t *out,
                  bool secretScalar) {
    if (!isBuiltInCurve(curveId)) return kUnknownCurve;
    uint32_t k[6], result[12];
    const uint32_t bits = lowOctetsToWords(scalar, scalarLength, k);
    if (curveId == kPrimeCurveId) {
        p160MulBase(k, bits, result);
    } else {
        const BinaryCurveConstants *c = binaryCurveConstants(curveId);
        uint32_t a[6], b[6], g[12];
        binaryWords(c->a, a);
        binaryWords(c->b, b);
        binaryWords(c->gx, g);
        binaryWords(c->gy, g + 6);
        binaryMultiply(curveId, 1, a, b, g, k, result, secretScalar);
    }
    Opaque8 o{0, out};
    ZENOR_V1_ECPointsToopaque8(curveId, 1, result, &o);
    secure_wipe(k, sizeof k);
    return 0;
}

}  // namespace vc::ecc

using namespace vc::ecc;

extern "C" {

void ZENOR_V1_psmul(int32_t selector, const uint32_t point[12], const uint32_t scalar[6],
                    uint32_t result[12], const uint32_t curve[18]) {
    for (int i = 0; i < 12; i++) result[i] = 0;
    AffineCurve c;
    if (!loadField(curve + 12, c.f)) return;
    fieldToMont(c.f, c.a, feFromWords(curve, 5));
    AffinePoint p{};
    loadCoordinates(c.f, point, p.x, p.y);
    p.infinity = fieldIsZero(p.x) && fieldIsZero(p.y);
    AffinePoint r;
    signedBinary(c, p, scalar, r);
    if (r.infinity) return;
    Fe x, y;
    fieldFromMont(c.f, x, r.x);
    fieldFromMont(c.f, y, r.y);
    feToWords(x, result, 5);
    feToWords(y, result + 6, 5);
}

int32_t ZENOR_V1_ScalarMultiplicationOnEllipticCurves(int32_t curveId, int32_t methodFlag,
                                                       const EcParams *params, const Opaque8 *scalar,
                                                       const Opaque8 *point, Opaque8 *result) {
    if (!isBuiltInCurve(curveId)) return kUnknownCurve;
    uint32_t words[12] = {}, k[6], out[12];
    ZENOR_V1_opaque8ToECPoints(curveId, point, words);  // any other form stays all zero: infinity
    const uint32_t bits = lowOctetsToWords(scalar->data, scalar->length, k);
    multiplyWithRecord(curveId, methodFlag, params, k, bits, words, out, true);
    ZENOR_V1_ECPointsToopaque8(curveId, 1, out, result);
    vc::secure_wipe(k, sizeof k);
    return 0;
}

int32_t ZENOR_V1_PreComputationForFastScalarMultiplicationOnEllipticCurves(int32_t curveId) {
    if (!isBuiltInCurve(curveId)) return kUnknownCurve;
    if (curveId == kPrimeCurveId) {
        p160PrepareBase();
    } else {
        const uint8_t one = 1;
        uint8_t out[43];
        scalarMulBase(curveId, &one, 1, out, false);
    }
    return 0;
}

int32_t ZENOR_V1_PreComputationForWindowsScalarMultiplicationOnEllipticCurves(int32_t curveId) {
    return isBuiltInCurve(curveId) ? 0 : kUnknownCurve;
}

int32_t ECC_BaseOrderExpTest(int32_t curveId) {
    EcParams params;
    if (E_ECParams_Init(curveId, &params) != 0) return kUnknownCurve;
    uint32_t g[12] = {}, n[6], k[6], r[12];
    ZENOR_V1_opaque8ToECPoints(curveId, &params.G, g);
    memberWords(params.n, n);
    auto run = [&](int delta) {
        std::memcpy(k, n, sizeof k);
        if (delta > 0)
            for (int i = 0; i < 6 && ++k[i] == 0; i++) {
            }
        if (delta < 0)
            for (int i = 0; i < 6 && k[i]-- == 0; i++) {
            }
        multiplyWithRecord(curveId, 0, &params, k, 192, g, r, false);
    };
    uint32_t negG[12];
    std::memcpy(negG, g, sizeof g);
    if (curveId == kPrimeCurveId) {
        uint32_t p[6];
        memberWords(params.field.p, p);
        int64_t borrow = 0;
        for (int i = 0; i < 5; i++) {  // p - y
            const int64_t d = int64_t(p[i]) - g[6 + i] - borrow;
            negG[6 + i] = uint32_t(d);
            borrow = d < 0;
        }
    } else {
        for (int i = 0; i < 6; i++) negG[6 + i] = g[i] ^ g[6 + i];  // -(x, y) = (x, x + y)
    }
    run(0);
    bool ok = true;
    for (uint32_t w : r) ok = ok && w == 0;
    run(1);
    ok = ok && std::memcmp(r, g, sizeof r) == 0;
    run(-1);
    ok = ok && std::memcmp(r, negG, sizeof r) == 0;
    return ok ? 1 : 0;
}

}  // extern "C"
