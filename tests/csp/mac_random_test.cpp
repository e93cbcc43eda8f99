// The provider's MACs against OpenSSL (CBC-MAC as the last block of zero-IV CBC over the
// zero-padded message; HMAC-MD5), verification, random bytes and their reason codes.
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <cstdlib>

#include "provider_util.h"

namespace {

using vcp::Bytes;

// The last block of CBC with a zero IV over the message zero-padded to whole blocks (an empty
// message being one zero block).
Bytes opensslCbcMac(const char *name, const Bytes &key, Bytes m) {
    if (m.empty() || m.size() % 8) m.resize((m.size() / 8 + 1) * 8, 0);
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    const uint8_t iv[8] = {};
    Bytes out(m.size() + 8);
    int n = 0;
    EXPECT_EQ(EVP_EncryptInit_ex2(ctx, cipher, key.data(), iv, nullptr), 1);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    EXPECT_EQ(EVP_EncryptUpdate(ctx, out.data(), &n, m.data(), int(m.size())), 1);
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    return Bytes(out.begin() + n - 8, out.begin() + n);
}

Bytes opensslHmacMd5(const Bytes &key, const Bytes &m) {
    uint8_t out[16];
    unsigned n = 0;
    HMAC(EVP_md5(), key.data(), int(key.size()), m.data(), m.size(), out, &n);
    return Bytes(out, out + n);
}

struct MacSetup {
    uint32_t macAlgorithm, keyAlgorithm;
    Bytes key;
};

// Blobs over `pieces` of the message (empty pieces get a data pointer).
std::vector<DataBlob> blobsOf(const Bytes &m, const std::vector<size_t> &pieces) {
    static uint8_t empty;
    std::vector<DataBlob> blobs;
    size_t at = 0;
    for (size_t n : pieces) {
        blobs.push_back(DataBlob{uint32_t(n), n ? const_cast<uint8_t *>(m.data() + at) : &empty});
        at += n;
    }
    if (blobs.empty()) blobs.push_back(DataBlob{0, &empty});
    return blobs;
}

// Generate in staged Updates (one per piece) into a null blob; verify one-shot right and wrong.
Bytes providerMac(const MacSetup &s, const Bytes &m, const std::vector<size_t> &pieces) {
    vcp::Key key;
    EXPECT_EQ(vcp::makeKey(key, s.keyAlgorithm, s.key), 0);
    vcp::Context c(CSP_CLASS_MAC, s.macAlgorithm);
    c.add(CSP_ATTR_KEY, &key.blob);
    CspContextRecord handle{};
    EXPECT_EQ(CSP_GenerateMacInit(CSP_MODULE_HANDLE, &handle, &c), 0);
    for (DataBlob &b : blobsOf(m, pieces)) EXPECT_EQ(CSP_GenerateMacUpdate(CSP_MODULE_HANDLE, &handle, &b, 1), 0);
    DataBlob mac{0, nullptr};
    EXPECT_EQ(CSP_GenerateMacFinal(CSP_MODULE_HANDLE, &handle, &mac), 0);
    Bytes result(mac.Data, mac.Data + mac.Length);
    std::free(mac.Data);

    auto all = blobsOf(m, pieces);
    DataBlob given{uint32_t(result.size()), result.data()};
    EXPECT_EQ(CSP_VerifyMac(CSP_MODULE_HANDLE, &handle, &c, all.data(), uint32_t(all.size()), &given), 0);
    Bytes wrong = result;
    wrong[wrong.size() - 1] ^= 1;
    DataBlob bad{uint32_t(wrong.size()), wrong.data()}, shorter{uint32_t(result.size() - 1), result.data()};
    EXPECT_REASON(CSP_VerifyMac(CSP_MODULE_HANDLE, &handle, &c, all.data(), uint32_t(all.size()), &bad),
                  CSP_ERR_VERIFY);
    EXPECT_REASON(CSP_VerifyMac(CSP_MODULE_HANDLE, &handle, &c, all.data(), uint32_t(all.size()), &shorter),
                  CSP_ERR_VERIFY);
    return result;
}

TEST(ProviderMac, AgainstOpenSsl) {
    vctest::Rng rng(21);
    for (int trial = 0; trial < 40; ++trial) {
        const size_t length = trial < 4 ? size_t(trial * 8) : rng.below(2100);
        const Bytes m = rng.bytes(length);
        const auto pieces = vcp::randomPieces(rng, length);
        const Bytes des = rng.bytes(8), ede = rng.bytes(16);
        EXPECT_EQ(providerMac({CSP_ALG_DES, CSP_ALG_DES, des}, m, pieces), opensslCbcMac("DES-CBC", des, m))
            << length;
        EXPECT_EQ(providerMac({CSP_ALG_3DES_2KEY, CSP_ALG_3DES_2KEY, ede}, m, pieces),
                  opensslCbcMac("DES-EDE-CBC", ede, m))
            << length;
        // HMAC-MD5 under the raw bytes of any key record: the service's 8-byte RC2 key, and RC4
        // keys longer than the MD5 block, which are hashed first.
        const Bytes rc2 = rng.bytes(8), rc4 = rng.bytes(1 + rng.below(256));
        EXPECT_EQ(providerMac({CSP_ALG_MD5, CSP_ALG_RC2, rc2}, m, pieces), opensslHmacMd5(rc2, m)) << length;
        EXPECT_EQ(providerMac({CSP_ALG_MD5, CSP_ALG_RC4, rc4}, m, pieces), opensslHmacMd5(rc4, m))
            << length << " key " << rc4.size();
    }
}

TEST(ProviderMac, ReasonCodes) {
    vcp::Key des, rc2;
    ASSERT_EQ(vcp::makeKey(des, CSP_ALG_DES, Bytes(8, 1)), 0);
    ASSERT_EQ(vcp::makeKey(rc2, CSP_ALG_RC2, Bytes(8, 2)), 0);
    auto ctx = [](uint32_t cls, uint32_t alg, DataBlob *key) {
        vcp::Context c(cls, alg);
        if (key) c.add(CSP_ATTR_KEY, key);
        return c;
    };
    uint8_t byte = 0, buf[16];
    DataBlob data{1, &byte}, nullData{1, nullptr}, mac{16, buf};
    struct Case {
        vcp::Context c;
        uint32_t reason;
    } inits[] = {
        {ctx(CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob), CSP_ERR_CLASS},
        {ctx(CSP_CLASS_MAC, 8, &des.blob), CSP_ERR_ALGORITHM},
        {ctx(CSP_CLASS_MAC, CSP_ALG_DES, nullptr), CSP_ERR_MISSING_ATTRIBUTE},
        {ctx(CSP_CLASS_MAC, CSP_ALG_DES, &rc2.blob), CSP_ERR_INVALID_KEY},
        {ctx(CSP_CLASS_MAC, CSP_ALG_3DES_2KEY, &des.blob), CSP_ERR_INVALID_KEY},
    };
    for (auto &c : inits) {
        CspContextRecord h{};
        EXPECT_REASON(CSP_GenerateMacInit(0, &h, &c.c), c.reason);
        EXPECT_REASON(CSP_GenerateMac(0, &h, &c.c, &data, 1, &mac), c.reason);
    }
    EXPECT_REASON(CSP_GenerateMacInit(0, nullptr, nullptr), CSP_ERR_NO_CONTEXT);

    auto good = ctx(CSP_CLASS_MAC, CSP_ALG_DES, &des.blob);
    CspContextRecord h{};
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, &data, 1), CSP_ERR_STATE);
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, &mac), CSP_ERR_STATE);
    ASSERT_EQ(CSP_VerifyMacInit(0, &h, &good), 0);
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, &data, 1), CSP_ERR_STATE);  // a verifying context
    ASSERT_EQ(CSP_GenerateMacInit(0, &h, &good), 0);
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, nullptr, 1), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, &data, 0), CSP_ERR_BLOB_COUNT);
    EXPECT_REASON(CSP_GenerateMacUpdate(0, &h, &nullData, 1), CSP_ERR_NULL_DATA);
    DataBlob small{7, buf}, absent{8, nullptr};
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, nullptr), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, &small), CSP_ERR_OUTPUT_SHORT);
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, &absent), CSP_ERR_NULL_DATA);
    EXPECT_EQ(CSP_GenerateMacFinal(0, &h, &mac), 0);
    EXPECT_EQ(mac.Length, 8u);
    EXPECT_REASON(CSP_GenerateMacFinal(0, &h, &mac), CSP_ERR_STATE);  // after Final
}

// Random bytes: lengths, the buffer rules, the generators' identifiers.
TEST(ProviderRandom, LengthsAndReasons) {
    for (uint32_t algorithm : {CSP_ALG_RANDOM_MD5, CSP_ALG_RANDOM_DES})
        for (uint32_t size : {0u, 1u, 8u, 17u, 1000u}) {
            vcp::Context c(CSP_CLASS_RANDOM, algorithm);
            c.add(CSP_ATTR_OUTPUT_SIZE, size);
            Bytes a(size + 4, 0), b(size + 4, 0);
            DataBlob ra{uint32_t(a.size()), a.data()}, rb{uint32_t(b.size()), b.data()};
            CspContextRecord h{};
            ASSERT_EQ(CSP_GenerateRandom(0, &h, &c, &ra), 0);
            ASSERT_EQ(CSP_GenerateRandom(0, &h, nullptr, &rb), 0);  // the handle kept the context
            EXPECT_EQ(ra.Length, size);
            EXPECT_EQ(rb.Length, size);
            EXPECT_EQ(Bytes(a.end() - 4, a.end()), Bytes(4, 0)) << "wrote past the size";
            if (size >= 8) {
                EXPECT_NE(a, b) << algorithm << " " << size;
            }
        }
    uint8_t buf[16];
    DataBlob blob{16, buf}, shortBlob{15, buf}, noData{16, nullptr};
    struct Case {
        uint32_t cls, algorithm;
        bool withSize;
        DataBlob *blob;
        uint32_t reason;
    } cases[] = {
        {CSP_CLASS_RANDOM, 47, true, &blob, CSP_ERR_ALGORITHM},
        {CSP_CLASS_RANDOM, 0, true, &blob, CSP_ERR_ALGORITHM},
        {CSP_CLASS_MAC, CSP_ALG_RANDOM_DES, true, &blob, CSP_ERR_CLASS},
        {CSP_CLASS_RANDOM, CSP_ALG_RANDOM_DES, false, &blob, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_RANDOM, CSP_ALG_RANDOM_DES, true, nullptr, CSP_ERR_NULL_BLOB},
        {CSP_CLASS_RANDOM, CSP_ALG_RANDOM_MD5, true, &shortBlob, CSP_ERR_NULL_DATA},
        {CSP_CLASS_RANDOM, CSP_ALG_RANDOM_MD5, true, &noData, CSP_ERR_NULL_DATA},
    };
    for (auto &k : cases) {
        vcp::Context c(k.cls, k.algorithm);
        if (k.withSize) c.add(CSP_ATTR_OUTPUT_SIZE, 16);
        CspContextRecord h{};
        EXPECT_REASON(CSP_GenerateRandom(0, &h, &c, k.blob), k.reason);
    }
    EXPECT_REASON(CSP_GenerateRandom(0, nullptr, nullptr, &blob), CSP_ERR_NO_CONTEXT);
}

}  // namespace
