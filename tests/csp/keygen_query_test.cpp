// Key generation, key sizes and size queries of the provider, and the encryption family's
// reason codes.
#include <cstdlib>
#include <functional>

#include "provider_util.h"

namespace {

using vcp::Bytes;

struct KeyCase {
    uint32_t algorithm;
    size_t keyBytes;
    uint32_t effectiveBits;  // RC2 attribute, 0 for none
    uint32_t logical, effective;
};

TEST(ProviderKeys, RecordsSizesAndWipe) {
    const KeyCase cases[] = {
        {CSP_ALG_DES, 8, 0, 64, 56},          {CSP_ALG_3DES_2KEY, 16, 0, 128, 112},
        {CSP_ALG_IDEA, 16, 0, 128, 128},      {CSP_ALG_RC2, 8, 0, 64, 64},
        {CSP_ALG_RC2, 5, 0, 40, 40},          {CSP_ALG_RC2, 16, 40, 128, 40},
        {CSP_ALG_RC2, 128, 1024, 1024, 1024}, {CSP_ALG_RC5, 26, 0, 208, 208},
        {CSP_ALG_RC5, 0, 0, 0, 0},            {CSP_ALG_RC5, 255, 0, 2040, 2040},
        {CSP_ALG_RC4, 1, 0, 8, 8},            {CSP_ALG_RC4, 256, 0, 2048, 2048},
        {CSP_ALG_BLOWFISH, 4, 0, 32, 32},     {CSP_ALG_BLOWFISH, 56, 0, 448, 448},
    };
    // The record sizes hosts have always reserved (a minimum).
    auto documented = [](uint32_t a, size_t n) -> uint32_t {
        switch (a) {
        case CSP_ALG_DES: return 128;
        case CSP_ALG_3DES_2KEY: return 256;
        case CSP_ALG_IDEA: return 432;
        case CSP_ALG_RC2: return n == 5 ? 40 : 128;
        case CSP_ALG_RC5: return 136;
        case CSP_ALG_RC4: return 1032;
        default: return 4168;
        }
    };
    vctest::Rng rng(31);
    for (const KeyCase &k : cases) {
        vcp::Key key;
        ASSERT_EQ(vcp::makeKey(key, k.algorithm, rng.bytes(k.keyBytes), k.effectiveBits), 0)
            << k.algorithm << " " << k.keyBytes << " reason " << GetError();
        EXPECT_GE(key.blob.Length, documented(k.algorithm, k.keyBytes));
        EXPECT_LE(key.blob.Length, uint32_t(CSP_KEY_RECORD_MAX));
        // A buffer one byte short of the record fails; exactly the record's size works.
        vcp::Key exact;
        const uint32_t size = key.blob.Length;
        vcp::Context gen(CSP_CLASS_KEYGEN, k.algorithm);
        gen.add(CSP_ATTR_KEY_LENGTH, uint32_t(8 * k.keyBytes));
        if (k.effectiveBits) gen.add(CSP_ATTR_EFFECTIVE_BITS, k.effectiveBits);
        Bytes material = rng.bytes(k.keyBytes);
        DataBlob m{uint32_t(material.size()), material.data()};
        exact.blob.Length = size - 1;
        EXPECT_REASON(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &m, &exact.blob), CSP_ERR_OUTPUT_SHORT);
        exact.blob.Length = size;
        EXPECT_EQ(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &m, &exact.blob), 0);
        EXPECT_EQ(exact.blob.Length, size);

        CspKeySize bits{};
        ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, &bits), 0);
        EXPECT_EQ(bits.logicalBits, k.logical) << k.algorithm;
        EXPECT_EQ(bits.effectiveBits, k.effective) << k.algorithm;
        vcp::Context withKey(CSP_CLASS_SYMMETRIC, k.algorithm);  // the key from the context
        withKey.add(CSP_ATTR_KEY, &key.blob);
        CspKeySize viaContext{};
        ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, &withKey, nullptr, &viaContext), 0);
        EXPECT_EQ(viaContext.effectiveBits, k.effective);

        ASSERT_EQ(CSP_FreeKey(0, &key.blob), 0);
        EXPECT_EQ(key.blob.Length, 0u);
        const uint8_t *p = key.blob.Data;
        EXPECT_TRUE(std::all_of(p, p + size, [](uint8_t b) { return b == 0; })) << "not wiped";
        key.blob.Length = size;
        EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, &bits), CSP_ERR_INVALID_KEY);
    }
}

TEST(ProviderKeys, ReasonCodes) {
    Bytes material(300, 7);
    DataBlob full{300, material.data()}, shortMaterial{7, material.data()}, noMaterial{8, nullptr};
    struct Case {
        uint32_t cls, algorithm;
        int64_t bits;  // KEY_LENGTH, -1 for none
        int64_t effective;
        DataBlob *material;
        uint32_t reason;
    } cases[] = {
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, 64, -1, &full, CSP_ERR_CLASS},
        {CSP_CLASS_KEYGEN, 15, 64, -1, &full, CSP_ERR_ALGORITHM},
        {CSP_CLASS_KEYGEN, CSP_ALG_MD5, 64, -1, &full, CSP_ERR_ALGORITHM},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, -1, -1, &full, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 63, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, &shortMaterial, CSP_ERR_NULL_DATA},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, &noMaterial, CSP_ERR_NULL_DATA},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 56, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_3DES_2KEY, 192, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_IDEA, 64, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 0, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 8 * 129, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 64, 0, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 64, 1025, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC5, 8 * 256, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC4, 0, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC4, 8 * 257, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_BLOWFISH, 24, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_BLOWFISH, 8 * 57, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, nullptr, CSP_ERR_NULL_BLOB},
    };
    for (const Case &c : cases) {
        vcp::Context gen(c.cls, c.algorithm);
        if (c.bits >= 0) gen.add(CSP_ATTR_KEY_LENGTH, uint32_t(c.bits));
        if (c.effective >= 0) gen.add(CSP_ATTR_EFFECTIVE_BITS, uint32_t(c.effective));
        vcp::Key key;
        CspContextRecord h{};
        SCOPED_TRACE(testing::Message() << c.algorithm << " " << c.bits);
        EXPECT_REASON(CSP_GenerateKey(0, &h, &gen, 0, 0, c.material, &key.blob), c.reason);
    }
    vcp::Context gen(CSP_CLASS_KEYGEN, CSP_ALG_DES);
    gen.add(CSP_ATTR_KEY_LENGTH, 64);
    vcp::Key key;
    DataBlob noBuffer{CSP_KEY_RECORD_MAX, nullptr}, misaligned{200, key.blob.Data + 1};
    EXPECT_REASON(CSP_GenerateKey(0, nullptr, &gen, 0, 0, &full, &key.blob), CSP_ERR_NO_CONTEXT);
    EXPECT_REASON(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &full, nullptr), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &full, &noBuffer), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &full, &misaligned), CSP_ERR_INVALID_KEY);
    EXPECT_REASON(CSP_FreeKey(0, nullptr), CSP_ERR_NULL_BLOB);
    CspKeySize bits;
    EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, nullptr), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, nullptr, nullptr, &bits), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, &gen, nullptr, &bits), CSP_ERR_MISSING_ATTRIBUTE);
}

// Output sizes from the context's settings, then from an operation in progress.
TEST(ProviderQuerySize, SymmetricDigestAndMac) {
    vcp::Key key;
    ASSERT_EQ(vcp::makeKey(key, CSP_ALG_DES, Bytes(8, 3)), 0);
    struct Case {
        uint32_t cls, algorithm, mode;
        int64_t padding;
        uint32_t encrypt, input, output;
    } cases[] = {
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_CBC, -1, 1, 0, 8},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_CBC, -1, 1, 7, 8},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_ECB, -1, 1, 8, 16},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_ECB, CSP_PADDING_NONE, 1, 16, 16},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_CFB, -1, 1, 13, 13},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_OFB, CSP_PADDING_PKCS5, 1, 13, 16},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_RC4, 0, -1, 1, 13, 13},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_CBC, -1, 0, 16, 15},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_CBC, CSP_PADDING_NONE, 0, 16, 16},
        {CSP_CLASS_SYMMETRIC, CSP_ALG_DES, CSP_MODE_OFB, -1, 0, 5, 5},
        {CSP_CLASS_DIGEST, 8, 0, -1, 1, 100, 20},
        {CSP_CLASS_DIGEST, 7, 0, -1, 1, 100, 16},
        {CSP_CLASS_MAC, CSP_ALG_DES, 0, -1, 1, 100, 8},
        {CSP_CLASS_MAC, CSP_ALG_MD5, 0, -1, 1, 100, 16},
    };
    for (const Case &c : cases) {
        vcp::Context ctx(c.cls, c.algorithm);
        if (c.mode) ctx.add(CSP_ATTR_MODE, c.mode);
        if (c.padding >= 0) ctx.add(CSP_ATTR_PADDING, uint32_t(c.padding));
        CspContextRecord h{};
        CspQuerySizeData q{c.input, 0};
        ASSERT_EQ(CSP_QuerySize(0, &h, &ctx, c.encrypt, 1, &q), 0) << GetError();
        EXPECT_EQ(q.outputSize, c.output) << c.cls << " " << c.algorithm << " " << c.mode;
    }
    // Three bytes pending in a CBC encryption: five more make a block, and padding adds one.
    vcp::Context ctx(CSP_CLASS_SYMMETRIC, CSP_ALG_DES);
    Bytes ivBytes(8, 0), in(3, 1), out(16);
    DataBlob iv{8, ivBytes.data()}, input{3, in.data()}, output{16, out.data()};
    ctx.add(CSP_ATTR_KEY, &key.blob).add(CSP_ATTR_MODE, CSP_MODE_CBC).add(CSP_ATTR_INIT_VECTOR, &iv);
    CspContextRecord h{};
    ASSERT_EQ(CSP_EncryptDataInit(0, &h, &ctx), 0);
    uint32_t written = 0;
    ASSERT_EQ(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), 0);
    CspQuerySizeData q[2] = {{5, 0}, {4, 0}};
    ASSERT_EQ(CSP_QuerySize(0, &h, nullptr, 1, 2, q), 0);
    EXPECT_EQ(q[0].outputSize, 16u);
    EXPECT_EQ(q[1].outputSize, 8u);

    vcp::Context wrongClass(CSP_CLASS_RANDOM, CSP_ALG_RANDOM_DES), unknown(CSP_CLASS_MAC, 9),
        badMode(CSP_CLASS_SYMMETRIC, CSP_ALG_DES);
    badMode.add(CSP_ATTR_MODE, 3);
    CspContextRecord fresh{};
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &wrongClass, 1, 1, q), CSP_ERR_CLASS);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &unknown, 1, 1, q), CSP_ERR_ALGORITHM);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &badMode, 1, 1, q), CSP_ERR_MODE);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, nullptr, 1, 1, nullptr), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, nullptr, 1, 0, q), CSP_ERR_BLOB_COUNT);
    EXPECT_REASON(CSP_QuerySize(0, nullptr, nullptr, 1, 1, q), CSP_ERR_NO_CONTEXT);
}

}  // namespace
