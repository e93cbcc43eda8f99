// ECDH against OpenSSL's shared secret, the X9.63 key derivation against a model on OpenSSL's
// SHA-1 (one-octet counter, the bit clearing only when the key ends inside a block), the two
// agreement schemes, and EC encryption round trips against the same model.
#include "ecproto/ecproto_test_util.h"

#include <openssl/ecdh.h>

namespace {

using namespace ecproto;

// SHA-1(z || 00 00 00 c || info) blocks, c modulo 256, cut to ceil(bits / 8) octets; the low
// bits of the last octet cleared only when the octets end inside a block.
Bytes modelKdf(const Bytes &z, uint32_t bits, const Bytes &info) {
    const size_t bytes = (bits + 7) / 8;
    Bytes out;
    for (uint32_t c = 1; out.size() < bytes; c++) {
        Bytes in = z;
        in.insert(in.end(), {0, 0, 0, uint8_t(c)});
        in.insert(in.end(), info.begin(), info.end());
        const Bytes block = sha1(in);
        out.insert(out.end(), block.begin(), block.end());
    }
    out.resize(bytes);
    if (bytes % 20 != 0 && bits % 8 != 0) out.back() &= uint8_t(0xFF << (8 - bits % 8));
    return out;
}

Bytes sslEcdh(int nid, const KeyPair &own, const Bytes &peer) {
    EC_KEY *key = sslKey(nid, own.d, own.q), *other = sslKey(nid, {}, peer);
    Bytes z(32);
    const int n = ECDH_compute_key(z.data(), z.size(), EC_KEY_get0_public_key(other), key, nullptr);
    z.resize(size_t(n > 0 ? n : 0));
    EC_KEY_free(key), EC_KEY_free(other);
    return z;
}

Bytes derive(uint32_t bits, Bytes z, Bytes info) {
    Bytes out((bits + 7) / 8 + 20, 0xEE);
    Opaque8 zo = view(z), io = view(info), ko{bits, out.data()};
    EXPECT_EQ(ZENOR_V1_DeriveKeyData(0, &zo, &ko, &io), 0);
    EXPECT_EQ(out[(bits + 7) / 8], 0xEE);  // nothing written past the key
    out.resize((bits + 7) / 8);
    return out;
}

TEST(Ecdh, SameSharedSecretAsOpenSsl) {
    for (const Curve &c : kOpenSslCurves) {
        SCOPED_TRACE(c.id);
        const Params params(c.id);
        const KeyPair a = sslKeyPair(c.nid), b = sslKeyPair(c.nid);
        Bytes ad = a.d, bq = b.q;
        Opaque8 d = view(ad), q = view(bq);
        Out z(21);
        ASSERT_EQ(E_ECC_ECDH_Primitive(c.id, &params.p, &q, &d, &z.o), 0);
        EXPECT_EQ(z.get().size(), width(c.id));
        EXPECT_EQ(z.get(), sslEcdh(c.nid, b, a.q));
        // Key agreement: the derivation of that value, and the unified model over two of them.
        Bytes info = vctest::bytesOf("info");
        Opaque8 io = view(info);
        Out key(40);
        key.o.length = 256;
        ASSERT_EQ(E_ECC_X9_63_KAS_OPDHS(c.id, &params.p, &q, &d, &key.o, &io), 0);
        EXPECT_EQ(Bytes(key.b.begin(), key.b.begin() + 32), modelKdf(z.get(), 256, info));
        Bytes both = z.get(), second = sslEcdh(c.nid, a, b.q);
        both.insert(both.end(), second.begin(), second.end());
        key.o.length = 161;
        ASSERT_EQ(E_ECC_X9_63_FUMS(c.id, &params.p, &q, &d, &q, &d, &key.o, nullptr), 0);
        EXPECT_EQ(Bytes(key.b.begin(), key.b.begin() + 21), modelKdf(both, 161, {}));
        // Peers that are not points of the curve are refused before the private key is used.
        Bytes offCurve = bq, infinity(bq.size(), 0), compressed(bq.begin(), bq.begin() + 1 + long(width(c.id)));
        offCurve.back() ^= 1;
        infinity[0] = 0x04;
        compressed[0] = 0x06;
        for (Bytes peer : {offCurve, infinity, compressed, Bytes{}}) {
            Opaque8 po = view(peer);
            EXPECT_EQ(ZENOR_V1_ECDHPrimitive(c.id, &params.p, &po, &d, &z.o), -4) << vctest::toHex(peer);
        }
    }
}

TEST(Ecdh, KeyDerivationClearsBitsOnlyInsideABlock) {
    vctest::Rng rng(11);
    const Bytes z = rng.bytes(21), info = rng.bytes(7);
    for (uint32_t bits : {1u, 8u, 159u, 160u, 161u, 167u, 168u, 319u, 321u, 257u * 160u}) {
        SCOPED_TRACE(bits);
        EXPECT_EQ(derive(bits, z, info), modelKdf(z, bits, info));
    }
    const Bytes k161 = derive(161, z, {}), k159 = derive(159, z, {});
    EXPECT_EQ(k161.size(), 21u);
    EXPECT_EQ(k161[20] & 0x7F, 0);
    EXPECT_EQ(k159.size(), 20u);
    EXPECT_EQ(k159, derive(160, z, {}));  // the same 20 octets: nothing cleared
    // Block 257 repeats block 1: the counter has one octet.
    const Bytes longKey = derive(257 * 160, z, info);
    EXPECT_EQ(Bytes(longKey.end() - 20, longKey.end()), Bytes(longKey.begin(), longKey.begin() + 20));
}

TEST(EcEncryption, RoundTripsAndMatchesTheModel) {
    vctest::Rng rng(13);
    for (const Curve &c : kOpenSslCurves) {
        SCOPED_TRACE(c.id);
        const Params params(c.id);
        const KeyPair kp = sslKeyPair(c.nid);
        const uint32_t rLength = params.p.G.length;
        for (size_t size : {0, 1, 19, 20, 21, 1000}) {
            Bytes msg = rng.bytes(size), q = kp.q, d = kp.d;
            Opaque8 mo = view(msg), qo = view(q), dO = view(d);
            Out ct(rLength + size + 1);
            ASSERT_EQ(E_ECC_Encryption(c.id, &params.p, &ct.o, &mo, &qo), 1);
            const Bytes cipher = ct.get();
            ASSERT_EQ(cipher.size(), rLength + size);
            EXPECT_EQ(ZENOR_V1_ECC_getLengthOfMessageToBeEncrypted(&params.p, uint32_t(size)), cipher.size());
            // R || msg XOR SHA-1(Z || counter), Z = x(d R) from OpenSSL.
            const Bytes r(cipher.begin(), cipher.begin() + rLength);
            Bytes expected = modelKdf(sslEcdh(c.nid, kp, r), uint32_t(size * 8), {});
            for (size_t i = 0; i < size; i++) expected[i] ^= msg[i];
            EXPECT_EQ(Bytes(cipher.begin() + rLength, cipher.end()), expected);
            Bytes cb = cipher;
            Opaque8 co = view(cb);
            Out pt(size + 1);
            ASSERT_EQ(E_ECC_Decryption(c.id, &params.p, &pt.o, &co, &dO), 1);
            EXPECT_EQ(pt.get(), msg);
            if (size == 21) {  // a wrong key decrypts to other bytes, without an error
                Bytes other = kp.d;
                other.back() ^= 1;
                Opaque8 oo = view(other);
                ASSERT_EQ(E_ECC_Decryption(c.id, &params.p, &pt.o, &co, &oo), 1);
                EXPECT_NE(pt.get(), msg);
            }
        }
    }
}

TEST(EcEncryption, LengthsAndRefusals) {
    const Params params(3);
    const KeyPair kp = sslKeyPair(NID_sect163k1);
    // The guard looks at the low 8 bits of the ciphertext length only.
    for (const auto &[length, expected] : std::vector<std::pair<uint32_t, uint32_t>>{
             {43, 0xFFFFFFFF}, {44, 1}, {255, 212}, {256 + 43, 0xFFFFFFFF}, {256 + 44, 257}, {10, 0xFFFFFFFF}}) {
        const Opaque8 ct{length, nullptr};
        EXPECT_EQ(ZENOR_V1_ECC_getLengthOfOriginalMessage(&params.p, &ct), expected) << length;
    }
    Bytes q = kp.q, d = kp.d, big(5121), shortCt(42, 4);
    Opaque8 qo = view(q), dO = view(d), bo = view(big), so = view(shortCt);
    Out out(6000);
    EXPECT_EQ(E_ECC_Encryption(3, &params.p, &out.o, &bo, &qo), -4);  // the key stream would repeat
    EXPECT_EQ(E_ECC_Decryption(3, &params.p, &out.o, &so, &dO), -1);
    Bytes offCurve(43, 0);
    offCurve[0] = 4, offCurve[1] = 1;
    Opaque8 oc = view(offCurve);
    EXPECT_EQ(E_ECC_Decryption(3, &params.p, &out.o, &oc, &dO), -4);
}

}  // namespace
