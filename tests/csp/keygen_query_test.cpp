// Key records: length bounds, sizes in bits, exact buffers, wiping, refusals; size queries.
#include "provider_util.h"

namespace {

using vcp::Bytes;

// Lengths just inside and outside each algorithm's range, and the services' 26 bytes. Accepted
// records fit exactly the buffer their size reports, and CSP_FreeKey wipes them for good.
TEST(ProviderKeys, LengthBoundsBitsAndWipe) {
    vctest::Rng rng(31);
    for (const vcp::Cipher &r : vcp::kCiphers)
        for (int bytes : {r.minKey - 1, r.minKey, 26, r.maxKey, r.maxKey + 1}) {
            if (bytes < 0) continue;
            SCOPED_TRACE(testing::Message() << r.algorithm << " " << bytes);
            const Bytes material = rng.bytes(size_t(bytes));
            vcp::Key key, exact;
            if (bytes < r.minKey || bytes > r.maxKey) {
                EXPECT_REASON(vcp::makeKey(key, r.algorithm, material), CSP_ERR_INVALID_KEY);
                continue;
            }
            ASSERT_EQ(vcp::makeKey(key, r.algorithm, material), 0) << GetError();
            const uint32_t size = key.blob.Length;
            EXPECT_REASON(vcp::makeKey(exact, r.algorithm, material, 0, size - 1), CSP_ERR_OUTPUT_SHORT);
            EXPECT_EQ(vcp::makeKey(exact, r.algorithm, material, 0, size), 0);
            const int effective = r.algorithm == CSP_ALG_DES ? 56 : r.algorithm == CSP_ALG_3DES_2KEY ? 112 : 8 * bytes;
            CspKeySize bits{}, viaContext{};
            vcp::Context withKey(CSP_CLASS_SYMMETRIC, r.algorithm);
            withKey.add(CSP_ATTR_KEY, &exact.blob);
            ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, &bits), 0);
            ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, &withKey, nullptr, &viaContext), 0);
            EXPECT_EQ(bits.logicalBits, uint32_t(8 * bytes));
            EXPECT_EQ(bits.effectiveBits, uint32_t(effective));
            EXPECT_EQ(viaContext.effectiveBits, uint32_t(effective));

            ASSERT_EQ(CSP_FreeKey(0, &key.blob), 0);
            EXPECT_EQ(key.blob.Length, 0u);
            EXPECT_TRUE(std::all_of(key.blob.Data, key.blob.Data + size, [](uint8_t b) { return b == 0; }));
            key.blob.Length = size;
            EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, nullptr, &key.blob, &bits), CSP_ERR_INVALID_KEY);
        }
    vcp::Key rc2;  // RC2's effective bits apart from its length
    CspKeySize bits{};
    ASSERT_EQ(vcp::makeKey(rc2, CSP_ALG_RC2, Bytes(16, 3), 40), 0);
    ASSERT_EQ(CSP_QuerySizeInBits(0, nullptr, nullptr, &rc2.blob, &bits), 0);
    EXPECT_EQ(bits.logicalBits, 128u);
    EXPECT_EQ(bits.effectiveBits, 40u);
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
        {CSP_CLASS_KEYGEN, CSP_ALG_MD5, 64, -1, &full, CSP_ERR_ALGORITHM},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, -1, -1, &full, CSP_ERR_MISSING_ATTRIBUTE},
        {CSP_CLASS_KEYGEN, CSP_ALG_BLOWFISH, 63, -1, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 64, 0, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_RC2, 64, 1025, &full, CSP_ERR_INVALID_KEY},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, &shortMaterial, CSP_ERR_NULL_DATA},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, &noMaterial, CSP_ERR_NULL_DATA},
        {CSP_CLASS_KEYGEN, CSP_ALG_DES, 64, -1, nullptr, CSP_ERR_NULL_BLOB},
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
    DataBlob misaligned{200, key.blob.Data + 1};
    CspKeySize bits;
    EXPECT_REASON(CSP_GenerateKey(0, nullptr, &gen, 0, 0, &full, &key.blob), CSP_ERR_NO_CONTEXT);
    EXPECT_REASON(CSP_GenerateKey(0, &gen, nullptr, 0, 0, &full, &misaligned), CSP_ERR_INVALID_KEY);
    EXPECT_REASON(CSP_QuerySizeInBits(0, nullptr, &gen, nullptr, &bits), CSP_ERR_MISSING_ATTRIBUTE);
}

// Sizes the differential cipher loop does not reach: an operation in progress, digests, MACs,
// unpadded ECB that is not whole blocks; then refusals.
TEST(ProviderQuerySize, InProgressDigestMacAndReasons) {
    vcp::CipherContext c({CSP_ALG_DES, CSP_MODE_CBC, Bytes(8, 3), Bytes(8, 0)});
    Bytes in(3, 1), out(16);
    DataBlob input{3, in.data()}, output{16, out.data()};
    CspContextRecord h{};
    uint32_t written = 0;
    ASSERT_TRUE(CSP_EncryptDataInit(0, &h, &c.context) == 0 &&
                CSP_EncryptDataUpdate(0, &h, &input, 1, &output, 1, &written) == 0);
    CspQuerySizeData q[2] = {{5, 0}, {4, 0}};  // three bytes pending: 5 more make a block
    ASSERT_EQ(CSP_QuerySize(0, &h, nullptr, 1, 2, q), 0);
    EXPECT_EQ(q[0].outputSize, 16u);
    EXPECT_EQ(q[1].outputSize, 8u);

    vcp::Context sha1(CSP_CLASS_DIGEST, 8), cbcMac(CSP_CLASS_MAC, CSP_ALG_3DES_2KEY), hmac(CSP_CLASS_MAC, CSP_ALG_MD5),
        idea(CSP_CLASS_SYMMETRIC, CSP_ALG_IDEA), wrongClass(CSP_CLASS_RANDOM, CSP_ALG_RANDOM_DES),
        unknown(CSP_CLASS_MAC, 9), badMode(CSP_CLASS_SYMMETRIC, CSP_ALG_DES);
    idea.add(CSP_ATTR_MODE, CSP_MODE_ECB).add(CSP_ATTR_PADDING, CSP_PADDING_NONE);
    badMode.add(CSP_ATTR_MODE, 3);
    for (auto [ctx, size] : {std::pair{&sha1, 20u}, {&cbcMac, 8u}, {&hmac, 16u}, {&idea, 16u}}) {
        CspContextRecord fresh{};
        CspQuerySizeData one{13, 0};
        ASSERT_EQ(CSP_QuerySize(0, &fresh, ctx, 1, 1, &one), 0);
        EXPECT_EQ(one.outputSize, size) << ctx->algorithm;
    }
    for (auto [ctx, reason] :
         {std::pair{&wrongClass, CSP_ERR_CLASS}, {&unknown, CSP_ERR_ALGORITHM}, {&badMode, CSP_ERR_MODE}}) {
        CspContextRecord fresh{};
        EXPECT_REASON(CSP_QuerySize(0, &fresh, ctx, 1, 1, q), reason);
    }
}

}  // namespace
