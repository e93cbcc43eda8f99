// Shared pieces of the curve tests: GMP numbers, OpenSSL's EC_POINT_mul as the oracle, and
// conversions between octet strings, words and numbers.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/obj_mac.h>
#include <vorelcrypto/ecc.h>

#include <string>
#include <vector>

#include "support/test_util.h"

namespace ecctest {

using vctest::Bytes;
using Words = std::vector<uint32_t>;

// A GMP integer with value semantics.
struct Z {
    mpz_t v;
    Z() { mpz_init(v); }
    Z(int x) { mpz_init_set_si(v, x); }
    explicit Z(const char *hex) { mpz_init_set_str(v, hex, 16); }
    Z(const Z &o) { mpz_init_set(v, o.v); }
    Z &operator=(const Z &o) { return mpz_set(v, o.v), *this; }
    ~Z() { mpz_clear(v); }
    static Z fromBytes(const uint8_t *b, size_t n) {
        Z z;
        if (n) mpz_import(z.v, n, 1, 1, 1, 0, b);
        return z;
    }
    static Z fromBytes(const Bytes &b) { return fromBytes(b.data(), b.size()); }
    // Big-endian, exactly n octets (the value must fit).
    Bytes bytes(size_t n) const {
        Bytes out(n, 0);
        size_t count = 0;
        Bytes tmp(mpz_sizeinbase(v, 256) + 1);
        mpz_export(tmp.data(), &count, 1, 1, 1, 0, v);
        std::copy(tmp.begin(), tmp.begin() + long(count), out.end() - long(count));
        return out;
    }
    Words words(size_t n) const {
        Words w(n, 0);
        size_t count = 0;
        Words tmp(mpz_size(v) * 2 + 1);
        mpz_export(tmp.data(), &count, -1, 4, 0, 0, v);
        for (size_t i = 0; i < count && i < n; i++) w[i] = tmp[i];
        return w;
    }
    static Z fromWords(const uint32_t *w, size_t n) {
        Z z;
        mpz_import(z.v, n, -1, 4, 0, 0, w);
        return z;
    }
    bool operator==(const Z &o) const { return mpz_cmp(v, o.v) == 0; }
};
inline Z operator+(const Z &a, const Z &b) { Z r; mpz_add(r.v, a.v, b.v); return r; }
inline Z operator-(const Z &a, const Z &b) { Z r; mpz_sub(r.v, a.v, b.v); return r; }
inline Z operator*(const Z &a, const Z &b) { Z r; mpz_mul(r.v, a.v, b.v); return r; }
inline Z mod(const Z &a, const Z &m) { Z r; mpz_mod(r.v, a.v, m.v); return r; }
inline Z inverse(const Z &a, const Z &m) { Z r; mpz_invert(r.v, a.v, m.v); return r; }
inline Z randomBits(vctest::Rng &rng, int bits) {
    const Bytes b = rng.bytes(size_t((bits + 7) / 8));
    Z z = Z::fromBytes(b);
    mpz_fdiv_r_2exp(z.v, z.v, mp_bitcnt_t(bits));
    return z;
}

// An octet string view of a byte vector.
inline Opaque8 view(Bytes &b) { return Opaque8{uint32_t(b.size()), b.data()}; }

// 0x04 || X || Y with coordinates of `width` octets; infinity is all-zero coordinates.
inline Bytes encode(const Z &x, const Z &y, size_t width) {
    Bytes out{0x04};
    const Bytes bx = x.bytes(width), by = y.bytes(width);
    out.insert(out.end(), bx.begin(), bx.end());
    out.insert(out.end(), by.begin(), by.end());
    return out;
}
inline Bytes infinity(size_t width) { return encode(Z(0), Z(0), width); }

inline BIGNUM *bn(const Z &z) {
    const Bytes b = z.bytes(mpz_sizeinbase(z.v, 256));
    return BN_bin2bn(b.data(), int(b.size()), nullptr);
}
inline Z fromBn(const BIGNUM *b) {
    Bytes v(size_t(BN_num_bytes(b)));
    BN_bn2bin(b, v.data());
    return Z::fromBytes(v);
}

// OpenSSL's scalar * point (the group's generator for an empty point) as 0x04 || X || Y.
inline Bytes sslMul(const EC_GROUP *group, const Bytes &point, const Z &scalar, size_t width) {
    BN_CTX *ctx = BN_CTX_new();
    EC_POINT *p = EC_POINT_new(group), *r = EC_POINT_new(group);
    BIGNUM *k = bn(scalar);
    Bytes out;
    if (point.empty()) {
        EC_POINT_copy(p, EC_GROUP_get0_generator(group));
    } else {
        BIGNUM *x = bn(Z::fromBytes(point.data() + 1, width));
        BIGNUM *y = bn(Z::fromBytes(point.data() + 1 + width, width));
        EXPECT_EQ(EC_POINT_set_affine_coordinates(group, p, x, y, ctx), 1);
        BN_free(x), BN_free(y);
    }
    EXPECT_EQ(EC_POINT_mul(group, r, nullptr, p, k, ctx), 1);
    if (EC_POINT_is_at_infinity(group, r)) {
        out = infinity(width);
    } else {
        BIGNUM *x = BN_new(), *y = BN_new();
        EC_POINT_get_affine_coordinates(group, r, x, y, ctx);
        out = encode(fromBn(x), fromBn(y), width);
        BN_free(x), BN_free(y);
    }
    BN_free(k);
    EC_POINT_free(p), EC_POINT_free(r);
    BN_CTX_free(ctx);
    return out;
}

// The scalars every multiplication is checked with: 0, 1, 2, n - 1, n, n + 1, long runs of
// ones, and random values of the curve's size and of the full 192 bits.
inline std::vector<Z> testScalars(const Z &n, vctest::Rng &rng, int randomCount) {
    std::vector<Z> s = {Z(0), Z(1), Z(2), n - Z(1), n, n + Z(1), n + n};
    s.push_back(Z("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"));
    s.push_back(Z("FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF"));
    s.push_back(Z("7FFFFFFFFFFFFFFFFFFF00000000000000000FFFFFFFFFFF"));
    s.push_back(Z("00FFFFFFFF00000000FFFFFFFF00000000FFFFFFFF"));
    for (int i = 0; i < randomCount; i++) s.push_back(randomBits(rng, i % 4 == 3 ? 192 : 163));
    return s;
}

}  // namespace ecctest
