// Shared pieces of the EC protocol tests: the curves OpenSSL also has, key pairs as octets,
// and OpenSSL EC keys built from our d and Q.
#pragma once

#define OPENSSL_SUPPRESS_DEPRECATED  // EC_KEY and ECDSA_do_* are the shortest oracle calls
#include "ecc/ecc_test_util.h"

#include <openssl/ecdsa.h>
#include <openssl/sha.h>
#include <vorelcrypto/ec_protocols.h>

namespace ecproto {

using namespace ecctest;

struct Curve {
    int id;
    int nid;  // 0: OpenSSL has no such curve (21 and 22 pair X9.62 constants with another polynomial)
};
inline const Curve kOpenSslCurves[] = {{3, NID_sect163k1}, {5, NID_X9_62_c2pnb163v1}, {7, NID_secp160r1}, {11, NID_sect163r2}};
inline const Curve kAllCurves[] = {{3, NID_sect163k1}, {5, NID_X9_62_c2pnb163v1}, {7, NID_secp160r1},
                                   {11, NID_sect163r2}, {21, 0}, {22, 0}};

inline size_t width(int id) { return id == 7 ? 20 : 21; }

struct Params {
    EcParams p{};
    explicit Params(int id) { E_ECParams_Init(id, &p); }
    Z n() const { return Z::fromBytes(p.n.data, p.n.length); }
    Bytes g() const { return Bytes(p.G.data, p.G.data + p.G.length); }
};

struct KeyPair {
    Bytes d, q;
};

// An OpenSSL key on the curve from our d (may be empty) and Q.
inline EC_KEY *sslKey(int nid, const Bytes &d, const Bytes &q) {
    EC_KEY *key = EC_KEY_new_by_curve_name(nid);
    EC_POINT *p = EC_POINT_new(EC_KEY_get0_group(key));
    EXPECT_EQ(EC_POINT_oct2point(EC_KEY_get0_group(key), p, q.data(), q.size(), nullptr), 1);
    EXPECT_EQ(EC_KEY_set_public_key(key, p), 1);
    if (!d.empty()) {
        BIGNUM *bd = BN_bin2bn(d.data(), int(d.size()), nullptr);
        EXPECT_EQ(EC_KEY_set_private_key(key, bd), 1);
        BN_free(bd);
    }
    EC_POINT_free(p);
    return key;
}

// A fresh OpenSSL key pair as our octets (d minimal, Q uncompressed).
inline KeyPair sslKeyPair(int nid) {
    EC_KEY *key = EC_KEY_new_by_curve_name(nid);
    EXPECT_EQ(EC_KEY_generate_key(key), 1);
    KeyPair kp;
    kp.d.resize(size_t(BN_num_bytes(EC_KEY_get0_private_key(key))));
    BN_bn2bin(EC_KEY_get0_private_key(key), kp.d.data());
    kp.q.resize(EC_POINT_point2oct(EC_KEY_get0_group(key), EC_KEY_get0_public_key(key),
                                   POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr));
    EC_POINT_point2oct(EC_KEY_get0_group(key), EC_KEY_get0_public_key(key), POINT_CONVERSION_UNCOMPRESSED,
                       kp.q.data(), kp.q.size(), nullptr);
    EC_KEY_free(key);
    return kp;
}

inline Bytes sha1(const Bytes &m) {
    Bytes d(20);
    SHA1(m.data(), m.size(), d.data());
    return d;
}

// The byte vector as the engines' output buffer: `room` octets, then trimmed to the length set.
struct Out {
    Bytes b;
    Opaque8 o;
    explicit Out(size_t room) : b(room), o{uint32_t(room), b.data()} {}
    Bytes get() const { return Bytes(b.begin(), b.begin() + o.length); }
};

}  // namespace ecproto
