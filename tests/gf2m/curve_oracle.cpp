#include "curve_oracle.h"

#include <gtest/gtest.h>

#include <openssl/obj_mac.h>

namespace gf2mtest {

Bn bnOf(const uint32_t w[6]) {
    uint8_t b[24];
    for (int i = 0; i < 24; i++) b[23 - i] = uint8_t(w[i / 4] >> (8 * (i % 4)));
    return bnOfBytes(b, 24);
}

Bn bnOfBytes(const uint8_t *b, size_t n) { return Bn(BN_bin2bn(b, int(n), nullptr)); }

Words6 wordsOf(const BIGNUM *b) {
    uint8_t bytes[24];
    BN_bn2binpad(b, bytes, 24);
    Words6 w{};
    for (int i = 0; i < 24; i++) w[i / 4] |= uint32_t(bytes[23 - i]) << (8 * (i % 4));
    return w;
}

Words6 wordsOfBytes(const uint8_t b[21]) { return wordsOf(bnOfBytes(b, 21).get()); }

Group groupOf(int curveId) {
    switch (curveId) {
        case 3: return Group(EC_GROUP_new_by_curve_name(NID_sect163k1));
        case 5: return Group(EC_GROUP_new_by_curve_name(NID_X9_62_c2pnb163v1));
        case 11: return Group(EC_GROUP_new_by_curve_name(NID_sect163r2));
        default: return nullptr;
    }
}

Words12 opensslMul(const EC_GROUP *g, const Words12 &p, const Words6 &k) {
    EC_POINT *pt = EC_POINT_new(g), *r = EC_POINT_new(g);
    Bn x = bnOf(p.data()), y = bnOf(p.data() + 6), kb = bnOf(k.data()), rx(BN_new()), ry(BN_new());
    Words12 out{};
    EXPECT_EQ(EC_POINT_set_affine_coordinates(g, pt, x.get(), y.get(), nullptr), 1);
    EXPECT_EQ(EC_POINT_mul(g, r, nullptr, pt, kb.get(), nullptr), 1);
    if (!EC_POINT_is_at_infinity(g, r)) {
        EC_POINT_get_affine_coordinates(g, r, rx.get(), ry.get(), nullptr);
        const Words6 wx = wordsOf(rx.get()), wy = wordsOf(ry.get());
        std::copy(wx.begin(), wx.end(), out.begin());
        std::copy(wy.begin(), wy.end(), out.begin() + 6);
    }
    EC_POINT_free(pt);
    EC_POINT_free(r);
    return out;
}

// The b-free formulas compute on y^2 + xy = x^3 + ax^2 + b' with b' = y^2 + xy + x^3 + ax^2 of
// the point, a curve OpenSSL builds from the same polynomial.
Words12 modelMul(const vc::ecc::BinaryField &field, const Words6 &a, const Words12 &p, const Words6 &k) {
    const int poly[6] = {int(field.m), int(field.k3), int(field.k2), int(field.k1), 0, -1};
    BN_CTX *ctx = BN_CTX_new();
    Bn x(BN_new()), y(BN_new()), ba(BN_new()), bp(BN_new()), t(BN_new()), u(BN_new()), f(BN_new());
    BN_GF2m_mod_arr(x.get(), bnOf(p.data()).get(), poly);
    BN_GF2m_mod_arr(y.get(), bnOf(p.data() + 6).get(), poly);
    BN_GF2m_mod_arr(ba.get(), bnOf(a.data()).get(), poly);
    BN_GF2m_mod_sqr_arr(t.get(), y.get(), poly, ctx);
    BN_GF2m_mod_mul_arr(u.get(), x.get(), y.get(), poly, ctx);
    BN_GF2m_add(bp.get(), t.get(), u.get());
    BN_GF2m_mod_sqr_arr(t.get(), x.get(), poly, ctx);
    BN_GF2m_mod_mul_arr(u.get(), t.get(), x.get(), poly, ctx);
    BN_GF2m_add(bp.get(), bp.get(), u.get());
    BN_GF2m_mod_mul_arr(u.get(), t.get(), ba.get(), poly, ctx);
    BN_GF2m_add(bp.get(), bp.get(), u.get());
    BN_GF2m_arr2poly(poly, f.get());
    Words12 out{}, reduced{};
    if (!BN_is_zero(x.get()) || !BN_is_zero(y.get())) {  // (0, 0) stands for infinity
        const Words6 wx = wordsOf(x.get()), wy = wordsOf(y.get());
        std::copy(wx.begin(), wx.end(), reduced.begin());
        std::copy(wy.begin(), wy.end(), reduced.begin() + 6);
        Group g(EC_GROUP_new_curve_GF2m(f.get(), ba.get(), bp.get(), ctx));
        out = opensslMul(g.get(), reduced, k);
    }
    BN_CTX_free(ctx);
    return out;
}

}  // namespace gf2mtest
