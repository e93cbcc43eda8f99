// Helpers of the KCDSA, DSA and Diffie-Hellman tests: GMP numbers to and from the engines'
// records and byte strings, and domain parameters made by GMP (independent of the engines).
#pragma once

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/param_build.h>
#include <openssl/evp.h>
#include <vorelcrypto/pubkey_records.h>

#include <cstring>
#include <string_view>

#include "bignum/bn_test_util.h"

namespace dltest {

using vctest::Bytes;

// A GMP integer that can be copied (values of the models are returned by value).
struct Mpz {
    mpz_t z;
    Mpz() { mpz_init(z); }
    Mpz(const Mpz &o) { mpz_init_set(z, o.z); }
    Mpz &operator=(const Mpz &o) { return mpz_set(z, o.z), *this; }
    ~Mpz() { mpz_clear(z); }
    operator mpz_ptr() { return z; }
    operator mpz_srcptr() const { return z; }
};

// mpz_cmp_ui is a macro that needs a plain pointer.
inline int cmpUi(mpz_srcptr a, unsigned long v) { return mpz_cmp_ui(a, v); }

inline void setNum(ENUM *a, mpz_srcptr z) {
    Bytes b((mpz_sizeinbase(z, 2) + 7) / 8 + 1);
    size_t n = 0;
    mpz_export(b.data(), &n, 1, 1, 0, 0, z);
    EN_BytesToENUM(a, b.data(), uint32_t(n));
}

inline void setHex(mpz_ptr z, std::string_view hex) { mpz_set_str(z, std::string(hex).c_str(), 16); }

// Minimal big-endian bytes (none for zero).
inline Bytes bytesOf(mpz_srcptr z) {
    Bytes b((mpz_sizeinbase(z, 2) + 7) / 8 + 1);
    size_t n = 0;
    mpz_export(b.data(), &n, 1, 1, 0, 0, z);
    b.resize(n);
    return b;
}

inline void fromBytes(mpz_ptr z, const uint8_t *b, size_t n) { mpz_import(z, n, 1, 1, 0, 0, b); }
inline void fromBytes(mpz_ptr z, const Bytes &b) { fromBytes(z, b.data(), b.size()); }

inline bool equal(const ENUM *a, mpz_srcptr z) {
    Mpz t;
    bntest::toMpz(t, a);
    return mpz_cmp(t, z) == 0;
}

// OpenSSL's numbers to and from GMP.
inline void fromBn(mpz_ptr z, const BIGNUM *bn) {
    char *hex = BN_bn2hex(bn);
    mpz_set_str(z, hex, 16);
    OPENSSL_free(hex);
}
inline BIGNUM *toBn(mpz_srcptr z) {
    const Bytes b = bytesOf(z);
    return BN_bin2bn(b.data(), int(b.size()), nullptr);
}
// An OpenSSL key of `type` ("DSA", "DH") from named numbers (OSSL_PKEY_PARAM_FFC_P ...).
inline EVP_PKEY *opensslKey(const char *type, std::initializer_list<std::pair<const char *, mpz_srcptr>> numbers,
                            int selection = EVP_PKEY_KEYPAIR) {
    OSSL_PARAM_BLD *b = OSSL_PARAM_BLD_new();
    std::vector<BIGNUM *> bns;
    for (auto [name, z] : numbers) OSSL_PARAM_BLD_push_BN(b, name, bns.emplace_back(toBn(z)));
    OSSL_PARAM *params = OSSL_PARAM_BLD_to_param(b);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, type, nullptr);
    EVP_PKEY *key = nullptr;
    EXPECT_TRUE(EVP_PKEY_fromdata_init(ctx) == 1 && EVP_PKEY_fromdata(ctx, &key, selection, params) == 1);
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(b);
    for (BIGNUM *bn : bns) BN_free(bn);
    return key;
}

// A number parameter (OSSL_PKEY_PARAM_FFC_P ...) of an OpenSSL key; false when it has none.
inline bool keyParam(const EVP_PKEY *k, const char *name, mpz_ptr out) {
    BIGNUM *bn = nullptr;
    if (EVP_PKEY_get_bn_param(k, name, &bn) != 1) return false;
    fromBn(out, bn);
    BN_free(bn);
    return true;
}

// r and s of a DER SEQUENCE { INTEGER, INTEGER }, read by OpenSSL.
inline bool parseDer(const Bytes &der, Mpz &r, Mpz &s) {
    const unsigned char *p = der.data();
    DSA_SIG *sig = d2i_DSA_SIG(nullptr, &p, long(der.size()));
    if (sig == nullptr) return false;
    const BIGNUM *br, *bs;
    DSA_SIG_get0(sig, &br, &bs);
    fromBn(r, br);
    fromBn(s, bs);
    DSA_SIG_free(sig);
    return true;
}

inline Bytes derOf(mpz_srcptr r, mpz_srcptr s) {
    DSA_SIG *sig = DSA_SIG_new();
    DSA_SIG_set0(sig, toBn(r), toBn(s));
    unsigned char *out = nullptr;
    const int n = i2d_DSA_SIG(sig, &out);
    Bytes der(out, out + n);
    OPENSSL_free(out);
    DSA_SIG_free(sig);
    return der;
}

// A domain: q prime of qBits bits, p = 2qm + 1 prime of pBits bits, g = h^((p-1)/q) != 1.
struct Domain {
    Mpz p, q, g;
};

inline gmp_randstate_t &gmpRandom() {
    static gmp_randstate_t state;
    static bool ready = [] {
        gmp_randinit_mt(state);
        gmp_randseed_ui(state, 0x5eed);
        return true;
    }();
    (void)ready;
    return state;
}

// A random number of exactly `bits` bits.
inline void randomBits(mpz_ptr z, unsigned bits) {
    mpz_urandomb(z, gmpRandom(), bits);
    mpz_setbit(z, bits - 1);
}

inline void makeDomain(Domain &d, unsigned pBits, unsigned qBits) {
    Mpz m, t, h;
    randomBits(d.q, qBits);
    mpz_nextprime(d.q, d.q);
    do {
        randomBits(m, pBits - qBits - 1);
        mpz_mul(d.p, d.q, m);
        mpz_mul_2exp(d.p, d.p, 1);
        mpz_add_ui(d.p, d.p, 1);
    } while (mpz_sizeinbase(d.p, 2) != pBits || mpz_probab_prime_p(d.p, 25) == 0);
    mpz_sub_ui(t, d.p, 1);
    mpz_divexact(t, t, d.q);
    do {
        mpz_urandomm(h, gmpRandom(), d.p);
        mpz_powm(d.g, h, t, d.p);
    } while (cmpUi(d.g, 1) <= 0);
}

// A private value in 1 ... q - 1.
inline void randomBelow(mpz_ptr x, mpz_srcptr q) {
    do mpz_urandomm(x, gmpRandom(), q);
    while (mpz_sgn(x) == 0);
}

// Checks a generated domain: p, q prime of the given sizes, q | p - 1, g of order q.
inline void expectDomain(const ENUM *p, const ENUM *q, const ENUM *g, unsigned pBits, unsigned qBits) {
    Mpz P, Q, G, t;
    bntest::toMpz(P, p);
    bntest::toMpz(Q, q);
    bntest::toMpz(G, g);
    EXPECT_EQ(mpz_sizeinbase(P, 2), pBits);
    EXPECT_EQ(mpz_sizeinbase(Q, 2), qBits);
    EXPECT_NE(mpz_probab_prime_p(P, 25), 0);
    EXPECT_NE(mpz_probab_prime_p(Q, 25), 0);
    mpz_sub_ui(t, P, 1);
    EXPECT_TRUE(mpz_divisible_p(t, Q));
    mpz_powm(t, G, Q, P);
    EXPECT_EQ(cmpUi(t, 1), 0);
    EXPECT_GT(cmpUi(G, 1), 0);
}

}  // namespace dltest
