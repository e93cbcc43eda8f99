// The provider's encryption family against OpenSSL (DES, two-key triple DES, Blowfish, RC2,
// RC4), libgcrypt (IDEA) and a model over the RC5 block function, on random keys, IVs, lengths
// and Update splits; then its reason codes.
#include <gcrypt.h>

#include "provider_util.h"

namespace {

using vcp::Bytes;
using vcp::CipherSetup;

const struct Mode {
    uint32_t mode;
    const char *suffix;
    int gcrypt;
} kModes[] = {{CSP_MODE_ECB, "ECB", GCRY_CIPHER_MODE_ECB},
              {CSP_MODE_CBC, "CBC", GCRY_CIPHER_MODE_CBC},
              {CSP_MODE_CFB, "CFB", GCRY_CIPHER_MODE_CFB},
              {CSP_MODE_OFB, "OFB", GCRY_CIPHER_MODE_OFB}};

// RC5-32/12 in the four modes, written from the mode definitions over the single-block
// function (whose correctness the cipher tests establish).
Bytes rc5Model(const CipherSetup &s, const Bytes &in) {
    Rc5KeySchedule ks;
    E_RC5_KeySchedule(&ks, s.key.data(), uint32_t(s.key.size()), 12);
    const bool feedback = s.mode == CSP_MODE_CFB || s.mode == CSP_MODE_OFB;
    Bytes out(in.size()), reg(s.iv.begin(), s.iv.begin() + (s.iv.empty() ? 0 : 8));
    for (size_t i = 0; i < in.size(); i += 8) {
        uint8_t b[8];
        for (size_t j = 0; j < 8; ++j)
            b[j] = feedback ? reg[j] : uint8_t(in[i + j] ^ (s.mode == CSP_MODE_CBC ? reg[j] : 0));
        E_RC5_Encrypt(b, &ks);
        for (size_t j = 0; j < 8 && i + j < in.size(); ++j) out[i + j] = feedback ? uint8_t(in[i + j] ^ b[j]) : b[j];
        if (s.mode == CSP_MODE_CFB) std::copy(out.begin() + long(i), out.begin() + long(std::min(i + 8, in.size())), b);
        reg.assign(b, b + 8);  // CFB: the cipher text block, else the cipher's output
    }
    return out;
}

// The expected cipher text: pad where the provider pads, then the oracle without padding.
Bytes expected(const vcp::Cipher &c, const Mode &mode, const CipherSetup &s, const Bytes &plain) {
    const bool padded = s.padding < 0 ? s.mode == CSP_MODE_ECB || s.mode == CSP_MODE_CBC
                                      : s.padding != CSP_PADDING_NONE;
    const Bytes in = padded ? vctest::pkcsPad(plain, 8) : plain;
    if (c.algorithm == CSP_ALG_IDEA)
        return vctest::gcrypt(GCRY_CIPHER_IDEA, mode.gcrypt, true, s.key, Bytes(s.iv.begin(), s.iv.begin() + std::min<long>(8, long(s.iv.size()))), in);
    if (c.algorithm == CSP_ALG_RC5) return rc5Model(s, in);
    std::string name = std::string(c.openssl) + "-" + mode.suffix;
    if (c.algorithm == CSP_ALG_RC4 || name == "DES-EDE-ECB") name = c.openssl;
    const uint32_t rc2Bits = s.effectiveBits ? s.effectiveBits : uint32_t(8 * s.key.size());
    return vctest::evp(name.c_str(), true, s.key, s.iv, in, false, c.algorithm == CSP_ALG_RC2 ? int(rc2Bits) : 0);
}

uint32_t querySize(vcp::CipherContext &c, bool encrypt, size_t input) {
    CspContextRecord h{};
    CspQuerySizeData q{uint32_t(input), 0};
    EXPECT_EQ(CSP_QuerySize(0, &h, &c.context, encrypt, 1, &q), 0);
    return q.outputSize;
}

// Random keys of every allowed length, IVs, lengths and paddings (default, explicit PKCS, none
// on whole blocks), one-shot and staged in random pieces across the 1,000-byte chunk with
// output blobs that cut blocks; one key record serves every call, as RC4 must allow.
TEST(ProviderCipher, EveryAlgorithmAndModeAgainstOracles) {
    vctest::Rng rng(11);
    const size_t edges[] = {0, 1, 7, 8, 9, 999, 1000, 1001, 1007, 1008, 2000};
    for (const vcp::Cipher &c : vcp::kCiphers)
        for (const Mode &mode : kModes) {
            const bool rc4 = c.algorithm == CSP_ALG_RC4, ecb = mode.mode == CSP_MODE_ECB;
            if (rc4 && !ecb) continue;  // RC4: one pass, no mode
            for (int trial = 0; trial < 7; ++trial) {
                const size_t keyBytes = c.minKey + rng.below(c.maxKey - c.minKey + 1);
                CipherSetup s{c.algorithm, rc4 ? 0 : mode.mode, rng.bytes(keyBytes),
                              ecb ? Bytes{} : rng.bytes(8 + rng.below(2) * 8)};
                if (c.algorithm == CSP_ALG_RC2 && trial % 2) s.effectiveBits = 1 + rng.below(1024);
                size_t length = trial < 3 ? edges[rng.below(std::size(edges))] : rng.below(3000);
                if (trial == 5) s.padding = int64_t(rng.below(2) ? CSP_PADDING_PKCS5 : CSP_PADDING_PKCS7);
                if (trial == 6) s.padding = CSP_PADDING_NONE, length -= length % 8;
                const Bytes plain = rng.bytes(length), want = expected(c, mode, s, plain);
                SCOPED_TRACE(testing::Message() << "algorithm " << c.algorithm << " mode " << mode.suffix << " key "
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

// Init refusals by class, algorithm, key record and attribute (a refused Init starts nothing),
// then Update and Final refusals on a padded DES-ECB encryption that none of them disturbs.
TEST(ProviderCipher, ReasonCodes) {
    vcp::Key des, bf, damaged;
    ASSERT_EQ(vcp::makeKey(des, CSP_ALG_DES, Bytes(8, 1)) | vcp::makeKey(bf, CSP_ALG_BLOWFISH, Bytes(8, 1)) |
                  vcp::makeKey(damaged, CSP_ALG_DES, Bytes(8, 1)), 0);
    damaged.blob.Data[0] ^= 1;
    Bytes in(16, 1), out(32);
    DataBlob input{16, in.data()}, output{32, out.data()}, nullIn{16, nullptr},
        shortOut{15, out.data()}, shortIv{7, in.data()}, absent{8, nullptr}, last{8, out.data() + 16};
    const struct {
        uint32_t cls, algorithm;
        DataBlob *key;
        int64_t mode, padding;  // -1: no attribute
        DataBlob *iv;
        uint32_t reason;
    } inits[] = {
        {CSP_CLASS_DIGEST, CSP_ALG_DES, &des.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_CLASS},
        {CSP_CLASS_SYMMETRIC, 15, &des.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_ALGORITHM},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, nullptr, CSP_MODE_ECB, -1, nullptr, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &bf.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &damaged.blob, CSP_MODE_ECB, -1, nullptr, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, 3, -1, nullptr, CSP_ERR_MODE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_CBC, -1, nullptr, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_CFB, -1, &shortIv, CSP_ERR_IV},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_OFB, -1, &absent, CSP_ERR_IV},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, &des.blob, CSP_MODE_ECB, 1, nullptr, CSP_ERR_PADDING},
    };
    for (const auto &c : inits) {
        vcp::Context ctx(c.cls, c.algorithm);
        if (c.key) ctx.add(CSP_ATTR_KEY, c.key);
        if (c.mode >= 0) ctx.add(CSP_ATTR_MODE, uint32_t(c.mode));
        if (c.padding >= 0) ctx.add(CSP_ATTR_PADDING, uint32_t(c.padding));
        if (c.iv) ctx.add(CSP_ATTR_INIT_VECTOR, c.iv);
        SCOPED_TRACE(testing::Message() << "reason " << c.reason << " mode " << c.mode);
        CspContextRecord h{};
        EXPECT_REASON(CSP_EncryptDataInit(0, &h, &ctx), c.reason);
        EXPECT_REASON(CSP_DecryptDataInit(0, &h, &ctx), c.reason);
        EXPECT_REASON(CSP_DecryptDataUpdate(0, &h, &input, 1, &output, 1, nullptr), CSP_ERR_STATE);
    }
    EXPECT_REASON(CSP_EncryptDataInit(0, nullptr, nullptr), CSP_ERR_NO_CONTEXT);

    const CipherSetup s{CSP_ALG_DES, CSP_MODE_ECB, Bytes(8, 5), {}};
    vcp::CipherContext c(s);
    uint32_t written = 0;
    CspContextRecord h{};
    ASSERT_EQ(CSP_EncryptDataInit(0, &h, &c.context), 0);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 0, &written), CSP_ERR_BLOB_COUNT);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &nullIn, 1, &output, 1, &written), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_EncryptDataUpdate(0, &h, &input, 1, &shortOut, 1, &written), CSP_ERR_OUTPUT_SHORT);
    EXPECT_REASON(CSP_DecryptDataUpdate(0, &h, &input, 1, &output, 1, &written), CSP_ERR_STATE);
    ASSERT_EQ(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), 0);
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &shortIv), CSP_ERR_OUTPUT_SHORT);
    ASSERT_EQ(CSP_EncryptDataFinal(0, &h, &last), 0);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 24), vctest::evp("DES-ECB", true, s.key, {}, vctest::pkcsPad(in, 8)));
    EXPECT_REASON(CSP_EncryptDataFinal(0, &h, &last), CSP_ERR_STATE);
}

// Unpadded data that is not whole blocks, and malformed padding on decryption (plain last
// blocks enciphered without padding by OpenSSL). The failure ends the operation and leaves the
// closing blob as it was.
TEST(ProviderCipher, LengthAndPaddingFailures) {
    CipherSetup raw{CSP_ALG_DES, CSP_MODE_CBC, Bytes(8, 9), Bytes(8, 4), CSP_PADDING_NONE}, padded = raw;
    padded.padding = CSP_PADDING_PKCS7;
    vcp::CipherContext none(raw), pkcs(padded);
    const struct {
        vcp::CipherContext *c;
        bool encrypt;
        const char *hex;  // the text; for bad padding, the plain last block
        uint32_t reason;
    } cases[] = {
        {&none, true, "0102030405", CSP_ERR_INPUT_LENGTH},
        {&none, false, "0102030405", CSP_ERR_INPUT_LENGTH},
        {&pkcs, false, "0102030405060708ff", CSP_ERR_INPUT_LENGTH},
        {&pkcs, false, "", CSP_ERR_INPUT_LENGTH},
        {&pkcs, false, "0102030405060700", CSP_ERR_BAD_PADDING},
        {&pkcs, false, "0102030405060709", CSP_ERR_BAD_PADDING},
        {&pkcs, false, "0808080808080708", CSP_ERR_BAD_PADDING},
        {&pkcs, false, "0102030405040303", CSP_ERR_BAD_PADDING},
    };
    for (const auto &k : cases) {
        Bytes data = vctest::fromHex(k.hex), buf(32);
        if (k.reason == CSP_ERR_BAD_PADDING)
            data = vctest::evp("DES-CBC", true, raw.key, raw.iv, vctest::fromHex(std::string(32, '7') + k.hex));
        SCOPED_TRACE(k.hex);
        CspContextRecord h{};
        DataBlob in = vcp::blobsOf(data, {data.size()})[0], out{32, buf.data()}, last{0, nullptr};
        uint32_t written;
        EXPECT_REASON((k.encrypt ? CSP_EncryptData : CSP_DecryptData)(0, &h, &k.c->context, &in, 1, &out, 1, &written,
                                                                      &last), k.reason);
        EXPECT_EQ(last.Data, nullptr);
        EXPECT_REASON((k.encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal)(0, &h, &last), CSP_ERR_STATE);
    }
}

}  // namespace
