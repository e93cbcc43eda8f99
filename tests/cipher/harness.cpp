#include "cipher/harness.h"

#include <gcrypt.h>
#include <openssl/evp.h>

namespace ctest {

const Cipher &cipher(const char *name) {
    for (const auto &c : ciphers())
        if (std::string(c.name) == name) return c;
    ADD_FAILURE() << "no cipher " << name;
    return ciphers().front();
}

// One EVP cipher over the input in one update, no padding; rc2Bits > 0 sets RC2's effective
// key bits.
Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in,
          int rc2Bits) {
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EXPECT_NE(cipher, nullptr) << name;
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 32);
    int n = 0, m = 0;
    bool ok = cipher && EVP_CipherInit_ex2(ctx, cipher, nullptr, nullptr, encrypt, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_key_length(ctx, int(key.size())) == 1;
    if (ok && rc2Bits > 0 && std::string(name).rfind("RC2", 0) == 0)
        ok = EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr) == 1;
    ok = ok &&
         EVP_CipherInit_ex2(ctx, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), encrypt,
                            nullptr) == 1 &&
         EVP_CIPHER_CTX_set_padding(ctx, 0) == 1 &&
         EVP_CipherUpdate(ctx, out.data(), &n, in.data(), int(in.size())) == 1 &&
         EVP_CipherFinal_ex(ctx, out.data() + n, &m) == 1;
    EXPECT_TRUE(ok) << name;
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    out.resize(ok ? size_t(n + m) : 0);
    return out;
}

Bytes gcrypt(int algo, Mode mode, bool encrypt, const Bytes &key, const Bytes &iv,
             const Bytes &in) {
    static const bool ready = gcry_check_version(nullptr) &&
                              gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
    const int modes[] = {GCRY_CIPHER_MODE_ECB, GCRY_CIPHER_MODE_CBC, GCRY_CIPHER_MODE_CFB8,
                         GCRY_CIPHER_MODE_CFB, GCRY_CIPHER_MODE_OFB};
    gcry_cipher_hd_t h;
    Bytes out(in.size());
    bool ok = ready && gcry_cipher_open(&h, algo, modes[mode], 0) == 0;
    EXPECT_TRUE(ok) << "libgcrypt lacks algorithm " << algo;
    if (!ok) return {};
    ok = gcry_cipher_setkey(h, key.data(), key.size()) == 0 &&
         (mode == Ecb || gcry_cipher_setiv(h, iv.data(), iv.size()) == 0) &&
         (in.empty() || (encrypt ? gcry_cipher_encrypt(h, out.data(), out.size(), in.data(),
                                                       in.size())
                                 : gcry_cipher_decrypt(h, out.data(), out.size(), in.data(),
                                                       in.size())) == 0);
    EXPECT_TRUE(ok);
    gcry_cipher_close(h);
    return out;
}

}  // namespace ctest
