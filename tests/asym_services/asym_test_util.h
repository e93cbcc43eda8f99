// Shared pieces of the public-key service and provider tests: keys made once per program by the
// engines, their OpenSSL forms, and blobs over byte vectors.
#pragma once
#define OPENSSL_SUPPRESS_DEPRECATED  // d2i_DSAPublicKey reads the SEQUENCE { y, p, q, g } directly

#include <vorelcrypto/vorelcrypto.h>

#include <openssl/dsa.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <gtest/gtest.h>

#include <memory>

#include "support/test_util.h"

namespace asymtest {

using vctest::Bytes;

inline DataBlob blob(Bytes &b) { return {uint32_t(b.size()), b.empty() ? nullptr : b.data()}; }
inline DataBlob blob(const Bytes &b) { return blob(const_cast<Bytes &>(b)); }

struct KeyPair {
    Bytes publicDer, privateDer;
};

// An RSA pair of `bits` made by the engine, e = 65537, as the provider writes it.
inline KeyPair rsaPair(uint32_t bits) {
    auto key = std::make_unique<RsaKey>();
    E_RSA_Init(key.get());
    E_RSA_GenerateKey(key.get(), bits, 65537);
    KeyPair kp;
    kp.publicDer.resize(size_t(E_ASN1_GetRSAPublicKeyBytes(key.get())));
    kp.publicDer.resize(size_t(E_ASN1_PutRSAPublicKey(key.get(), kp.publicDer.data())));
    kp.privateDer.resize(size_t(E_ASN1_GetRSAPrivateKeyBytes(key.get())));
    kp.privateDer.resize(size_t(E_ASN1_PutRSAPrivateKey(key.get(), kp.privateDer.data())));
    return kp;
}

// The cached 512-bit pair.
inline const KeyPair &rsa512() {
    static const KeyPair kp = rsaPair(512);
    return kp;
}

// A KCDSA pair on the built-in parameters.
inline const KeyPair &kcdsaFixed() {
    static const KeyPair kp = [] {
        auto key = std::make_unique<KcdsaKey>();
        E_KCDSA_Init(key.get());
        E_KCDSA_GenerateKey_fixParam(key.get(), 0, 160);
        KeyPair p;
        p.publicDer.resize(size_t(E_ASN1_GetKCDSAPublicKeyBytes(key.get())));
        p.publicDer.resize(size_t(E_ASN1_PutKCDSAPublicKey1(key.get(), p.publicDer.data())));
        p.privateDer.resize(size_t(E_ASN1_GetKCDSAPrivateKeyBytes(key.get())));
        p.privateDer.resize(size_t(E_ASN1_PutKCDSAPrivateKey(key.get(), p.privateDer.data())));
        return p;
    }();
    return kp;
}

inline Bytes storedKcdsaParams() { return vctest::fromHex(E_KCDSA_FixedParamsDerHex); }

// Engine records from DER (the test fails on a key that does not decode).
template <class Record, class Get>
std::unique_ptr<Record> decode(const Bytes &der, void (*init)(Record *), Get get) {
    auto key = std::make_unique<Record>();
    init(key.get());
    const uint8_t *p = der.data();
    uint32_t left = uint32_t(der.size());
    EXPECT_EQ(get(key.get(), &p, &left), 1);
    return key;
}

struct PkeyFree {
    void operator()(EVP_PKEY *p) const { EVP_PKEY_free(p); }
};
using Pkey = std::unique_ptr<EVP_PKEY, PkeyFree>;

// OpenSSL's reading of a key DER: RSA PKCS #1 records, DSA records in OpenSSL's own forms.
inline Pkey sslPrivate(int type, const Bytes &der) {
    const uint8_t *p = der.data();
    return Pkey(d2i_PrivateKey(type, nullptr, &p, long(der.size())));
}
inline Pkey sslRsaPublic(const Bytes &der) {
    const uint8_t *p = der.data();
    return Pkey(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &p, long(der.size())));
}
inline Pkey sslDsaPublic(const Bytes &der) {
    const uint8_t *p = der.data();
    DSA *dsa = d2i_DSAPublicKey(nullptr, &p, long(der.size()));
    if (dsa == nullptr) return nullptr;
    EVP_PKEY *pkey = EVP_PKEY_new();
    EVP_PKEY_assign_DSA(pkey, dsa);
    return Pkey(pkey);
}

// OpenSSL's verification of `sig` over `msg` with SHA-1 (RSA PKCS #1 v1.5, DSA, ECDSA).
inline bool sslVerifySha1(EVP_PKEY *key, const Bytes &msg, const Bytes &sig) {
    EVP_MD_CTX *md = EVP_MD_CTX_new();
    bool ok = EVP_DigestVerifyInit(md, nullptr, EVP_sha1(), nullptr, key) == 1 &&
              EVP_DigestVerify(md, sig.data(), sig.size(), msg.data(), msg.size()) == 1;
    EVP_MD_CTX_free(md);
    return ok;
}
inline Bytes sslSignSha1(EVP_PKEY *key, const Bytes &msg) {
    EVP_MD_CTX *md = EVP_MD_CTX_new();
    size_t n = 0;
    EXPECT_EQ(EVP_DigestSignInit(md, nullptr, EVP_sha1(), nullptr, key), 1);
    EVP_DigestSign(md, nullptr, &n, msg.data(), msg.size());
    Bytes sig(n);
    EXPECT_EQ(EVP_DigestSign(md, sig.data(), &n, msg.data(), msg.size()), 1);
    sig.resize(n);
    EVP_MD_CTX_free(md);
    return sig;
}

// OpenSSL RSA with raw PKCS #1 v1.5 padding: encrypt (public) or decrypt (private).
inline Bytes sslRsa(EVP_PKEY *key, bool encrypt, const Bytes &in, int padding = RSA_PKCS1_PADDING) {
    EVP_PKEY_CTX *c = EVP_PKEY_CTX_new(key, nullptr);
    EXPECT_EQ(encrypt ? EVP_PKEY_encrypt_init(c) : EVP_PKEY_decrypt_init(c), 1);
    EVP_PKEY_CTX_set_rsa_padding(c, padding);
    size_t n = 0;
    (encrypt ? EVP_PKEY_encrypt : EVP_PKEY_decrypt)(c, nullptr, &n, in.data(), in.size());
    Bytes out(n);
    if ((encrypt ? EVP_PKEY_encrypt : EVP_PKEY_decrypt)(c, out.data(), &n, in.data(), in.size()) != 1) n = 0;
    out.resize(n);
    EVP_PKEY_CTX_free(c);
    return out;
}

}  // namespace asymtest
