// The built-in binary curves' constants against OpenSSL's copies, the polynomial text form and
// the curve equation.
#include <gtest/gtest.h>
#include <openssl/obj_mac.h>
#include <openssl/objects.h>

#include <cstring>

#include "curve_oracle.h"

namespace {

using namespace gf2mtest;
using vc::ecc::BinaryField;

// Our ids beside OpenSSL's curves with the same constants. Ids 21 and 22 carry the X9.62 v2
// and v3 constants with the other pentanomial, so only the polynomial differs from OpenSSL's.
struct Named {
    int id, nid;
    const char *polynomial;
};
const Named kNamed[] = {
    {3, NID_sect163k1, "163;7;6;3;0"},         {5, NID_X9_62_c2pnb163v1, "163;8;2;1;0"},
    {11, NID_sect163r2, "163;7;6;3;0"},        {21, NID_X9_62_c2pnb163v2, "163;7;6;3;0"},
    {22, NID_X9_62_c2pnb163v3, "163;7;6;3;0"},
};

Bn bn21(const uint8_t b[21]) { return bnOfBytes(b, 21); }

TEST(BinaryCurves, ConstantsMatchOpenSsl) {
    for (const Named &c : kNamed) {
        SCOPED_TRACE(c.id);
        const vc::ecc::BinaryCurveConstants *k = vc::ecc::binaryCurveConstants(c.id);
        ASSERT_NE(k, nullptr);
        EXPECT_STREQ(k->name, OBJ_nid2sn(c.nid));
        EXPECT_STREQ(k->polynomial, c.polynomial);
        Group g(EC_GROUP_new_by_curve_name(c.nid));
        ASSERT_TRUE(g);
        Bn p(BN_new()), a(BN_new()), b(BN_new()), x(BN_new()), y(BN_new());
        ASSERT_EQ(EC_GROUP_get_curve(g.get(), p.get(), a.get(), b.get(), nullptr), 1);
        EXPECT_EQ(BN_cmp(a.get(), bn21(k->a).get()), 0);
        EXPECT_EQ(BN_cmp(b.get(), bn21(k->b).get()), 0);
        EC_POINT_get_affine_coordinates(g.get(), EC_GROUP_get0_generator(g.get()), x.get(), y.get(), nullptr);
        EXPECT_EQ(BN_cmp(x.get(), bn21(k->gx).get()), 0);
        EXPECT_EQ(BN_cmp(y.get(), bn21(k->gy).get()), 0);
        EXPECT_EQ(BN_cmp(EC_GROUP_get0_order(g.get()), bn21(k->n).get()), 0);
        EXPECT_TRUE(BN_is_word(EC_GROUP_get0_cofactor(g.get()), k->h));
        if (EC_GROUP_get_seed_len(g.get()) != 0) {
            ASSERT_EQ(EC_GROUP_get_seed_len(g.get()), k->seedLength);
            EXPECT_EQ(std::memcmp(EC_GROUP_get0_seed(g.get()), k->seed, 20), 0);
        }
        int poly[6];
        ASSERT_EQ(BN_GF2m_poly2arr(p.get(), poly, 6), 6);  // five terms and the -1 terminator
        const BinaryField ours{163, uint32_t(poly[1]), uint32_t(poly[2]), uint32_t(poly[3])};
        BinaryField parsed;
        ASSERT_TRUE(vc::ecc::parseBinaryField(k->polynomial, &parsed));
        EXPECT_EQ(std::memcmp(&parsed, &ours, sizeof ours) == 0, c.id < 21);
    }
    EXPECT_EQ(vc::ecc::binaryCurveConstants(3)->seedLength, 0u);
    for (int id : {0, 4, 7, 20, 23, -1}) EXPECT_EQ(vc::ecc::binaryCurveConstants(id), nullptr);
}

TEST(BinaryCurves, PolynomialText) {
    struct Case {
        const char *text;
        bool ok;
        BinaryField f;
    };
    const Case cases[] = {
        {"163;7;6;3;0", true, {163, 7, 6, 3}}, {"163;8;2;1;0", true, {163, 8, 2, 1}},
        {"192;9;5;1;0", true, {192, 9, 5, 1}}, {"4;3;2;1;0", true, {4, 3, 2, 1}},
        {"193;9;5;1;0", false, {}},            {"163;6;7;3;0", false, {}},
        {"163;7;6;3;1", false, {}},            {"163;7;6;0;0", false, {}},
        {"163;163;6;3;0", false, {}},          {"163;7;6;3", false, {}},
        {"163;7;6;3;0;", false, {}},           {"163;7;6;3;0 ", false, {}},
        {"163;+7;6;3;0", false, {}},           {"", false, {}},
        {"0163;7;6;3;0", false, {}},           {"163;;6;3;0", false, {}},
    };
    for (const Case &c : cases) {
        BinaryField f{1, 2, 3, 4};
        EXPECT_EQ(vc::ecc::parseBinaryField(c.text, &f), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(std::memcmp(&f, &c.f, sizeof f), 0) << c.text;
        }
    }
    BinaryField f;
    EXPECT_FALSE(vc::ecc::parseBinaryField(nullptr, &f));
}

// Base points satisfy their curve equation except for ids 21 and 22, whose X9.62 points lie on
// their curves only with the other pentanomial; one flipped bit of y leaves every curve.
TEST(BinaryCurves, CurveEquation) {
    for (const Named &c : kNamed) {
        const vc::ecc::BinaryCurveConstants *k = vc::ecc::binaryCurveConstants(c.id);
        BinaryField f, x962;
        ASSERT_TRUE(vc::ecc::parseBinaryField(k->polynomial, &f));
        ASSERT_TRUE(vc::ecc::parseBinaryField("163;8;2;1;0", &x962));
        const Words6 a = wordsOfBytes(k->a), b = wordsOfBytes(k->b), x = wordsOfBytes(k->gx);
        Words6 y = wordsOfBytes(k->gy);
        EXPECT_EQ(vc::ecc::binaryOnCurve(f, a.data(), b.data(), x.data(), y.data()), c.id < 21) << c.id;
        if (c.id != 3 && c.id != 11) {
            EXPECT_TRUE(vc::ecc::binaryOnCurve(x962, a.data(), b.data(), x.data(), y.data()));
        }
        y[2] ^= 0x100;
        EXPECT_FALSE(vc::ecc::binaryOnCurve(f, a.data(), b.data(), x.data(), y.data())) << c.id;
    }
}

}  // namespace
