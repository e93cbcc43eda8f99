// Elliptic-curve and WTLS services: against the engines and OpenSSL, their non-uniform results,
// and a failure at each allocation.
#include "asym_services/service_fixture.h"
#include "ecproto/ecproto_test_util.h"

namespace {

using namespace asymtest;
using vctest::Bytes;

class EccService : public AsymServiceTest {
protected:
    // A pair from the service itself.
    KeyPair pair(int kind, int curve) {
        DataBlob pub{}, priv{};
        EXPECT_EQ(V_GenerateECCKeyPair(&ctx, kind, curve, &pub, &priv), 0);
        KeyPair kp;
        kp.publicDer = take(pub);
        kp.privateDer = take(priv);
        return kp;
    }
};

// ECDSA signatures of the service verify in OpenSSL (SHA-1, DER) and the engine; OpenSSL's
// verify in the service; EC-KCDSA through the engine both ways, with and without the public key.
TEST_F(EccService, SignaturesAgreeWithOpenSslAndTheEngine) {
    for (const auto &curve : ecproto::kOpenSslCurves) {
        const KeyPair kp = pair(15, curve.id);
        const Bytes msg = rng.bytes(31);
        DataBlob m = blob(msg), pub = blob(kp.publicDer), priv = blob(kp.privateDer), sig{};
        ASSERT_EQ(V_ECC_Sign(&ctx, 15, curve.id, &m, nullptr, &priv, &sig), 0);
        const Bytes s = take(sig);
        EC_KEY *key = ecproto::sslKey(curve.nid, {}, kp.publicDer);
        const Bytes h = ecproto::sha1(msg);
        EXPECT_EQ(ECDSA_verify(0, h.data(), int(h.size()), s.data(), int(s.size()), key), 1) << curve.id;
        DataBlob sb = blob(s);
        EXPECT_EQ(V_ECC_Verify(nullptr, 15, curve.id, &m, &sb, &pub), 1);
        // OpenSSL's signature, in the strict DER the engine reads (minimal INTEGERs).
        EC_KEY *signer = ecproto::sslKey(curve.nid, kp.privateDer, kp.publicDer);
        Bytes theirs(ECDSA_size(signer));
        unsigned n = 0;
        ASSERT_EQ(ECDSA_sign(0, h.data(), int(h.size()), theirs.data(), &n, signer), 1);
        theirs.resize(n);
        DataBlob tb = blob(theirs);
        EXPECT_EQ(V_ECC_Verify(nullptr, 15, curve.id, &m, &tb, &pub), 1) << curve.id;
        EC_KEY_free(key);
        EC_KEY_free(signer);

        const KeyPair kk = pair(16, curve.id);
        DataBlob kpub = blob(kk.publicDer), kpriv = blob(kk.privateDer);
        ecproto::Params params(curve.id);
        for (const DataBlob *given : {static_cast<const DataBlob *>(&kpub), static_cast<const DataBlob *>(nullptr)}) {
            ASSERT_EQ(V_ECC_Sign(&ctx, 16, curve.id, &m, given, &kpriv, &sig), 0);
            Bytes ks = take(sig);
            const Opaque8 mo{uint32_t(msg.size()), m.Data}, so{uint32_t(ks.size()), ks.data()}, qo{kpub.Length, kpub.Data};
            EXPECT_EQ(E_ECKCDSA_Verify(curve.id, &params.p, &mo, &so, &qo), 1) << curve.id;
        }
        ecproto::Out engineSig(60);
        const Opaque8 mo{uint32_t(msg.size()), m.Data}, dk{kpriv.Length, kpriv.Data}, qk{kpub.Length, kpub.Data};
        ASSERT_EQ(E_ECKCDSA_Sign(curve.id, &params.p, &mo, &engineSig.o, &dk, &qk), 0);
        Bytes es = engineSig.get();
        DataBlob esb = blob(es);
        EXPECT_EQ(V_ECC_Verify(nullptr, 16, curve.id, &m, &esb, &kpub), 1);
        es[5] ^= 1;
        const Opaque8 changed{uint32_t(es.size()), es.data()};
        EXPECT_EQ(V_ECC_Verify(nullptr, 16, curve.id, &m, &esb, &kpub), E_ECKCDSA_Verify(curve.id, &params.p, &mo, &changed, &qk));
    }
}

TEST_F(EccService, EncryptionRoundTripsAndFailsQuietly) {
    const KeyPair kp = pair(15, 7);
    for (size_t len : {1, 20, 100}) {
        const Bytes msg = rng.bytes(len);
        DataBlob m = blob(msg), pub = blob(kp.publicDer), priv = blob(kp.privateDer), ct{}, pt{};
        ASSERT_EQ(V_ECC_Encryption(&ctx, 7, &pub, &m, &ct), 0);
        EXPECT_EQ(ct.Length, 41 + len);
        ASSERT_EQ(V_ECC_Decryption(&ctx, 7, &priv, &ct, &pt), 0);
        EXPECT_EQ(take(pt), msg);
        take(ct);
    }
    // The engine's failures show only as an empty output; nothing is stored.
    Bytes junk = rng.bytes(41), msg = rng.bytes(10), shortCt = rng.bytes(5);
    DataBlob bad = blob(junk), m = blob(msg), s = blob(shortCt), priv = blob(kp.privateDer), out{};
    ctx.error = 4242;
    EXPECT_EQ(V_ECC_Encryption(&ctx, 7, &bad, &m, &out), 0);
    EXPECT_EQ(out.Data, nullptr);
    EXPECT_EQ(V_ECC_Decryption(&ctx, 7, &priv, &s, &out), 0);
    EXPECT_EQ(out.Data, nullptr);
    EXPECT_EQ(ctx.error, 4242);
    // A missing input or key: 30000 returned, not stored.
    DataBlob none{5, nullptr};
    EXPECT_EQ(V_ECC_Encryption(&ctx, 7, &none, &m, &out), 30000);
    EXPECT_EQ(V_ECC_Decryption(&ctx, 7, &priv, nullptr, &out), 30000);
    EXPECT_EQ(V_ECC_Encryption(nullptr, 7, &bad, &m, &out), -1);
    EXPECT_EQ(ctx.error, 4242);
}

TEST_F(EccService, SignResults) {
    const KeyPair kp = pair(15, 7);
    Bytes msg = rng.bytes(8), zero(21, 0), tiny{1};
    DataBlob m = blob(msg), z = blob(zero), t = blob(tiny), sig{};
    ctx.error = 4242;
    EXPECT_EQ(V_ECC_Sign(&ctx, 15, 7, &m, nullptr, &z, &sig), -1);   // zero key: nothing signed
    EXPECT_EQ(V_ECC_Sign(&ctx, 15, 99, &m, nullptr, &t, &sig), -1);  // unknown curve
    EXPECT_EQ(V_ECC_Sign(&ctx, 17, 7, &m, nullptr, &t, &sig), -1);   // unknown kind
    EXPECT_EQ(ctx.error, 4242);
    EXPECT_EQ(sig.Data, nullptr);
    // A one-octet key still gets the signature's full room.
    EXPECT_EQ(V_ECC_Sign(&ctx, 15, 7, &m, nullptr, &t, &sig), 0);
    EXPECT_GT(take(sig).size(), 40u);
    // Missing blobs reach the engines as empty octet strings, which they refuse.
    for (int kind : {15, 16}) {
        EXPECT_NE(V_ECC_Verify(nullptr, kind, 7, nullptr, nullptr, nullptr), 1);
        EXPECT_NE(V_ECC_Verify(nullptr, kind, 7, &m, &t, nullptr), 1);
    }
}

TEST_F(EccService, FailureAtEachAllocation) {
    const KeyPair kp = pair(15, 7);
    Bytes msg = rng.bytes(8);
    DataBlob m = blob(msg), pub = blob(kp.publicDer), priv = blob(kp.privateDer), out{};
    // Work buffer (20006 stored, -1 returned), output (20006).
    EXPECT_EQ(failEach([&] {
                  const int32_t r = V_ECC_Sign(&ctx, 15, 7, &m, nullptr, &priv, &out);
                  EXPECT_EQ(ctx.error, r == 0 ? 0 : 20006);
                  take(out);
                  return std::pair{r, r == 0};
              }),
              (std::vector<int32_t>{-1, 20006}));
    // Encryption returns 0 throughout; a failed allocation shows in the error field.
    for (bool encrypt : {true, false}) {
        DataBlob ct{};
        if (!encrypt) {
            ASSERT_EQ(V_ECC_Encryption(&ctx, 7, &pub, &m, &ct), 0);
        }
        const std::vector<int32_t> codes = failEach([&] {
            const int32_t r = encrypt ? V_ECC_Encryption(&ctx, 7, &pub, &m, &out) : V_ECC_Decryption(&ctx, 7, &priv, &ct, &out);
            EXPECT_EQ(r, 0);
            const bool ok = ctx.error == 0;
            EXPECT_EQ(out.Data != nullptr, ok);
            take(out);
            return std::pair{ctx.error, ok};
        });
        EXPECT_EQ(codes, (std::vector<int32_t>{20006, 20006}));
        take(ct);
    }
}

class Wtls : public AsymServiceTest {};

TEST_F(Wtls, RoundTripAndLimits) {
    const KeyPair &kp = rsa512();
    uint8_t *e = nullptr, *n = nullptr;
    uint16_t eLen = 0, nLen = 0;
    ASSERT_EQ(V_RSAPublicKey2WTLS(&ctx, kp.publicDer.data(), uint32_t(kp.publicDer.size()), &e, &eLen, &n, &nLen), 1);
    EXPECT_EQ(Bytes(e, e + eLen), (Bytes{1, 0, 1}));
    EXPECT_EQ(nLen, 64);
    uint8_t *der = nullptr;
    uint32_t derLen = 0;
    ASSERT_EQ(V_WTLSPublicKey2RSA(&ctx, e, eLen, n, nLen, &der, &derLen), 1);
    EXPECT_EQ(Bytes(der, der + derLen), kp.publicDer);
    V_free(&ctx, e), V_free(&ctx, n), V_free(&ctx, der);

    // The 200-byte DER buffer: the largest modulus that fits, and the first one that does not.
    ctx.error = 4242;
    const Bytes exponent{1, 0, 1};
    for (uint16_t bytes = 180; bytes <= 200; ++bytes) {
        Bytes modulus = rng.bytes(bytes);
        modulus[0] |= 0x80;
        const int32_t r = V_WTLSPublicKey2RSA(&ctx, exponent.data(), 3, modulus.data(), bytes, &der, &derLen);
        // SEQUENCE header 3, INTEGER n with a 0x00 in front 3 + 1 + bytes, INTEGER e 5.
        const bool fits = 3 + 4 + bytes + 5 <= 200;
        EXPECT_EQ(r, fits ? 1 : 0) << bytes;
        if (r == 1) {
            EXPECT_EQ(derLen, 3u + 4 + bytes + 5);
            V_free(&ctx, der);
        } else {
            EXPECT_EQ(der, nullptr);
        }
    }
    const Bytes longExponent{1, 0, 0, 0, 1};
    EXPECT_EQ(V_WTLSPublicKey2RSA(&ctx, longExponent.data(), 5, n, 0, &der, &derLen), 0);
    const Bytes junk{0x30, 0x03, 0x02, 0x01};
    EXPECT_EQ(V_RSAPublicKey2WTLS(&ctx, junk.data(), 4, &e, &eLen, &n, &nLen), 0);
    EXPECT_EQ(e, nullptr);
    EXPECT_EQ(ctx.error, 4242);
    EXPECT_EQ(V_RSAPublicKey2WTLS(nullptr, junk.data(), 4, &e, &eLen, &n, &nLen), -1);

    // A failure at each allocation: 20006 stored and returned, nothing left.
    const std::vector<int32_t> toWtls = failEach([&] {
        const int32_t r = V_RSAPublicKey2WTLS(&ctx, kp.publicDer.data(), uint32_t(kp.publicDer.size()), &e, &eLen, &n, &nLen);
        if (r == 1) {
            V_free(&ctx, e), V_free(&ctx, n);
        } else {
            EXPECT_TRUE(e == nullptr && n == nullptr && ctx.error == r);
        }
        return std::pair{r, r == 1};
    });
    EXPECT_EQ(toWtls, (std::vector<int32_t>{20006, 20006}));
    const std::vector<int32_t> toDer = failEach([&] {
        const int32_t r = V_WTLSPublicKey2RSA(&ctx, exponent.data(), 3, exponent.data(), 3, &der, &derLen);
        if (r == 1) V_free(&ctx, der);
        return std::pair{r, r == 1};
    });
    EXPECT_EQ(toDer, (std::vector<int32_t>{20006}));
}

}  // namespace
