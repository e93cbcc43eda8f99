// The binary curves through the curve layer: records against OpenSSL's named curves, the
// exported and internal multiplications against EC_POINT_mul, and ids 21 and 22 (which no
// library holds) against OpenSSL's GF(2^m) arithmetic on the curve y^2 + xy = x^3 + ax^2 + b'
// through the point, which is what the b-free formulas compute on.
#include "ecc/ecc_test_util.h"

#include "ecc/scalar_mul.h"


namespace {

using namespace ecctest;

constexpr size_t kWidth = 21;
const int kPentanomial[] = {163, 7, 6, 3, 0, -1};

struct Named {
    int id, nid;
    uint16_t k3, k2, k1;
};
const Named kNamed[] = {{3, NID_sect163k1, 7, 6, 3},
                        {5, NID_X9_62_c2pnb163v1, 8, 2, 1},
                        {11, NID_sect163r2, 7, 6, 3}};

struct Binary : ::testing::Test {
    EcParams params{};
    vctest::Rng rng{23};

    Bytes base() const { return Bytes(params.G.data, params.G.data + params.G.length); }
    Z order() const { return Z::fromBytes(params.n.data, params.n.length); }

    Bytes exported(int id, const Bytes &point, const Z &k, int methodFlag = 0) {
        Bytes pt = point, kb = k.bytes(24), r(43);
        const Opaque8 po = view(pt), ko = view(kb);
        Opaque8 ro{0, r.data()};
        EXPECT_EQ(ZENOR_V1_ScalarMultiplicationOnEllipticCurves(id, methodFlag, &params, &ko, &po, &ro), 0);
        return r;
    }
    int validity(int id, Bytes point) {
        const Opaque8 o = view(point);
        return ZENOR_V1_IsValidPoint(id, &params, &o);
    }
};

// Every record against OpenSSL's named curve; ids 21 and 22 take c2pnb163v2/v3's constants
// with curve 3's polynomial.
TEST(Records, HoldThePublishedConstants) {
    BN_CTX *ctx = BN_CTX_new();
    const struct {
        int id, nid;
        uint16_t k3, k2, k1;
    } rows[] = {{3, NID_sect163k1, 7, 6, 3},       {5, NID_X9_62_c2pnb163v1, 8, 2, 1},
                {7, NID_secp160r1, 0, 0, 0},       {11, NID_sect163r2, 7, 6, 3},
                {21, NID_X9_62_c2pnb163v2, 7, 6, 3}, {22, NID_X9_62_c2pnb163v3, 7, 6, 3}};
    for (const auto &row : rows) {
        EcParams params{};
        ASSERT_EQ(E_ECParams_Init(row.id, &params), 0);
        const size_t width = row.id == 7 ? 20 : 21;
        EC_GROUP *group = EC_GROUP_new_by_curve_name(row.nid);
        BIGNUM *field = BN_new(), *a = BN_new(), *b = BN_new();
        EC_GROUP_get_curve(group, field, a, b, ctx);
        auto bytes = [](const Opaque8 &o) { return Bytes(o.data, o.data + o.length); };
        if (row.id == 7) {
            EXPECT_EQ(params.fieldType, 0u);
            EXPECT_EQ(bytes(params.field.p), fromBn(field).bytes(20));
        } else {
            const auto &f = params.field.binary;
            EXPECT_EQ(params.fieldType, 1u);
            EXPECT_TRUE(f.m == 163 && f.basis == 2 && f.k3 == row.k3 && f.k2 == row.k2 && f.k1 == row.k1) << row.id;
        }
        EXPECT_EQ(bytes(params.a), fromBn(a).bytes(width)) << row.id;
        EXPECT_EQ(bytes(params.b), fromBn(b).bytes(width)) << row.id;
        EXPECT_EQ(bytes(params.G), sslMul(group, {}, Z(1), width)) << row.id;
        EXPECT_EQ(bytes(params.n), fromBn(EC_GROUP_get0_order(group)).bytes(21)) << row.id;
        EXPECT_EQ(bytes(params.h), Bytes{uint8_t(row.id == 7 ? 1 : 2)});
        // Binary seeds carry a trailing zero octet; sect163k1 has none, and OpenSSL does not
        // carry sect163r2's, so FIPS 186's stands in for it.
        Bytes seed(EC_GROUP_get0_seed(group), EC_GROUP_get0_seed(group) + EC_GROUP_get_seed_len(group));
        if (row.id == 11) seed = vctest::fromHex("85E25BFE5C86226CDB12016F7553F9D0E693A268");
        if (!seed.empty() && row.id != 7) seed.push_back(0);
        EXPECT_EQ(bytes(params.seed), seed) << row.id;
        EC_GROUP_free(group);
        BN_free(field), BN_free(a), BN_free(b);
    }
    BN_CTX_free(ctx);
    EcParams other;
    EXPECT_EQ(E_ECParams_Init(4, &other), -1);
    EXPECT_EQ(other.G.data, other.area[4]);
}

// Ids 3, 5 and 11: every entry point on G and on random points against EC_POINT_mul.
TEST_F(Binary, MultiplicationsMatchOpenSsl) {
    for (const Named &c : kNamed) {
        ASSERT_EQ(E_ECParams_Init(c.id, &params), 0);
        EC_GROUP *group = EC_GROUP_new_by_curve_name(c.nid);
        const std::vector<Bytes> points = {base(), sslMul(group, {}, randomBits(rng, 160), kWidth)};
        for (const Bytes &point : points) {
            for (const Z &k : testScalars(order(), rng, 3)) {
                const Bytes want = sslMul(group, point, k, kWidth);
                EXPECT_EQ(exported(c.id, point, k), want) << c.id;
                Bytes out(43), kb = k.bytes(24);
                ASSERT_EQ(vc::ecc::scalarMul(c.id, point.data(), 43, kb.data(), 24, out.data(), true), 0);
                EXPECT_EQ(out, want) << c.id;
                if (point == base()) {
                    ASSERT_EQ(vc::ecc::scalarMulBase(c.id, kb.data(), 24, out.data(), true), 0);
                    EXPECT_EQ(out, want) << c.id;
                }
            }
        }
        // A non-zero method flag multiplies the built-in base point whatever point is given.
        const Z k = randomBits(rng, 163);
        EXPECT_EQ(exported(c.id, points[1], k, 1), sslMul(group, {}, k, kWidth));
        EXPECT_EQ(exported(c.id, base(), order()), infinity(kWidth));
        EXPECT_EQ(ECC_BaseOrderExpTest(c.id), 1);
        EC_GROUP_free(group);
    }
}

// Ids 21 and 22: their G lies off the curve of their polynomial, so it and random points are
// multiplied on the curve through them, which OpenSSL builds from the same polynomial.
TEST_F(Binary, MixedConstantCurvesFollowTheAffineFormulas) {
    BN_CTX *ctx = BN_CTX_new();
    for (int id : {21, 22}) {
        ASSERT_EQ(E_ECParams_Init(id, &params), 0);
        const Z a = Z::fromBytes(params.a.data, params.a.length);
        std::vector<Bytes> points = {base()};
        for (int i = 0; i < 2; i++) {
            Bytes p = rng.bytes(43);
            p[0] = 0x04, p[1] &= 7, p[22] &= 7;
            points.push_back(p);
        }
        for (const Bytes &point : points) {
            BIGNUM *x = bn(Z::fromBytes(point.data() + 1, kWidth)), *y = bn(Z::fromBytes(point.data() + 22, kWidth));
            BIGNUM *ba = bn(a), *bp = BN_new(), *t = BN_new(), *u = BN_new(), *poly = BN_new();
            BN_GF2m_arr2poly(kPentanomial, poly);
            // b' = y^2 + xy + x^3 + a x^2
            BN_GF2m_mod_sqr_arr(t, y, kPentanomial, ctx);
            BN_GF2m_mod_mul_arr(u, x, y, kPentanomial, ctx);
            BN_GF2m_add(bp, t, u);
            BN_GF2m_mod_sqr_arr(t, x, kPentanomial, ctx);
            BN_GF2m_mod_mul_arr(u, t, x, kPentanomial, ctx);
            BN_GF2m_add(bp, bp, u);
            BN_GF2m_mod_mul_arr(u, t, ba, kPentanomial, ctx);
            BN_GF2m_add(bp, bp, u);
            EC_GROUP *own = EC_GROUP_new_curve_GF2m(poly, ba, bp, ctx);
            std::vector<Z> scalars = testScalars(order(), rng, 2);
            for (int small = 3; small < 8; small++) scalars.push_back(Z(small));
            for (const Z &k : scalars) EXPECT_EQ(exported(id, point, k), sslMul(own, point, k, kWidth)) << id;
            EC_GROUP_free(own);
            BN_free(x), BN_free(y), BN_free(ba), BN_free(bp), BN_free(t), BN_free(u), BN_free(poly);
        }
        EXPECT_NE(exported(id, base(), order()), infinity(kWidth));
        EXPECT_EQ(validity(id, base()), -3);
        EXPECT_EQ(ECC_BaseOrderExpTest(id), 0);
    }
    BN_CTX_free(ctx);
}

TEST_F(Binary, ValidationResults) {
    BN_CTX *ctx = BN_CTX_new();
    for (const Named &c : kNamed) {
        ASSERT_EQ(E_ECParams_Init(c.id, &params), 0);
        const Bytes g = base();
        EXPECT_EQ(validity(c.id, g), 1) << c.id;
        Bytes bad = g;
        bad[42] ^= 1;
        EXPECT_EQ(validity(c.id, bad), -3) << c.id;
        // (0, sqrt(b)) lies on the curve with order 2: the order check refuses it.
        int poly[6] = {163, c.k3, c.k2, c.k1, 0, -1};
        BIGNUM *b = bn(Z::fromBytes(params.b.data, 21)), *root = BN_new();
        BN_GF2m_mod_sqrt_arr(root, b, poly, ctx);
        EXPECT_EQ(validity(c.id, encode(Z(0), fromBn(root), kWidth)), -4) << c.id;
        BN_free(b), BN_free(root);
        Bytes wideX = g, wideY = g, longer = g;
        wideX[1] = 8;
        wideY[22] = 8;
        longer.push_back(0);
        EXPECT_EQ(validity(c.id, wideX), -2);
        EXPECT_EQ(validity(c.id, wideY), -2);
        EXPECT_EQ(validity(c.id, longer), -2);
        EXPECT_EQ(validity(c.id, infinity(kWidth)), -1);
    }
    Bytes g = base();
    const Opaque8 o = view(g);
    EXPECT_EQ(ZENOR_V1_IsValidPoint(4, &params, &o), -2);
    BN_CTX_free(ctx);
}

}  // namespace
