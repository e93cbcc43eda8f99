// Cipher oracles and padding models shared by the symmetric, key-wrap and MAC service tests.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gcrypt.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "frame/service_fixture.h"

namespace symtest {

using vctest::Bytes;
using vctest::ServiceTest;

// One OpenSSL cipher over the whole input: PKCS #7 when `padding`, RC2's effective key bits when
// rc2Bits > 0. Empty on failure, which is a test failure unless `ok` is given to receive it.
inline Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv,
                 const Bytes &in, bool padding, int rc2Bits = 0, bool *ok = nullptr) {
    vctest::loadOpenSslLegacy();
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EVP_CIPHER_CTX *c = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 32);
    int n = 0, m = 0;
    const bool done =
        cipher && EVP_CipherInit_ex2(c, cipher, nullptr, nullptr, encrypt, nullptr) &&
        EVP_CIPHER_CTX_set_key_length(c, int(key.size())) &&
        (rc2Bits == 0 || EVP_CIPHER_CTX_ctrl(c, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr)) &&
        EVP_CipherInit_ex2(c, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), encrypt,
                           nullptr) &&
        EVP_CIPHER_CTX_set_padding(c, padding) &&
        EVP_CipherUpdate(c, out.data(), &n, in.data(), int(in.size())) &&
        EVP_CipherFinal_ex(c, out.data() + n, &m);
    EVP_CIPHER_CTX_free(c);
    EVP_CIPHER_free(cipher);
    if (ok) *ok = done; else EXPECT_TRUE(done) << name;
    out.resize(done ? size_t(n + m) : 0);
    return out;
}

// IDEA encryption through libgcrypt (OpenSSL 3 has none), no padding; mode GCRY_CIPHER_MODE_*.
inline Bytes ideaGcrypt(int mode, const Bytes &key, const Bytes &iv, const Bytes &in) {
    static const bool ready = gcry_check_version(nullptr) &&
                              gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
    gcry_cipher_hd_t h;
    Bytes out(in.size());
    const bool done = ready && gcry_cipher_open(&h, GCRY_CIPHER_IDEA, mode, 0) == 0;
    EXPECT_TRUE(done && gcry_cipher_setkey(h, key.data(), key.size()) == 0 &&
                (mode == GCRY_CIPHER_MODE_ECB || gcry_cipher_setiv(h, iv.data(), 8) == 0) &&
                gcry_cipher_encrypt(h, out.data(), out.size(), in.data(), in.size()) == 0);
    if (done) gcry_cipher_close(h);
    return out;
}

// PKCS #5 / #7 padding, and the service's pre-padding of inputs shorter than 8 bytes.
inline Bytes pkcsPad(Bytes m, size_t block) {
    const size_t n = block - m.size() % block;
    for (size_t i = 0; i < n; ++i) m.push_back(uint8_t(n));
    return m;
}
inline Bytes prePad(Bytes m) { return m.size() < 8 ? pkcsPad(m, 8) : m; }
inline Bytes head(const Bytes &b, size_t n) { return Bytes(b.begin(), b.begin() + long(n)); }

}  // namespace symtest
