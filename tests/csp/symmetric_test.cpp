// The provider's encryption family against OpenSSL (DES, two-key triple DES, Blowfish, RC2,
// RC4), libgcrypt (IDEA) and a model over the RC5 block function, on random keys, IVs, lengths
// and Update splits; then its reason codes.
#include <gcrypt.h>
#include "provider_util.h"
#include "support/oracles.h"

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
    return mode == CSP_MODE_ECB ? "ECB" : mode == CSP_MODE_CBC ? "CBC" : mode == CSP_MODE_CFB ? "CFB" : "OFB";
}

// OpenSSL's cipher `name` on `in` without padding (the caller pads).
Bytes openssl(const std::string &name, const CipherSetup &s, const Bytes &in) {
    const int rc2Bits = int(s.effectiveBits ? s.effectiveBits : 8 * s.key.size());
    return vctest::evp(name.c_str(), true, s.key, s.iv, in, false, rc2Bits);
}

Bytes gcryptIdea(const CipherSetup &s, const Bytes &in) {
    const int modes[] = {GCRY_CIPHER_MODE_ECB, GCRY_CIPHER_MODE_CBC, GCRY_CIPHER_MODE_CFB,
                         GCRY_CIPHER_MODE_OFB};
    const size_t m = s.mode == CSP_MODE_ECB ? 0 : s.mode == CSP_MODE_CBC ? 1 : s.mode == CSP_MODE_CFB ? 2 : 3;
    const Bytes iv(s.iv.begin(), s.iv.begin() + long(std::min<size_t>(8, s.iv.size())));
    return vctest::gcrypt(GCRY_CIPHER_IDEA, modes[m], true, s.key, iv, in);
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
    {CSP_ALG_BLOWFISH, "BF", 4, 56},   {CSP_ALG_RC2, "RC2", 1, 128},
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

// CSP_QuerySize on a fresh record with the setup's context.
uint32_t querySize(vcp::CipherContext &c, bool encrypt, size_t input) {
    CspContextRecord h{};
    CspQuerySizeData q{uint32_t(input), 0};
    EXPECT_EQ(CSP_QuerySize(0, &h, &c.context, encrypt, 1, &q), 0);
    return q.outputSize;
}

// Random keys of every allowed length, IVs, lengths and paddings (default, explicit PKCS, none
// on whole blocks); one key record serves every call, as RC4 must allow.
TEST(ProviderCipher, EveryAlgorithmAndModeAgainstOracles) {
    vctest::Rng rng(11);
    const size_t edges[] = {0, 1, 7, 8, 9, 999, 1000, 1001, 1007, 1008, 2000};
    for (const Cipher &c : kCiphers)
        for (uint32_t mode : kModes) {
            if (c.algorithm == CSP_ALG_RC4 && mode != CSP_MODE_ECB) continue;  // RC4: one pass
            for (int trial = 0; trial < 7; ++trial) {
                CipherSetup s{c.algorithm, c.algorithm == CSP_ALG_RC4 ? 0 : mode,
                              rng.bytes(c.minKey + rng.below(c.maxKey - c.minKey + 1)),
                              mode == CSP_MODE_ECB ? Bytes{} : rng.bytes(8 + rng.below(2) * 8)};
                if (c.algorithm == CSP_ALG_RC2 && trial % 2) s.effectiveBits = 1 + rng.below(1024);
                size_t length = trial < 3 ? edges[rng.below(std::size(edges))] : rng.below(3000);
                if (trial == 5) s.padding = int64_t(rng.below(2) ? CSP_PADDING_PKCS5 : CSP_PADDING_PKCS7);
                if (trial == 6) s.padding = CSP_PADDING_NONE, length -= length % 8;
                const Bytes plain = rng.bytes(length), want = expected(c, s, plain);
                SCOPED_TRACE(testing::Message() << "algorithm " << c.algorithm << " mode " << mode << " key "
                                                << s.key.size() << " length " << length << " padding " << s.padding);
                vcp::CipherContext ctx(s);
                EXPECT_EQ(vcp::crypt(ctx, true, plain), want);
                EXPECT_EQ(vcp::crypt(ctx, true, plain, vcp::randomPieces(rng, length), {3, 13, 1000, 9}), want);
                EXPECT_EQ(vcp::crypt(ctx, false, want, vcp::randomPieces(rng, want.size())), plain);
                EXPECT_EQ(vcp::crypt(ctx, false, want), plain);
                EXPECT_EQ(querySize(ctx, true, length), want.size());
                EXPECT_GE(querySize(ctx, false, want.size()), length);
            }
        }
}

// Init refusals: class, algorithm, attributes, key records.
TEST(ProviderCipher, InitReasonCodes) {
    vcp::Key des, bf, damaged;
    ASSERT_EQ(vcp::makeKey(des, CSP_ALG_DES, Bytes(8, 1)) | vcp::makeKey(bf, CSP_ALG_BLOWFISH, Bytes(8, 1)) |
                  vcp::makeKey(damaged, CSP_ALG_DES, Bytes(8, 1)), 0);
    damaged.blob.Data[0] ^= 1;
    Bytes ivBytes(8, 0);
    DataBlob iv{8, ivBytes.data()}, shortIv{7, ivBytes.data()}, noIv{8, nullptr};
    const struct {
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
    for (const auto &c : cases) {
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

// Update and Final refusals on a DES-ECB encryption with padding; none of them disturbs it.
TEST(ProviderCipher, StagedReasonCodes) {
    CipherSetup s{CSP_ALG_DES, CSP_MODE_ECB, Bytes(8, 5), {}};
    vcp::CipherContext c(s);
    Bytes in(16, 1), out(32);
    DataBlob input{16, in.data()}, output{32, out.data()}, nullIn{16, nullptr},
        shortOut{15, out.data()}, tooSmall{7, out.data()}, absent{8, nullptr}, last{8, out.data() + 16};
    uint32_t written = 0;
    CspContextRecord h{};
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &output), CSP_ERR_STATE);
    ASSERT_EQ(CSP_EncryptDataInit(0, &h, &c.context), 0);
    EXPECT_REASON(CSP_DecryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, nullptr, &input, 1, &output, 1, &written), CSP_ERR_NO_CONTEXT);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, nullptr, 1, &output, 1, &written), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 0, &written), CSP_ERR_BLOB_COUNT);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &nullIn, 1, &output, 1, &written), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &shortOut, 1, &written), CSP_ERR_OUTPUT_SHORT);
    ASSERT_EQ(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), 0);
    EXPECT_EQ(written, 16u);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, nullptr), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &tooSmall), CSP_ERR_OUTPUT_SHORT);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &absent), CSP_ERR_NULL_DATA);
    ASSERT_EQ(CSP_EncryptDataFinal(0, &h, &last), 0);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 24), openssl("DES-ECB", s, pkcs7(in)));
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &last), CSP_ERR_STATE);
}

// Unpadded data that is not whole blocks, and malformed padding on decryption (plain last
// blocks enciphered without padding by OpenSSL). A failed Final ends the operation and leaves
// the closing blob as it was.
TEST(ProviderCipher, LengthAndPaddingFailures) {
    CipherSetup raw{CSP_ALG_DES, CSP_MODE_CBC, Bytes(8, 9), Bytes(8, 4), CSP_PADDING_NONE}, padded = raw;
    padded.padding = CSP_PADDING_PKCS7;
    vcp::CipherContext none(raw), pkcs(padded);
    const Bytes lead = vctest::fromHex("00112233445566770011223344556677");
    const struct {
        vcp::CipherContext *c;
        bool encrypt;
        Bytes data;
        uint32_t reason;
    } cases[] = {
        {&none, true, Bytes(13, 1), CSP_ERR_INPUT_LENGTH},
        {&none, false, Bytes(13, 1), CSP_ERR_INPUT_LENGTH},
        {&pkcs, false, Bytes(12, 1), CSP_ERR_INPUT_LENGTH},
        {&pkcs, false, Bytes{}, CSP_ERR_INPUT_LENGTH},
        {&pkcs, false, vctest::fromHex("0102030405060700"), CSP_ERR_BAD_PADDING},
        {&pkcs, false, vctest::fromHex("0102030405060709"), CSP_ERR_BAD_PADDING},
        {&pkcs, false, vctest::fromHex("01020304050606ff"), CSP_ERR_BAD_PADDING},
        {&pkcs, false, vctest::fromHex("0808080808080708"), CSP_ERR_BAD_PADDING},
        {&pkcs, false, vctest::fromHex("0102030405040303"), CSP_ERR_BAD_PADDING},
    };
    for (const auto &k : cases) {
        Bytes data = k.data, buf(64);
        if (k.reason == CSP_ERR_BAD_PADDING) {
            data.insert(data.begin(), lead.begin(), lead.end());
            data = openssl("DES-CBC", raw, data);
        }
        SCOPED_TRACE(vctest::toHex(k.data));
        CspContextRecord h{};
        ASSERT_EQ((k.encrypt ? CSP_EncryptDataInit : CSP_DecryptDataInit)(0, &h, &k.c->context), 0);
        DataBlob in{uint32_t(data.size()), buf.data() + 32}, out{32, buf.data()}, last{0, nullptr};
        std::copy(data.begin(), data.end(), buf.begin() + 32);
        uint32_t written;
        ASSERT_EQ((k.encrypt ? CSP_EncryptDataUpdate : CSP_DecryptDataUpdate)(0, &h, &in, 1, &out, 1, &written), 0);
        EXPECT_REASON((k.encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal)(0, &h, &last), k.reason);
        EXPECT_EQ(last.Data, nullptr);
        EXPECT_REASON((k.encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal)(0, &h, &last), CSP_ERR_STATE);
    }
}

}  // namespace
