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

namespace {

// Affine points over BN_GF2m arithmetic; `inf` marks the point at infinity.
struct Model {
    int poly[6];
    BN_CTX *ctx = BN_CTX_new();
    Bn a;
    ~Model() { BN_CTX_free(ctx); }

    struct P {
        Bn x{BN_new()}, y{BN_new()};
        bool inf = true;
    };
    void copy(P &d, const P &s) {
        BN_copy(d.x.get(), s.x.get()), BN_copy(d.y.get(), s.y.get()), d.inf = s.inf;
    }
    // r = (x1 + x3) lambda + x3 + y1 with x3 = lambda^2 + lambda + sum + a.
    void finish(P &r, const P &p, BIGNUM *lambda, const BIGNUM *sum) {
        Bn x3(BN_new()), t(BN_new());
        BN_GF2m_mod_sqr_arr(x3.get(), lambda, poly, ctx);
        BN_GF2m_add(x3.get(), x3.get(), lambda);
        BN_GF2m_add(x3.get(), x3.get(), sum);
        BN_GF2m_add(x3.get(), x3.get(), a.get());
        BN_GF2m_add(t.get(), p.x.get(), x3.get());
        BN_GF2m_mod_mul_arr(t.get(), t.get(), lambda, poly, ctx);
        BN_GF2m_add(t.get(), t.get(), x3.get());
        BN_GF2m_add(r.y.get(), t.get(), p.y.get());
        BN_copy(r.x.get(), x3.get());
        r.inf = false;
    }
    void dbl(P &r, const P &p) {
        if (p.inf || BN_is_zero(p.x.get())) {
            r.inf = true;
            return;
        }
        // lambda = x + y / x
        Bn lambda(BN_new()), zero(BN_new());
        BN_GF2m_mod_div_arr(lambda.get(), p.y.get(), p.x.get(), poly, ctx);
        BN_GF2m_add(lambda.get(), lambda.get(), p.x.get());
        finish(r, p, lambda.get(), zero.get());
    }
    void add(P &r, const P &p, const P &q) {
        if (p.inf) return copy(r, q);
        if (q.inf) return copy(r, p);
        if (BN_cmp(p.x.get(), q.x.get()) == 0) {
            if (BN_cmp(p.y.get(), q.y.get()) == 0) return dbl(r, p);
            r.inf = true;
            return;
        }
        // lambda = (y1 + y2) / (x1 + x2)
        Bn lambda(BN_new()), sx(BN_new()), sy(BN_new());
        BN_GF2m_add(sx.get(), p.x.get(), q.x.get());
        BN_GF2m_add(sy.get(), p.y.get(), q.y.get());
        BN_GF2m_mod_div_arr(lambda.get(), sy.get(), sx.get(), poly, ctx);
        finish(r, p, lambda.get(), sx.get());
    }
};

}  // namespace

Words12 modelMul(const vc::ecc::BinaryField &field, const Words6 &a, const Words12 &p, const Words6 &k) {
    Model m;
    const int poly[6] = {int(field.m), int(field.k3), int(field.k2), int(field.k1), 0, -1};
    std::copy(poly, poly + 6, m.poly);
    m.a = bnOf(a.data());
    Model::P pt, r, t;
    BN_GF2m_mod_arr(pt.x.get(), bnOf(p.data()).get(), m.poly);
    BN_GF2m_mod_arr(pt.y.get(), bnOf(p.data() + 6).get(), m.poly);
    pt.inf = BN_is_zero(pt.x.get()) && BN_is_zero(pt.y.get());
    for (int i = 191; i >= 0; i--) {
        m.dbl(t, r);
        m.copy(r, t);
        if ((k[i / 32] >> (i % 32)) & 1) {
            m.add(t, r, pt);
            m.copy(r, t);
        }
    }
    Words12 out{};
    if (!r.inf) {
        const Words6 wx = wordsOf(r.x.get()), wy = wordsOf(r.y.get());
        std::copy(wx.begin(), wx.end(), out.begin());
        std::copy(wy.begin(), wy.end(), out.begin() + 6);
    }
    return out;
}

}  // namespace gf2mtest
