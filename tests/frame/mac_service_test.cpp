// V_GenMac, V_VerifyMac and V_GenRandom: MACs against OpenSSL, the codes and error-field rules of
// each failure, and every allocation failing in turn.
#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include <functional>

#include "frame/service_fixture.h"
#include "support/oracles.h"

namespace {

using vctest::Bytes;

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

class MacService : public vctest::ServiceTest {};

constexpr int32_t kEarlier = 4242;  // a code left by an earlier call

TEST_F(MacService, GenerateAndVerifyAgainstOpenSsl) {
    vctest::Rng rng(3);
    const struct {
        int32_t id;
        size_t macLength;
    } ids[] = {{V_MAC_DES, 8}, {V_MAC_DES3, 8}, {V_MAC_RC2, 16}};
    for (auto &row : ids) {
        for (size_t len : {0, 1, 7, 8, 9, 16, 100, 999, 1000, 1017, 4096}) {
            // Key blobs longer than the id's key: only the leading bytes count.
            Bytes key = rng.bytes(16 + rng.below(8)), msg = rng.bytes(len);
            DataBlob k = blob(key), m = blob(msg), mac{0, nullptr};
            ASSERT_EQ(V_GenMac(&ctx, row.id, &k, &m, &mac), 0u) << row.id << " " << len;
            EXPECT_EQ(ctx.error, 0);
            const Bytes want = oracle(row.id, key, msg);
            ASSERT_EQ(want.size(), row.macLength);
            EXPECT_EQ(Bytes(mac.Data, mac.Data + mac.Length), want) << "id " << row.id << " len " << len;
            EXPECT_EQ(liveBlocks(), 2u);  // the state and the MAC

            // The right MAC verifies and leaves the error field alone; a damaged or cut one
            // does not verify and stores nothing.
            ctx.error = kEarlier;
            EXPECT_EQ(V_VerifyMac(&ctx, row.id, &k, &m, &mac), 0u);
            Bytes bad(mac.Data, mac.Data + mac.Length);
            bad[rng.below(uint32_t(bad.size()))] ^= 0x10;
            DataBlob wrong = blob(bad), cut{mac.Length - 1, mac.Data};
            EXPECT_EQ(V_VerifyMac(&ctx, row.id, &k, &m, &wrong), uint32_t(VC_ERR_MAC_MISMATCH));
            EXPECT_EQ(V_VerifyMac(&ctx, row.id, &k, &m, &cut), uint32_t(VC_ERR_MAC_MISMATCH));
            EXPECT_EQ(ctx.error, kEarlier);
            V_free(&ctx, mac.Data);
            EXPECT_EQ(liveBlocks(), 1u);
        }
    }
    // The DES CBC-MAC example of ANSI X9.9 / FIPS 113 publishes the 32-bit MAC f1d30f68.
    Bytes key = vctest::fromHex("0123456789abcdef"), msg = vctest::bytesOf("7654321 Now is the time for ");
    DataBlob k = blob(key), m = blob(msg), mac{0, nullptr};
    ASSERT_EQ(V_GenMac(&ctx, V_MAC_DES, &k, &m, &mac), 0u);
    EXPECT_EQ(vctest::toHex(mac.Data, 4), "f1d30f68");
    V_free(&ctx, mac.Data);
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
    const struct {
        int32_t id;
        uint32_t shortLength;
    } shortKeys[] = {{V_MAC_DES, 7}, {V_MAC_DES3, 15}, {V_MAC_RC2, 0}};
    for (auto &s : shortKeys) {
        DataBlob shortKey{s.shortLength, key.data()}, out = untouched;
        EXPECT_EQ(V_GenMac(&ctx, s.id, &shortKey, &m, &out), uint32_t(VC_ERR_KEY_IMPORT));
        EXPECT_EQ(V_VerifyMac(&ctx, s.id, &shortKey, &m, &mac), uint32_t(VC_ERR_KEY_IMPORT));
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
    EXPECT_EQ(liveBlocks(), 1u);
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
    EXPECT_EQ(liveBlocks(), 1u);
}

// Each V_calloc of a call fails in turn: 20006 stored and returned, nothing left allocated,
// no output handed out; the first count that does not fail must succeed.
TEST_F(MacService, EveryAllocationFailure) {
    Bytes key(16, 0x33), msg(40, 0x61), macBytes;
    DataBlob k = blob(key), m = blob(msg), mac{0, nullptr};
    ASSERT_EQ(V_GenMac(&ctx, V_MAC_DES3, &k, &m, &mac), 0u);
    macBytes.assign(mac.Data, mac.Data + mac.Length);
    V_free(&ctx, mac.Data);
    DataBlob expected = blob(macBytes);

    uint8_t *randomOut = nullptr;
    const struct {
        const char *name;
        uint32_t allocations;  // holders (two blocks each), copies, buffers, result
        std::function<uint32_t()> call;
        std::function<void()> release;
    } services[] = {
        {"V_GenMac", 8, [&] { return V_GenMac(&ctx, V_MAC_DES3, &k, &m, &mac); },
         [&] { V_free(&ctx, mac.Data); }},
        {"V_VerifyMac", 7, [&] { return V_VerifyMac(&ctx, V_MAC_DES3, &k, &m, &expected); }, [] {}},
        {"V_GenRandom", 4, [&] { randomOut = nullptr; return V_GenRandom(&ctx, V_RANDOM_MD5, 24, &randomOut); },
         [&] { V_free(&ctx, randomOut); }},
    };
    for (auto &s : services) {
        uint32_t n = 1;
        for (;; ++n) {
            ctx.error = kEarlier;
            mac = {0, nullptr};
            randomOut = nullptr;
            V_FailNthCalloc(n);
            const uint32_t code = s.call();
            V_FailNthCalloc(0);
            if (code == VC_OK) break;
            EXPECT_EQ(code, uint32_t(VC_ERR_ALLOC)) << s.name << " allocation " << n;
            EXPECT_EQ(ctx.error, VC_ERR_ALLOC);
            EXPECT_EQ(liveBlocks(), 1u) << s.name << " allocation " << n;
            EXPECT_TRUE(mac.Data == nullptr && randomOut == nullptr);
            ASSERT_LT(n, 20u) << s.name;
        }
        EXPECT_EQ(n, s.allocations + 1) << s.name;
        s.release();
        EXPECT_EQ(liveBlocks(), 1u) << s.name;
    }
}

}  // namespace
