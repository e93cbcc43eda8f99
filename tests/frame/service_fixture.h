// A ready LibContext for service tests; at the end everything allocated on it must be freed.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

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
    uint32_t liveBlocks() {
        uint32_t blocks = 0;
        V_GetAllocStats(&ctx, &blocks, nullptr);
        return blocks;
    }
    LibContext ctx{};
};

}  // namespace vctest
