// Oracles and helpers shared by the symmetric and key-wrap service tests.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gcrypt.h>
#include <gtest/gtest.h>

#include "frame/service_fixture.h"
#include "support/oracles.h"

namespace symtest {

using vctest::Bytes;

using vctest::evp;

// IDEA encryption through libgcrypt (OpenSSL 3 has none), no padding; mode GCRY_CIPHER_MODE_*.
inline Bytes ideaGcrypt(int mode, const Bytes &key, const Bytes &iv, const Bytes &in) {
    return vctest::gcrypt(GCRY_CIPHER_IDEA, mode, true, key, mode == GCRY_CIPHER_MODE_ECB ? Bytes{} : iv, in);
}

// PKCS #5 / #7 padding, and the service's pre-padding of inputs shorter than 8 bytes.
inline Bytes pkcsPad(Bytes m, size_t block) {
    const size_t n = block - m.size() % block;
    for (size_t i = 0; i < n; ++i) m.push_back(uint8_t(n));
    return m;
}
inline Bytes prePad(Bytes m) { return m.size() < 8 ? pkcsPad(m, 8) : m; }
inline Bytes head(const Bytes &b, size_t n) { return Bytes(b.begin(), b.begin() + long(n)); }

// The service fixture with the helpers of the cipher services.
class ServiceTest : public vctest::ServiceTest {
protected:
    // Copies a result out and frees it, checking that it was the only block besides the state.
    Bytes take(DataBlob &out) {
        EXPECT_EQ(liveBlocks(), 2u);
        Bytes b(out.Data, out.Data + out.Length);
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
    vctest::Rng rng{77};
};

}  // namespace symtest
