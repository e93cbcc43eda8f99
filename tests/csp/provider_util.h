// Helpers for the provider tests: key records, contexts with attributes, staged calls.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/test_util.h"

namespace vcp {

using vctest::Bytes;

// A key record made by CSP_GenerateKey in an aligned 5,000-byte buffer.
struct Key {
    std::vector<uint64_t> storage = std::vector<uint64_t>(CSP_KEY_RECORD_MAX / 8);
    DataBlob blob{CSP_KEY_RECORD_MAX, reinterpret_cast<uint8_t *>(storage.data())};
};
// Makes the key record of `algorithm` from `material` (KEY_LENGTH = 8 * its size); RC2 gets
// `effectiveBits` when non-zero. Returns the CSP_GenerateKey status.
int32_t makeKey(Key &key, uint32_t algorithm, const Bytes &material, uint32_t effectiveBits = 0);

// A context record with its own attribute array.
struct Context {
    CspContextRecord record{};
    std::vector<CspAttribute> attributes;
    Context(uint32_t cls, uint32_t algorithm);
    // Copies keep their own attribute array.
    Context(const Context &o) : record(o.record), attributes(o.attributes) {
        record.attributes = attributes.data();
    }
    Context &add(uint32_t type, uint32_t value);
    Context &add(uint32_t type, DataBlob *blob);
    CspContextRecord *operator&() { return &record; }
};

// A symmetric context for key, mode (0: none given) and optional iv and padding.
struct CipherSetup {
    uint32_t algorithm, mode;
    Bytes key, iv;
    int64_t padding = -1;  // -1: attribute not given
    uint32_t effectiveBits = 0;
};
struct CipherContext {
    Key key;
    DataBlob iv{};
    Bytes ivBytes;
    Context context;
    explicit CipherContext(const CipherSetup &s);
};

// Runs Init, Updates over `pieces` (each an Update of one input blob into output blobs of the
// given capacities, cycling through `outputSplits`), and Final into a null blob; returns the
// concatenated output. Any failing call fails the test and returns what was made.
Bytes staged(const CipherSetup &s, bool encrypt, const Bytes &data, const std::vector<size_t> &pieces,
             const std::vector<uint32_t> &outputSplits = {});
// CSP_EncryptData / CSP_DecryptData in one call.
Bytes oneShot(const CipherSetup &s, bool encrypt, const Bytes &data);

// Random piece sizes covering the interesting ones: single bytes, around the 1,000-byte chunk,
// and beyond it.
std::vector<size_t> randomPieces(vctest::Rng &rng, size_t total);

// The reason GetError reports for a failing call (checks the -1).
#define EXPECT_REASON(call, reason)          \
    do {                                     \
        EXPECT_EQ((call), -1) << #call;      \
        EXPECT_EQ(GetError(), uint32_t(reason)) << #call; \
    } while (0)

}  // namespace vcp
