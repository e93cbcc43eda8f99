// Life cycle of a LibContext and the support library's accounting, allocation faults and the
// provider error variable.
#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include <cstring>

#include "csp/provider_error.h"

namespace {

struct Counts { uint32_t blocks, bytes; };
Counts live(const LibContext &ctx) {
    Counts c{};
    V_GetAllocStats(&ctx, &c.blocks, &c.bytes);
    return c;
}

TEST(Context, InitTermCycle) {
    LibContext ctx{};
    ASSERT_EQ(V_VCCInit(&ctx), 0);
    ASSERT_NE(ctx.state, nullptr);
    EXPECT_EQ(ctx.state->owner, &ctx);
    EXPECT_NE(ctx.commonStarted, 0u);
    EXPECT_EQ(live(ctx).blocks, 1u);

    // A second Init is harmless and allocates nothing.
    CryptoState *state = ctx.state;
    EXPECT_EQ(V_VCCInit(&ctx), 0);
    EXPECT_EQ(ctx.state, state);
    EXPECT_EQ(live(ctx).blocks, 1u);

    V_VCCTerm(&ctx);
    EXPECT_EQ(ctx.state, nullptr);
    EXPECT_EQ(ctx.commonStarted, 0u);
    EXPECT_EQ(live(ctx).blocks, 0u);
    EXPECT_EQ(live(ctx).bytes, 0u);
    V_VCCTerm(&ctx);  // may be repeated
    V_VCCTerm(nullptr);
    EXPECT_EQ(V_VCCInit(nullptr), -1);
}

TEST(Context, InitDoesNotClearErrorAndSkipsStartedCommonPart) {
    LibContext ctx{};
    ctx.error = 12345;
    ctx.commonStarted = 7;  // already started by the host: V_VCOInit is not called again
    V_FailVCOInit(1);
    EXPECT_EQ(V_VCCInit(&ctx), 0);
    V_FailVCOInit(0);
    EXPECT_EQ(ctx.error, 12345);
    V_VCCTerm(&ctx);
    EXPECT_EQ(ctx.commonStarted, 0u);
}

TEST(Context, CommonStartFailureLeavesStateNull) {
    LibContext ctx{};
    ctx.error = 77;
    V_FailVCOInit(1);
    EXPECT_EQ(V_VCCInit(&ctx), -1);
    V_FailVCOInit(0);
    EXPECT_EQ(ctx.state, nullptr);
    EXPECT_EQ(ctx.error, 77);
    EXPECT_EQ(live(ctx).blocks, 0u);
}

TEST(Context, StateAllocationFailure) {
    LibContext ctx{};
    V_FailNthCalloc(1);
    EXPECT_EQ(V_VCCInit(&ctx), -1);
    EXPECT_EQ(ctx.error, VC_ERR_ALLOC);
    EXPECT_EQ(ctx.state, nullptr);
    // The term step saw an empty context and so left the common part started.
    EXPECT_NE(ctx.commonStarted, 0u);
    EXPECT_EQ(live(ctx).blocks, 0u);
    EXPECT_EQ(V_VCCInit(&ctx), 0);  // the fault was one-shot
    V_VCCTerm(&ctx);
}

TEST(Common, CallocAccountingAndFaults) {
    LibContext ctx{};
    auto *a = static_cast<uint8_t *>(V_calloc(&ctx, 3, 10));
    auto *b = static_cast<uint8_t *>(V_calloc(&ctx, 1, 1108));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    for (int i = 0; i < 30; ++i) EXPECT_EQ(a[i], 0);
    EXPECT_EQ(live(ctx).blocks, 2u);
    EXPECT_EQ(live(ctx).bytes, 1138u);
    V_FailNthCalloc(2);
    void *c = V_calloc(&ctx, 1, 8);
    EXPECT_NE(c, nullptr);
    EXPECT_EQ(V_calloc(&ctx, 1, 8), nullptr);
    void *d = V_calloc(nullptr, 1, 8);  // the fault was one-shot; no context, no accounting
    EXPECT_NE(d, nullptr);
    V_free(nullptr, d);
    EXPECT_EQ(V_calloc(&ctx, 0x10000, 0x10000), nullptr);               // size overflow
    V_free(&ctx, a);
    V_free(&ctx, b);
    V_free(&ctx, c);
    V_free(&ctx, nullptr);
    EXPECT_EQ(live(ctx).blocks, 0u);
    EXPECT_EQ(live(ctx).bytes, 0u);
}

TEST(Common, Str2BinAndStrtok) {
    uint8_t out[4];
    uint32_t n = sizeof out;
    EXPECT_EQ(V_str2bin("00fFa5", out, &n), 0);
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(out[0], 0x00);
    EXPECT_EQ(out[1], 0xff);
    EXPECT_EQ(out[2], 0xa5);
    for (const char *bad : {"abc", "zz", "0011223344"}) {
        n = sizeof out;
        EXPECT_EQ(V_str2bin(bad, out, &n), -1) << bad;
    }

    char text[] = ",,alpha,,beta;gamma,";
    char *save = nullptr;
    std::vector<std::string> tokens;
    for (char *t = V_strtok_r(text, ",;", &save); t; t = V_strtok_r(nullptr, ",;", &save))
        tokens.emplace_back(t);
    EXPECT_EQ(tokens, (std::vector<std::string>{"alpha", "beta", "gamma"}));
    EXPECT_EQ(V_strtok_r(nullptr, ",", &save), nullptr);
}

TEST(ProviderError, StoredOnFailureOnly) {
    EXPECT_EQ(vc::csp::SetProviderError(23), -1);
    EXPECT_EQ(GetError(), 2023u);
    EXPECT_EQ(vc::csp::SetProviderError(1011), -1);
    EXPECT_EQ(GetError(), 1011u);
    EXPECT_EQ(vc::csp::SetProviderError(999), -1);
    EXPECT_EQ(GetError(), 2999u);
}

}  // namespace
