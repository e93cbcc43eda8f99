// Curve 7 (secp160r1): the fast path and the affine reference ZENOR_V1_psmul on points off the
// curve against OpenSSL and against each other on degenerate points, and point validity. The
// entry points on the curve itself are checked with the binary curves' (binary_curve_test.cpp).
#include "ecc/ecc_test_util.h"

#include "ecc/p160.h"

namespace {

using namespace ecctest;

constexpr size_t kWidth = 20;

struct Prime : ::testing::Test {
    EcParams params{};
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
};

// A point (x, y) off the curve lies on y^2 = x^3 + ax + b' with b' = y^2 - x^3 - ax, which
// OpenSSL can build; the fast path and psmul must both give its multiples. The first point is G
// (b' = b), where the scalars around n reach infinity.
TEST_F(Prime, OffCurvePointsMultiplyOnTheirOwnCurve) {
    vctest::Rng rng(11);
    BN_CTX *ctx = BN_CTX_new();
    const Bytes g = base();
    for (int i = 0; i < 6; i++) {
        const Z x = i ? mod(randomBits(rng, 160), p) : Z::fromBytes(g.data() + 1, kWidth);
        const Z y = i ? mod(randomBits(rng, 160), p) : Z::fromBytes(g.data() + 1 + kWidth, kWidth);
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

TEST_F(Prime, PointValidity) {
    const Bytes g = base();
    // x = p stands for x = 0: with y a square root of b (p = 3 mod 4) the point is valid.
    Z root, e;
    mpz_fdiv_q_2exp(e.v, (p + Z(1)).v, 2);
    mpz_powm(root.v, b.v, e.v, p.v);
    Bytes bad = g, longer = g;
    bad[40] ^= 1;
    longer.push_back(0);
    // Range: p itself passes to the curve check, p + 1 does not.
    std::vector<std::pair<Bytes, int>> cases = {
        {g, 1},  {bad, -3}, {encode(p, Z(1), kWidth), -3},
        {encode(p + Z(1), Z(1), kWidth), -2}, {longer, -2}, {infinity(kWidth), -1}, {{}, -1},
    };
    if (mod(root * root, p) == mod(b, p)) cases.push_back({encode(p, root, kWidth), 1});
    for (const auto &[point, result] : cases) {
        Bytes held = point;
        const Opaque8 o = view(held);
        EXPECT_EQ(ZENOR_V1_IsValidPoint(7, &params, &o), result) << vctest::toHex(point);
    }
}

}  // namespace
