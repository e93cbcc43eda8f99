#include "support/oracles.h"

#include <gcrypt.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <nettle/md2.h>

#include <string_view>

namespace vctest {

Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in,
          bool padding, int rc2Bits, bool *ok) {
    loadOpenSslLegacy();
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EVP_CIPHER_CTX *c = EVP_CIPHER_CTX_new();
    const bool rc2 = std::string_view(name).substr(0, 3) == "RC2";
    Bytes out(in.size() + 32);
    int n = 0, m = 0;
    const bool done =
        cipher && EVP_CipherInit_ex2(c, cipher, nullptr, nullptr, encrypt, nullptr) &&
        EVP_CIPHER_CTX_set_key_length(c, int(key.size())) &&
        (rc2Bits <= 0 || !rc2 || EVP_CIPHER_CTX_ctrl(c, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr)) &&
        EVP_CipherInit_ex2(c, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), encrypt, nullptr) &&
        EVP_CIPHER_CTX_set_padding(c, padding) &&
        EVP_CipherUpdate(c, out.data(), &n, in.data(), int(in.size())) &&
        EVP_CipherFinal_ex(c, out.data() + n, &m);
    EVP_CIPHER_CTX_free(c);
    EVP_CIPHER_free(cipher);
    if (ok != nullptr)
        *ok = done;
    else
        EXPECT_TRUE(done) << name;
    out.resize(done ? size_t(n + m) : 0);
    return out;
}

Bytes gcrypt(int algorithm, int mode, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in) {
    static const bool ready = gcry_check_version(nullptr) &&
                              gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
    gcry_cipher_hd_t h;
    Bytes out(in.size());
    const bool open = ready && gcry_cipher_open(&h, algorithm, mode, 0) == 0;
    EXPECT_TRUE(open) << "libgcrypt lacks cipher " << algorithm;
    if (!open) return {};
    const bool done =
        gcry_cipher_setkey(h, key.data(), key.size()) == 0 &&
        (mode == GCRY_CIPHER_MODE_ECB || gcry_cipher_setiv(h, iv.data(), iv.size()) == 0) &&
        (in.empty() ||
         (encrypt ? gcry_cipher_encrypt(h, out.data(), out.size(), in.data(), in.size())
                  : gcry_cipher_decrypt(h, out.data(), out.size(), in.data(), in.size())) == 0);
    EXPECT_TRUE(done);
    gcry_cipher_close(h);
    return out;
}

Bytes cbcMac(const char *cbcName, const Bytes &key, const Bytes &message) {
    Bytes padded = message;
    padded.resize(message.empty() ? 8 : (message.size() + 7) / 8 * 8, 0);
    const Bytes cbc = evp(cbcName, true, key, Bytes(8, 0), padded);
    return cbc.size() < 8 ? Bytes{} : Bytes(cbc.end() - 8, cbc.end());
}

Bytes digest(const char *name, const uint8_t *data, size_t n) {
    if (std::string_view(name) == "MD2") {
        md2_ctx c;
        md2_init(&c);
        md2_update(&c, n, data);
        Bytes out(MD2_DIGEST_SIZE);
        md2_digest(&c, out.size(), out.data());
        return out;
    }
    loadOpenSslLegacy();
    EVP_MD *md = EVP_MD_fetch(nullptr, name, nullptr);
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    const bool done = md != nullptr && EVP_Digest(data, n, out, &length, md, nullptr) == 1;
    EVP_MD_free(md);
    EXPECT_TRUE(done) << name;
    return Bytes(out, out + (done ? length : 0));
}

Bytes hmacMd5(const Bytes &key, const Bytes &message) {
    uint8_t out[16];
    unsigned n = 0;
    HMAC(EVP_md5(), key.data(), int(key.size()), message.data(), message.size(), out, &n);
    return Bytes(out, out + n);
}

}  // namespace vctest
