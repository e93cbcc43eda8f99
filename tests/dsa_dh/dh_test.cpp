// Diffie-Hellman: generated safe primes checked by GMP, shared values against OpenSSL 3's
// derivation, the private value kept, degenerate peers refused.
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

// A record (on the MODP group when `modp`) and the group in GMP.
struct Party {
    DhKey rec;
    Mpz p, g;
    explicit Party(bool modp = true) {
        std::memset(&rec, 0, sizeof rec);
        E_DH_Init(&rec);
        dltest::setHex(p, kModp2048);
        mpz_set_ui(g, 2);
        if (modp) dltest::setNum(&rec.p, p), EN_U32ToENUM(&rec.g, 2);
    }
    Bytes agree(const ENUM *peer) {
        uint8_t out[256];
        const int32_t n = E_DH_ComputeKey(out, peer, &rec);
        return n < 0 ? Bytes{} : Bytes(out, out + n);
    }
};

// Safe primes of the requested size in the generator's class; generator 3 and others refused at
// once (3 would need p = 5 mod 12, where (p - 1) / 2 is even).
TEST(DhParameters, SafePrimesInTheirClass) {
    for (auto [g, mod, rem] : {std::tuple{2u, 24ul, 11ul}, {5u, 10ul, 3ul}}) {
        Party a(false);
        ASSERT_EQ(E_DH_GenerateParameters(&a.rec, 192, g), 1);
        Mpz p, q;
        bntest::toMpz(p, &a.rec.p);
        mpz_fdiv_q_2exp(q, p, 1);
        EXPECT_EQ(mpz_sizeinbase(p, 2), 192u);
        EXPECT_EQ(mpz_fdiv_ui(p, mod), rem) << g;
        EXPECT_TRUE(mpz_probab_prime_p(p, 25) && mpz_probab_prime_p(q, 25));
        EXPECT_TRUE(a.rec.g.length == 1 && a.rec.g.words[0] == g);
    }
    Party a(false);
    for (uint32_t g : {0u, 1u, 3u, 4u, 7u}) EXPECT_EQ(E_DH_GenerateParameters(&a.rec, 192, g), 0) << g;
    EXPECT_EQ(E_DH_GenerateParameters(&a.rec, 16, 2) + E_DH_GenerateParameters(&a.rec, 2432, 2), 0);
    EXPECT_EQ(a.rec.p.length + a.rec.g.length, 0);
}

// Our party and an OpenSSL party on the 2048-bit MODP group reach the same value, which GMP
// confirms; so do two of our parties. A full-size private value has bits(p) - 1 bits.
TEST(DhAgreement, SameSecretAsOpenSsl) {
    Party a, b;
    ASSERT_EQ(E_DH_GenerateKey(&a.rec, 256), 1);
    ASSERT_EQ(E_DH_GenerateKey(&b.rec, 0), 1);
    EXPECT_EQ(EN_GetFilledBitNum(&b.rec.privateValue), 2047u);
    EXPECT_EQ(a.agree(&b.rec.publicValue), b.agree(&a.rec.publicValue));

    Mpz x, y, ours, want;
    dltest::randomBelow(x, a.p);
    mpz_powm(y, a.g, x, a.p);
    bntest::toMpz(ours, &a.rec.publicValue);
    EVP_PKEY *theirs = dltest::opensslKey("DH", {{OSSL_PKEY_PARAM_FFC_P, a.p}, {OSSL_PKEY_PARAM_FFC_G, a.g},
                                                 {OSSL_PKEY_PARAM_PRIV_KEY, x}, {OSSL_PKEY_PARAM_PUB_KEY, y}});
    EVP_PKEY *peer = dltest::opensslKey("DH", {{OSSL_PKEY_PARAM_FFC_P, a.p}, {OSSL_PKEY_PARAM_FFC_G, a.g},
                                               {OSSL_PKEY_PARAM_PUB_KEY, ours}}, EVP_PKEY_PUBLIC_KEY);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new(theirs, nullptr);
    Bytes openssl(256);
    size_t n = openssl.size();
    ASSERT_TRUE(EVP_PKEY_derive_init(ctx) == 1 && EVP_PKEY_derive_set_peer(ctx, peer) == 1 &&
                EVP_PKEY_derive(ctx, openssl.data(), &n) == 1);
    openssl.resize(n);
    EVP_PKEY_CTX_free(ctx), EVP_PKEY_free(theirs), EVP_PKEY_free(peer);

    bntest::Num peerY;
    dltest::setNum(peerY.p(), y);
    EXPECT_EQ(a.agree(peerY.p()), openssl);
    mpz_powm(want, ours, x, a.p);
    EXPECT_EQ(openssl, dltest::bytesOf(want));
}

// A private value already in the record is kept (public = g^private); without one (zero, or no
// storage aimed at) a new one is drawn and the storage aimed. Agreement refuses a missing
// private value and peers whose shared value anyone can predict (0, 1, p - 1) or not below p.
TEST(DhKey, PrivateValueAndPeers) {
    Party a;
    Mpz x, want;
    mpz_set_ui(x, 0x1234567);
    mpz_mul_2exp(x, x, 300);
    bntest::Num peer;
    EN_U32ToENUM(peer.p(), 2);
    EXPECT_TRUE(a.agree(peer.p()).empty());  // zero private value
    a.rec.privateValue.words = nullptr;
    EXPECT_TRUE(a.agree(peer.p()).empty());
    ASSERT_EQ(E_DH_GenerateKey(&a.rec, 128), 1);
    EXPECT_EQ(a.rec.privateValue.words, a.rec.privateWords);
    EXPECT_EQ(EN_GetFilledBitNum(&a.rec.privateValue), 128u);

    dltest::setNum(&a.rec.privateValue, x);
    ASSERT_EQ(E_DH_GenerateKey(&a.rec, 64), 1);
    EXPECT_TRUE(dltest::equal(&a.rec.privateValue, x));
    mpz_powm(want, a.g, x, a.p);
    EXPECT_TRUE(dltest::equal(&a.rec.publicValue, want));
    EXPECT_FALSE(a.agree(peer.p()).empty());

    Mpz bad[5];  // p - 1, p, p + 1, 0, 1
    mpz_sub_ui(bad[0], a.p, 1), mpz_set(bad[1], a.p), mpz_add_ui(bad[2], a.p, 1), mpz_set_ui(bad[4], 1);
    for (const Mpz &b : bad) {
        dltest::setNum(peer.p(), b);
        EXPECT_TRUE(a.agree(peer.p()).empty());
    }
}

}  // namespace
