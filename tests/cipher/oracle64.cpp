#include "oracle64.h"

#include <gcrypt.h>
#include <openssl/evp.h>

#include <cstdlib>

namespace cbtest {

Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &input,
          int rc2Bits) {
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (cipher == nullptr) {
        ADD_FAILURE() << "OpenSSL lacks " << name;
        return {};
    }
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    Bytes out(input.size() + 16);
    int n = 0, m = 0;
    bool ok = EVP_CipherInit_ex2(ctx, cipher, nullptr, nullptr, encrypt, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_key_length(ctx, int(key.size())) == 1;
    if (ok && rc2Bits > 0) ok = EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr) == 1;
    ok = ok && EVP_CipherInit_ex2(ctx, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), encrypt, nullptr) == 1 &&
         EVP_CIPHER_CTX_set_padding(ctx, 0) == 1 &&
         EVP_CipherUpdate(ctx, out.data(), &n, input.data(), int(input.size())) == 1 &&
         EVP_CipherFinal_ex(ctx, out.data() + n, &m) == 1;
    EXPECT_TRUE(ok) << "OpenSSL " << name << " failed";
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    out.resize(size_t(n + m));
    return out;
}

Bytes gcryptIdea(Mode mode, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &input) {
    static const bool ready = [] {
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    (void)ready;
    int gmode = mode == Mode::Ecb     ? GCRY_CIPHER_MODE_ECB
                : mode == Mode::Cbc   ? GCRY_CIPHER_MODE_CBC
                : mode == Mode::Cfb64 ? GCRY_CIPHER_MODE_CFB
                : mode == Mode::Cfb8  ? GCRY_CIPHER_MODE_CFB8
                                      : GCRY_CIPHER_MODE_OFB;
    gcry_cipher_hd_t h;
    Bytes out(input.size());
    bool ok = gcry_cipher_open(&h, GCRY_CIPHER_IDEA, gmode, 0) == 0;
    EXPECT_TRUE(ok) << "libgcrypt lacks IDEA";
    if (!ok) return {};
    ok = gcry_cipher_setkey(h, key.data(), key.size()) == 0 &&
         (mode == Mode::Ecb || gcry_cipher_setiv(h, iv.data(), iv.size()) == 0) &&
         (input.empty() ||
          (encrypt ? gcry_cipher_encrypt(h, out.data(), out.size(), input.data(), input.size())
                   : gcry_cipher_decrypt(h, out.data(), out.size(), input.data(), input.size())) == 0);
    EXPECT_TRUE(ok) << "libgcrypt IDEA failed";
    gcry_cipher_close(h);
    return out;
}

Bytes cfb8FromEcb(const std::function<Bytes(const Bytes &)> &encryptBlock, bool encrypt,
                  const Bytes &iv, const Bytes &input) {
    Bytes reg = iv, out(input.size());
    for (size_t i = 0; i < input.size(); ++i) {
        uint8_t k = encryptBlock(reg)[0];
        out[i] = input[i] ^ k;
        reg.erase(reg.begin());
        reg.push_back(encrypt ? out[i] : input[i]);
    }
    return out;
}

}  // namespace cbtest
