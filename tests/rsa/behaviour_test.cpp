// The engine's deliberate behaviours, each against a model written here with GMP and OpenSSL:
// the v1.5 limits and padding scans, the CRT threshold and the qInv check, E_RSA_Verify's prefix
// comparison, the version 2.0 OAEP limits and decoder, and PSS's single cleared top bit.
#include <openssl/rsa.h>

#include "rsa/rsa_test_util.h"
#include "support/oracles.h"

namespace {

using namespace rsatest;
using vctest::Bytes;

struct Mpz {
    mpz_t z;
    Mpz() { mpz_init(z); }
    ~Mpz() { mpz_clear(z); }
    operator mpz_ptr() { return z; }
};

Bytes toBytes(mpz_ptr x, size_t width) {
    Bytes out(width);
    size_t n = 0;
    Bytes raw((mpz_sizeinbase(x, 2) + 7) / 8 + 1);
    mpz_export(raw.data(), &n, 1, 1, 0, 0, x);
    std::copy(raw.begin(), raw.begin() + long(n), out.end() - long(n));
    return out;
}

// x^exponent mod n as k bytes, by GMP.
Bytes rawPower(RsaKey *key, const Bytes &x, const ENUM *exponent) {
    Mpz b, e, n, r;
    mpz_import(b, x.size(), 1, 1, 0, 0, x.data());
    toMpz(e, exponent);
    toMpz(n, &key->n);
    mpz_powm(r, b, e, n);
    return toBytes(r, (mpz_sizeinbase(n, 2) + 7) / 8);
}

// MGF1-SHA-1 (or another digest) of seed, len bytes, by OpenSSL's hashes.
Bytes mgf1(const char *digest, const Bytes &seed, size_t len) {
    Bytes out;
    for (uint32_t c = 0; out.size() < len; c++) {
        Bytes in = seed;
        for (int s = 24; s >= 0; s -= 8) in.push_back(uint8_t(c >> s));
        const Bytes h = vctest::digest(digest, in);
        out.insert(out.end(), h.begin(), h.end());
    }
    out.resize(len);
    return out;
}

Key &key512() {
    static Key k = [] {
        Key key;
        E_RSA_GenerateKey(key.get(), 512, 65537);
        return key;
    }();
    return k;
}

Key &key1024() {
    static Key k = [] {
        EVP_PKEY *p = openSslKey(1024);
        Key key = fromOpenSsl(p);
        EVP_PKEY_free(p);
        return key;
    }();
    return k;
}

TEST(RsaBehaviour, Pkcs1LengthLimits) {
    Key &key = key1024();
    Bytes msg(200, 0x5A), out(128);
    EXPECT_EQ(E_RSA_Public_Encrypt(out.data(), msg.data(), 117, key.get()), 128);
    EXPECT_EQ(E_RSA_Public_Encrypt(out.data(), msg.data(), 118, key.get()), -1);
    EXPECT_EQ(E_RSA_Private_Encrypt(out.data(), msg.data(), 117, key.get()), 128);
    EXPECT_EQ(E_RSA_Private_Encrypt(out.data(), msg.data(), 118, key.get()), -1);
    for (uint32_t len : {127u, 129u}) {
        EXPECT_EQ(E_RSA_Private_Decrypt(out.data(), msg.data(), len, key.get()), -1);
        EXPECT_EQ(E_RSA_Public_Decrypt(out.data(), msg.data(), len, key.get()), -1);
    }
    int32_t sigLen = 0;
    EXPECT_EQ(E_RSA_Sign(msg.data(), 118, out.data(), &sigLen, key.get()), 1);
    EXPECT_EQ(sigLen, -1);
}

// Blocks made here and raised to the key's exponent by GMP: the padding scans against their
// model (type byte, separator within k - 2 bytes, at least 8 padding bytes, only 0xFF in type 1).
TEST(RsaBehaviour, PaddingScans) {
    Key &key = key1024();
    const uint32_t k = 128;
    struct Case {
        uint8_t type;
        uint32_t padding;  // bytes before the separator; k - 2 means no separator
        uint8_t fill;
        int32_t expected;  // message length or -1
    };
    const Case cases[] = {
        {2, 8, 0x33, int32_t(k - 3 - 8)},
        {2, 7, 0x33, -1},
        {2, k - 2, 0x33, -1},
        {1, 8, 0xFF, int32_t(k - 3 - 8)},
        {1, 7, 0xFF, -1},
        {1, 20, 0xFE, -1},
        {1, k - 2, 0xFF, -1},
        {1, k - 3, 0xFF, 0},
        {3, 20, 0xFF, -1},
    };
    for (const Case &c : cases) {
        Bytes block(k, 0x44);
        block[0] = 0;
        block[1] = c.type;
        std::fill(block.begin() + 2, block.begin() + 2 + long(c.padding), c.fill);
        if (c.padding < k - 2) block[2 + c.padding] = 0;
        Bytes out(k, 0xEE);
        const bool isPrivate = c.type != 1;
        const Bytes in = rawPower(key.get(), block, isPrivate ? &key->e : &key->d);
        const int32_t got = isPrivate ? E_RSA_Private_Decrypt(out.data(), in.data(), k, key.get())
                                      : E_RSA_Public_Decrypt(out.data(), in.data(), k, key.get());
        EXPECT_EQ(got, c.expected) << int(c.type) << " " << c.padding;
        if (got > 0) {
            EXPECT_TRUE(std::equal(out.begin(), out.begin() + got, block.end() - got));
        }
    }
    // A block with a second leading zero (00 00 02 ...): the message length counts from k, so the
    // copy ends with a zero byte from the cleared buffer, never beyond it.
    Bytes block(k, 0x44);
    block[0] = block[1] = 0;
    block[2] = 2;
    std::fill(block.begin() + 3, block.begin() + 13, 0x33);
    block[13] = 0;
    const Bytes in = rawPower(key.get(), block, &key->e);
    Bytes out(k);
    ASSERT_EQ(E_RSA_Private_Decrypt(out.data(), in.data(), k, key.get()), int32_t(k - 2 - 11));
    EXPECT_TRUE(std::equal(block.begin() + 14, block.end(), out.begin()));
    EXPECT_EQ(out[k - 14], 0);
}

// CRT from 16 words of qInv on, after checking the low word of q * qInv mod p; d below.
TEST(RsaBehaviour, CrtThresholdAndConsistencyCheck) {
    for (Key *key : {&key512(), &key1024()}) {
        const Bytes msg(20, 0x61);
        const uint32_t k = key->k();
        Bytes block(k, 0xFF);
        block[0] = 0, block[1] = 1, block[k - 21] = 0;
        std::copy(msg.begin(), msg.end(), block.end() - 20);
        const Bytes exact = rawPower(key->get(), block, &(*key)->d);
        Mpz q, p, qInv, t;
        toMpz(q, &(*key)->q);
        toMpz(p, &(*key)->p);
        toMpz(qInv, &(*key)->qInv);
        const Bytes saved = bytesOf(&(*key)->qInv);
        // Wrong values: qInv + 1 (low word of q qInv mod p no longer 1) and qInv (1 + 2^32) mod p
        // (the product is 1 + 2^32: the check passes and CRT runs with the wrong coefficient).
        Mpz wrong[2];
        mpz_add_ui(wrong[0], qInv, 1);
        mpz_mul_2exp(t, qInv, 32);
        mpz_add(t, t, qInv);
        mpz_mod(wrong[1], t, p);
        for (int w = 0; w < 2; w++) {
            setNumber(&(*key)->qInv, toBytes(wrong[w], (mpz_sizeinbase(wrong[w], 2) + 7) / 8));
            Bytes out(k, 0xEE);
            const int32_t got = E_RSA_Private_Encrypt(out.data(), msg.data(), 20, key->get());
            if ((*key)->qInv.length < 16) {  // d: the coefficient is not used
                EXPECT_EQ(got, int32_t(k));
                EXPECT_EQ(out, exact);
            } else if (w == 0) {
                EXPECT_EQ(got, 0);
                EXPECT_EQ(out, Bytes(k, 0xEE));
            } else {  // Garner's recombination with the wrong coefficient, by GMP
                Mpz m1, m2, e1, e2, c, h;
                mpz_import(c, k, 1, 1, 0, 0, block.data());
                toMpz(e1, &(*key)->dP);
                toMpz(e2, &(*key)->dQ);
                mpz_powm(m1, c, e1, p);
                mpz_powm(m2, c, e2, q);
                mpz_sub(h, m1, m2);
                mpz_mul(h, h, wrong[1]);
                mpz_mod(h, h, p);
                mpz_mul(h, h, q);
                mpz_add(h, h, m2);
                EXPECT_EQ(got, int32_t(k));
                EXPECT_EQ(out, toBytes(h, k));
            }
        }
        // 15 words of a wrong coefficient: d is used and the result is exact.
        if (k == 128) {
            (*key)->qInv.length = 15;
            Bytes out(k);
            EXPECT_EQ(E_RSA_Private_Encrypt(out.data(), msg.data(), 20, key->get()), int32_t(k));
            EXPECT_EQ(out, exact);
        }
        setNumber(&(*key)->qInv, saved);
    }
}

// E_RSA_Verify compares only the first msgLen bytes of what the signature opens to.
TEST(RsaBehaviour, VerifyComparesThePrefix) {
    Key &key = key1024();
    const Bytes signed_ = vctest::bytesOf("digest-info-and-trailing-garbage");
    Bytes sig(128);
    int32_t sigLen = 0;
    E_RSA_Sign(signed_.data(), int32_t(signed_.size()), sig.data(), &sigLen, key.get());
    for (size_t len = 0; len <= signed_.size(); len++)
        EXPECT_EQ(E_RSA_Verify(signed_.data(), int32_t(len), sig.data(), 128, key.get()), 1) << len;
    Bytes other = signed_;
    other[3] ^= 1;
    EXPECT_EQ(E_RSA_Verify(other.data(), int32_t(other.size()), sig.data(), 128, key.get()), 0);
    Bytes longer = signed_;
    longer.push_back(0);
    EXPECT_EQ(E_RSA_Verify(longer.data(), int32_t(longer.size()), sig.data(), 128, key.get()), 0);
    const Bytes zeros(20, 0), junk(128, 0x77);
    EXPECT_EQ(E_RSA_Verify(zeros.data(), 20, junk.data(), 128, key.get()), 0);
}

// Version 2.0 OAEP on a 1024-bit key: above k - 22 = 106 bytes refused; from k - 41 + 1 = 87
// to 106 the encoder complains, yet the all-zero block is encrypted (the library's
// exponentiation gives 1 for a zero base on a 1024-bit modulus) and k is returned.
TEST(RsaBehaviour, OaepV20Limits) {
    Key &key = key1024();
    const Bytes msg(120, 0x42), P = vctest::bytesOf("params");
    Bytes out(128), back(128);
    std::string said = captureStdout([&] {
        EXPECT_EQ(E_RSA_Public_Encrypt_OAEP(out.data(), msg.data(), 107, P.data(), 6, key.get()), -1);
    });
    EXPECT_EQ(said, "encrypt part : message too long. encoding error");
    Bytes one(128, 0);
    one[127] = 1;
    for (int32_t len : {87, 100, 106}) {
        said = captureStdout([&] {
            EXPECT_EQ(E_RSA_Public_Encrypt_OAEP(out.data(), msg.data(), len, P.data(), 6, key.get()), 128);
        });
        EXPECT_EQ(said, "Input message too long. Fail to oaep encoding!");
        EXPECT_EQ(out, one);
    }
    said = captureStdout([&] {
        EXPECT_EQ(E_RSA_Private_Decrypt_OAEP(back.data(), one.data(), 128, P.data(), 6, key.get()), -1);
    });
    EXPECT_EQ(said, "decrypt part : EM byte Length too long , decryption error");
    // Up to 86 bytes: the block is RFC 8017's without its leading zero, so OpenSSL opens it.
    EVP_PKEY *pkey = toOpenSsl(key.get(), true);
    for (int32_t len : {0, 86}) {
        said = captureStdout([&] {
            EXPECT_EQ(E_RSA_Public_Encrypt_OAEP(out.data(), msg.data(), len, P.data(), 6, key.get()), 128);
        });
        EXPECT_EQ(said, "");
        EXPECT_EQ(openSsl(pkey, Op::kDecrypt, RSA_PKCS1_OAEP_PADDING, out, "SHA1", -2, P),
                  Bytes(msg.begin(), msg.begin() + len));
        EXPECT_EQ(E_RSA_Private_Decrypt_OAEP(back.data(), out.data(), 128, P.data(), 6, key.get()), len);
    }
    EVP_PKEY_free(pkey);
}

// The version 2.0 decoder: the bytes between pHash and the first 0x01 are not checked, a block
// without 0x01 yields nothing, a wrong pHash is reported, and an opened block shorter than
// k - 1 bytes (first masked byte zero) is refused.
TEST(RsaBehaviour, OaepV20Decoder) {
    Key &key = key1024();
    const Bytes P = vctest::bytesOf("p"), M = vctest::bytesOf("message");
    const Bytes pHash = vctest::digest("SHA1", P);
    struct Case {
        Bytes db;
        int32_t expected;
        const char *said;
    };
    auto dbWith = [&](const Bytes &hashPart, uint8_t filler, bool separator) {
        Bytes db = hashPart;
        db.resize(107 - M.size() - 1, filler);
        db.push_back(separator ? 0x01 : filler);
        db.insert(db.end(), M.begin(), M.end());
        return db;
    };
    Bytes badHash = pHash;
    badHash[0] ^= 1;
    const Case cases[] = {
        {dbWith(pHash, 0x00, true), int32_t(M.size()), ""},
        {dbWith(pHash, 0x9C, true), int32_t(M.size()), ""},  // non-zero padding accepted
        {dbWith(pHash, 0x00, false), -1, ""},
        {dbWith(badHash, 0x00, true), -1, "pHash' does mot equal pHash"},
    };
    for (const Case &c : cases) {
        for (bool shortBlock : {false, true}) {
            // Seeds are tried until maskedSeed's first byte is zero (a block one byte short)
            // or non-zero, as the case asks.
            Bytes em;
            for (uint32_t t = 0; em.empty() || (em[0] == 0) != shortBlock; t++) {
                Bytes seed(20, 0x5C);
                for (int i = 0; i < 4; i++) seed[size_t(i)] = uint8_t(t >> (8 * i));
                Bytes maskedDb = c.db;
                const Bytes dbMask = mgf1("SHA1", seed, maskedDb.size());
                for (size_t i = 0; i < maskedDb.size(); i++) maskedDb[i] ^= dbMask[i];
                em = mgf1("SHA1", maskedDb, 20);
                for (size_t i = 0; i < 20; i++) em[i] ^= seed[i];
                em.insert(em.end(), maskedDb.begin(), maskedDb.end());
            }
            const Bytes ct = rawPower(key.get(), em, &key->e);
            Bytes out(128);
            int32_t got = 0;
            const std::string said = captureStdout([&] {
                got = E_RSA_Private_Decrypt_OAEP(out.data(), ct.data(), 128, P.data(), uint32_t(P.size()),
                                                 key.get());
            });
            if (shortBlock) {
                EXPECT_EQ(got, -1);
                EXPECT_EQ(said, "decrypt part : EM byte Length too long , decryption error");
                continue;
            }
            EXPECT_EQ(got, c.expected);
            EXPECT_EQ(said, c.said);
            if (got > 0) {
                EXPECT_EQ(Bytes(out.begin(), out.begin() + got), M);
            }
        }
    }
}

// PSS clears exactly one top bit. With a 1025-bit modulus (emBits 1024, a multiple of 8) RFC 8017
// clears none, so OpenSSL accepts our signature exactly when the mask's top bit is 0.
TEST(RsaBehaviour, PssClearsOneTopBit) {
    Key key;
    E_RSA_GenerateKey(key.get(), 1025, 65537);
    EVP_PKEY *pkey = toOpenSsl(key.get(), false);
    int accepted = 0;
    for (int i = 0; i < 24; i++) {
        const Bytes msg(1, uint8_t(i));
        Bytes sig(129);
        int32_t sigLen = 0;
        ASSERT_EQ(E_RSASSA_PSS_Sign(1, 1, sig.data(), &sigLen, msg.data(), 1, 20, key.get()), 1);
        const Bytes em = rawPower(key.get(), sig, &key->e);  // 129 bytes: 00 || EM (128)
        ASSERT_EQ(em[0], 0);
        EXPECT_EQ(em[1] & 0x80, 0);
        const Bytes h(em.end() - 21, em.end() - 1);
        const bool maskTopClear = (mgf1("SHA1", h, 1)[0] & 0x80) == 0;
        EXPECT_EQ(openSslPssVerify(pkey, "SHA1", 20, msg, sig), maskTopClear);
        accepted += maskTopClear;
        EXPECT_EQ(E_RSASSA_PSS_Verify(1, 1, sig.data(), 129, msg.data(), 1, 20, key.get()), 1);
    }
    EXPECT_GT(accepted, 0);
    EXPECT_LT(accepted, 24);
    EVP_PKEY_free(pkey);
}

// The PSS messages and their hash selection: identifiers 6, 7, 8 pick SHA-256/384/512, any
// other SHA-1 (OpenSSL verifies each choice).
TEST(RsaBehaviour, PssHashSelectionAndMessages) {
    Key &key = key1024();
    EVP_PKEY *pkey = toOpenSsl(key.get(), false);
    const Bytes msg = vctest::bytesOf("pss");
    for (uint32_t id : {2u, 5u, 6u, 7u, 8u, 99u}) {
        const char *name = digestName(int(id));
        Bytes sig(128);
        int32_t sigLen = 0;
        ASSERT_EQ(E_RSASSA_PSS_Sign(id, id, sig.data(), &sigLen, msg.data(), 3, 10, key.get()), 1);
        EXPECT_TRUE(openSslPssVerify(pkey, name, 10, msg, sig)) << id;
    }
    Bytes sig(128);
    int32_t sigLen = 0;
    std::string said = captureStdout(
        [&] { EXPECT_EQ(E_RSASSA_PSS_Sign(8, 8, sig.data(), &sigLen, msg.data(), 3, 63, key.get()), 0); });
    EXPECT_EQ(said, "EMSA_PSS_ENCODE ERROR : intended encoded message length too short(emLen < hLen+sLen+2)");
    ASSERT_EQ(E_RSASSA_PSS_Sign(1, 1, sig.data(), &sigLen, msg.data(), 3, 20, key.get()), 1);
    said = captureStdout(
        [&] { EXPECT_EQ(E_RSASSA_PSS_Verify(8, 8, sig.data(), 128, msg.data(), 3, 63, key.get()), 0); });
    EXPECT_EQ(said,
              "\nEMSA_PSS_VERIFY ERROR : encoded message too short\npss verify error : invalid signature");
    sig[127] ^= 1;
    said = captureStdout(
        [&] { EXPECT_EQ(E_RSASSA_PSS_Verify(1, 1, sig.data(), 128, msg.data(), 3, 20, key.get()), 0); });
    EXPECT_EQ(said, "\npss verify error : invalid signature");
    EVP_PKEY_free(pkey);
}

}  // namespace
