// RSA and KCDSA services against the engines they wrap, their result tables, and a failure at
// each allocation.
#include "asym_services/service_fixture.h"

namespace {

using namespace asymtest;
using vctest::Bytes;

class RsaService : public AsymServiceTest {
protected:
    std::unique_ptr<RsaKey> engineKey() {
        return decode<RsaKey>(rsa512().privateDer, E_RSA_Init, E_ASN1_GetRSAPrivateKey);
    }
};

// Same key, same input: the services give what the engines give.
TEST_F(RsaService, AgreesWithTheEngine) {
    const KeyPair &kp = rsa512();
    auto key = engineKey();
    DataBlob pub = blob(kp.publicDer), priv = blob(kp.privateDer), out{};
    for (size_t len : {0, 1, 20, 53}) {
        const Bytes msg = rng.bytes(len);
        DataBlob m = blob(msg);
        // Private encryption (block type 1) is deterministic.
        uint8_t expect[64];
        ASSERT_EQ(E_RSA_Private_Encrypt(expect, msg.data(), int32_t(len), key.get()), 64);
        ASSERT_EQ(V_RSAPrivateEncrypt(&ctx, &priv, &m, &out), 0);
        const Bytes sig = take(out);
        EXPECT_EQ(sig, Bytes(expect, expect + 64));
        DataBlob s = blob(sig);
        EXPECT_EQ(V_RSAPublicDecrypt(&ctx, &pub, &s, &out), 0);
        EXPECT_EQ(take(out), msg);
        // Public encryption is randomised: the engine opens what the service made, and back.
        ASSERT_EQ(V_RSAPublicEncrypt(&ctx, &pub, &m, &out), 0);
        const Bytes ct = take(out);
        uint8_t opened[64];
        EXPECT_EQ(E_RSA_Private_Decrypt(opened, ct.data(), uint32_t(ct.size()), key.get()), len == 0 ? 0 : int32_t(len));
        if (len == 0) continue;  // an empty message opens as the engine's failed check
        EXPECT_EQ(Bytes(opened, opened + len), msg);
        uint8_t engineCt[64];
        ASSERT_EQ(E_RSA_Public_Encrypt(engineCt, msg.data(), int32_t(len), key.get()), 64);
        DataBlob c = blob(Bytes(engineCt, engineCt + 64));
        Bytes copy(engineCt, engineCt + 64);
        c = blob(copy);
        EXPECT_EQ(V_RSAPrivateDecrypt(&ctx, &priv, &c, &out), 0);
        EXPECT_EQ(take(out), msg);
        // OAEP with a label, both ways.
        const Bytes label = rng.bytes(len % 7);
        DataBlob l = blob(label);
        if (len <= 64 - 42) {
            ASSERT_EQ(V_RSAPublicEncryptOAEP(&ctx, &pub, &m, label.empty() ? nullptr : &l, &out), 0);
            const Bytes oct = take(out);
            EXPECT_EQ(E_RSAES_OAEP_Decrypt(opened, oct.data(), 64, label.data(), uint32_t(label.size()), key.get()),
                      int32_t(len));
            ASSERT_EQ(E_RSAES_OAEP_Encrypt(engineCt, msg.data(), uint32_t(len), label.data(), uint32_t(label.size()), key.get()), 64);
            copy.assign(engineCt, engineCt + 64);
            c = blob(copy);
            EXPECT_EQ(V_RSAPrivateDecryptOAEP(&ctx, &priv, &c, label.empty() ? nullptr : &l, &out), 0);
            EXPECT_EQ(take(out), msg);
        }
    }
}

// Output lengths reported from the key blob's length, whatever the modulus.
TEST_F(RsaService, OutputLengthFollowsTheKeyBlob) {
    const KeyPair &kp = rsa512();
    Bytes msg = rng.bytes(10);
    DataBlob m = blob(msg), out{};
    struct Row { size_t publicPad, expected; } rows[] = {{0, 64}, {140 - kp.publicDer.size(), 128}, {250 - kp.publicDer.size(), 256}, {320 - kp.publicDer.size(), 64}};
    for (const Row &row : rows) {
        // Bytes after the DER record are not read by the decoder but count in the blob's length.
        Bytes padded = kp.publicDer;
        padded.resize(padded.size() + row.publicPad);
        DataBlob key = blob(padded);
        const int32_t r = V_RSAPublicEncrypt(&ctx, &key, &m, &out);
        if (r == 0) {
            EXPECT_EQ(out.Length, row.expected) << padded.size();
            take(out);
        } else {
            EXPECT_EQ(r, 30028);  // a decoder that wants the record alone refuses the padding
        }
    }
}

// One row per result: value returned, error field, output blob.
TEST_F(RsaService, ResultTable) {
    const KeyPair &kp = rsa512();
    const Bytes good = rng.bytes(10), tooLong = rng.bytes(60), wrongSize = rng.bytes(63), empty;
    enum Op { PubEnc, PrivEnc, PubDec, PrivDec, OaepEnc, OaepDec };
    struct Row {
        const char *what;
        Op op;
        const Bytes *key;
        const Bytes *in;
        int32_t result, stored;  // 4242: not stored
        bool bufferLeft;          // the 1,025-byte buffer stays in the output blob
    };
    const Row rows[] = {
        {"public encrypt, message too long", PubEnc, &kp.publicDer, &tooLong, 30028, 30028, false},
        {"public encrypt, key not DER", PubEnc, &good, &good, 30028, 30028, false},
        {"OAEP encrypt, message too long", OaepEnc, &kp.publicDer, &tooLong, 30028, 30028, false},
        {"private encrypt, empty key", PrivEnc, &empty, &good, 20007, 20007, false},
        {"private encrypt, public key", PrivEnc, &kp.publicDer, &good, 30030, 30030, false},
        {"private encrypt, too long", PrivEnc, &kp.privateDer, &tooLong, 30030, 30030, false},
        {"public decrypt, wrong size", PubDec, &kp.publicDer, &wrongSize, 0, 4242, true},
        {"private decrypt, wrong size", PrivDec, &kp.privateDer, &wrongSize, -1, 4242, true},
        {"private decrypt, public key", PrivDec, &kp.publicDer, &good, -1, 4242, true},
        {"OAEP decrypt, wrong size", OaepDec, &kp.privateDer, &wrongSize, -1, 4242, true},
    };
    for (const Row &row : rows) {
        ctx.error = 4242;
        DataBlob key = blob(*row.key), in = blob(*row.in), out{9, nullptr};
        int32_t r = 0;
        switch (row.op) {
        case PubEnc: r = V_RSAPublicEncrypt(&ctx, &key, &in, &out); break;
        case PrivEnc: r = V_RSAPrivateEncrypt(&ctx, &key, &in, &out); break;
        case PubDec: r = V_RSAPublicDecrypt(&ctx, &key, &in, &out); break;
        case PrivDec: r = V_RSAPrivateDecrypt(&ctx, &key, &in, &out); break;
        case OaepEnc: r = V_RSAPublicEncryptOAEP(&ctx, &key, &in, nullptr, &out); break;
        case OaepDec: r = V_RSAPrivateDecryptOAEP(&ctx, &key, &in, nullptr, &out); break;
        }
        EXPECT_EQ(r, row.result) << row.what;
        EXPECT_EQ(ctx.error, row.stored) << row.what;
        EXPECT_EQ(out.Data != nullptr, row.bufferLeft) << row.what;
        EXPECT_EQ(out.Length, row.op == PrivEnc && row.result == 20007 ? 9u : 0u) << row.what;
        if (row.bufferLeft) {
            EXPECT_EQ(GetError(), uint32_t(row.key == &kp.publicDer && row.op == PrivDec ? 1040 : 1095)) << row.what;
        }
        take(out);
    }
    DataBlob blobs{};
    EXPECT_EQ(V_RSAPublicEncrypt(nullptr, &blobs, &blobs, &blobs), -1);
}

TEST_F(RsaService, FailureAtEachAllocation) {
    const KeyPair &kp = rsa512();
    Bytes msg = rng.bytes(10);
    DataBlob pub = blob(kp.publicDer), priv = blob(kp.privateDer), m = blob(msg), out{};
    auto once = [&](int32_t r) {
        const bool ok = r == 0 && ctx.error != 20006;
        if (!ok) {
            EXPECT_EQ(out.Data, nullptr);
        }
        take(out);
        return std::pair{r, ok};
    };
    using V = std::vector<int32_t>;
    EXPECT_EQ(failEach([&] { return once(V_RSAPublicEncrypt(&ctx, &pub, &m, &out)); }), V{20006});
    EXPECT_EQ(failEach([&] { return once(V_RSAPrivateEncrypt(&ctx, &priv, &m, &out)); }), V{20006});
    EXPECT_EQ(failEach([&] { return once(V_RSAPublicEncryptOAEP(&ctx, &pub, &m, nullptr, &out)); }), V{20006});
    EXPECT_EQ(failEach([&] { return once(V_RSAPublicDecrypt(&ctx, &pub, &m, &out)); }), V{20006});
    EXPECT_EQ(failEach([&] { return once(V_RSAPrivateDecrypt(&ctx, &priv, &m, &out) == -1 ? 0 : 20006); }), V{20006});
    EXPECT_EQ(failEach([&] { return once(V_RSAPrivateDecryptOAEP(&ctx, &priv, &m, nullptr, &out) == -1 ? 0 : 20006); }), V{20006});
}

class KcdsaService : public AsymServiceTest {};

// Signatures of the service verify with the engine and the other way round, with either hash;
// algorithm ids other than 5 hash as 4 does.
TEST_F(KcdsaService, AgreesWithTheEngine) {
    const KeyPair &kp = kcdsaFixed();
    auto priv = decode<KcdsaKey>(kp.privateDer, E_KCDSA_Init, E_ASN1_GetKCDSAPrivateKey);
    auto pub = decode<KcdsaKey>(kp.publicDer, E_KCDSA_Init, E_ASN1_GetKCDSAPublicKey1);
    const Bytes params = storedKcdsaParams();
    for (uint32_t id : {4u, 5u, 7u, 0u}) {
        const uint32_t hash = id == 5 ? E_KCDSA_HASH_HAS160 : E_KCDSA_HASH_SHA1;
        const Bytes msg = rng.bytes(id * 9);
        DataBlob key = blob(kp.privateDer), p = blob(params), m = blob(msg), sig{};
        ASSERT_EQ(V_KCDSA_Sign(&ctx, id, &key, &p, &m, &sig), 0);
        EXPECT_EQ(ctx.error, 0);
        const Bytes s = take(sig);
        EXPECT_EQ(E_KCDSA_Verify_New(hash, msg.data(), uint32_t(msg.size()), s.data(), uint32_t(s.size()), pub.get()), 1) << id;
        uint8_t engineSig[100];
        uint32_t len = 0;
        ASSERT_EQ(E_KCDSA_Sign_New(hash, msg.data(), uint32_t(msg.size()), engineSig, &len, priv.get()), 1);
        Bytes es(engineSig, engineSig + len);
        DataBlob pk = blob(kp.publicDer), esb = blob(es);
        DataBlob pcopy = blob(params);
        EXPECT_EQ(V_KCDSA_Verify(&ctx, id, &pk, &pcopy, &m, &esb), 1) << id;
        // The other hash does not verify.
        EXPECT_EQ(V_KCDSA_Verify(&ctx, id == 5 ? 4 : 5, &pk, &pcopy, &m, &esb), 0) << id;
    }
}

// Without parameters the stored set is used and handed back in the caller's blob.
TEST_F(KcdsaService, StoredParametersFillAnEmptyBlob) {
    const KeyPair &kp = kcdsaFixed();
    Bytes msg = rng.bytes(5);
    DataBlob key = blob(kp.privateDer), pub = blob(kp.publicDer), m = blob(msg), sig{};
    ASSERT_EQ(V_KCDSA_Sign(&ctx, 4, &key, nullptr, &m, &sig), 0);
    const Bytes s = take(sig);
    DataBlob sb = blob(s);
    for (uint32_t length : {0u, 2u}) {
        uint8_t *old = length == 0 ? nullptr : static_cast<uint8_t *>(V_calloc(&ctx, 1, length));
        DataBlob params{length, old};
        EXPECT_EQ(V_KCDSA_Verify(&ctx, 4, &pub, &params, &m, &sb), 1);
        EXPECT_EQ(take(params), storedKcdsaParams());
    }
    EXPECT_EQ(V_KCDSA_Verify(&ctx, 4, &pub, nullptr, &m, &sb), 1);
}

TEST_F(KcdsaService, ResultTable) {
    const KeyPair &kp = kcdsaFixed();
    Bytes msg = rng.bytes(5), junk = rng.bytes(40);
    DataBlob priv = blob(kp.privateDer), pub = blob(kp.publicDer), bad = blob(junk), m = blob(msg), sig{};
    ctx.error = 4242;
    EXPECT_EQ(V_KCDSA_Sign(&ctx, 4, &bad, nullptr, &m, &sig), -1);  // key does not decode
    EXPECT_EQ(V_KCDSA_Sign(&ctx, 4, &pub, nullptr, &m, &sig), -1);  // a public key signs nothing
    EXPECT_EQ(V_KCDSA_Sign(nullptr, 4, &priv, nullptr, &m, &sig), -1);
    EXPECT_EQ(ctx.error, 4242);
    EXPECT_EQ(sig.Data, nullptr);
    ASSERT_EQ(V_KCDSA_Sign(&ctx, 4, &priv, nullptr, &m, &sig), 0);
    Bytes s = take(sig);
    DataBlob sb = blob(s);
    s.back() ^= 1;
    EXPECT_EQ(V_KCDSA_Verify(&ctx, 4, &pub, nullptr, &m, &sb), 0);
    EXPECT_EQ(V_KCDSA_Verify(&ctx, 4, &bad, nullptr, &m, &sb), 0);
    EXPECT_EQ(ctx.error, 0);
}

TEST_F(KcdsaService, FailureAtEachAllocation) {
    const KeyPair &kp = kcdsaFixed();
    Bytes msg = rng.bytes(5);
    DataBlob priv = blob(kp.privateDer), m = blob(msg), sig{};
    // The work buffer and the output.
    EXPECT_EQ(failEach([&] {
                  const int32_t r = V_KCDSA_Sign(&ctx, 4, &priv, nullptr, &m, &sig);
                  if (r != 0) {
                      EXPECT_EQ(sig.Data, nullptr);
                  }
                  take(sig);
                  return std::pair{r, r == 0};
              }),
              (std::vector<int32_t>{20006, 20006}));
    // Verification hands back the stored parameters in a new buffer; without it the result
    // is the same and the blob stays empty.
    ASSERT_EQ(V_KCDSA_Sign(&ctx, 4, &priv, nullptr, &m, &sig), 0);
    const Bytes s = take(sig);
    DataBlob pub = blob(kp.publicDer), sb = blob(s);
    EXPECT_EQ(failEach([&] {
                  DataBlob params{};
                  EXPECT_EQ(V_KCDSA_Verify(&ctx, 4, &pub, &params, &m, &sb), 1);
                  const bool handed = params.Data != nullptr;
                  take(params);
                  return std::pair{0, handed};
              }),
              (std::vector<int32_t>{0}));
}

}  // namespace
