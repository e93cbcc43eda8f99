// The exported projective GF(p) routines and the comb against an affine model in GMP: every
// result is mapped back with x = X / Z^2, y = Y / (2 Z^3) by the model itself.
#include "ecc/ecc_test_util.h"

namespace {

using namespace ecctest;

struct Pt {
    Z x, y;
    bool inf = false;
};

struct Projective : ::testing::Test {
    EcParams params{};
    Z p, a, n;
    Pt g;
    uint32_t curve[18] = {};
    vctest::Rng rng{17};

    void SetUp() override {
        ASSERT_EQ(E_ECParams_Init(7, &params), 0);
        p = Z::fromBytes(params.field.p.data, 20);
        a = Z::fromBytes(params.a.data, 20);
        n = Z::fromBytes(params.n.data, 21);
        g = {Z::fromBytes(params.G.data + 1, 20), Z::fromBytes(params.G.data + 21, 20)};
        ZENOR_V1_opaque8ToLongs(1, &params.a, curve);
        ZENOR_V1_opaque8ToLongs(1, &params.b, curve + 6);
        ZENOR_V1_opaque8ToLongs(1, &params.field.p, curve + 12);
    }

    // ---- the affine model
    Pt dbl(const Pt &q) {
        if (q.inf || mod(q.y, p) == Z(0)) return {Z(0), Z(0), true};
        const Z l = mod((Z(3) * q.x * q.x + a) * inverse(Z(2) * q.y, p), p);
        const Z x = mod(l * l - q.x - q.x, p);
        return {x, mod(l * (q.x - x) - q.y, p)};
    }
    Pt add(const Pt &q, const Pt &r) {
        if (q.inf) return r;
        if (r.inf) return q;
        if (q.x == r.x) return q.y == r.y ? dbl(q) : Pt{Z(0), Z(0), true};
        const Z l = mod((r.y - q.y) * inverse(r.x - q.x, p), p);
        const Z x = mod(l * l - q.x - r.x, p);
        return {x, mod(l * (q.x - x) - q.y, p)};
    }
    Pt neg(const Pt &q) { return q.inf ? q : Pt{q.x, mod(Z(0) - q.y, p)}; }
    Pt mul(const Pt &q, const Z &k) {
        Pt r{Z(0), Z(0), true};
        for (long i = long(mpz_sizeinbase(k.v, 2)); i >= 0; i--) {
            r = dbl(r);
            if (mpz_tstbit(k.v, mp_bitcnt_t(i))) r = add(r, q);
        }
        return r;
    }
    Pt randomPoint() { return mul(g, randomBits(rng, 160)); }

    // ---- conversions done by the model: (x, y) -> (x l^2, 2 y l^3, l) for a random l
    Words project(const Pt &q) {
        const Z l = mod(randomBits(rng, 160), p) + Z(1);
        Words w(18, 0);
        const Words x = mod(q.x * l * l, p).words(6), y = mod(Z(2) * q.y * l * l * l, p).words(6),
                    z = l.words(6);
        std::copy(x.begin(), x.end(), w.begin());
        std::copy(y.begin(), y.end(), w.begin() + 6);
        std::copy(z.begin(), z.end(), w.begin() + 12);
        return w;
    }
    Pt affine(const Words &w) {
        const Z X = Z::fromWords(w.data(), 6), Y = Z::fromWords(w.data() + 6, 6), Zc = Z::fromWords(w.data() + 12, 6);
        if (mod(Zc, p) == Z(0)) return {Z(0), Z(0), true};
        const Z zi = inverse(Zc, p);
        return {mod(X * zi * zi, p), mod(Y * inverse(Z(2) * Zc * Zc * Zc, p), p)};
    }
    static bool same(const Pt &q, const Pt &r) { return q.inf ? r.inf : !r.inf && q.x == r.x && q.y == r.y; }
};

const Words kInfinity = {1, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

TEST_F(Projective, ConversionsRoundTrip) {
    for (int i = 0; i < 4; i++) {
        const Pt q = randomPoint();
        Words aff(12, 0), proj(18), back(12);
        const Words x = q.x.words(6), y = q.y.words(6);
        std::copy(x.begin(), x.end(), aff.begin());
        std::copy(y.begin(), y.end(), aff.begin() + 6);
        ZENOR_V1_AffineToProjectiveGFp(aff.data(), proj.data(), curve);
        EXPECT_TRUE(Z::fromWords(proj.data() + 6, 6) == mod(Z(2) * q.y, p));
        EXPECT_TRUE(Z::fromWords(proj.data() + 12, 6) == Z(1));
        ZENOR_V1_ProjectiveToAffineGFp(project(q).data(), back.data(), curve);
        EXPECT_EQ(back, aff);
    }
}

// Each routine on random points with random Z, including the special cases P = Q, P = -Q and
// the point at infinity.
TEST_F(Projective, PointOperationsMatchTheModel) {
    for (int i = 0; i < 6; i++) {
        const Pt P = randomPoint(), Q = randomPoint();
        const Words wp = project(P), wq = project(Q), wp2 = project(P), wminus = project(neg(P));
        Words out(18);
        ZENOR_V1_DoublingProjective(wp.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), dbl(P)));
        ZENOR_V1_AdditionProjective(wp.data(), wq.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), add(P, Q)));
        ZENOR_V1_AdditionProjective(wp.data(), wp2.data(), out.data(), curve);
        EXPECT_EQ(out, Words(18, 0));
        ZENOR_V1_AdditionProjective(wp.data(), wminus.data(), out.data(), curve);
        EXPECT_EQ(out, kInfinity);
        ZENOR_V1_FullAdditionProjective(wp.data(), wp2.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), dbl(P)));
        ZENOR_V1_FullAdditionProjective(wp.data(), wminus.data(), out.data(), curve);
        EXPECT_EQ(out, kInfinity);
        ZENOR_V1_FullAdditionProjective(kInfinity.data(), wq.data(), out.data(), curve);
        EXPECT_EQ(out, wq);
        ZENOR_V1_FullAdditionProjective(wq.data(), kInfinity.data(), out.data(), curve);
        EXPECT_EQ(out, wq);
        ZENOR_V1_SubtractionProjective(wp.data(), wq.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), add(P, neg(Q))));
        ZENOR_V1_negativeProjective(wq.data(), out.data(), curve);
        EXPECT_TRUE(Z::fromWords(out.data() + 6, 6) == p - Z::fromWords(wq.data() + 6, 6));
        EXPECT_TRUE(same(affine(out), neg(Q)));
    }
    // Y = 0 or Z = 0 doubles to (1, 2, 0); the negation of Y = 0 is p itself, unreduced.
    Words flat = project(randomPoint()), out(18);
    std::fill(flat.begin() + 6, flat.begin() + 12, 0);
    ZENOR_V1_DoublingProjective(flat.data(), out.data(), curve);
    EXPECT_EQ(out, kInfinity);
    ZENOR_V1_negativeProjective(flat.data(), out.data(), curve);
    EXPECT_TRUE(Z::fromWords(out.data() + 6, 6) == p);
    Words zeroZ = project(randomPoint());
    std::fill(zeroZ.begin() + 12, zeroZ.end(), 0);
    ZENOR_V1_DoublingProjective(zeroZ.data(), out.data(), curve);
    EXPECT_EQ(out, kInfinity);
}

TEST_F(Projective, MultiplicationsAndCombMatchTheModel) {
    const Words wg = project(g);
    std::vector<uint32_t> table(EC_COMB_TABLE_WORDS);
    ZENOR_V1_precompute_G_Array(table.data(), wg.data(), curve);
    for (const Z &k : testScalars(n, rng, 4)) {
        const Pt P = randomPoint(), want = mul(P, k), wantG = mul(g, k);
        const Words wp = project(P), kw = k.words(6);
        Words out(18);
        ZENOR_V1_psmulProjective(wp.data(), kw.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), want));
        if (k == Z(0)) {
            EXPECT_EQ(out, Words(18, 0));
        }
        ZENOR_V1_ScalarMultiplicationProjective(wp.data(), kw.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), want));
        fixedBased_Comb_MethodProjective(table.data(), kw.data(), out.data(), curve);
        EXPECT_TRUE(same(affine(out), wantG)) << vctest::toHex(k.bytes(24));
    }
    Words out(18);
    ZENOR_V1_psmulProjective(wg.data(), n.words(6).data(), out.data(), curve);
    EXPECT_TRUE(Z::fromWords(out.data() + 12, 6) == Z(0));
}

TEST_F(Projective, PrintersWriteTwentyOneOctets) {
    Words point(18, 0);
    point[0] = 0x01020304, point[5] = 0xAABBCCDD;  // only the low octet of word 5 is printed
    point[6] = 0xFF, point[12] = 1;
    ::testing::internal::CaptureStdout();
    PrintECPointProjective(point.data());
    PrintBigNumber(point.data() + 6);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "x : DD0000000000000000000000000000000001020304\n"
              "y : 0000000000000000000000000000000000000000FF\n"
              "z : 000000000000000000000000000000000000000001\n"
              "0000000000000000000000000000000000000000FF\n");
}

}  // namespace
