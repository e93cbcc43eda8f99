#include "cipher_oracle.h"

#include <gcrypt.h>
#include <openssl/evp.h>

#include <string>

namespace symtest {

Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in,
          bool padding, int rc2Bits) {
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EXPECT_NE(cipher, nullptr) << name;
    EVP_CIPHER_CTX *c = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 32);
    int n = 0, m = 0;
    bool ok = cipher && EVP_CipherInit_ex2(c, cipher, nullptr, nullptr, encrypt, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_key_length(c, int(key.size())) == 1;
    if (ok && rc2Bits > 0)
        ok = EVP_CIPHER_CTX_ctrl(c, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr) == 1;
    ok = ok &&
         EVP_CipherInit_ex2(c, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), encrypt,
                            nullptr) == 1 &&
         EVP_CIPHER_CTX_set_padding(c, padding ? 1 : 0) == 1 &&
         EVP_CipherUpdate(c, out.data(), &n, in.data(), int(in.size())) == 1 &&
         EVP_CipherFinal_ex(c, out.data() + n, &m) == 1;
    EVP_CIPHER_CTX_free(c);
    EVP_CIPHER_free(cipher);
    EXPECT_TRUE(ok) << name;
    out.resize(ok ? size_t(n + m) : 0);
    return out;
}

Bytes ideaGcrypt(int mode, const Bytes &key, const Bytes &iv, const Bytes &in) {
    static const bool ready = gcry_check_version(nullptr) &&
                              gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
    gcry_cipher_hd_t h;
    Bytes out(in.size());
    bool ok = ready && gcry_cipher_open(&h, GCRY_CIPHER_IDEA, mode, 0) == 0;
    EXPECT_TRUE(ok) << "libgcrypt lacks IDEA";
    if (!ok) return {};
    ok = gcry_cipher_setkey(h, key.data(), key.size()) == 0 &&
         (mode == GCRY_CIPHER_MODE_ECB || gcry_cipher_setiv(h, iv.data(), iv.size()) == 0) &&
         (in.empty() || gcry_cipher_encrypt(h, out.data(), out.size(), in.data(), in.size()) == 0);
    gcry_cipher_close(h);
    EXPECT_TRUE(ok);
    return out;
}

Bytes pkcsPad(Bytes m, size_t block) {
    const size_t n = block - m.size() % block;
    m.insert(m.end(), n, uint8_t(n));
    return m;
}

Bytes prePad(Bytes m) {
    if (m.size() < 8) m.insert(m.end(), 8 - m.size(), uint8_t(8 - m.size()));
    return m;
}

void ServiceTest::SetUp() { ASSERT_EQ(V_VCCInit(&ctx), 0); }

void ServiceTest::TearDown() {
    V_FailNthCalloc(0);
    V_VCCTerm(&ctx);
    uint32_t blocks = 1, bytes = 1;
    V_GetAllocStats(&ctx, &blocks, &bytes);
    EXPECT_EQ(blocks, 0u);
    EXPECT_EQ(bytes, 0u);
}

uint32_t ServiceTest::liveBlocks() const {
    uint32_t blocks = 0;
    V_GetAllocStats(&ctx, &blocks, nullptr);
    return blocks;
}

void ServiceTest::release(DataBlob &out) {
    EXPECT_EQ(liveBlocks(), 2u) << "the state and the result only";
    V_free(&ctx, out.Data);
    out = DataBlob{0, nullptr};
}

}  // namespace symtest
