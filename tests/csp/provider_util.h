// Helpers for the provider tests: context and key records, staged cipher calls.
#pragma once

#include <vorelcrypto/vorelcrypto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/oracles.h"

namespace vcp {

using vctest::Bytes;

// The reason GetError reports for a failing call (checks the -1).
#define EXPECT_REASON(call, reason)                        \
    do {                                                   \
        EXPECT_EQ((call), -1) << #call;                    \
        EXPECT_EQ(GetError(), uint32_t(reason)) << #call; \
    } while (0)

// A context record with its own attribute array.
struct Context {
    CspContextRecord record{};
    std::vector<CspAttribute> attributes;
    Context(uint32_t cls, uint32_t algorithm) { record.contextClass = cls, record.algorithm = algorithm; }
    Context(const Context &) = delete;
    Context &add(uint32_t type, uint32_t value) { return push({type, 4, {.uint32 = value}}); }
    Context &add(uint32_t type, DataBlob *blob) { return push({type, sizeof(DataBlob), {.data = blob}}); }
    CspContextRecord *operator&() { return &record; }

private:
    Context &push(CspAttribute a) {
        attributes.push_back(a);
        record.attributes = attributes.data();
        record.attributeCount = uint32_t(attributes.size());
        return *this;
    }
};

// One blob per piece of `data`; an empty one points at a static byte.
inline std::vector<DataBlob> blobsOf(const Bytes &data, const std::vector<size_t> &pieces) {
    static uint8_t empty;
    std::vector<DataBlob> blobs;
    size_t at = 0;
    for (size_t n : pieces) {
        blobs.push_back(DataBlob{uint32_t(n), n ? const_cast<uint8_t *>(data.data() + at) : &empty});
        at += n;
    }
    return blobs;
}

// Random piece sizes: single bytes, around the 1,000-byte chunk, beyond it, small ones.
inline std::vector<size_t> randomPieces(vctest::Rng &rng, size_t total) {
    std::vector<size_t> pieces;
    for (size_t n; total != 0; total -= n) {
        const size_t kinds[] = {1, 990 + rng.below(21), 1001 + rng.below(1500), rng.below(20)};
        pieces.push_back(n = std::min(kinds[rng.below(4)], total));
    }
    return pieces;
}

// A key record in an aligned 5,000-byte buffer, made by CSP_GenerateKey with KEY_LENGTH 8 * the
// material's size (and RC2's effective bits unless 0) in `capacity` bytes; returns its status.
struct Key {
    std::vector<uint64_t> storage = std::vector<uint64_t>(CSP_KEY_RECORD_MAX / 8);
    DataBlob blob{CSP_KEY_RECORD_MAX, reinterpret_cast<uint8_t *>(storage.data())};
};
inline int32_t makeKey(Key &key, uint32_t algorithm, const Bytes &material, uint32_t effectiveBits = 0,
                       uint32_t capacity = CSP_KEY_RECORD_MAX) {
    Context gen(CSP_CLASS_KEYGEN, algorithm);
    gen.add(CSP_ATTR_KEY_LENGTH, uint32_t(8 * material.size()));
    if (effectiveBits != 0) gen.add(CSP_ATTR_EFFECTIVE_BITS, effectiveBits);
    DataBlob m{uint32_t(material.size()), const_cast<uint8_t *>(material.data())};
    key.blob.Length = capacity;
    return CSP_GenerateKey(CSP_MODULE_HANDLE, &gen, nullptr, 3, 0x20000000, &m, &key.blob);
}

// The ciphers, their OpenSSL names (none for IDEA and RC5) and key lengths in bytes.
const struct Cipher {
    uint32_t algorithm;
    const char *openssl;
    int minKey, maxKey;
} kCiphers[] = {{CSP_ALG_DES, "DES", 8, 8},   {CSP_ALG_3DES_2KEY, "DES-EDE", 16, 16},
                {CSP_ALG_BLOWFISH, "BF", 4, 56}, {CSP_ALG_RC2, "RC2", 1, 128},
                {CSP_ALG_IDEA, nullptr, 16, 16}, {CSP_ALG_RC5, nullptr, 0, 255},
                {CSP_ALG_RC4, "RC4", 1, 256}};

// A symmetric context: mode 0, padding -1 and an empty IV add no attribute.
struct CipherSetup {
    uint32_t algorithm, mode;
    Bytes key, iv;
    int64_t padding = -1;
    uint32_t effectiveBits = 0;
};
struct CipherContext {
    Key key;
    Bytes ivBytes;
    DataBlob iv{};
    Context context;
    explicit CipherContext(const CipherSetup &s) : ivBytes(s.iv), context(CSP_CLASS_SYMMETRIC, s.algorithm) {
        EXPECT_EQ(makeKey(key, s.algorithm, s.key, s.effectiveBits), 0);
        context.add(CSP_ATTR_KEY, &key.blob);
        if (s.mode != 0) context.add(CSP_ATTR_MODE, s.mode);
        iv = DataBlob{uint32_t(ivBytes.size()), ivBytes.data()};
        if (!ivBytes.empty()) context.add(CSP_ATTR_INIT_VECTOR, &iv);
        if (s.padding >= 0) context.add(CSP_ATTR_PADDING, uint32_t(s.padding));
    }
};

// With no pieces, the one-shot call. Otherwise Init, one Update per piece into output blobs of
// the capacities in `splits` (in turn; one blob when empty), and Final into a null blob.
// Returns everything written.
inline Bytes crypt(CipherContext &c, bool encrypt, const Bytes &data, const std::vector<size_t> &pieces = {},
                   const std::vector<uint32_t> &splits = {}) {
    CspContextRecord h{};
    Bytes result, space(data.size() + 16);
    uint32_t written = 0;
    if (pieces.empty()) {
        DataBlob in = blobsOf(data, {data.size()})[0], out{uint32_t(data.size() + 8), space.data()},
                 last{8, space.data() + data.size() + 8};
        const int32_t r = (encrypt ? CSP_EncryptData : CSP_DecryptData)(0, &h, &c.context, &in, 1, &out, 1,
                                                                        &written, &last);
        EXPECT_EQ(r, 0) << "one-shot, reason " << GetError();
        result.assign(space.begin(), space.begin() + written);
        result.insert(result.end(), last.Data, last.Data + (r ? 0 : last.Length));
        return result;
    }
    EXPECT_EQ((encrypt ? CSP_EncryptDataInit : CSP_DecryptDataInit)(0, &h, &c.context), 0);
    size_t split = 0;
    for (DataBlob &in : blobsOf(data, pieces)) {
        std::vector<DataBlob> outs;  // room for all the piece can release, cut into blobs
        for (size_t used = 0, room = in.Length + 16; used < room; used += outs.back().Length) {
            const size_t cap = splits.empty() ? room : splits[split++ % splits.size()];
            outs.push_back(DataBlob{uint32_t(std::min(cap, room - used)), space.data() + used});
        }
        EXPECT_EQ((encrypt ? CSP_EncryptDataUpdate : CSP_DecryptDataUpdate)(0, &h, &in, 1, outs.data(),
                                                                            uint32_t(outs.size()), &written), 0)
            << "reason " << GetError();
        result.insert(result.end(), space.begin(), space.begin() + written);
    }
    DataBlob rest{0, nullptr};
    EXPECT_EQ((encrypt ? CSP_EncryptDataFinal : CSP_DecryptDataFinal)(0, &h, &rest), 0) << GetError();
    if (rest.Data) result.insert(result.end(), rest.Data, rest.Data + rest.Length);
    std::free(rest.Data);
    return result;
}

}  // namespace vcp
