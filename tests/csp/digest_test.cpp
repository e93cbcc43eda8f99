// The provider's digest family against OpenSSL, and its reason codes.
#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include "provider_util.h"
#include "support/oracles.h"

namespace {

using vctest::Bytes;

struct Record {
    CspContextRecord r{};
    explicit Record(uint32_t algorithm, uint32_t cls = CSP_CLASS_DIGEST) {
        r.contextClass = cls;
        r.algorithm = algorithm;
    }
};

// Digest of `pieces` through Init, one Update with every piece as a blob, Final.
Bytes providerDigest(uint32_t algorithm, const std::vector<Bytes> &pieces) {
    Record rec(algorithm);
    EXPECT_EQ(CSP_DigestDataInit(CSP_MODULE_HANDLE, &rec.r, nullptr), 0);
    static uint8_t empty;  // an empty piece still needs a data pointer
    std::vector<DataBlob> blobs;
    for (auto &p : pieces)
        blobs.push_back(DataBlob{uint32_t(p.size()), p.empty() ? &empty : const_cast<uint8_t *>(p.data())});
    EXPECT_EQ(CSP_DigestDataUpdate(CSP_MODULE_HANDLE, &rec.r, blobs.data(), uint32_t(blobs.size())), 0);
    uint8_t buf[32] = {};
    DataBlob out{sizeof buf, buf};
    EXPECT_EQ(CSP_DigestDataFinal(CSP_MODULE_HANDLE, &rec.r, &out), 0);
    return Bytes(buf, buf + out.Length);
}

TEST(ProviderDigest, EveryEngineAgainstOpenSsl) {
    const struct {
        uint32_t algorithm;
        const char *oracle;
    } cases[] = {{6, "MD4"}, {7, "MD5"}, {8, "SHA1"}, {11, "RIPEMD160"}};
    vctest::Rng rng(4);
    for (auto &c : cases) {
        for (size_t len : {0, 1, 55, 56, 64, 1000}) {
            Bytes a = rng.bytes(len), b = rng.bytes(len / 3);
            Bytes whole = a;
            whole.insert(whole.end(), b.begin(), b.end());
            EXPECT_EQ(providerDigest(c.algorithm, {a, b}), vctest::digest(c.oracle, whole))
                << c.oracle << " " << len;
        }
    }
}

TEST(ProviderDigest, Md2AndHas160KnownAnswers) {
    EXPECT_EQ(vctest::toHex(providerDigest(5, {vctest::bytesOf("abc")})), "da853b0d3f88d99b30283a69e6ded6bb");
    EXPECT_EQ(vctest::toHex(providerDigest(89, {vctest::bytesOf("abc")})),
              "975e810488cf2a3d49838478124afce4b1c78804");
}

TEST(ProviderDigest, AliasesSucceedWithoutDigest) {
    for (uint32_t alias : {42u, 43u, 49u, 81u, 90u}) {
        Record rec(alias);
        ASSERT_EQ(CSP_DigestDataInit(0, &rec.r, nullptr), 0) << alias;
        EXPECT_EQ(rec.r.state, nullptr);
        uint8_t data[3] = {1, 2, 3};
        DataBlob in{3, data};
        EXPECT_EQ(CSP_DigestDataUpdate(0, &rec.r, &in, 1), 0);
        uint8_t buf[20];
        std::fill(std::begin(buf), std::end(buf), 0xAA);
        DataBlob out{20, buf};
        EXPECT_EQ(CSP_DigestDataFinal(0, &rec.r, &out), 0);
        EXPECT_EQ(out.Length, 20u);
        for (uint8_t b : buf) EXPECT_EQ(b, 0xAA);
    }
}

TEST(ProviderDigest, ReasonCodes) {
    uint8_t data[4] = {'a', 'b', 'c', 'd'};
    DataBlob blob{4, data};
    uint8_t buf[20];
    DataBlob out{20, buf};

    // Init refusals.
    EXPECT_REASON(CSP_DigestDataInit(0, nullptr, nullptr), 1027);
    Record wrongClass(8, 3);
    EXPECT_REASON(CSP_DigestDataInit(0, &wrongClass.r, nullptr), 1026);
    Record unknown(12);
    EXPECT_REASON(CSP_DigestDataInit(0, &unknown.r, nullptr), 1023);

    // A context given at Init is copied into the handle's record.
    Record rec(0, 0);
    CspContextRecord given{};
    given.contextClass = CSP_CLASS_DIGEST;
    given.algorithm = 8;
    ASSERT_EQ(CSP_DigestDataInit(0, &rec.r, &given), 0);
    EXPECT_EQ(rec.r.algorithm, 8u);
    EXPECT_EQ(GetError(), 1023u);  // success leaves the last failure in place

    // Update refusals.
    EXPECT_REASON(CSP_DigestDataUpdate(0, nullptr, &blob, 1), 1027);
    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec.r, nullptr, 1), 1029);
    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec.r, &blob, 0), 1030);
    // The first blob is hashed before the null one stops the call.
    DataBlob two[2] = {blob, DataBlob{0, nullptr}};
    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec.r, two, 2), 1046);

    // Final refusals, then the digest of the first blob.
    EXPECT_REASON(CSP_DigestDataFinal(0, nullptr, &out), 1027);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec.r, nullptr), 1029);
    DataBlob lengthNoData{20, nullptr}, dataNoLength{0, buf}, tooShort{16, buf};
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec.r, &lengthNoData), 1046);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec.r, &dataNoLength), 1046);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec.r, &tooShort), 1011);
    ASSERT_EQ(CSP_DigestDataFinal(0, &rec.r, &out), 0);
    EXPECT_EQ(Bytes(buf, buf + 20), vctest::digest("SHA1", Bytes(data, data + 4)));

    // Used after Final: refused instead of touching the released state.
    EXPECT_REASON(CSP_DigestDataUpdate(0, &rec.r, &blob, 1), 1095);
    EXPECT_REASON(CSP_DigestDataFinal(0, &rec.r, &out), 1095);
}

TEST(ProviderDigest, FinalAllocatesResultForNullBlob) {
    Record rec(11);
    ASSERT_EQ(CSP_DigestDataInit(0, &rec.r, nullptr), 0);
    DataBlob out{0, nullptr};
    ASSERT_EQ(CSP_DigestDataFinal(0, &rec.r, &out), 0);
    ASSERT_NE(out.Data, nullptr);
    EXPECT_EQ(out.Length, 20u);
    EXPECT_EQ(Bytes(out.Data, out.Data + 20), vctest::digest("RIPEMD160", {}));
    free(out.Data);
}

}  // namespace
