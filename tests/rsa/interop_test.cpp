// Interoperability with OpenSSL 3 in both directions: PKCS #1 v1.5 encryption and signatures,
// RSAES-OAEP (SHA-1) and RSASSA-PSS (SHA-1, SHA-256; salts 0, 20, 32), on OpenSSL's keys of 1024
// and 2048 bits and on a key of our own generator.
#include <openssl/rsa.h>

#include "rsa/rsa_test_util.h"
#include "support/oracles.h"

namespace {

using namespace rsatest;
using vctest::Bytes;

struct KeyPair {
    Key ours;
    EVP_PKEY *theirs;
    KeyPair(Key k, EVP_PKEY *p) : ours(std::move(k)), theirs(p) {}
    KeyPair(KeyPair &&o) : ours(std::move(o.ours)), theirs(o.theirs) { o.theirs = nullptr; }
    ~KeyPair() { EVP_PKEY_free(theirs); }  // at exit, so that the leak checker stays quiet
};

// OpenSSL keys of 1024 and 2048 bits, and one of ours (1024 bits) converted for OpenSSL.
std::vector<KeyPair> &keys() {
    static std::vector<KeyPair> all = [] {
        std::vector<KeyPair> v;
        for (unsigned bits : {1024u, 2048u}) {
            EVP_PKEY *p = openSslKey(bits);
            v.emplace_back(fromOpenSsl(p), p);
        }
        Key own;
        E_RSA_GenerateKey(own.get(), 1024, 65537);
        EVP_PKEY *p = toOpenSsl(own.get(), true);
        v.emplace_back(std::move(own), p);
        return v;
    }();
    return all;
}

TEST(RsaInterop, Pkcs1EncryptionBothWays) {
    vctest::Rng rng(1);
    for (KeyPair &kp : keys()) {
        const uint32_t k = kp.ours.k();
        for (uint32_t len : {0u, 1u, 20u, k - 11}) {
            const Bytes msg = rng.bytes(len);
            Bytes ct(k), pt(k);
            ASSERT_EQ(E_RSA_Public_Encrypt(ct.data(), msg.data(), int32_t(len), kp.ours.get()), int32_t(k));
            EXPECT_EQ(openSsl(kp.theirs, Op::kDecrypt, RSA_PKCS1_PADDING, ct), msg);
            const Bytes theirs = openSsl(kp.theirs, Op::kEncrypt, RSA_PKCS1_PADDING, msg);
            ASSERT_EQ(E_RSA_Private_Decrypt(pt.data(), theirs.data(), uint32_t(theirs.size()), kp.ours.get()),
                      int32_t(len));
            pt.resize(len);
            EXPECT_EQ(pt, msg);
        }
    }
}

TEST(RsaInterop, Pkcs1SignaturesAreOpenSslsBytes) {
    vctest::Rng rng(2);
    for (KeyPair &kp : keys()) {
        for (int hashId : {1, 6}) {
            const Bytes msg = rng.bytes(100);
            Bytes block = digestInfoPrefix(hashId);
            const Bytes d = vctest::digest(digestName(hashId), msg);
            block.insert(block.end(), d.begin(), d.end());
            Bytes sig(kp.ours.k());
            int32_t sigLen = 0;
            EXPECT_EQ(E_RSA_Sign(block.data(), int32_t(block.size()), sig.data(), &sigLen, kp.ours.get()), 1);
            ASSERT_EQ(sigLen, int32_t(kp.ours.k()));
            // v1.5 signatures are deterministic: OpenSSL's raw signature of the same block.
            EXPECT_EQ(sig, openSsl(kp.theirs, Op::kSign, RSA_PKCS1_PADDING, block));
            EXPECT_EQ(openSsl(kp.theirs, Op::kVerifyRecover, RSA_PKCS1_PADDING, sig), block);
            EXPECT_EQ(E_RSA_Verify(block.data(), int32_t(block.size()), sig.data(), uint32_t(sig.size()),
                                   kp.ours.get()),
                      1);
            sig[sig.size() / 2] ^= 1;
            EXPECT_EQ(E_RSA_Verify(block.data(), int32_t(block.size()), sig.data(), uint32_t(sig.size()),
                                   kp.ours.get()),
                      0);
        }
    }
}

TEST(RsaInterop, OaepBothWays) {
    vctest::Rng rng(3);
    for (KeyPair &kp : keys()) {
        const uint32_t k = kp.ours.k();
        for (const Bytes &label : {Bytes{}, vctest::bytesOf("label")}) {
            for (uint32_t len : {0u, 16u, k - 42}) {
                const Bytes msg = rng.bytes(len);
                Bytes ct(k), pt(k);
                ASSERT_EQ(E_RSAES_OAEP_Encrypt(ct.data(), msg.data(), len, label.data(),
                                               uint32_t(label.size()), kp.ours.get()),
                          int32_t(k));
                EXPECT_EQ(openSsl(kp.theirs, Op::kDecrypt, RSA_PKCS1_OAEP_PADDING, ct, "SHA1", -2, label),
                          msg);
                const Bytes theirs =
                    openSsl(kp.theirs, Op::kEncrypt, RSA_PKCS1_OAEP_PADDING, msg, "SHA1", -2, label);
                ASSERT_EQ(E_RSAES_OAEP_Decrypt(pt.data(), theirs.data(), uint32_t(theirs.size()),
                                               label.data(), uint32_t(label.size()), kp.ours.get()),
                          int32_t(len));
                pt.resize(len);
                EXPECT_EQ(pt, msg);
            }
        }
    }
}

TEST(RsaInterop, PssBothWays) {
    vctest::Rng rng(4);
    for (KeyPair &kp : keys()) {
        for (uint32_t hashId : {1u, 6u}) {
            for (uint32_t salt : {0u, 20u, 32u}) {
                const Bytes msg = rng.bytes(77);
                Bytes sig(kp.ours.k());
                int32_t sigLen = 0;
                ASSERT_EQ(E_RSASSA_PSS_Sign(hashId, hashId, sig.data(), &sigLen, msg.data(),
                                            uint32_t(msg.size()), salt, kp.ours.get()),
                          1);
                EXPECT_TRUE(openSslPssVerify(kp.theirs, digestName(int(hashId)), int(salt), msg, sig));
                const Bytes theirs = openSslPssSign(kp.theirs, digestName(int(hashId)), int(salt), msg);
                EXPECT_EQ(E_RSASSA_PSS_Verify(hashId, hashId, theirs.data(), uint32_t(theirs.size()),
                                              msg.data(), uint32_t(msg.size()), salt, kp.ours.get()),
                          1);
            }
        }
    }
}

}  // namespace
