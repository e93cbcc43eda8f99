// Diffie-Hellman: generated safe primes checked by GMP, shared values against OpenSSL 3's
// derivation, the private value kept, degenerate peers refused.
#include <openssl/param_build.h>
#include <vorelcrypto/dsa_dh.h>

#include "kcdsa/dlog_test_util.h"

namespace {

using dltest::Mpz;
using vctest::Bytes;

// RFC 3526 group 14: the 2048-bit MODP prime, generator 2.
constexpr const char *kModp2048 =
    "FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A08798E3404DD"
    "EF9519B3CD3A431B302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B0BFF5CB6F406B7ED"
    "EE386BFB5A899FA5AE9F24117C4B1FE649286651ECE45B3DC2007CB8A163BF0598DA48361C55D39A69163FA8FD24CF5F"
    "83655D23DCA3AD961C62F356208552BB9ED529077096966D670C354E4ABC9804F1746C08CA18217C32905E462E36CE3B"
    "E39E772C180E86039B2783A2EC07A28FB5C55DF06F4C52C9DE2BCBF6955817183995497CEA956AE515D2261898FA0510"
    "15728E5A8AACAA68FFFFFFFFFFFFFFFF";

struct Party {
    DhKey rec;
    Party() {
        std::memset(&rec, 0, sizeof rec);
        E_DH_Init(&rec);
    }
};

void modp(Party &a) {
    Mpz p;
    dltest::setHex(p, kModp2048);
    dltest::setNum(&a.rec.p, p);
    EN_U32ToENUM(&a.rec.g, 2);
}

EVP_PKEY *opensslDh(mpz_srcptr p, unsigned g, mpz_srcptr priv, mpz_srcptr pub) {
    OSSL_PARAM_BLD *b = OSSL_PARAM_BLD_new();
    BIGNUM *bn[4] = {dltest::toBn(p), BN_new(), dltest::toBn(priv), dltest::toBn(pub)};
    BN_set_word(bn[1], g);
    OSSL_PARAM_BLD_push_BN(b, OSSL_PKEY_PARAM_FFC_P, bn[0]);
    OSSL_PARAM_BLD_push_BN(b, OSSL_PKEY_PARAM_FFC_G, bn[1]);
    OSSL_PARAM_BLD_push_BN(b, OSSL_PKEY_PARAM_PRIV_KEY, bn[2]);
    OSSL_PARAM_BLD_push_BN(b, OSSL_PKEY_PARAM_PUB_KEY, bn[3]);
    OSSL_PARAM *params = OSSL_PARAM_BLD_to_param(b);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_name(nullptr, "DH", nullptr);
    EVP_PKEY *key = nullptr;
    EXPECT_EQ(EVP_PKEY_fromdata_init(ctx), 1);
    EXPECT_EQ(EVP_PKEY_fromdata(ctx, &key, EVP_PKEY_KEYPAIR, params), 1);
    EVP_PKEY_CTX_free(ctx);
    OSSL_PARAM_free(params);
    OSSL_PARAM_BLD_free(b);
    for (BIGNUM *n : bn) BN_free(n);
    return key;
}

// OpenSSL's shared value (unpadded) for its key and our public value.
Bytes opensslDerive(EVP_PKEY *own, mpz_srcptr p, unsigned g, mpz_srcptr peerPub) {
    Mpz none;
    mpz_set_ui(none, 1);
    EVP_PKEY *peer = opensslDh(p, g, none, peerPub);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(own, nullptr);
    size_t n = 0;
    Bytes out;
    if (EVP_PKEY_derive_init(ctx) == 1 && EVP_PKEY_derive_set_peer(ctx, peer) == 1 &&
        EVP_PKEY_derive(ctx, nullptr, &n) == 1) {
        out.resize(n);
        if (EVP_PKEY_derive(ctx, out.data(), &n) == 1) out.resize(n);
    }
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(peer);
    return out;
}

// Safe primes of the requested size in the generator's class; generator 3 and others refused at
// once (3 would need p = 5 mod 12, where (p - 1) / 2 is even).
TEST(DhParameters, SafePrimesInTheirClass) {
    for (auto [g, mod, rem] : {std::tuple{2u, 24ul, 11ul}, {5u, 10ul, 3ul}}) {
        Party a;
        ASSERT_EQ(E_DH_GenerateParameters(&a.rec, 192, g), 1);
        Mpz p, q;
        bntest::toMpz(p, &a.rec.p);
        EXPECT_EQ(mpz_sizeinbase(p, 2), 192u);
        EXPECT_EQ(mpz_fdiv_ui(p, mod), rem) << g;
        EXPECT_NE(mpz_probab_prime_p(p, 25), 0);
        mpz_fdiv_q_2exp(q, p, 1);
        EXPECT_NE(mpz_probab_prime_p(q, 25), 0);
        EXPECT_EQ(a.rec.g.length, 1);
        EXPECT_EQ(a.rec.g.words[0], g);
    }
    Party a;
    for (uint32_t g : {0u, 1u, 3u, 4u, 7u}) EXPECT_EQ(E_DH_GenerateParameters(&a.rec, 192, g), 0) << g;
    EXPECT_EQ(E_DH_GenerateParameters(&a.rec, 16, 2), 0);
    EXPECT_EQ(E_DH_GenerateParameters(&a.rec, 2432, 2), 0);
    EXPECT_EQ(a.rec.p.length + a.rec.g.length, 0);
}

// Our party and an OpenSSL party on the 2048-bit MODP group reach the same value, which GMP
// confirms; so do two of our parties.
TEST(DhAgreement, SameSecretAsOpenSsl) {
    Mpz p, x, pub, ours, theirsPub, want;
    dltest::setHex(p, kModp2048);
    Party a, b;
    modp(a), modp(b);
    ASSERT_EQ(E_DH_GenerateKey(&a.rec, 256), 1);
    ASSERT_EQ(E_DH_GenerateKey(&b.rec, 0), 1);
    EXPECT_EQ(EN_GetFilledBitNum(&b.rec.privateValue), 2047u);

    dltest::randomBelow(x, p);
    Mpz two;
    mpz_set_ui(two, 2);
    mpz_powm(theirsPub, two, x, p);
    bntest::toMpz(pub, &a.rec.publicValue);
    EVP_PKEY *theirs = opensslDh(p, 2, x, theirsPub);
    const Bytes openssl = opensslDerive(theirs, p, 2, pub);
    EVP_PKEY_free(theirs);

    uint32_t words[80] = {};
    ENUM peer{0, 0, words};
    dltest::setNum(&peer, theirsPub);
    uint8_t out[256];
    const int32_t n = E_DH_ComputeKey(out, &peer, &a.rec);
    ASSERT_GT(n, 0);
    EXPECT_EQ(Bytes(out, out + n), openssl);
    mpz_powm(want, pub, x, p);
    EXPECT_EQ(Bytes(out, out + n), dltest::bytesOf(want));

    uint8_t ab[256], ba[256];
    const int32_t nab = E_DH_ComputeKey(ab, &b.rec.publicValue, &a.rec);
    const int32_t nba = E_DH_ComputeKey(ba, &a.rec.publicValue, &b.rec);
    EXPECT_EQ(Bytes(ab, ab + nab), Bytes(ba, ba + nba));
}

// A private value already in the record is kept; public = g^private.
TEST(DhKey, KeepsThePrivateValue) {
    Party a;
    modp(a);
    Mpz x, p, want;
    mpz_set_ui(x, 0x1234567);
    mpz_mul_2exp(x, x, 300);
    dltest::setNum(&a.rec.privateValue, x);
    ASSERT_EQ(E_DH_GenerateKey(&a.rec, 64), 1);
    EXPECT_TRUE(dltest::equal(&a.rec.privateValue, x));
    dltest::setHex(p, kModp2048);
    mpz_set_ui(want, 2);
    mpz_powm(want, want, x, p);
    EXPECT_TRUE(dltest::equal(&a.rec.publicValue, want));
}

// -1 without a private value, and for peers whose shared value anyone can predict (0, 1, p - 1)
// or that are not below p.
TEST(DhAgreement, RefusesMissingKeyAndDegeneratePeers) {
    Party a;
    modp(a);
    uint8_t out[256];
    uint32_t words[80] = {};
    ENUM peer{0, 0, words};
    Mpz p, v;
    dltest::setHex(p, kModp2048);
    EN_U32ToENUM(&peer, 2);
    EXPECT_EQ(E_DH_ComputeKey(out, &peer, &a.rec), -1);  // zero private value
    a.rec.privateValue.words = nullptr;
    EXPECT_EQ(E_DH_ComputeKey(out, &peer, &a.rec), -1);
    ASSERT_EQ(E_DH_GenerateKey(&a.rec, 128), 1);
    EXPECT_EQ(a.rec.privateValue.words, a.rec.privateWords);
    EXPECT_GT(E_DH_ComputeKey(out, &peer, &a.rec), 0);
    for (int delta : {-1, 0, 1}) {
        mpz_set(v, p);
        if (delta < 0) mpz_sub_ui(v, v, 1);
        if (delta > 0) mpz_add_ui(v, v, 1);
        dltest::setNum(&peer, v);
        EXPECT_EQ(E_DH_ComputeKey(out, &peer, &a.rec), -1) << delta;
    }
    for (uint32_t small : {0u, 1u}) {
        EN_U32ToENUM(&peer, small);
        EXPECT_EQ(E_DH_ComputeKey(out, &peer, &a.rec), -1) << small;
    }
}

}  // namespace
