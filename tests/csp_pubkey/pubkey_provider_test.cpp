// The provider's public-key families: key pairs that OpenSSL reads and verifies, signatures
// both ways, key derivation, wrapping, parameters, key sizes, and the refusal reasons.
#include "asym_services/asym_test_util.h"
#include "ecproto/ecproto_test_util.h"

#include <openssl/dh.h>

#include <functional>
#include <vector>

namespace {

using namespace asymtest;
using vctest::Bytes;

// A key record with its own 2,000-byte data buffer.
struct Key {
    Bytes buffer = Bytes(2000);
    CspKeyRecord record{};
    Key() { record.keyData = {uint32_t(buffer.size()), buffer.data()}; }
    Bytes der() const { return Bytes(buffer.begin(), buffer.begin() + record.keyData.Length); }
};

// A context record with up to four attributes.
struct Context {
    CspContextRecord record{};
    CspAttribute attributes[4]{};
    Context(uint32_t cls, uint32_t algorithm) {
        record.contextClass = cls;
        record.algorithm = algorithm;
        record.attributes = attributes;
    }
    Context &u32(uint32_t type, uint32_t value) {
        CspAttribute &a = attributes[record.attributeCount++];
        a.type = type;
        a.value.uint32 = value;
        return *this;
    }
    Context &pointer(uint32_t type, void *p) {
        CspAttribute &a = attributes[record.attributeCount++];
        a.type = type;
        a.value.pointer = p;
        return *this;
    }
};

int32_t generate(Context &c, Key &pub, Key &priv, const DataBlob *exponent = nullptr) {
    return CSP_GenerateKeyPair(100, &c.record, nullptr, 9, 0, exponent, &pub.record, 6, 0, nullptr, &priv.record);
}

Bytes sign(uint32_t algorithm, Key &priv, const Bytes &msg, uint32_t hash = E_KCDSA_HASH_SHA1) {
    Context c(CSP_CLASS_SIGNATURE, algorithm);
    c.pointer(CSP_ATTR_KEY, &priv.record).u32(CSP_ATTR_HASH, hash);
    DataBlob data = blob(msg), sig{0, nullptr};
    EXPECT_EQ(CSP_SignData(100, &c.record, nullptr, &data, 1, &sig), 0) << GetError();
    Bytes out(sig.Data, sig.Data + sig.Length);
    free(sig.Data);
    return out;
}

int32_t verify(uint32_t algorithm, Key &pub, const Bytes &msg, const Bytes &sig, uint32_t hash = E_KCDSA_HASH_SHA1) {
    Context c(CSP_CLASS_SIGNATURE, algorithm);
    c.pointer(CSP_ATTR_KEY, &pub.record).u32(CSP_ATTR_HASH, hash);
    DataBlob data = blob(msg), s = blob(sig);
    return CSP_VerifyData(100, &c.record, nullptr, &data, 1, &s);
}

TEST(ProviderPairs, RsaAndDsaInteroperateWithOpenSsl) {
    vctest::Rng rng(5);
    Key pub, priv;
    Context rsa(CSP_CLASS_KEYGEN, CSP_ALG_RSA);
    rsa.u32(CSP_ATTR_KEY_LENGTH, CSP_RSA_KEYGEN_TAG).u32(CSP_ATTR_MODULUS_BYTES, 64);
    uint8_t three[] = {3};
    DataBlob e{1, three};
    ASSERT_EQ(generate(rsa, pub, priv, &e), 0);
    EXPECT_EQ(pub.record.header.keyClass, uint32_t(CSP_KEYCLASS_PUBLIC));
    EXPECT_EQ(priv.record.header.algorithm, uint32_t(CSP_ALG_RSA));
    EXPECT_EQ(pub.record.header.logicalBits, 512u);
    Pkey sslPriv = sslPrivate(EVP_PKEY_RSA, priv.der()), sslPub = sslRsaPublic(pub.der());
    ASSERT_TRUE(sslPriv && sslPub);
    const Bytes msg = rng.bytes(100);
    EXPECT_TRUE(sslVerifySha1(sslPub.get(), msg, sign(CSP_ALG_RSA, priv, msg)));
    EXPECT_EQ(verify(CSP_ALG_RSA, pub, msg, sslSignSha1(sslPriv.get(), msg)), 0);

    Key dpub, dpriv;
    Context dsa(CSP_CLASS_KEYGEN, CSP_ALG_DSA);
    dsa.u32(CSP_ATTR_KEY_LENGTH, 512);
    ASSERT_EQ(generate(dsa, dpub, dpriv), 0);
    Pkey dsaPriv = sslPrivate(EVP_PKEY_DSA, dpriv.der()), dsaPub = sslDsaPublic(dpub.der());
    ASSERT_TRUE(dsaPriv && dsaPub);
    EXPECT_TRUE(sslVerifySha1(dsaPub.get(), msg, sign(CSP_ALG_DSA, dpriv, msg)));
    EXPECT_EQ(verify(CSP_ALG_DSA, dpub, msg, sslSignSha1(dsaPriv.get(), msg)), 0);
    CspKeySize size{};
    ASSERT_EQ(CSP_QueryKeySizeInBits(100, nullptr, nullptr, &dpub.record, &size), 0);
    EXPECT_EQ(size.logicalBits, 512u);
}

TEST(ProviderPairs, EcdsaOnEveryOpenSslCurve) {
    vctest::Rng rng(6);
    for (const auto &curve : ecproto::kOpenSslCurves) {
        Key pub, priv;
        Context c(CSP_CLASS_KEYGEN, CSP_ALG_ECDSA);
        c.u32(CSP_ATTR_CURVE, uint32_t(curve.id));
        ASSERT_EQ(generate(c, pub, priv), 0) << curve.id;
        const Bytes msg = rng.bytes(40);
        const Bytes sig = sign(CSP_ALG_ECDSA, priv, msg);
        // The point is the key data's last OCTET STRING.
        const Bytes der = pub.der();
        const Bytes point(der.begin() + 7, der.end());
        EC_KEY *key = ecproto::sslKey(curve.nid, {}, point);
        const Bytes h = ecproto::sha1(msg);
        EXPECT_EQ(ECDSA_verify(0, h.data(), int(h.size()), sig.data(), int(sig.size()), key), 1) << curve.id;
        EC_KEY_free(key);
        EXPECT_EQ(verify(CSP_ALG_ECDSA, pub, msg, sig), 0);
        CspKeySize size{};
        ASSERT_EQ(CSP_QueryKeySizeInBits(100, nullptr, nullptr, &pub.record, &size), 0);
        EXPECT_EQ(size.logicalBits, curve.id == 7 ? 161u : 163u);
    }
}

// KCDSA (both hashes) and EC-KCDSA: what the provider signs, the engine verifies, and a changed
// message is refused with 1105.
TEST(ProviderPairs, KcdsaFamiliesAgreeWithTheEngines) {
    vctest::Rng rng(7);
    Key pub, priv;
    Context c(CSP_CLASS_KEYGEN, CSP_ALG_KCDSA);
    ASSERT_EQ(generate(c, pub, priv), 0);
    auto engine = decode<KcdsaKey>(pub.der(), E_KCDSA_Init, E_ASN1_GetKCDSAPublicKey1);
    Bytes msg = rng.bytes(50);
    for (uint32_t hash : {uint32_t(E_KCDSA_HASH_SHA1), uint32_t(E_KCDSA_HASH_HAS160)}) {
        const Bytes sig = sign(CSP_ALG_KCDSA, priv, msg, hash);
        EXPECT_EQ(E_KCDSA_Verify_New(hash, msg.data(), uint32_t(msg.size()), sig.data(), uint32_t(sig.size()), engine.get()), 1);
        EXPECT_EQ(verify(CSP_ALG_KCDSA, pub, msg, sig, hash), 0);
        msg[0] ^= 1;
        EXPECT_EQ(verify(CSP_ALG_KCDSA, pub, msg, sig, hash), -1);
        EXPECT_EQ(GetError(), 1105u);
    }
    Key epub, epriv;
    Context ec(CSP_CLASS_KEYGEN, CSP_ALG_ECKCDSA);
    ec.u32(CSP_ATTR_CURVE, 3);
    ASSERT_EQ(generate(ec, epub, epriv), 0);
    const Bytes esig = sign(CSP_ALG_ECKCDSA, epriv, msg);
    EXPECT_EQ(esig.size(), 47u);
    EXPECT_EQ(verify(CSP_ALG_ECKCDSA, epub, msg, esig), 0);
    // The staged form over two pieces gives a signature the one-shot form verifies.
    Context s(CSP_CLASS_SIGNATURE, CSP_ALG_ECKCDSA);
    s.pointer(CSP_ATTR_KEY, &epriv.record);
    DataBlob pieces[2] = {{10, msg.data()}, {uint32_t(msg.size() - 10), msg.data() + 10}};
    uint8_t out[60];
    DataBlob sig{sizeof out, out};
    ASSERT_EQ(CSP_SignDataInit(100, &s.record, nullptr), 0);
    ASSERT_EQ(CSP_SignDataUpdate(100, &s.record, pieces, 2), 0);
    ASSERT_EQ(CSP_SignDataFinal(100, &s.record, &sig), 0);
    EXPECT_EQ(verify(CSP_ALG_ECKCDSA, epub, msg, Bytes(out, out + sig.Length)), 0);
}

TEST(ProviderDerive, DhBothSidesAndEcdhAgainstOpenSsl) {
    Context params(CSP_CLASS_KEYGEN, CSP_ALG_DH);
    DataBlob p{0, nullptr};
    ASSERT_EQ(CSP_GenerateAlgorithmParams(100, &params.record, nullptr, 256, &p), 0) << GetError();
    Key apub, apriv, bpub, bpriv;
    Context kg(CSP_CLASS_KEYGEN, CSP_ALG_DH);
    kg.pointer(CSP_ATTR_ALG_PARAMS, &p);
    ASSERT_EQ(generate(kg, apub, apriv), 0);
    ASSERT_EQ(generate(kg, bpub, bpriv), 0);
    free(p.Data);
    auto publicValue = [](const Key &k) {
        const Bytes der = k.der();
        uint32_t words[3][150];
        ENUM n[3] = {{0, 0, words[0]}, {0, 0, words[1]}, {0, 0, words[2]}};
        ENUM *t[3] = {&n[0], &n[1], &n[2]};
        const uint8_t *q = der.data();
        uint32_t left = uint32_t(der.size());
        EXPECT_EQ(E_ASN1_GetENUM(t, 3, &q, &left), 1);
        Bytes y(300);
        y.resize(EN_ENUMToBytes(&n[2], y.data()));
        return y;
    };
    auto derive = [](uint32_t algorithm, Key &own, const Bytes &peer, int32_t *r) {
        Context c(CSP_CLASS_DERIVE, algorithm);
        c.pointer(CSP_ATTR_KEY, &own.record);
        DataBlob in = blob(peer), out{0, nullptr};
        *r = CSP_DeriveKey(100, &c.record, nullptr, &in, 0, 0, &out);
        Bytes b(out.Data, out.Data + (out.Data ? out.Length : 0));
        free(out.Data);
        return b;
    };
    int32_t r1 = 0, r2 = 0;
    const Bytes ab = derive(CSP_ALG_DH, apriv, publicValue(bpub), &r1), ba = derive(CSP_ALG_DH, bpriv, publicValue(apub), &r2);
    EXPECT_EQ(r1, 0);
    EXPECT_EQ(ab, ba);
    EXPECT_FALSE(ab.empty());
    derive(CSP_ALG_DH, apriv, Bytes{1}, &r1);
    EXPECT_EQ(r1, -1);
    EXPECT_EQ(GetError(), 1095u);

    for (const auto &curve : ecproto::kOpenSslCurves) {
        Key pub, priv;
        Context c(CSP_CLASS_KEYGEN, CSP_ALG_ECDH);
        c.u32(CSP_ATTR_CURVE, uint32_t(curve.id));
        ASSERT_EQ(generate(c, pub, priv), 0);
        const ecproto::KeyPair peer = ecproto::sslKeyPair(curve.nid);
        const Bytes z = derive(CSP_ALG_ECDH, priv, peer.q, &r1);
        ASSERT_EQ(r1, 0);
        const Bytes der = pub.der();
        EC_KEY *theirs = ecproto::sslKey(curve.nid, peer.d, peer.q);
        EC_KEY *ours = ecproto::sslKey(curve.nid, {}, Bytes(der.begin() + 7, der.end()));
        Bytes expect(32);
        expect.resize(size_t(ECDH_compute_key(expect.data(), expect.size(), EC_KEY_get0_public_key(ours), theirs, nullptr)));
        EXPECT_EQ(z, expect) << curve.id;
        EC_KEY_free(theirs);
        EC_KEY_free(ours);
    }
}

TEST(ProviderWrap, UnderRsaAndUnderDes) {
    // The key to wrap: RC2 with 40 effective bits, so that the effective bits travel too.
    Context kg(CSP_CLASS_KEYGEN, CSP_ALG_RC2);
    kg.u32(CSP_ATTR_KEY_LENGTH, 64).u32(CSP_ATTR_EFFECTIVE_BITS, 40);
    Bytes material = vctest::Rng(8).bytes(8), record(CSP_KEY_RECORD_MAX);
    DataBlob m = blob(material), key = blob(record);
    ASSERT_EQ(CSP_GenerateKey(100, &kg.record, nullptr, 0, 0, &m, &key), 0);
    record.resize(key.Length);
    key = blob(record);

    Key pub, priv;
    Context rsa(CSP_CLASS_KEYGEN, CSP_ALG_RSA);
    rsa.u32(CSP_ATTR_KEY_LENGTH, 0).u32(CSP_ATTR_MODULUS_BYTES, 64);
    ASSERT_EQ(generate(rsa, pub, priv), 0);
    Context wrapRsa(CSP_CLASS_ASYMMETRIC, CSP_ALG_RSA), unwrapRsa(CSP_CLASS_ASYMMETRIC, CSP_ALG_RSA);
    wrapRsa.pointer(CSP_ATTR_KEY, &pub.record);
    unwrapRsa.pointer(CSP_ATTR_KEY, &priv.record);

    Context desKg(CSP_CLASS_KEYGEN, CSP_ALG_DES);
    desKg.u32(CSP_ATTR_KEY_LENGTH, 64);
    Bytes desMaterial = vctest::Rng(9).bytes(8), desRecord(CSP_KEY_RECORD_MAX), iv(8, 7);
    DataBlob dm = blob(desMaterial), desKey = blob(desRecord), ivBlob = blob(iv);
    ASSERT_EQ(CSP_GenerateKey(100, &desKg.record, nullptr, 0, 0, &dm, &desKey), 0);
    Context wrapDes(CSP_CLASS_SYMMETRIC, CSP_ALG_DES), unwrapDes(CSP_CLASS_SYMMETRIC, CSP_ALG_DES);
    for (Context *c : {&wrapDes, &unwrapDes})
        c->pointer(CSP_ATTR_KEY, &desKey).u32(CSP_ATTR_MODE, CSP_MODE_CBC).pointer(CSP_ATTR_INIT_VECTOR, &ivBlob);

    for (auto [wrapper, unwrapper] : {std::pair{&wrapRsa, &unwrapRsa}, std::pair{&wrapDes, &unwrapDes}}) {
        DataBlob wrapped{0, nullptr}, back{0, nullptr};
        ASSERT_EQ(CSP_WrapKey(100, &wrapper->record, nullptr, &key, &wrapped), 0) << GetError();
        ASSERT_EQ(CSP_UnwrapKey(100, &unwrapper->record, nullptr, &wrapped, &back), 0) << GetError();
        EXPECT_EQ(Bytes(back.Data, back.Data + back.Length), record);
        // A damaged wrapping does not open.
        wrapped.Data[wrapped.Length - 1] ^= 1;
        free(back.Data);
        back = {0, nullptr};
        EXPECT_EQ(CSP_UnwrapKey(100, &unwrapper->record, nullptr, &wrapped, &back), -1);
        EXPECT_EQ(back.Data, nullptr);
        free(wrapped.Data);
    }
}

TEST(ProviderParams, DsaAndKcdsaParametersCarryPairs) {
    for (uint32_t algorithm : {uint32_t(CSP_ALG_DSA), uint32_t(CSP_ALG_KCDSA)}) {
        Context c(CSP_CLASS_KEYGEN, algorithm);
        uint8_t buffer[400];
        DataBlob p{sizeof buffer, buffer};
        ASSERT_EQ(CSP_GenerateAlgorithmParams(100, &c.record, nullptr, 512, &p), 0);
        Context kg(CSP_CLASS_KEYGEN, algorithm);
        kg.pointer(CSP_ATTR_ALG_PARAMS, &p);
        Key pub, priv;
        ASSERT_EQ(generate(kg, pub, priv), 0);
        EXPECT_EQ(pub.record.header.logicalBits, 512u);
        const Bytes msg{1, 2, 3};
        EXPECT_EQ(verify(algorithm, pub, msg, sign(algorithm, priv, msg)), 0);
        DataBlob tiny{10, buffer};
        EXPECT_EQ(CSP_GenerateAlgorithmParams(100, &c.record, nullptr, 512, &tiny), -1);
        EXPECT_EQ(GetError(), 1011u);
    }
}

// One row per reason.
TEST(ProviderRefusals, Table) {
    Key pub, priv, rsaPub, rsaPriv;
    Context good(CSP_CLASS_KEYGEN, CSP_ALG_RSA);
    good.u32(CSP_ATTR_KEY_LENGTH, 0).u32(CSP_ATTR_MODULUS_BYTES, 64);
    ASSERT_EQ(generate(good, rsaPub, rsaPriv), 0);
    uint8_t even[] = {4}, wide[] = {1, 0, 0, 0, 1};
    DataBlob evenE{1, even}, wideE{5, wide};
    Bytes junk(30, 0x30);
    DataBlob junkParams = blob(junk);
    Key small;
    small.record.keyData.Length = 20;
    struct Row {
        const char *what;
        std::function<int32_t()> call;
        uint32_t reason;
    };
    Context noModulus(CSP_CLASS_KEYGEN, CSP_ALG_RSA), badModulus(CSP_CLASS_KEYGEN, CSP_ALG_RSA),
        wrongClass(CSP_CLASS_DIGEST, CSP_ALG_RSA), unknown(CSP_CLASS_KEYGEN, 77), noCurve(CSP_CLASS_KEYGEN, CSP_ALG_ECDSA),
        badCurve(CSP_CLASS_KEYGEN, CSP_ALG_ECDSA), dhNoParams(CSP_CLASS_KEYGEN, CSP_ALG_DH), dsaBadParams(CSP_CLASS_KEYGEN, CSP_ALG_DSA),
        dsaSize(CSP_CLASS_KEYGEN, CSP_ALG_DSA), signNoKey(CSP_CLASS_SIGNATURE, CSP_ALG_RSA), signWrongKey(CSP_CLASS_SIGNATURE, CSP_ALG_DSA),
        signPublic(CSP_CLASS_SIGNATURE, CSP_ALG_RSA), staged(CSP_CLASS_SIGNATURE, CSP_ALG_RSA);
    noModulus.u32(CSP_ATTR_KEY_LENGTH, 0);
    badModulus.u32(CSP_ATTR_KEY_LENGTH, 0).u32(CSP_ATTR_MODULUS_BYTES, 63);
    badCurve.u32(CSP_ATTR_CURVE, 8);
    dsaBadParams.pointer(CSP_ATTR_ALG_PARAMS, &junkParams);
    dsaSize.u32(CSP_ATTR_KEY_LENGTH, 4096);
    signWrongKey.pointer(CSP_ATTR_KEY, &rsaPriv.record);
    signPublic.pointer(CSP_ATTR_KEY, &rsaPub.record);
    staged.pointer(CSP_ATTR_KEY, &rsaPriv.record);
    Bytes msg{1};
    DataBlob data = blob(msg), out{0, nullptr};
    const Row rows[] = {
        {"no context", [&] { return CSP_GenerateKeyPair(100, nullptr, nullptr, 0, 0, nullptr, &pub.record, 0, 0, nullptr, &priv.record); }, 1027},
        {"wrong class", [&] { return generate(wrongClass, pub, priv); }, 1026},
        {"unknown algorithm", [&] { return generate(unknown, pub, priv); }, 1023},
        {"no modulus size", [&] { return generate(noModulus, pub, priv); }, 10304},
        {"modulus too small", [&] { return generate(badModulus, pub, priv); }, 1101},
        {"even exponent", [&] { return generate(good, pub, priv, &evenE); }, 1101},
        {"five-byte exponent", [&] { return generate(good, pub, priv, &wideE); }, 1101},
        {"key buffer too short", [&] { return generate(good, small, priv); }, 1103},
        {"no curve", [&] { return generate(noCurve, pub, priv); }, 10304},
        {"unknown curve", [&] { return generate(badCurve, pub, priv); }, 1101},
        {"DH without parameters", [&] { return generate(dhNoParams, pub, priv); }, 10304},
        {"DSA parameters not DER", [&] { return generate(dsaBadParams, pub, priv); }, 1102},
        {"DSA size", [&] { return generate(dsaSize, pub, priv); }, 1101},
        {"sign without key", [&] { return CSP_SignData(100, &signNoKey.record, nullptr, &data, 1, &out); }, 10304},
        {"sign with another algorithm's key", [&] { return CSP_SignData(100, &signWrongKey.record, nullptr, &data, 1, &out); }, 1040},
        {"sign with a public key", [&] { return CSP_SignData(100, &signPublic.record, nullptr, &data, 1, &out); }, 1040},
        {"update without init", [&] { return CSP_SignDataUpdate(100, &staged.record, &data, 1); }, 1096},
        {"zero blob count", [&] { CSP_SignDataInit(100, &staged.record, nullptr); return CSP_SignDataUpdate(100, &staged.record, &data, 0); }, 1030},
        {"verify a short signature", [&] { return verify(CSP_ALG_RSA, rsaPub, msg, Bytes(10)); }, 1105},
        {"key size of nothing", [&] { return CSP_QueryKeySizeInBits(100, nullptr, nullptr, nullptr, nullptr); }, 1029},
        {"key size of junk", [&] { Key k; k.record.header.algorithm = CSP_ALG_RSA; k.record.keyData.Length = 3; return CSP_QueryKeySizeInBits(100, nullptr, nullptr, &k.record, reinterpret_cast<CspKeySize *>(&out)); }, 1040},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(row.call(), -1) << row.what;
        EXPECT_EQ(GetError(), row.reason) << row.what;
    }
    EXPECT_EQ(out.Data, nullptr);
}

}  // namespace
