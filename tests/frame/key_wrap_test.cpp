// V_KeyEncryption and V_KeyDecryption: length-preserving CBC against OpenSSL, the triple DES
// padding block left out of the result, SEED's half block, the GPKI module, the codes.
#include "cipher_oracle.h"
#include "fake_gpki.h"

namespace {

using namespace symtest;

class KeyWrap : public ServiceTest {
protected:
    // Wraps (or unwraps) and returns the code and the reported bytes; `whole` receives the
    // buffer up to `peek` bytes beyond the reported length.
    uint32_t call(bool wrap, const SymKeyRecord &k, const Bytes &in, Bytes &out, size_t peek = 0,
                  Bytes *whole = nullptr) {
        DataBlob i{uint32_t(in.size()), const_cast<uint8_t *>(in.data())}, o{9, scratch.data()};
        const uint32_t r = (wrap ? V_KeyEncryption : V_KeyDecryption)(&ctx, &k, &i, &o);
        if (r == 0) {
            out.assign(o.Data, o.Data + o.Length);
            if (whole) whole->assign(o.Data, o.Data + o.Length + peek);
            release(o);
        }
        EXPECT_EQ(o.Data, nullptr);
        return r;
    }
    vctest::Rng rng{31};
    Bytes key = rng.bytes(24), iv = rng.bytes(16), scratch = Bytes(1);
    SymKeyRecord record(uint32_t alg) { return {alg, 3, 1, key.data(), 1, iv.data()}; }
};

TEST_F(KeyWrap, AgainstOpenSsl) {
    struct Case { uint32_t alg; const char *evp; size_t keyBytes, ivBytes, len; };
    const Case cases[] = {{V_SYM_DES, "DES-CBC", 8, 8, 24}, {V_SYM_DES, "DES-CBC", 8, 8, 8},
                          {V_SYM_SEED, "SEED-CBC", 16, 16, 32}, {V_SYM_SEED, "SEED-CBC", 16, 16, 64}};
    for (const Case &c : cases) {
        const Bytes m = rng.bytes(c.len), k(key.begin(), key.begin() + long(c.keyBytes)),
                    v(iv.begin(), iv.begin() + long(c.ivBytes));
        Bytes wrapped, unwrapped;
        ASSERT_EQ(call(true, record(c.alg), m, wrapped), 0u);
        EXPECT_EQ(wrapped, evp(c.evp, true, k, v, m, false)) << c.evp << " " << c.len;
        ASSERT_EQ(call(false, record(c.alg), wrapped, unwrapped), 0u);
        EXPECT_EQ(unwrapped, m);
    }
}

// Triple DES wraps through V_Encryption: the padding block of eight 8s stays in the buffer but
// is not reported, and unwrapping never looks for it.
TEST_F(KeyWrap, TripleDesDropsItsPaddingBlock) {
    SymKeyRecord k = record(V_SYM_DES3);
    k.keyLength = 24;
    k.ivLength = 8;
    const Bytes m = rng.bytes(16), want = evp("DES-EDE3-CBC", true, key, Bytes(iv.begin(), iv.begin() + 8),
                                              pkcsPad(m, 8), false);
    Bytes wrapped, whole, unwrapped;
    ASSERT_EQ(call(true, k, m, wrapped, 8, &whole), 0u);
    EXPECT_EQ(whole, want);
    EXPECT_EQ(wrapped, Bytes(want.begin(), want.begin() + 16));
    ASSERT_EQ(call(false, k, wrapped, unwrapped), 0u);
    EXPECT_EQ(unwrapped, m);
    k.keyLength = 16;  // the private routine needs 24 key bytes
    EXPECT_EQ(call(false, k, wrapped, unwrapped), 30033u);
    EXPECT_EQ(ctx.error, 30033);
    EXPECT_EQ(call(true, k, m, wrapped), 30032u);
    EXPECT_EQ(ctx.error, 30023);  // as V_Encryption stored it
}

// A SEED input of 8 mod 16 bytes: the engine enciphers the zero-filled last block, and the
// wrap reports only its first half. Unwrapping deciphers that half followed by zeros, so the
// first whole blocks come back and the last 8 bytes do not.
TEST_F(KeyWrap, SeedHalfBlock) {
    const Bytes m = rng.bytes(24), k(key.begin(), key.begin() + 16);
    Bytes zeroFilled = m;
    zeroFilled.resize(32);
    const Bytes c = evp("SEED-CBC", true, k, iv, zeroFilled, false);
    Bytes wrapped, unwrapped;
    ASSERT_EQ(call(true, record(V_SYM_SEED), m, wrapped), 0u);
    EXPECT_EQ(wrapped, Bytes(c.begin(), c.begin() + 24));
    ASSERT_EQ(call(false, record(V_SYM_SEED), wrapped, unwrapped), 0u);
    Bytes lastBlock(c.begin() + 16, c.begin() + 24);
    lastBlock.resize(16);
    Bytes tail = evp("SEED-ECB", false, k, {}, lastBlock, false);
    for (size_t i = 0; i < 8; ++i) tail[i] ^= c[i];
    Bytes want(m.begin(), m.begin() + 16);
    want.insert(want.end(), tail.begin(), tail.begin() + 8);
    EXPECT_EQ(unwrapped, want);
}

TEST_F(KeyWrap, RefusedInputsAndAlgorithms) {
    Bytes out(1);
    for (uint32_t alg : {0u, 1u, 10u, 15u}) {
        for (size_t len : {0, 12, 4}) {
            EXPECT_EQ(call(true, record(alg), Bytes(len, 1), out), 30000u);
            EXPECT_EQ(ctx.error, 30000);
            EXPECT_EQ(call(false, record(alg), Bytes(len, 1), out), 30000u);
        }
        DataBlob noData{8, nullptr}, o{};
        const SymKeyRecord k = record(alg);
        EXPECT_EQ(V_KeyEncryption(&ctx, &k, &noData, &o), 30000u);
        EXPECT_EQ(V_KeyDecryption(&ctx, &k, nullptr, &o), 30000u);
        EXPECT_EQ(V_KeyDecryption(nullptr, &k, &noData, &o), uint32_t(-1));
    }
    for (uint32_t alg : {2u, 3u, 5u, 11u}) {
        EXPECT_EQ(call(true, record(alg), Bytes(16), out), 30032u);
        EXPECT_EQ(ctx.error, 30032);
        EXPECT_EQ(call(false, record(alg), Bytes(16), out), 30033u);
        EXPECT_EQ(ctx.error, 30033);
    }
}

// GPKI wraps through V_Encryption (the padded SEED-CBC of the fake module, cut to the input
// length) and unwraps through V_Decryption; a failing unwrap returns 30032 and the context keeps
// V_Decryption's code.
TEST_F(KeyWrap, GpkiModule) {
    fakegpki::Module &gpki = fakegpki::Install();
    SymKeyRecord k = record(V_SYM_GPKI);
    k.keyLength = k.ivLength = 16;
    const Bytes k16(key.begin(), key.begin() + 16);
    Bytes m = rng.bytes(32), wrapped, unwrapped;
    m.back() = 0;  // so that the cut cipher text cannot unpad
    const Bytes c = evp("SEED-CBC", true, k16, iv, m, true);
    ASSERT_EQ(call(true, k, m, wrapped), 0u);
    EXPECT_EQ(wrapped, Bytes(c.begin(), c.begin() + 32));
    ASSERT_EQ(call(false, k, c, unwrapped), 0u);
    EXPECT_EQ(unwrapped, m);
    EXPECT_EQ(call(false, k, wrapped, unwrapped), 30032u);
    EXPECT_EQ(ctx.error, 100000);
    gpki.failSlot = 13;
    EXPECT_EQ(call(true, k, m, wrapped), 30032u);
    EXPECT_EQ(ctx.error, 100000);
    fakegpki::Uninstall();
}

TEST_F(KeyWrap, EveryAllocationFailure) {
    SymKeyRecord des3 = record(V_SYM_DES3);
    des3.keyLength = 24;
    des3.ivLength = 8;
    const Bytes m = rng.bytes(16);
    DataBlob in{16, const_cast<uint8_t *>(m.data())};
    for (auto f : {V_KeyEncryption, V_KeyDecryption}) {
        for (SymKeyRecord k : {record(V_SYM_DES), record(V_SYM_SEED), des3}) {
            const bool viaService = f == V_KeyEncryption && k.algorithm == V_SYM_DES3;
            const int n = failEachAllocation([&](DataBlob &o) { return f(&ctx, &k, &in, &o); },
                                             [&](uint32_t r) {
                                                 EXPECT_EQ(r, viaService ? 30032u : 20006u);
                                                 EXPECT_EQ(ctx.error, 20006);
                                             });
            EXPECT_EQ(n, viaService ? 2 : 1);
        }
    }
}

}  // namespace
