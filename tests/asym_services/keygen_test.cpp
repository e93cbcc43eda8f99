// Key-pair services: generated keys work with the engines and with OpenSSL, the dispatchers'
// ids, the reporting rules, and a failure at each allocation.
#include "asym_services/service_fixture.h"
#include "ecproto/ecproto_test_util.h"

namespace {

using namespace asymtest;
using vctest::Bytes;

class KeyGen : public AsymServiceTest {};

TEST_F(KeyGen, RsaPairsWorkWithOpenSsl) {
    for (int32_t bits : {512, 1024}) {
        DataBlob pub{}, priv{};
        ASSERT_EQ(V_GenerateRSAKey(&ctx, bits, &pub, &priv), 0);
        EXPECT_EQ(ctx.error, 0);
        const Bytes pubDer = take(pub), privDer = take(priv);
        Pkey sslPriv = sslPrivate(EVP_PKEY_RSA, privDer), sslPub = sslRsaPublic(pubDer);
        ASSERT_TRUE(sslPriv && sslPub);
        EXPECT_EQ(EVP_PKEY_get_bits(sslPub.get()), bits);
        BIGNUM *e = nullptr;
        EVP_PKEY_get_bn_param(sslPub.get(), "e", &e);
        EXPECT_EQ(BN_get_word(e), 65537u);
        BN_free(e);
        // OpenSSL encrypts to the generated key, the service opens it, and back.
        const Bytes msg = rng.bytes(20);
        const Bytes ct = sslRsa(sslPub.get(), true, msg);
        DataBlob in = blob(ct), key = blob(privDer), out{};
        EXPECT_EQ(V_RSAPrivateDecrypt(&ctx, &key, &in, &out), 0);
        EXPECT_EQ(take(out), msg);
        key = blob(pubDer);
        DataBlob m = blob(msg);
        ASSERT_EQ(V_RSAPublicEncrypt(&ctx, &key, &m, &out), 0);
        EXPECT_EQ(sslRsa(sslPriv.get(), false, take(out)), msg);
    }
}

TEST_F(KeyGen, KcdsaPairsSignAndVerifyWithTheEngine) {
    DataBlob pub{}, priv{}, params{};
    ASSERT_EQ(V_GenAssymetricKey(&ctx, 4, 999, &pub, &priv), 0);
    const Bytes pubDer = take(pub), privDer = take(priv);
    auto signer = decode<KcdsaKey>(privDer, E_KCDSA_Init, E_ASN1_GetKCDSAPrivateKey);
    auto verifier = decode<KcdsaKey>(pubDer, E_KCDSA_Init, E_ASN1_GetKCDSAPublicKey1);
    const Bytes msg = rng.bytes(33);
    uint8_t sig[200];
    uint32_t sigLen = 0;
    ASSERT_EQ(E_KCDSA_Sign_New(E_KCDSA_HASH_SHA1, msg.data(), uint32_t(msg.size()), sig, &sigLen, signer.get()), 1);
    EXPECT_EQ(E_KCDSA_Verify_New(E_KCDSA_HASH_SHA1, msg.data(), uint32_t(msg.size()), sig, sigLen, verifier.get()), 1);
    // The built-in parameters: the public key carries the stored p, q, g.
    auto stored = decode<KcdsaKey>(storedKcdsaParams(), E_KCDSA_Init, E_ASN1_GetKCDSAParams1);
    EXPECT_EQ(EN_Comp(&stored->p, &verifier->p), 0);

    // New parameters: handed out, and the pair lies on them.
    ASSERT_EQ(V_GenAssymetricKeyAndParams(&ctx, 5, 0, &pub, &priv, &params), 0);
    const Bytes pub2 = take(pub), priv2 = take(priv), params2 = take(params);
    auto fresh = decode<KcdsaKey>(params2, E_KCDSA_Init, E_ASN1_GetKCDSAParams1);
    auto freshPub = decode<KcdsaKey>(pub2, E_KCDSA_Init, E_ASN1_GetKCDSAPublicKey1);
    EXPECT_EQ(EN_GetFilledBitNum(&fresh->p), 1024u);
    EXPECT_EQ(EN_Comp(&fresh->p, &freshPub->p), 0);
    EXPECT_NE(EN_Comp(&fresh->p, &stored->p), 0);
    auto freshPriv = decode<KcdsaKey>(priv2, E_KCDSA_Init, E_ASN1_GetKCDSAPrivateKey);
    ASSERT_EQ(E_KCDSA_Sign_New(E_KCDSA_HASH_HAS160, msg.data(), uint32_t(msg.size()), sig, &sigLen, freshPriv.get()), 1);
    EXPECT_EQ(E_KCDSA_Verify_New(E_KCDSA_HASH_HAS160, msg.data(), uint32_t(msg.size()), sig, sigLen, freshPub.get()), 1);
}

TEST_F(KeyGen, EcPairsOnEveryOpenSslCurve) {
    for (const auto &curve : ecproto::kOpenSslCurves) {
        DataBlob pub{}, priv{};
        // ECDSA: OpenSSL finds Q = d G.
        ASSERT_EQ(V_GenAssymetricKey(&ctx, 15, curve.id, &pub, &priv), 0) << curve.id;
        const Bytes q = take(pub), d = take(priv);
        EC_KEY *key = ecproto::sslKey(curve.nid, d, q);
        EXPECT_EQ(EC_KEY_check_key(key), 1) << curve.id;
        EC_KEY_free(key);
        // EC-KCDSA: Q = d^-1 G on the same curve, so the engine verifies what the key signs.
        ASSERT_EQ(V_GenerateECCKeyPair(&ctx, 16, curve.id, &pub, &priv), 0);
        Bytes q2 = take(pub), d2 = take(priv);
        EXPECT_EQ(q2.size(), q.size());
        ecproto::Params params(curve.id);
        Bytes msg = rng.bytes(10);
        ecproto::Out sig(60);
        const Opaque8 m{uint32_t(msg.size()), msg.data()}, dk{uint32_t(d2.size()), d2.data()},
            qk{uint32_t(q2.size()), q2.data()};
        ASSERT_EQ(E_ECKCDSA_Sign(curve.id, &params.p, &m, &sig.o, &dk, &qk), 0);
        EXPECT_EQ(E_ECKCDSA_Verify(curve.id, &params.p, &m, &sig.o, &qk), 1);
    }
}

// One row per condition: the value returned, the error field, the outputs.
TEST_F(KeyGen, ReportingRules) {
    struct Row {
        const char *what;
        int32_t (*call)(LibContext *, DataBlob *, DataBlob *, DataBlob *);
        bool ready;
        int32_t result;
        int32_t stored;  // 4242: untouched
    };
    const Row rows[] = {
        {"unknown id 3", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenAssymetricKey(c, 3, 512, a, b); }, true, -1, 4242},
        {"unknown id 17 with params", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *p) { return V_GenAssymetricKeyAndParams(c, 17, 512, a, b, p); }, true, -1, 4242},
        {"null ctx", [](LibContext *, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenerateRSAKey(nullptr, 512, a, b); }, true, -1, 4242},
        {"RSA 768", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenerateRSAKey(c, 768, a, b); }, true, 30003, 30003},
        {"RSA not ready", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenerateRSAKey(c, 512, a, b); }, false, 30000, 30000},
        {"KCDSA not ready", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenerateKCDSAKeyPair(c, 0, a, b); }, false, 30000, 30000},
        {"KCDSA null ctx", [](LibContext *, DataBlob *a, DataBlob *b, DataBlob *p) { return V_GenerateKCDSAKeyPair_Params(nullptr, 0, a, b, p); }, true, -1, 4242},
        {"EC unknown curve", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenerateECCKeyPair(c, 15, 8, a, b); }, true, 30003, 30003},
        {"EC unknown kind", [](LibContext *c, DataBlob *a, DataBlob *b, DataBlob *) { return V_GenerateECCKeyPair(c, 17, 7, a, b); }, true, 30003, 30003},
    };
    for (const Row &row : rows) {
        CryptoState *state = ctx.state;
        if (!row.ready) ctx.state = nullptr;
        ctx.error = 4242;
        DataBlob pub{3, nullptr}, priv{3, nullptr}, params{3, nullptr};
        EXPECT_EQ(row.call(&ctx, &pub, &priv, &params), row.result) << row.what;
        EXPECT_EQ(ctx.error, row.stored) << row.what;
        EXPECT_EQ(pub.Data, nullptr) << row.what;
        EXPECT_EQ(liveBlocks(), 1u) << row.what;
        ctx.state = state;
    }
}

TEST_F(KeyGen, FailureAtEachAllocation) {
    DataBlob pub{}, priv{}, params{};
    auto pair = [&](int32_t r) {
        const bool ok = r == 0 && ctx.error == 0;
        if (!ok) {
            EXPECT_EQ(pub.Data, nullptr);
            EXPECT_EQ(priv.Data, nullptr);
        }
        take(pub), take(priv), take(params);
        return std::pair{r, ok};
    };
    // Holder and record, two key records, two key buffers, the exponent, the DER writers'
    // scratch for each key (the generator fails), two outputs.
    EXPECT_EQ(failEach([&] { return pair(V_GenerateRSAKey(&ctx, 512, &pub, &priv)); }),
              (std::vector<int32_t>{20006, 20006, 20006, 20006, 30001, 30001, 30001, 30003, 30003, 20006, 20006}));
    EXPECT_EQ(failEach([&] { return pair(V_GenerateKCDSAKeyPair(&ctx, 0, &pub, &priv)); }),
              (std::vector<int32_t>{20006, 20006, 30001, 30001, 30003, 30003, 20006, 20006}));
    // With parameters: the holder of the parameters and its buffer give 30001 too.
    auto triple = [&](int32_t r) {
        if (r != 0) {
            EXPECT_EQ(params.Data, nullptr);
        }
        return pair(r);
    };
    EXPECT_EQ(failEach([&] { return triple(V_GenerateKCDSAKeyPair_Params(&ctx, 0, &pub, &priv, &params)); }),
              (std::vector<int32_t>{20006, 20006, 30001, 30001, 30001, 30001, 30003, 30003, 30003, 20006, 20006, 20006}));
    // The EC buffers and outputs: 20006 stored, -1 returned.
    for (int kind : {15, 16}) {
        std::vector<int32_t> codes = failEach([&] {
            const int32_t r = V_GenerateECCKeyPair(&ctx, kind, 7, &pub, &priv);
            if (r != 0) {
                EXPECT_EQ(ctx.error, 20006);
            }
            return pair(r);
        });
        EXPECT_EQ(codes, (std::vector<int32_t>{-1, -1, -1, -1}));
    }
}

}  // namespace
