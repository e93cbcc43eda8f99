// V_GenMac, V_VerifyMac and V_GenRandom: MACs against OpenSSL, the codes and error-field rules of
// each failure, and every allocation failing in turn.
#include "cipher_oracle.h"

namespace {

using namespace symtest;

// CBC-MAC (ISO/IEC 9797-1 algorithm 1) under the id's leading key bytes, or HMAC-MD5 under 8.
Bytes oracle(int32_t macId, const Bytes &key, const Bytes &message) {
    if (macId == V_MAC_DES) return vctest::cbcMac("DES-CBC", Bytes(key.begin(), key.begin() + 8), message);
    if (macId == V_MAC_DES3) return vctest::cbcMac("DES-EDE-CBC", Bytes(key.begin(), key.begin() + 16), message);
    return vctest::hmacMd5(Bytes(key.begin(), key.begin() + 8), message);
}

DataBlob blob(Bytes &b) {
    static uint8_t none;
    return {uint32_t(b.size()), b.empty() ? &none : b.data()};
}

class MacService : public ServiceTest {};

constexpr int32_t kEarlier = 4242;  // a code left by an earlier call

TEST_F(MacService, GenerateAndVerifyAgainstOpenSsl) {
    for (auto [id, macLength] : {std::pair{V_MAC_DES, 8u}, {V_MAC_DES3, 8u}, {V_MAC_RC2, 16u}}) {
        for (size_t len : {0, 1, 7, 8, 9, 16, 100, 999, 1000, 1017, 4096}) {
            Bytes key = rng.bytes(16 + rng.below(8)), msg = rng.bytes(len);
            DataBlob k = blob(key), m = blob(msg), mac{0, nullptr};
            ASSERT_EQ(V_GenMac(&ctx, id, &k, &m, &mac), 0u) << id << " " << len;
            EXPECT_EQ(ctx.error, 0);
            const Bytes want = oracle(id, key, msg);
            ASSERT_EQ(want.size(), macLength);
            EXPECT_EQ(Bytes(mac.Data, mac.Data + mac.Length), want) << "id " << id << " len " << len;
            // The right MAC verifies and leaves the error field alone; one a byte shorter or
            // longer, or with any one byte changed, does not verify and stores nothing.
            ctx.error = kEarlier;
            EXPECT_EQ(V_VerifyMac(&ctx, id, &k, &m, &mac), 0u);
            Bytes forged(mac.Data, mac.Data + mac.Length);
            forged.push_back(0);
            for (uint32_t length : {mac.Length - 1, mac.Length + 1}) {
                DataBlob other{length, forged.data()};
                EXPECT_EQ(V_VerifyMac(&ctx, id, &k, &m, &other), uint32_t(VC_ERR_MAC_MISMATCH)) << length;
            }
            for (uint32_t i = 0; i < mac.Length; ++i) {
                DataBlob changed{mac.Length, forged.data()};
                forged[i] ^= uint8_t(0x80 >> (i % 8));
                EXPECT_EQ(V_VerifyMac(&ctx, id, &k, &m, &changed), uint32_t(VC_ERR_MAC_MISMATCH)) << i;
                forged[i] = mac.Data[i];
            }
            EXPECT_EQ(ctx.error, kEarlier);
            take(mac);
        }
    }
    // The DES CBC-MAC example of ANSI X9.9 / FIPS 113 publishes the 32-bit MAC f1d30f68.
    Bytes key = vctest::fromHex("0123456789abcdef"), msg = vctest::bytesOf("7654321 Now is the time for ");
    DataBlob k = blob(key), m = blob(msg), mac{0, nullptr};
    ASSERT_EQ(V_GenMac(&ctx, V_MAC_DES, &k, &m, &mac), 0u);
    EXPECT_EQ(vctest::toHex(take(mac)).substr(0, 8), "f1d30f68");
}

TEST_F(MacService, FailureCodesAndErrorField) {
    Bytes key(16, 0x5c), msg = vctest::bytesOf("message"), macBytes(8, 0);
    DataBlob k = blob(key), m = blob(msg), mac = blob(macBytes);
    uint8_t sentinel = 0;
    const DataBlob untouched{77, &sentinel};
    // Unknown MAC ids: the MAC start fails (V_GenMac 30019; V_VerifyMac stores -1).
    for (int32_t id : {3, 7, 11, -1, 1000}) {
        DataBlob out = untouched;
        EXPECT_EQ(V_GenMac(&ctx, id, &k, &m, &out), uint32_t(VC_ERR_MAC_INIT)) << id;
        EXPECT_EQ(ctx.error, VC_ERR_MAC_INIT);
        EXPECT_EQ(out.Data, &sentinel);
        EXPECT_EQ(V_VerifyMac(&ctx, id, &k, &m, &mac), uint32_t(-1)) << id;
        EXPECT_EQ(ctx.error, -1);
    }
    // A key blob shorter than the id's key bytes is refused instead of read past its end.
    for (auto [id, shortLength] : {std::pair{V_MAC_DES, 7u}, {V_MAC_DES3, 15u}, {V_MAC_RC2, 0u}}) {
        DataBlob shortKey{shortLength, key.data()}, out = untouched;
        EXPECT_EQ(V_GenMac(&ctx, id, &shortKey, &m, &out), uint32_t(VC_ERR_KEY_IMPORT));
        EXPECT_EQ(V_VerifyMac(&ctx, id, &shortKey, &m, &mac), uint32_t(VC_ERR_KEY_IMPORT));
        EXPECT_EQ(ctx.error, VC_ERR_KEY_IMPORT);
    }
    DataBlob out = untouched, nullData{4, nullptr};
    EXPECT_EQ(V_GenMac(nullptr, 0, &k, &m, &out), uint32_t(-1));
    EXPECT_EQ(V_VerifyMac(nullptr, 0, &k, &m, &mac), uint32_t(-1));
    EXPECT_EQ(V_GenMac(&ctx, 0, &k, &nullData, &out), uint32_t(VC_ERR_NOT_READY));
    EXPECT_EQ(V_VerifyMac(&ctx, 0, &k, &m, nullptr), uint32_t(VC_ERR_NOT_READY));
    LibContext empty{};
    EXPECT_EQ(V_GenMac(&empty, 0, &k, &m, &out), uint32_t(VC_ERR_NOT_READY));
    EXPECT_EQ(empty.error, VC_ERR_NOT_READY);
    EXPECT_EQ(out.Data, &sentinel);
}

TEST_F(MacService, Random) {
    for (int32_t gen : {V_RANDOM_DES, V_RANDOM_MD5}) {
        for (uint32_t len : {0u, 1u, 32u, 1000u, 1001u, 5000u}) {
            ctx.error = kEarlier;
            uint8_t *out = nullptr;
            ASSERT_EQ(V_GenRandom(&ctx, gen, len, &out), 0u) << gen << " " << len;
            ASSERT_NE(out, nullptr);  // a zero-length request still gets an allocation
            EXPECT_EQ(ctx.error, kEarlier);
            uint32_t blocks = 0, bytes = 0;
            V_GetAllocStats(&ctx, &blocks, &bytes);
            EXPECT_EQ(blocks, 2u);
            EXPECT_EQ(bytes, sizeof(CryptoState) + len);
            if (len >= 32) {
                EXPECT_NE(Bytes(out, out + len), Bytes(len, 0));
                EXPECT_NE(Bytes(out, out + 16), Bytes(out + len - 16, out + len));
            }
            V_free(&ctx, out);
        }
    }
    // Unknown generators: refused by the provider, -1, nothing stored or handed out.
    for (int32_t gen : {2, -1, 48}) {
        ctx.error = kEarlier;
        uint8_t sentinel = 0, *out = &sentinel;
        EXPECT_EQ(V_GenRandom(&ctx, gen, 16, &out), uint32_t(-1)) << gen;
        EXPECT_EQ(ctx.error, kEarlier);
        EXPECT_EQ(out, &sentinel);
    }
    uint8_t *out = nullptr;
    EXPECT_EQ(V_GenRandom(nullptr, 0, 16, &out), uint32_t(-1));
    LibContext empty{};
    EXPECT_EQ(V_GenRandom(&empty, 0, 16, &out), uint32_t(VC_ERR_NOT_READY));
    EXPECT_EQ(out, nullptr);
}

// Each V_calloc of a call fails in turn; the counts are holders (two blocks each), copies,
// buffers and the result.
TEST_F(MacService, EveryAllocationFailure) {
    Bytes key(16, 0x33), msg(40, 0x61), want = oracle(V_MAC_DES3, key, msg);
    DataBlob k = blob(key), m = blob(msg), expected = blob(want);
    // V_GenMac leaves the output untouched on failure.
    EXPECT_EQ(failEachAllocation([&](DataBlob &o) { o = {}; return V_GenMac(&ctx, V_MAC_DES3, &k, &m, &o); }, allocFailed()), 8);
    EXPECT_EQ(failEachAllocation([&](DataBlob &o) { o.Data = nullptr; return V_VerifyMac(&ctx, V_MAC_DES3, &k, &m, &expected); },
                                 allocFailed()), 7);
    EXPECT_EQ(failEachAllocation([&](DataBlob &o) { o = {24, nullptr}; return V_GenRandom(&ctx, V_RANDOM_MD5, 24, &o.Data); },
                                 allocFailed()), 4);
}

}  // namespace
