// V_GenHash: every service id against an oracle, its codes, and its allocations.
#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include "frame/service_fixture.h"
#include "support/oracles.h"

namespace {

using vctest::Bytes;

Bytes oracle(uint32_t hashId, const Bytes &m) {
    const char *names[] = {"MD2", "MD5", "SHA1", "MD4", "RIPEMD160"};
    return vctest::digest(names[hashId], m);
}

class GenHash : public vctest::ServiceTest {};

TEST_F(GenHash, EveryServiceIdAgainstOracle) {
    for (uint32_t id = 0; id <= 4; ++id) {
        for (size_t len : {0, 3, 64, 200}) {
            Bytes m = rng.bytes(len);
            uint8_t dummy = 0;
            DataBlob in{uint32_t(len), len ? m.data() : &dummy}, out{0, nullptr};
            ASSERT_EQ(V_GenHash(&ctx, id, &in, &out), 0u) << id;
            EXPECT_EQ(ctx.error, 0);
            EXPECT_EQ(take(out), oracle(id, m)) << "id " << id << " len " << len;
        }
    }
    Bytes abc = vctest::bytesOf("abc");
    DataBlob in{3, abc.data()}, out{0, nullptr};
    ASSERT_EQ(V_GenHash(&ctx, V_HASH_HAS160, &in, &out), 0u);
    EXPECT_EQ(vctest::toHex(take(out)), "975e810488cf2a3d49838478124afce4b1c78804");
}

TEST_F(GenHash, FailuresLeaveOutputUntouchedAndFreeEverything) {
    uint8_t byte = 0, sentinel = 0;
    DataBlob in{1, &byte}, out{77, &sentinel};
    EXPECT_EQ(V_GenHash(nullptr, 2, &in, &out), uint32_t(-1));
    EXPECT_EQ(V_GenHash(&ctx, 6, &in, &out), 30015u);
    EXPECT_EQ(ctx.error, VC_ERR_DIGEST_INIT);
    EXPECT_EQ(GetError(), 1023u);
    DataBlob nullData{0, nullptr};
    EXPECT_EQ(V_GenHash(&ctx, 2, &nullData, &out), 30016u);
    EXPECT_EQ(GetError(), 1046u);
    // Each allocation in turn: holder, provider record, digest buffer.
    const struct { uint32_t nth, code, reason; } faults[] = {{1, 20006, 0}, {2, 30015, 1027}, {3, 30001, 0}};
    for (auto &f : faults) {
        V_FailNthCalloc(f.nth);
        EXPECT_EQ(V_GenHash(&ctx, 2, &in, &out), f.code) << f.nth;
        V_FailNthCalloc(0);
        EXPECT_EQ(ctx.error, int32_t(f.code));
        if (f.reason) { EXPECT_EQ(GetError(), f.reason); }
    }
    EXPECT_EQ(out.Length, 77u);
    EXPECT_EQ(out.Data, &sentinel);
    EXPECT_EQ(liveBlocks(), 1u);  // only the state
    LibContext empty{};
    EXPECT_EQ(V_GenHash(&empty, 2, &in, &out), uint32_t(VC_ERR_NOT_READY));
    EXPECT_EQ(empty.error, VC_ERR_NOT_READY);
}

}  // namespace
