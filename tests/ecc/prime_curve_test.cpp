// Curve 7 (secp160r1): its record and every multiplication path against OpenSSL, and the fast
// path against the affine reference ZENOR_V1_psmul on points on and off the curve.
#include "ecc/ecc_test_util.h"

#include "ecc/p160.h"
#include "ecc/scalar_mul.h"


namespace {

using namespace ecctest;

constexpr size_t kWidth = 20;

struct Prime : ::testing::Test {
    EcParams params{};
    EC_GROUP *group = EC_GROUP_new_by_curve_name(NID_secp160r1);
    Z p, a, b, n;
    uint32_t curve[18] = {};
    void SetUp() override {
        ASSERT_EQ(E_ECParams_Init(7, &params), 0);
        p = Z::fromBytes(params.field.p.data, params.field.p.length);
        a = Z::fromBytes(params.a.data, params.a.length);
        b = Z::fromBytes(params.b.data, params.b.length);
        n = Z::fromBytes(params.n.data, params.n.length);
        ZENOR_V1_opaque8ToLongs(1, &params.a, curve);
        ZENOR_V1_opaque8ToLongs(1, &params.b, curve + 6);
        ZENOR_V1_opaque8ToLongs(1, &params.field.p, curve + 12);
    }
    void TearDown() override { EC_GROUP_free(group); }

    Bytes base() const { return Bytes(params.G.data, params.G.data + params.G.length); }

    // psmul, or the fast path, on octet strings (any point, also off the curve).
    Bytes words(const Bytes &point, const Z &k, bool fastPath) {
        uint32_t in[12] = {}, out[12];
        Bytes pt = point, r(41);
        const Opaque8 o = view(pt);
        ZENOR_V1_opaque8ToECPoints(7, &o, in);
        const Words kw = k.words(6);
        if (fastPath)
            vc::ecc::p160Mul(in, kw.data(), 192, out);
        else
            ZENOR_V1_psmul(0, in, kw.data(), out, curve);
        Opaque8 ro{0, r.data()};
        ZENOR_V1_ECPointsToopaque8(7, 1, out, &ro);
        return r;
    }
    Bytes psmul(const Bytes &point, const Z &k) { return words(point, k, false); }
    Bytes fast(const Bytes &point, const Z &k) { return words(point, k, true); }
    Bytes exported(const Bytes &point, const Z &k) {
        Bytes pt = point, kb = k.bytes(24), r(41);
        const Opaque8 po = view(pt), ko = view(kb);
        Opaque8 ro{0, r.data()};
        EXPECT_EQ(ZENOR_V1_ScalarMultiplicationOnEllipticCurves(7, 0, &params, &ko, &po, &ro), 0);
        EXPECT_EQ(ro.length, 41u);
        return r;
    }
};

// Every path on G and on random points of the curve, against EC_POINT_mul.
TEST_F(Prime, MultiplicationsMatchOpenSsl) {
    vctest::Rng rng(7);
    std::vector<Bytes> points = {base()};
    for (int i = 0; i < 3; i++) points.push_back(sslMul(group, {}, randomBits(rng, 160), kWidth));
    for (const Bytes &point : points) {
        for (const Z &k : testScalars(n, rng, 6)) {
            const Bytes want = sslMul(group, point, k, kWidth);
            const std::string label = vctest::toHex(point) + " * " + vctest::toHex(k.bytes(24));
            EXPECT_EQ(exported(point, k), want) << label;
            EXPECT_EQ(psmul(point, k), want) << label;
            Bytes out(41), kb = k.bytes(24);
            for (bool secret : {false, true}) {
                ASSERT_EQ(vc::ecc::scalarMul(7, point.data(), 41, kb.data(), 24, out.data(), secret), 0);
                EXPECT_EQ(out, want) << label;
            }
            if (point == base()) {
                ASSERT_EQ(vc::ecc::scalarMulBase(7, kb.data(), 24, out.data(), true), 0);
                EXPECT_EQ(out, want) << label;
            }
        }
    }
}

// A point (x, y) off the curve lies on y^2 = x^3 + ax + b' with b' = y^2 - x^3 - ax, which
// OpenSSL can build; the fast path and psmul must both give its multiples.
TEST_F(Prime, OffCurvePointsMultiplyOnTheirOwnCurve) {
    vctest::Rng rng(11);
    BN_CTX *ctx = BN_CTX_new();
    for (int i = 0; i < 6; i++) {
        const Z x = mod(randomBits(rng, 160), p), y = mod(randomBits(rng, 160), p);
        const Z bPrime = mod(y * y - x * x * x - a * x, p);
        BIGNUM *bp = bn(p), *ba = bn(mod(a, p)), *bb = bn(bPrime);
        EC_GROUP *own = EC_GROUP_new_curve_GFp(bp, ba, bb, ctx);
        const Bytes point = encode(x, y, kWidth);
        for (const Z &k : testScalars(n, rng, 2)) {
            const Bytes want = sslMul(own, point, k, kWidth);
            EXPECT_EQ(psmul(point, k), want);
            EXPECT_EQ(fast(point, k), want);
        }
        EC_GROUP_free(own);
        BN_free(bp), BN_free(ba), BN_free(bb);
    }
    BN_CTX_free(ctx);
}

// Points where the exceptional cases meet: order 2 (y = 0), points of the singular curves
// y^2 = x^3 - 3x +- 2 and their singular points, unreduced coordinates, x = 0.
TEST_F(Prime, FastPathEqualsPsmulOnDegeneratePoints) {
    vctest::Rng rng(13);
    std::vector<Bytes> points;
    const Z two(2);
    for (int sign : {1, -1}) {
        // y^2 = (x - s)^2 (x + 2s) with s = +-1: x = t^2 - 2s, y = (x - s) t.
        const Z s(sign);
        points.push_back(encode(mod(s, p), Z(0), kWidth));
        for (int i = 0; i < 2; i++) {
            const Z t = randomBits(rng, 100), x = mod(t * t - two * s, p);
            points.push_back(encode(x, mod((x - s) * t, p), kWidth));
        }
    }
    points.push_back(encode(randomBits(rng, 150), Z(0), kWidth));
    points.push_back(encode(Z(0), randomBits(rng, 150), kWidth));
    points.push_back(encode(p, randomBits(rng, 150), kWidth));
    points.push_back(encode(p + Z(5), p, kWidth));
    points.push_back(encode(p, Z(0), kWidth));
    for (const Bytes &point : points)
        for (const Z &k : testScalars(n, rng, 2)) EXPECT_EQ(fast(point, k), psmul(point, k)) << vctest::toHex(point);
}

TEST_F(Prime, BaseOrderAndValidity) {
    Bytes g = base();
    EXPECT_EQ(exported(g, n), infinity(kWidth));
    EXPECT_EQ(ECC_BaseOrderExpTest(7), 1);
    EXPECT_EQ(ECC_BaseOrderExpTest(8), -2);
    Opaque8 o = view(g);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), 1);
    Bytes bad = g;
    bad[40] ^= 1;
    o = view(bad);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), -3);
    // Range: p itself passes to the curve check, p + 1 does not.
    Bytes atP = encode(p, Z(1), kWidth), aboveP = encode(p + Z(1), Z(1), kWidth);
    o = view(atP);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), -3);
    o = view(aboveP);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), -2);
    // x = p stands for x = 0: with y a square root of b the point is valid.
    Z root;
    Z e = mod(p + Z(1), p);
    mpz_fdiv_q_2exp(e.v, (p + Z(1)).v, 2);
    mpz_powm(root.v, b.v, e.v, p.v);
    if (mod(root * root, p) == mod(b, p)) {
        Bytes zeroX = encode(p, root, kWidth);
        o = view(zeroX);
        EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), 1);
    }
    Bytes longer = g;
    longer.push_back(0);
    o = view(longer);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), -2);
    Bytes inf = infinity(kWidth);
    o = view(inf);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), -1);
    o.length = 0;
    EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), -1);
}

}  // namespace
