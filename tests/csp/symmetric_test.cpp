// The provider's encryption family against OpenSSL (DES, two-key triple DES, Blowfish, RC2,
// RC4), libgcrypt (IDEA) and a model over the RC5 block function, on random keys, IVs, lengths
// and Update splits; then its reason codes.
#include <gcrypt.h>
#include <openssl/evp.h>

#include <cstdlib>

#include "provider_util.h"

namespace {

using vcp::Bytes;
using vcp::CipherSetup;

constexpr uint32_t kModes[] = {CSP_MODE_ECB, CSP_MODE_CBC, CSP_MODE_CFB, CSP_MODE_OFB};

Bytes pkcs7(Bytes b) {
    const size_t n = 8 - b.size() % 8;
    b.insert(b.end(), n, uint8_t(n));
    return b;
}

const char *modeSuffix(uint32_t mode) {
    switch (mode) {
    case CSP_MODE_ECB: return "ECB";
    case CSP_MODE_CBC: return "CBC";
    case CSP_MODE_CFB: return "CFB";
    default: return "OFB";
    }
}

// OpenSSL on `in` without padding (the caller pads); `prefix` names the cipher family.
Bytes openssl(const std::string &name, const CipherSetup &s, const Bytes &in) {
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr);
    EXPECT_NE(cipher, nullptr) << name;
    if (cipher == nullptr) return {};
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    Bytes out(in.size() + 16);
    int n = 0, m = 0;
    bool ok = EVP_EncryptInit_ex2(ctx, cipher, nullptr, nullptr, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_key_length(ctx, int(s.key.size())) == 1 &&
              (s.algorithm != CSP_ALG_RC2 ||
               EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS,
                                   int(s.effectiveBits ? s.effectiveBits : 8 * s.key.size()),
                                   nullptr) == 1) &&
              EVP_EncryptInit_ex2(ctx, nullptr, s.key.data(), s.iv.empty() ? nullptr : s.iv.data(),
                                  nullptr) == 1 &&
              EVP_CIPHER_CTX_set_padding(ctx, 0) == 1 &&
              EVP_EncryptUpdate(ctx, out.data(), &n, in.data(), int(in.size())) == 1 &&
              EVP_EncryptFinal_ex(ctx, out.data() + n, &m) == 1;
    EXPECT_TRUE(ok) << name;
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    out.resize(ok ? size_t(n + m) : 0);
    return out;
}

Bytes gcryptIdea(const CipherSetup &s, const Bytes &in) {
    static const bool ready = gcry_check_version(nullptr) &&
                              gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0) == 0;
    const int mode = s.mode == CSP_MODE_ECB   ? GCRY_CIPHER_MODE_ECB
                     : s.mode == CSP_MODE_CBC ? GCRY_CIPHER_MODE_CBC
                     : s.mode == CSP_MODE_CFB ? GCRY_CIPHER_MODE_CFB
                                              : GCRY_CIPHER_MODE_OFB;
    gcry_cipher_hd_t h;
    Bytes out(in.size());
    bool ok = ready && gcry_cipher_open(&h, GCRY_CIPHER_IDEA, mode, 0) == 0;
    EXPECT_TRUE(ok) << "libgcrypt lacks IDEA";
    if (!ok) return {};
    ok = gcry_cipher_setkey(h, s.key.data(), s.key.size()) == 0 &&
         (s.mode == CSP_MODE_ECB || gcry_cipher_setiv(h, s.iv.data(), 8) == 0) &&
         (in.empty() || gcry_cipher_encrypt(h, out.data(), out.size(), in.data(), in.size()) == 0);
    EXPECT_TRUE(ok);
    gcry_cipher_close(h);
    return out;
}

// RC5-32/12 in the four modes, written from the mode definitions over the single-block
// function (whose correctness the cipher tests establish).
Bytes rc5Model(const CipherSetup &s, const Bytes &in) {
    Rc5KeySchedule ks;
    E_RC5_KeySchedule(&ks, s.key.data(), uint32_t(s.key.size()), 12);
    Bytes out(in.size()), reg(s.iv.begin(), s.iv.begin() + (s.iv.empty() ? 0 : 8));
    for (size_t i = 0; i < in.size(); i += 8) {
        const size_t n = std::min<size_t>(8, in.size() - i);
        uint8_t b[8];
        if (s.mode == CSP_MODE_ECB || s.mode == CSP_MODE_CBC) {
            for (size_t j = 0; j < 8; ++j) b[j] = uint8_t(in[i + j] ^ (s.mode == CSP_MODE_CBC ? reg[j] : 0));
            E_RC5_Encrypt(b, &ks);
            std::copy(b, b + 8, out.begin() + long(i));
            if (s.mode == CSP_MODE_CBC) reg.assign(b, b + 8);
            continue;
        }
        std::copy(reg.begin(), reg.end(), b);
        E_RC5_Encrypt(b, &ks);
        for (size_t j = 0; j < n; ++j) out[i + j] = uint8_t(in[i + j] ^ b[j]);
        if (s.mode == CSP_MODE_CFB)
            reg.assign(out.begin() + long(i), out.begin() + long(i + n));
        else
            reg.assign(b, b + 8);
    }
    return out;
}

struct Cipher {
    uint32_t algorithm;
    const char *openssl;  // name prefix, or null for IDEA and RC5
    uint32_t minKey, maxKey;
};
const Cipher kCiphers[] = {
    {CSP_ALG_DES, "DES", 8, 8},        {CSP_ALG_3DES_2KEY, "DES-EDE", 16, 16},
    {CSP_ALG_BLOWFISH, "BF", 8, 8},    {CSP_ALG_RC2, "RC2", 1, 128},
    {CSP_ALG_IDEA, nullptr, 16, 16},   {CSP_ALG_RC5, nullptr, 0, 255},
    {CSP_ALG_RC4, "RC4", 1, 256},
};

// The expected cipher text: pad where the provider pads, then the oracle without padding.
Bytes expected(const Cipher &c, const CipherSetup &s, const Bytes &plain) {
    const bool blockMode = s.mode == CSP_MODE_ECB || s.mode == CSP_MODE_CBC;
    const bool padded = s.padding < 0 ? blockMode : s.padding != CSP_PADDING_NONE;
    const Bytes in = padded ? pkcs7(plain) : plain;
    if (c.algorithm == CSP_ALG_IDEA) return gcryptIdea(s, in);
    if (c.algorithm == CSP_ALG_RC5) return rc5Model(s, in);
    if (c.algorithm == CSP_ALG_RC4) return openssl("RC4", s, in);
    std::string name = std::string(c.openssl) + "-" + modeSuffix(s.mode);
    if (name == "DES-EDE-ECB") name = "DES-EDE";
    return openssl(name, s, in);
}

// CSP_QuerySize on a fresh context of the setup.
uint32_t querySize(const CipherSetup &s, bool encrypt, size_t input) {
    vcp::CipherContext c(s);
    CspContextRecord h{};
    CspQuerySizeData q{uint32_t(input), 0};
    EXPECT_EQ(CSP_QuerySize(0, &h, &c.context, encrypt, 1, &q), 0);
    return q.outputSize;
}

size_t randomLength(vctest::Rng &rng) {
    static const size_t edges[] = {0, 1, 7, 8, 9, 999, 1000, 1001, 1007, 1008, 2000};
    return rng.below(3) == 0 ? edges[rng.below(std::size(edges))] : rng.below(3000);
}

TEST(ProviderCipher, EveryAlgorithmAndModeAgainstOracles) {
    vctest::Rng rng(11);
    for (const Cipher &c : kCiphers)
        for (uint32_t mode : kModes) {
            if (c.algorithm == CSP_ALG_RC4 && mode != CSP_MODE_ECB) continue;  // RC4: one pass
            for (int trial = 0; trial < 6; ++trial) {
                CipherSetup s{c.algorithm, c.algorithm == CSP_ALG_RC4 ? 0 : mode,
                              rng.bytes(c.minKey + rng.below(c.maxKey - c.minKey + 1)),
                              mode == CSP_MODE_ECB ? Bytes{} : rng.bytes(8 + rng.below(2) * 8)};
                if (c.algorithm == CSP_ALG_RC2 && trial % 2) s.effectiveBits = 1 + rng.below(1024);
                if (trial == 5) s.padding = int64_t(rng.below(2) ? CSP_PADDING_PKCS5 : CSP_PADDING_PKCS7);
                const Bytes plain = rng.bytes(randomLength(rng));
                const Bytes want = expected(c, s, plain);
                SCOPED_TRACE(testing::Message() << "algorithm " << c.algorithm << " mode " << mode
                                                << " key " << s.key.size() << " length " << plain.size()
                                                << " padding " << s.padding);
                EXPECT_EQ(vcp::oneShot(s, true, plain), want);
                const auto pieces = vcp::randomPieces(rng, plain.size());
                EXPECT_EQ(vcp::staged(s, true, plain, pieces, {3, 13, 1000, 9}), want);
                EXPECT_EQ(vcp::staged(s, false, want, vcp::randomPieces(rng, want.size())), plain);
                EXPECT_EQ(vcp::oneShot(s, false, want), plain);
                EXPECT_EQ(querySize(s, true, plain.size()), want.size());
                EXPECT_GE(querySize(s, false, want.size()), plain.size());
            }
        }
}

// Unpadded ECB and CBC take whole blocks; explicit NONE in CFB, OFB and RC4 is the default.
TEST(ProviderCipher, UnpaddedWholeBlocks) {
    vctest::Rng rng(12);
    for (uint32_t mode : kModes) {
        CipherSetup s{CSP_ALG_DES, mode, rng.bytes(8), rng.bytes(8), CSP_PADDING_NONE};
        const Bytes plain = rng.bytes(8 * (1 + rng.below(300)));
        const Bytes want = openssl(std::string("DES-") + modeSuffix(mode), s, plain);
        EXPECT_EQ(vcp::staged(s, true, plain, vcp::randomPieces(rng, plain.size())), want) << mode;
        EXPECT_EQ(vcp::staged(s, false, want, vcp::randomPieces(rng, want.size())), plain) << mode;
    }
}

// Init refusals: class, algorithm, attributes, key records.
TEST(ProviderCipher, InitReasonCodes) {
    vcp::Key des, bf, damaged;
    ASSERT_EQ(vcp::makeKey(des, CSP_ALG_DES, Bytes(8, 1)), 0);
    ASSERT_EQ(vcp::makeKey(bf, CSP_ALG_BLOWFISH, Bytes(8, 1)), 0);
    ASSERT_EQ(vcp::makeKey(damaged, CSP_ALG_DES, Bytes(8, 1)), 0);
    damaged.blob.Data[0] ^= 1;
    Bytes ivBytes(8, 0);
    DataBlob iv{8, ivBytes.data()}, shortIv{7, ivBytes.data()}, noIv{8, nullptr};
    struct Case {
        uint32_t cls, algorithm;
        DataBlob *key;
        int64_t mode, padding;
        DataBlob *iv;
        uint32_t reason;
    } cases[] = {
        {CSP_CLASS_DIGEST, CSP_ALG_DES, &des.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_CLASS},
        {CSP_CLASS_SYMMETRIC, 15, &des.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_ALGORITHM},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, nullptr, CSP_MODE_ECB, -1, nullptr, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &bf.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &damaged.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, -1, -1, nullptr, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, 3, -1, nullptr, CSP_ERR_MODE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_CBC, -1, nullptr, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_CFB, -1, &shortIv, CSP_ERR_IV},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_OFB, -1, &noIv, CSP_ERR_IV},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_ECB, 1, nullptr, CSP_ERR_PADDING},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_CBC, 8, &iv, CSP_ERR_PADDING},
    };
    for (const Case &c : cases) {
        vcp::Context ctx(c.cls, c.algorithm);
        if (c.key) ctx.add(CSP_ATTR_KEY, c.key);
        if (c.mode >= 0) ctx.add(CSP_ATTR_MODE, uint32_t(c.mode));
        if (c.padding >= 0) ctx.add(CSP_ATTR_PADDING, uint32_t(c.padding));
        if (c.iv) ctx.add(CSP_ATTR_INIT_VECTOR, c.iv);
        SCOPED_TRACE(testing::Message() << "reason " << c.reason << " mode " << c.mode);
        CspContextRecord h{};
        EXPECT_REASON(CSP_EncryptDataInit(0, &h, &ctx), c.reason);
        EXPECT_REASON(CSP_DecryptDataInit(0, &h, &ctx), c.reason);
        EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &iv, 1, &iv, 1, nullptr), CSP_ERR_STATE);
    }
    EXPECT_REASON(CSP_EncryptDataInit(0, nullptr, nullptr), CSP_ERR_NO_CONTEXT);
}

// Update and Final refusals on a DES-ECB context with padding.
TEST(ProviderCipher, StagedReasonCodes) {
    CipherSetup s{CSP_ALG_DES, CSP_MODE_ECB, Bytes(8, 5), {}};
    vcp::CipherContext c(s);
    Bytes in(16, 1), out(32), small(4);
    DataBlob input{16, in.data()}, output{32, out.data()}, nullIn{16, nullptr}, nullOut{32, nullptr},
        shortOut{15, out.data()}, tooSmall{4, small.data()}, absent{8, nullptr};
    uint32_t written = 0;
    CspContextRecord h{};
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &output), CSP_ERR_STATE);
    ASSERT_EQ(CSP_EncryptDataInit(0, &h, &c.context), 0);
    EXPECT_REASON(CSP_DecryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, nullptr, &input, 1, &output, 1, &written), CSP_ERR_NO_CONTEXT);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, nullptr, 1, &output, 1, &written), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 0, &output, 1, &written), CSP_ERR_BLOB_COUNT);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, nullptr, 1, &written), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 0, &written), CSP_ERR_BLOB_COUNT);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &nullIn, 1, &output, 1, &written), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &nullOut, 1, &written), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &shortOut, 1, &written), CSP_ERR_OUTPUT_SHORT);
    // The refused calls changed nothing: the operation still matches OpenSSL.
    ASSERT_EQ(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), 0);
    EXPECT_EQ(written, 16u);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, nullptr), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &tooSmall), CSP_ERR_OUTPUT_SHORT);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &absent), CSP_ERR_NULL_DATA);
    DataBlob last{8, out.data() + 16};
    ASSERT_EQ(CSP_EncryptDataFinal(0, &h, &last), 0);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 24), openssl("DES-ECB", s, pkcs7(in)));
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &last), CSP_ERR_STATE);
}

// Unpadded data that is not whole blocks, and malformed padding on decryption.
TEST(ProviderCipher, LengthAndPaddingFailures) {
    CipherSetup raw{CSP_ALG_DES, CSP_MODE_CBC, Bytes(8, 9), Bytes(8, 4), CSP_PADDING_NONE};
    vcp::CipherContext none(raw);
    Bytes buf(64);
    // Init, Update and Final; returns Final's reason (0 on success). The failed Final has
    // ended the operation.
    auto run = [&](bool encrypt, vcp::CipherContext &c, const Bytes &data, DataBlob *last) {
        CspContextRecord h{};
        EXPECT_EQ((encrypt ? CSP_EncryptDataInit : CSP_DecryptDataInit)(0, &h, &c.context), 0);
        DataBlob in{uint32_t(data.size()), buf.data() + 32}, out{32, buf.data()};
        std::copy(data.begin(), data.end(), buf.begin() + 32);
        uint32_t written;
        EXPECT_EQ((encrypt ? CSP_EncryptDataUpdate : CSP_DecryptDataUpdate)(0, &h, &in, 1, &out, 1, &written), 0);
        const uint32_t r = (encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal)(0, &h, last) ? GetError() : 0;
        EXPECT_REASON((encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal)(0, &h, last), CSP_ERR_STATE);
        return r;
    };
    uint8_t tail[8];
    DataBlob last{8, tail};
    EXPECT_EQ(run(true, none, Bytes(13, 1), &last), uint32_t(CSP_ERR_INPUT_LENGTH));
    EXPECT_EQ(run(false, none, Bytes(13, 1), &last), uint32_t(CSP_ERR_INPUT_LENGTH));
    CipherSetup padded = raw;
    padded.padding = CSP_PADDING_PKCS7;
    vcp::CipherContext pkcs(padded);
    EXPECT_EQ(run(false, pkcs, Bytes(12, 1), &last), uint32_t(CSP_ERR_INPUT_LENGTH));
    EXPECT_EQ(run(false, pkcs, Bytes{}, &last), uint32_t(CSP_ERR_INPUT_LENGTH));
    // Plain last blocks with malformed padding, enciphered without padding by OpenSSL.
    const char *badBlocks[] = {"0102030405060700", "0102030405060709", "01020304050606ff",
                               "0808080808080708", "0102030405040303"};
    for (const char *hex : badBlocks) {
        Bytes plain = vctest::fromHex("00112233445566770011223344556677");
        const Bytes block = vctest::fromHex(hex);
        plain.insert(plain.end(), block.begin(), block.end());
        DataBlob fresh{0, nullptr};
        EXPECT_EQ(run(false, pkcs, openssl("DES-CBC", raw, plain), &fresh), uint32_t(CSP_ERR_BAD_PADDING)) << hex;
        EXPECT_EQ(fresh.Data, nullptr) << "the blob given for the result stays empty";
    }
}

// RC4 runs on a copy of the key record's state: one record serves many messages.
TEST(ProviderCipher, Rc4KeyRecordReused) {
    CipherSetup s{CSP_ALG_RC4, 0, Bytes(16, 0x42), {}};
    vcp::CipherContext c(s);
    const Bytes plain = vctest::Rng(13).bytes(100);
    const Bytes want = openssl("RC4", s, plain);
    for (int i = 0; i < 2; ++i) {
        CspContextRecord h{};
        DataBlob in{100, const_cast<uint8_t *>(plain.data())};
        Bytes out(100);
        DataBlob o{100, out.data()}, last{0, nullptr};
        uint32_t written = 0;
        ASSERT_EQ(CSP_EncryptData(0, &h, &c.context, &in, 1, &o, 1, &written, &last), 0);
        EXPECT_EQ(out, want);
        EXPECT_EQ(last.Length, 0u);
        std::free(last.Data);
    }
}

}  // namespace
