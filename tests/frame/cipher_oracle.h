// Oracles and small models shared by the symmetric and key-wrap service tests.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include "support/test_util.h"

namespace symtest {

using vctest::Bytes;

// One OpenSSL EVP cipher over the whole input; `padding` turns on PKCS #7; rc2Bits > 0 sets
// RC2's effective key bits. Empty on failure (and a test failure is recorded).
Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in,
          bool padding, int rc2Bits = 0);
// IDEA through libgcrypt (OpenSSL 3 has none), no padding; mode is a GCRY_CIPHER_MODE_*.
Bytes ideaGcrypt(int mode, const Bytes &key, const Bytes &iv, const Bytes &in);

// The PKCS #5 / #7 padding, and the service's pre-padding of inputs shorter than 8 bytes.
Bytes pkcsPad(Bytes m, size_t block);
Bytes prePad(Bytes m);

// A ready LibContext whose V_calloc accounting is checked at the end.
class ServiceTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    uint32_t liveBlocks() const;
    // Frees a result and checks that it was the only block left.
    void release(DataBlob &out);
    // Calls `call` with the n-th V_calloc failing, for n = 1, 2, ... until it succeeds; each
    // failure must leave no block behind and satisfy `check(result)`. Returns how many
    // allocations the successful call made.
    template <class Call, class Check>
    int failEachAllocation(Call call, Check check) {
        for (int n = 1; n < 64; ++n) {
            const uint32_t before = liveBlocks();
            DataBlob out{7, reinterpret_cast<uint8_t *>(&out)};
            V_FailNthCalloc(uint32_t(n));
            const uint32_t r = call(out);
            V_FailNthCalloc(0);
            if (r == 0) {
                release(out);
                return n - 1;
            }
            check(r);
            EXPECT_EQ(out.Data, nullptr) << "allocation " << n;
            EXPECT_EQ(liveBlocks(), before) << "allocation " << n;
        }
        ADD_FAILURE() << "never succeeded";
        return -1;
    }
    LibContext ctx{};
};

}  // namespace symtest
