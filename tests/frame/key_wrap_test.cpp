// V_KeyEncryption and V_KeyDecryption: length-preserving CBC against OpenSSL, the triple DES
// padding block left out of the result, SEED's half block, the GPKI module, the codes.
#include "cipher_oracle.h"
#include "fake_gpki.h"

namespace {

using namespace symtest;

class KeyWrap : public ServiceTest {
protected:
    // The code; `out` receives the reported bytes and `extra` more bytes of the buffer.
    uint32_t call(bool wrap, const SymKeyRecord &k, const Bytes &in, Bytes &out, size_t extra = 0) {
        DataBlob i{uint32_t(in.size()), const_cast<uint8_t *>(in.data())}, o{9, key.data()};
        const uint32_t r = (wrap ? V_KeyEncryption : V_KeyDecryption)(&ctx, &k, &i, &o);
        if (r == 0) {
            o.Length += uint32_t(extra);
            out = take(o);
        }
        EXPECT_EQ(o.Data == nullptr, r != 0);
        return r;
    }
    Bytes key = rng.bytes(24), iv = rng.bytes(16), k8 = head(key, 8), k16 = head(key, 16);
    SymKeyRecord record(uint32_t alg, uint32_t keyLength = 1, uint32_t ivLength = 1) {
        return {alg, V_MODE_OFB, keyLength, key.data(), ivLength, iv.data()};  // wrapping is CBC whatever the mode
    }
};

TEST_F(KeyWrap, AgainstOpenSsl) {
    for (size_t len : {8, 24, 32, 64}) {
        const Bytes m = rng.bytes(len);
        for (uint32_t alg : {uint32_t(V_SYM_DES), uint32_t(V_SYM_SEED)}) {
            if (alg == V_SYM_SEED && len % 16) continue;
            Bytes wrapped, unwrapped;
            ASSERT_EQ(call(true, record(alg), m, wrapped), 0u);
            EXPECT_EQ(wrapped, alg ? evp("SEED-CBC", true, k16, iv, m, false) : evp("DES-CBC", true, k8, head(iv, 8), m, false));
            ASSERT_EQ(call(false, record(alg), wrapped, unwrapped), 0u);
            EXPECT_EQ(unwrapped, m);
        }
    }
}

// Triple DES wraps through V_Encryption: the padding block of eight 8s stays in the buffer past
// the reported length, and unwrapping never asks for it.
TEST_F(KeyWrap, TripleDesDropsItsPaddingBlock) {
    const Bytes m = rng.bytes(16), want = evp("DES-EDE3-CBC", true, key, head(iv, 8), pkcsPad(m, 8), false);
    Bytes wrapped, unwrapped;
    ASSERT_EQ(call(true, record(V_SYM_DES3, 24, 8), m, wrapped, 8), 0u);
    EXPECT_EQ(wrapped, want);
    ASSERT_EQ(call(false, record(V_SYM_DES3, 24, 8), head(wrapped, 16), unwrapped), 0u);
    EXPECT_EQ(unwrapped, m);
    EXPECT_EQ(call(false, record(V_SYM_DES3, 16, 8), m, unwrapped), uint32_t(VC_ERR_DECRYPTION));  // needs 24 key bytes
    EXPECT_EQ(ctx.error, VC_ERR_DECRYPTION);
    EXPECT_EQ(call(true, record(V_SYM_DES3, 16, 8), m, wrapped), uint32_t(VC_ERR_ENCRYPTION));
    EXPECT_EQ(ctx.error, VC_ERR_DIRECT_ENC);  // as V_Encryption stored it
}

// SEED input of 8 mod 16 bytes: the engine enciphers the zero-filled last block and the wrap
// reports its first half. Unwrapping deciphers that half followed by zeros: the whole blocks
// come back, the last 8 bytes are D(c2[0..8] || 0^8) XOR c1[0..8].
TEST_F(KeyWrap, SeedHalfBlock) {
    const Bytes m = rng.bytes(24);
    Bytes zeroFilled = m, wrapped, unwrapped;
    zeroFilled.resize(32);
    const Bytes c = evp("SEED-CBC", true, k16, iv, zeroFilled, false);
    ASSERT_EQ(call(true, record(V_SYM_SEED), m, wrapped), 0u);
    EXPECT_EQ(wrapped, head(c, 24));
    ASSERT_EQ(call(false, record(V_SYM_SEED), wrapped, unwrapped), 0u);
    Bytes last(c.begin() + 16, c.begin() + 24), want = head(m, 16);
    last.resize(16);
    last = evp("SEED-ECB", false, k16, {}, last, false);
    for (size_t i = 0; i < 8; ++i) want.push_back(last[i] ^ c[i]);
    EXPECT_EQ(unwrapped, want);
}

TEST_F(KeyWrap, RefusedInputsAndAlgorithms) {
    Bytes out;
    DataBlob noData{8, nullptr}, o{};
    for (uint32_t alg : {V_SYM_DES, V_SYM_DES3, V_SYM_SEED, V_SYM_GPKI}) {
        const SymKeyRecord k = record(alg);
        for (size_t len : {0, 4, 12}) {
            EXPECT_EQ(call(true, k, Bytes(len, 1), out), uint32_t(VC_ERR_NOT_READY));
            EXPECT_EQ(ctx.error, VC_ERR_NOT_READY);
            EXPECT_EQ(call(false, k, Bytes(len, 1), out), uint32_t(VC_ERR_NOT_READY));
        }
        EXPECT_EQ(V_KeyEncryption(&ctx, &k, &noData, &o), uint32_t(VC_ERR_NOT_READY));
        EXPECT_EQ(V_KeyDecryption(&ctx, &k, nullptr, &o), uint32_t(VC_ERR_NOT_READY));
        EXPECT_EQ(V_KeyDecryption(nullptr, &k, &noData, &o), uint32_t(-1));
    }
    for (uint32_t alg : {V_SYM_DES, V_SYM_SEED, V_SYM_RC2, V_SYM_RC4, V_SYM_IDEA, V_SYM_RC2_40}) {  // DES and SEED without an IV, algorithms that cannot wrap
        SymKeyRecord k = record(alg);
        if (alg == V_SYM_DES || alg == V_SYM_SEED) k.iv = nullptr;
        EXPECT_EQ(call(true, k, Bytes(16), out), uint32_t(VC_ERR_ENCRYPTION));
        if (k.iv) { EXPECT_EQ(ctx.error, VC_ERR_ENCRYPTION); }
        EXPECT_EQ(call(false, k, Bytes(16), out), uint32_t(VC_ERR_DECRYPTION));
        if (k.iv) { EXPECT_EQ(ctx.error, VC_ERR_DECRYPTION); }
    }
}

// GPKI wraps through V_Encryption (the fake module's padded SEED-CBC, cut to the input length)
// and unwraps through V_Decryption; failures return 30032 and keep V_*cryption's code.
TEST_F(KeyWrap, GpkiModule) {
    fakegpki::Module &gpki = fakegpki::Install();
    const SymKeyRecord k = record(V_SYM_GPKI, 16, 16);
    Bytes m = rng.bytes(32), wrapped, unwrapped;
    m.back() = 0;  // so that the cut cipher text cannot be unpadded
    const Bytes c = evp("SEED-CBC", true, k16, iv, m, true);
    ASSERT_EQ(call(true, k, m, wrapped), 0u);
    EXPECT_EQ(wrapped, head(c, 32));
    ASSERT_EQ(call(false, k, c, unwrapped), 0u);
    EXPECT_EQ(unwrapped, m);
    EXPECT_EQ(call(false, k, wrapped, unwrapped), uint32_t(VC_ERR_ENCRYPTION));
    EXPECT_EQ(ctx.error, VC_ERR_GPKI);
    gpki.failSlot = 13;
    EXPECT_EQ(call(true, k, m, wrapped), uint32_t(VC_ERR_ENCRYPTION));
    EXPECT_EQ(ctx.error, VC_ERR_GPKI);
    fakegpki::Uninstall();
}

TEST_F(KeyWrap, EveryAllocationFailure) {
    const Bytes m = rng.bytes(16);
    DataBlob in{16, const_cast<uint8_t *>(m.data())};
    for (auto f : {V_KeyEncryption, V_KeyDecryption}) {
        for (SymKeyRecord k : {record(V_SYM_DES), record(V_SYM_SEED), record(V_SYM_DES3, 24, 8)}) {
            const bool viaService = f == V_KeyEncryption && k.algorithm == V_SYM_DES3;
            const int n = failEachAllocation([&](DataBlob &o) { return f(&ctx, &k, &in, &o); }, [&](uint32_t r) {
                EXPECT_EQ(r, viaService ? uint32_t(VC_ERR_ENCRYPTION) : uint32_t(VC_ERR_ALLOC));
                EXPECT_EQ(ctx.error, VC_ERR_ALLOC);
            });
            EXPECT_EQ(n, viaService ? 2 : 1);
        }
    }
}

}  // namespace
