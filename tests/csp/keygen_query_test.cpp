// Key records, their sizes in bits and wiping, key-generation refusals, and size queries.
#include "provider_util.h"

namespace {

using vcp::Bytes;

TEST(ProviderKeys, RecordsSizesAndWipe) {
    const struct {
        uint32_t algorithm;
        size_t keyBytes;
        uint32_t effectiveBits;  // RC2 attribute, 0 for none
        uint32_t logical, effective, documentedSize;
    } cases[] = {
        {CSP_ALG_DES, 8, 0, 64, 56, 128},           {CSP_ALG_3DES_2KEY, 16, 0, 128, 112, 256},
        {CSP_ALG_IDEA, 16, 0, 128, 128, 432},       {CSP_ALG_RC2, 8, 0, 64, 64, 128},
        {CSP_ALG_RC2, 5, 0, 40, 40, 40},            {CSP_ALG_RC2, 16, 40, 128, 40, 128},
        {CSP_ALG_RC2, 128, 1024, 1024, 1024, 128},  {CSP_ALG_RC5, 26, 0, 208, 208, 136},
        {CSP_ALG_RC5, 0, 0, 0, 0, 136},             {CSP_ALG_RC5, 255, 0, 2040, 2040, 136},
        {CSP_ALG_RC4, 1, 0, 8, 8, 1032},            {CSP_ALG_RC4, 256, 0, 2048, 2048, 1032},
        {CSP_ALG_BLOWFISH, 4, 0, 32, 32, 4168},     {CSP_ALG_BLOWFISH, 56, 0, 448, 448, 4168},
    };
    vctest::Rng rng(31);
    for (const auto &k : cases) {
        SCOPED_TRACE(testing::Message() << k.algorithm << " " << k.keyBytes);
        const Bytes material = rng.bytes(k.keyBytes);
        vcp::Key key;
        ASSERT_EQ(vcp::makeKey(key, k.algorithm, material, k.effectiveBits), 0) << GetError();
        const uint32_t size = key.blob.Length;
        EXPECT_GE(size, k.documentedSize);
        EXPECT_LE(size, uint32_t(CSP_KEY_RECORD_MAX));
        // A buffer one byte short of the record fails; exactly its size works.
        vcp::Context gen(CSP_CLASS_KEYGEN, k.algorithm);
        gen.add(CSP_ATTR_KEY_LENGTH, uint32_t(8 * k.keyBytes));
        if (k.effectiveBits) gen.add(CSP_ATTR_EFFECTIVE_BITS, k.effectiveBits);
        DataBlob m{uint32_t(k.keyBytes), const_cast<uint8_t *>(material.data())};
        vcp::Key exact;
        exact.blob.Length = size - 1;
        EXPECT_REASON(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &m, &exact.blob), CSP_ERR_OUTPUT_SHORT);
        exact.blob.Length = size;
        EXPECT_EQ(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &m, &exact.blob), 0);

        CspKeySize bits{}, viaContext{};
        ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, &bits), 0);
        EXPECT_EQ(bits.logicalBits, k.logical);
        EXPECT_EQ(bits.effectiveBits, k.effective);
        vcp::Context withKey(CSP_CLASS_SYMMETRIC, k.algorithm);
        withKey.add(CSP_ATTR_KEY, &exact.blob);
        ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, &withKey, nullptr, &viaContext), 0);
        EXPECT_EQ(viaContext.effectiveBits, k.effective);

        ASSERT_EQ(CSP_FreeKey(0, &key.blob), 0);
        EXPECT_EQ(key.blob.Length, 0u);
        EXPECT_TRUE(std::all_of(key.blob.Data, key.blob.Data + size, [](uint8_t b) { return b == 0; }));
        key.blob.Length = size;
        EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, &bits), CSP_ERR_INVALID_KEY);
    }
}

TEST(ProviderKeys, ReasonCodes) {
    Bytes material(300, 7);
    DataBlob full{300, material.data()}, shortMaterial{7, material.data()}, noMaterial{8, nullptr};
    const struct {
        uint32_t cls, algorithm;
        int64_t bits, effective;  // attributes, -1 for none
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
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, nullptr, CSP_ERR_NULL_BLOB},
        {CSP_CLASS_KEYGEN, CSP_ALG_3DES_2KEY, 192, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 0, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 8 * 129, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 64, 0, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 64, 1025, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC5, 8 * 256, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC4, 8 * 257, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_BLOWFISH, 24, -1, &full, CSP_ERR_INVALID_KEY},
    };
    for (const auto &c : cases) {
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
    EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, nullptr, nullptr, &bits), CSP_ERR_NULL_BLOB);
    EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, &gen, nullptr, &bits), CSP_ERR_MISSING_ATTRIBUTE);
}

// Sizes the differential cipher loop does not reach: an operation in progress, digests, MACs,
// unpadded ECB that is not whole blocks, refusals.
TEST(ProviderQuerySize, InProgressDigestMacAndReasons) {
    vcp::CipherContext c({CSP_ALG_DES, CSP_MODE_CBC, Bytes(8, 3), Bytes(8, 0)});
    Bytes in(3, 1), out(16);
    DataBlob input{3, in.data()}, output{16, out.data()};
    CspContextRecord h{};
    ASSERT_EQ(CSP_EncryptDataInit(0, &h, &c.context), 0);
    uint32_t written = 0;
    ASSERT_EQ(CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written), 0);
    CspQuerySizeData q[2] = {{5, 0}, {4, 0}};  // three bytes pending: 5 more make a block
    ASSERT_EQ(CSP_QuerySize(0, &h, nullptr, 1, 2, q), 0);
    EXPECT_EQ(q[0].outputSize, 16u);
    EXPECT_EQ(q[1].outputSize, 8u);

    const struct {
        uint32_t cls, algorithm, mode, input, output;
    } cases[] = {{CSP_CLASS_DIGEST, 42, 0, 100, 16}, {CSP_CLASS_MAC, CSP_ALG_MD5, 0, 9, 16},
                 {CSP_CLASS_SYMMETRIC, CSP_ALG_IDEA, CSP_MODE_ECB, 13, 16}};
    for (const auto &k : cases) {
        vcp::Context ctx(k.cls, k.algorithm);
        if (k.mode) ctx.add(CSP_ATTR_MODE, k.mode).add(CSP_ATTR_PADDING, CSP_PADDING_NONE);
        CspContextRecord fresh{};
        CspQuerySizeData one{k.input, 0};
        ASSERT_EQ(CSP_QuerySize(0, &fresh, &ctx, 1, 1, &one), 0);
        EXPECT_EQ(one.outputSize, k.output) << k.cls << " " << k.algorithm;
    }
    vcp::Context wrongClass(CSP_CLASS_RANDOM, CSP_ALG_RANDOM_DES), unknown(CSP_CLASS_MAC, 9),
        badMode(CSP_CLASS_SYMMETRIC, CSP_ALG_DES), badPadding(CSP_CLASS_SYMMETRIC, CSP_ALG_RC4);
    badMode.add(CSP_ATTR_MODE, 3);
    badPadding.add(CSP_ATTR_PADDING, 2);
    CspContextRecord fresh{};
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &wrongClass, 1, 1, q), CSP_ERR_CLASS);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &unknown, 1, 1, q), CSP_ERR_ALGORITHM);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &badMode, 1, 1, q), CSP_ERR_MODE);
    EXPECT_REASON(CSP_QuerySize(0, &fresh, &badPadding, 1, 1, q), CSP_ERR_PADDING);
    EXPECT_REASON(CSP_QuerySize(0, nullptr, nullptr, 1, 1, q), CSP_ERR_NO_CONTEXT);
}

}  // namespace
