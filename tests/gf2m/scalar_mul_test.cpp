// binaryScalarMul against OpenSSL's EC_POINT_mul on the curves OpenSSL has (ids 3, 5, 11), and
// against the affine double-and-add model for ids 21 and 22 and for points off their curve.
// Every case runs the constant-time and the variable-time path, and the built-in base-point
// method where the point is G.
#include <gtest/gtest.h>
#include <openssl/bn.h>

#include <vector>

#include "curve_oracle.h"

namespace {

using namespace gf2mtest;
using vc::ecc::BinaryField;
using vc::ecc::binaryOnCurve;

struct Curve {
    int id;
    BinaryField field;
    Words6 a, b, n;
    Words12 g;
};

Curve curveOf(int id) {
    const vc::ecc::BinaryCurveConstants *k = vc::ecc::binaryCurveConstants(id);
    Curve c{id, {}, wordsOfBytes(k->a), wordsOfBytes(k->b), wordsOfBytes(k->n), {}};
    EXPECT_TRUE(vc::ecc::parseBinaryField(k->polynomial, &c.field));
    const Words6 x = wordsOfBytes(k->gx), y = wordsOfBytes(k->gy);
    std::copy(x.begin(), x.end(), c.g.begin());
    std::copy(y.begin(), y.end(), c.g.begin() + 6);
    return c;
}

Words6 addSmall(Words6 v, int64_t d) {
    Bn b = bnOf(v.data());
    if (d >= 0) BN_add_word(b.get(), static_cast<BN_ULONG>(d));
    else BN_sub_word(b.get(), static_cast<BN_ULONG>(-d));
    return wordsOf(b.get());
}

// 0, 1, 2, n - 1, n, n + 1, 2n + 1, long runs of ones, then random scalars of 163 and 192 bits.
std::vector<Words6> scalarsFor(const Curve &c, vctest::Rng &rng, int randomCount) {
    std::vector<Words6> s = {Words6{0}, Words6{1}, Words6{2}, addSmall(c.n, -1), c.n, addSmall(c.n, 1)};
    Bn twoN = bnOf(c.n.data());
    BN_lshift1(twoN.get(), twoN.get());
    s.push_back(addSmall(wordsOf(twoN.get()), 1));
    s.push_back(Words6{~0u, ~0u, ~0u, ~0u, ~0u, 7});               // 2^163 - 1
    s.push_back(Words6{~0u, ~0u, ~0u, ~0u, ~0u, ~0u});             // 2^192 - 1
    s.push_back(Words6{0, 0xFFFFFF00u, ~0u, ~0u, 0xFFFFu, 0});     // ones in the middle
    for (int i = 0; i < randomCount; i++) {
        Words6 k;
        for (auto &w : k) w = rng.word();
        if (i % 2 == 0) k[5] &= 7;
        s.push_back(k);
    }
    return s;
}

Words12 ours(const Curve &c, const Words12 &p, const Words6 &k, bool constantTime, int methodFlag = 0) {
    Words12 r;
    r.fill(0xA5A5A5A5u);
    vc::ecc::binaryScalarMul(c.id, methodFlag, c.field, c.a.data(), c.b.data(), p.data(), k.data(), r.data(), constantTime);
    return r;
}

// Points of the whole group (order up to 2n) from random x, the point of order two (0, sqrt b)
// and the base point.
std::vector<Words12> curvePoints(const Curve &c, const EC_GROUP *g, vctest::Rng &rng, int count) {
    std::vector<Words12> pts = {c.g};
    if (!binaryOnCurve(c.field, c.a.data(), c.b.data(), c.g.data(), c.g.data() + 6)) pts.clear();
    Bn sqrtB(BN_new()), x(BN_new()), y(BN_new());
    int poly[6];
    BN_GF2m_poly2arr(EC_GROUP_get0_field(g), poly, 6);
    BN_CTX *ctx = BN_CTX_new();
    BN_GF2m_mod_sqrt_arr(sqrtB.get(), bnOf(c.b.data()).get(), poly, ctx);
    BN_CTX_free(ctx);
    Words12 order2{};
    const Words6 sb = wordsOf(sqrtB.get());
    std::copy(sb.begin(), sb.end(), order2.begin() + 6);
    pts.push_back(order2);
    EC_POINT *pt = EC_POINT_new(g);
    while (int(pts.size()) < count + 3) {
        Words6 w;
        for (auto &v : w) v = rng.word();
        w[5] &= 7;
        if (EC_POINT_set_compressed_coordinates(g, pt, bnOf(w.data()).get(), int(rng.word() & 1), nullptr) != 1) continue;
        EC_POINT_get_affine_coordinates(g, pt, x.get(), y.get(), nullptr);
        Words12 p;
        const Words6 wx = wordsOf(x.get()), wy = wordsOf(y.get());
        std::copy(wx.begin(), wx.end(), p.begin());
        std::copy(wy.begin(), wy.end(), p.begin() + 6);
        pts.push_back(p);
    }
    EC_POINT_free(pt);
    return pts;
}

// The built-in curves, and id 3's method on the other Koblitz curve, a = 0, as a group of
// OpenSSL's built from its coefficients.
Group koblitzA0() {
    Bn p(BN_new()), a(BN_new()), b(BN_new());
    const int poly[] = {163, 7, 6, 3, 0, -1};
    BN_GF2m_arr2poly(poly, p.get());
    BN_set_word(b.get(), 1);
    return Group(EC_GROUP_new_curve_GF2m(p.get(), a.get(), b.get(), nullptr));
}

TEST(BinaryScalarMul, MatchesOpenSsl) {
    vctest::Rng rng(16);
    for (int id : {3, 5, 11, -3}) {
        Curve c = curveOf(id < 0 ? -id : id);
        Group g = id < 0 ? koblitzA0() : groupOf(id);
        if (id < 0) c.a = Words6{};
        const std::vector<Words12> points = curvePoints(c, g.get(), rng, 4);
        const std::vector<Words6> scalars = scalarsFor(c, rng, 12);
        for (size_t pi = 0; pi < points.size(); pi++)
            for (size_t si = 0; si < scalars.size(); si++) {
                SCOPED_TRACE(testing::Message() << "id " << id << " point " << pi << " scalar " << si);
                const Words12 expected = opensslMul(g.get(), points[pi], scalars[si]);
                ASSERT_EQ(ours(c, points[pi], scalars[si], true), expected);
                ASSERT_EQ(ours(c, points[pi], scalars[si], false), expected);
                if (pi == 0 && id > 0) {
                    ASSERT_EQ(ours(c, points[1], scalars[si], false, 1), expected);
                    ASSERT_EQ(ours(c, points[1], scalars[si], true, 1), expected);
                }
            }
        if (id > 0) {
            EXPECT_EQ(ours(c, c.g, c.n, true), Words12{});
        }
    }
}

// Ids 21 and 22 (base points off their curve) and off-curve points on every curve follow the
// affine double-and-add; so do infinity and the points with x = 0, and a curve of another id
// over a field of the generic reduction (id 0 below: x^131 + x^8 + x^3 + x^2 + 1, id 3's
// constants cut to 131 bits).
TEST(BinaryScalarMul, MatchesAffineModelOffTheCurve) {
    vctest::Rng rng(21);
    for (int id : {3, 5, 11, 21, 22, 0}) {
        Curve c = curveOf(id == 0 ? 3 : id);
        if (id == 0) {
            c.id = 0, c.field = BinaryField{131, 8, 3, 2};
            c.g[4] &= 7, c.g[10] &= 7, c.g[5] = c.g[11] = 0, c.a = Words6{1, 2, 3};
        }
        std::vector<Words12> points = {c.g, Words12{}, Words12{0, 0, 0, 0, 0, 0, 5, 0, 0, 0, 0, 1}};
        Words12 off = c.g;
        off[7] ^= 1;
        points.push_back(off);
        std::vector<Words6> scalars = {Words6{0}, Words6{1}, Words6{2}, Words6{3}, Words6{6}, Words6{7}, c.n,
                                       addSmall(c.n, 1), Words6{~0u, ~0u, ~0u, ~0u, ~0u, 7}};
        for (int i = 0; i < 3; i++) {
            Words6 k;
            for (auto &w : k) w = rng.word();
            scalars.push_back(k);
        }
        for (size_t pi = 0; pi < points.size(); pi++)
            for (size_t si = 0; si < scalars.size(); si++) {
                SCOPED_TRACE(testing::Message() << "id " << id << " point " << pi << " scalar " << si);
                const Words12 expected = modelMul(c.field, c.a, points[pi], scalars[si]);
                ASSERT_EQ(ours(c, points[pi], scalars[si], true), expected);
                ASSERT_EQ(ours(c, points[pi], scalars[si], false), expected);
                if (pi == 0 && id != 0) {
                    ASSERT_EQ(ours(c, points[1], scalars[si], false, 1), expected);
                }
            }
    }
}

}  // namespace
