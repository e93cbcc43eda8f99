// The provider's digest family against OpenSSL (nettle for MD2), HAS-160's published value, and
// the reason codes.
#include "provider_util.h"

namespace {

using vcp::Bytes;

// Digest through Init, one Update with a blob per piece, Final.
Bytes providerDigest(uint32_t algorithm, const Bytes &m, const std::vector<size_t> &pieces) {
    vcp::Context rec(CSP_CLASS_DIGEST, algorithm);
    const std::vector<DataBlob> blobs = vcp::blobsOf(m, pieces);
    uint8_t buf[32] = {};
    DataBlob out{sizeof buf, buf};
    EXPECT_TRUE(CSP_DigestDataInit(CSP_MODULE_HANDLE, &rec, nullptr) == 0 &&
                CSP_DigestDataUpdate(CSP_MODULE_HANDLE, &rec, blobs.data(), uint32_t(blobs.size())) == 0 &&
                CSP_DigestDataFinal(CSP_MODULE_HANDLE, &rec, &out) == 0);
    return Bytes(buf, buf + out.Length);
}

TEST(ProviderDigest, EveryEngineAgainstOpenSslAndKnownAnswers) {
    vctest::Rng rng(4);
    for (auto [algorithm, oracle] : {std::pair{5u, "MD2"}, {6u, "MD4"}, {7u, "MD5"}, {8u, "SHA1"}, {11u, "RIPEMD160"}})
        for (size_t len : {0, 1, 55, 56, 64, 1000}) {
            const Bytes m = rng.bytes(len + len / 3);
            EXPECT_EQ(providerDigest(algorithm, m, {len, len / 3}), vctest::digest(oracle, m)) << oracle << len;
        }
    // HAS-160 (TTA) of "abc": no oracle library has it.
    EXPECT_EQ(vctest::toHex(providerDigest(89, vctest::bytesOf("abc"), {3})), "975e810488cf2a3d49838478124afce4b1c78804");
}

// The aliases are accepted but hash nothing: Final succeeds and leaves the buffer alone.
TEST(ProviderDigest, AliasesSucceedWithoutDigest) {
    for (uint32_t alias : {42u, 43u, 49u, 81u, 90u}) {
        vcp::Context rec(CSP_CLASS_DIGEST, alias);
        uint8_t data[3] = {1, 2, 3}, buf[20];
        std::fill(std::begin(buf), std::end(buf), 0xAA);
        DataBlob in{3, data}, out{20, buf};
        EXPECT_TRUE(CSP_DigestDataInit(0, &rec, nullptr) == 0 && CSP_DigestDataUpdate(0, &rec, &in, 1) == 0 &&
                    CSP_DigestDataFinal(0, &rec, &out) == 0) << alias;
        EXPECT_EQ(Bytes(buf, buf + 20), Bytes(20, 0xAA)) << alias;
    }
}

TEST(ProviderDigest, ReasonCodes) {
    uint8_t data[4] = {'a', 'b', 'c', 'd'}, buf[20];
    DataBlob blob{4, data}, out{20, buf}, lengthNoData{20, nullptr}, dataNoLength{0, buf}, tooShort{16, buf};
    vcp::Context wrongClass(CSP_CLASS_SYMMETRIC, 8), unknown(CSP_CLASS_DIGEST, 12), rec(0, 0),
        given(CSP_CLASS_DIGEST, 8);
    EXPECT_REASON(CSP_DigestDataInit(0, nullptr, nullptr), CSP_ERR_NO_CONTEXT);
    EXPECT_REASON(CSP_DigestDataInit(0, &wrongClass, nullptr), CSP_ERR_CLASS);
    EXPECT_REASON(CSP_DigestDataInit(0, &unknown, nullptr), CSP_ERR_ALGORITHM);
    ASSERT_EQ(CSP_DigestDataInit(0, &rec, &given), 0);  // the context is copied into the record
    EXPECT_EQ(GetError(), uint32_t(CSP_ERR_ALGORITHM)) << "success leaves the last failure in place";

    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec, &blob, 0), CSP_ERR_BLOB_COUNT);
    DataBlob two[2] = {blob, DataBlob{0, nullptr}};  // the first is hashed before the null one stops
    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec, two, 2), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec, &lengthNoData), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec, &dataNoLength), CSP_ERR_NULL_DATA);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec, &tooShort), CSP_ERR_OUTPUT_SHORT);
    ASSERT_EQ(CSP_DigestDataFinal(0, &rec, &out), 0);
    EXPECT_EQ(Bytes(buf, buf + 20), vctest::digest("SHA1", Bytes(data, data + 4)));
    // Used after Final: refused instead of touching the released state.
    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec, &blob, 1), CSP_ERR_ENGINE);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec, &out), CSP_ERR_ENGINE);

    // A null, empty result blob receives a buffer of the digest's length.
    vcp::Context ripemd(CSP_CLASS_DIGEST, 11);
    DataBlob fresh{0, nullptr};
    ASSERT_TRUE(CSP_DigestDataInit(0, &ripemd, nullptr) == 0 && CSP_DigestDataFinal(0, &ripemd, &fresh) == 0);
    ASSERT_NE(fresh.Data, nullptr);
    EXPECT_EQ(Bytes(fresh.Data, fresh.Data + fresh.Length), vctest::digest("RIPEMD160", {}));
    std::free(fresh.Data);
}

}  // namespace
