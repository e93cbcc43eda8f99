// A ready LibContext for service tests; at the end everything allocated on it must be freed.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include "support/test_util.h"

namespace vctest {

class ServiceTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(V_VCCInit(&ctx), 0); }
    void TearDown() override {
        V_VCCTerm(&ctx);
        uint32_t blocks = 1, bytes = 1;
        V_GetAllocStats(&ctx, &blocks, &bytes);
        EXPECT_EQ(blocks, 0u);
        EXPECT_EQ(bytes, 0u);
    }
    uint32_t liveBlocks() const {
        uint32_t blocks = 0;
        V_GetAllocStats(&ctx, &blocks, nullptr);
        return blocks;
    }
    // Copies a result out and frees it; it must be the only block besides the state.
    Bytes take(DataBlob &out) {
        EXPECT_EQ(liveBlocks(), out.Data ? 2u : 1u);
        Bytes b(out.Data, out.Data + (out.Data ? out.Length : 0));
        V_free(&ctx, out.Data);
        return b;
    }
    // Runs `call` with the n-th V_calloc failing for n = 1, 2, ... until it succeeds; each
    // failure must null the output, leave no block behind and pass `check`. Returns how many
    // allocations the successful call made.
    template <class Call, class Check>
    int failEachAllocation(Call call, Check check) {
        for (int n = 1; n < 64; ++n) {
            const uint32_t before = liveBlocks();
            DataBlob out{7, reinterpret_cast<uint8_t *>(&out)};
            ctx.error = 4242;
            V_FailNthCalloc(uint32_t(n));
            const uint32_t r = call(out);
            V_FailNthCalloc(0);
            if (r == 0) {
                take(out);
                return n - 1;
            }
            check(r);
            EXPECT_EQ(out.Data, nullptr) << n;
            EXPECT_EQ(liveBlocks(), before) << n;
        }
        ADD_FAILURE() << "never succeeded";
        return -1;
    }
    // The check of a failed allocation: 20006 returned and stored.
    auto allocFailed() {
        return [this](uint32_t r) { EXPECT_EQ(r, 20006u); EXPECT_EQ(ctx.error, 20006); };
    }
    LibContext ctx{};
    Rng rng{77};
};

}  // namespace vctest
