// V_Encryption, V_Decryption and the fixed-IV pair: every path against OpenSSL/libgcrypt, round
// trips over every algorithm and mode, the codes, the GPKI hand-off and the allocations.
#include <gcrypt.h>

#include "cipher_oracle.h"
#include "fake_gpki.h"

namespace {

using namespace symtest;

class Symmetric : public ServiceTest {
protected:
    struct Result {
        uint32_t code;
        Bytes data;
    };
    Result run(bool encrypt, const SymKeyRecord &k, const Bytes &in) {
        uint8_t empty = 0;
        DataBlob i{uint32_t(in.size()), in.empty() ? &empty : const_cast<uint8_t *>(in.data())}, o{};
        const uint32_t r = (encrypt ? V_Encryption : V_Decryption)(&ctx, &k, &i, &o);
        Result res{r, {}};
        if (r == 0) res.data.assign(o.Data, o.Data + o.Length), release(o);
        EXPECT_EQ(o.Data, nullptr);
        if (r == 0) { EXPECT_EQ(ctx.error, 0); }
        return res;
    }
    Result fixedIv(bool encrypt, uint32_t alg, uint32_t mode, Bytes &key, const Bytes &in) {
        uint8_t empty = 0;
        DataBlob k{uint32_t(key.size()), key.data()}, o{};
        DataBlob i{uint32_t(in.size()), in.empty() ? &empty : const_cast<uint8_t *>(in.data())};
        auto f = encrypt ? V_Encryption_IV_Fix : V_Decryption_IV_Fix;
        const uint32_t r = f(ctx.state, alg, mode, &k, &i, &o);
        Result res{r, {}};
        if (r == 0) res.data.assign(o.Data, o.Data + o.Length), release(o);
        EXPECT_EQ(ctx.error, int32_t(r));
        return res;
    }
    vctest::Rng rng{77};
};

SymKeyRecord record(uint32_t alg, uint32_t mode, Bytes &key, Bytes &iv) {
    return {alg, mode, uint32_t(key.size()), key.data(), uint32_t(iv.size()), iv.data()};
}

// The private triple DES and RC2 routines and the SEED path: CBC of the PKCS-padded message.
TEST_F(Symmetric, DirectPathsAgainstOpenSsl) {
    struct Case { uint32_t alg; const char *evp; uint32_t keyMin, keyMax, iv; };
    const Case cases[] = {{V_SYM_DES3, "DES-EDE3-CBC", 24, 24, 8}, {V_SYM_RC2, "RC2-CBC", 1, 128, 8},
                          {V_SYM_RC2_40, "RC2-CBC", 1, 128, 8}, {V_SYM_SEED, "SEED-CBC", 16, 16, 16}};
    for (const Case &c : cases) {
        for (size_t len = 0; len <= 100; ++len) {
            Bytes key = rng.bytes(c.keyMin + rng.below(c.keyMax - c.keyMin + 1)), iv = rng.bytes(c.iv);
            const Bytes m = rng.bytes(len);
            const SymKeyRecord k = record(c.alg, V_MODE_CBC, key, iv);
            const int bits = c.alg == V_SYM_SEED || c.alg == V_SYM_DES3 ? 0 : int(8 * key.size());
            Result e = run(true, k, m);
            ASSERT_EQ(e.code, 0u) << c.alg << " " << len;
            ASSERT_EQ(e.data, evp(c.evp, true, key, iv, m, true, bits)) << c.alg << " " << len;
            Result d = run(false, k, e.data);
            ASSERT_EQ(d.code, 0u);
            EXPECT_EQ(d.data, m) << c.alg << " " << len;
        }
    }
}

// The provider path: the input pre-padded to 8 bytes, then PKCS #7 in ECB/CBC, none in the
// stream modes.
TEST_F(Symmetric, ProviderPathAgainstOracles) {
    struct Case { uint32_t alg, mode; const char *evp; int gcry; uint32_t keyBytes; };
    const Case cases[] = {
        {V_SYM_DES, V_MODE_ECB, "DES-ECB", 0, 8},   {V_SYM_DES, V_MODE_CBC, "DES-CBC", 0, 8},
        {V_SYM_DES, V_MODE_CFB, "DES-CFB", 0, 8},   {V_SYM_DES, V_MODE_OFB, "DES-OFB", 0, 8},
        {V_SYM_BLOWFISH, V_MODE_ECB, "BF-ECB", 0, 8}, {V_SYM_BLOWFISH, V_MODE_CBC, "BF-CBC", 0, 8},
        {V_SYM_BLOWFISH, V_MODE_CFB, "BF-CFB", 0, 8}, {V_SYM_BLOWFISH, V_MODE_OFB, "BF-OFB", 0, 8},
        {V_SYM_RC4, V_MODE_CBC, "RC4", 0, 8},
        {V_SYM_IDEA, V_MODE_ECB, nullptr, GCRY_CIPHER_MODE_ECB, 16},
        {V_SYM_IDEA, V_MODE_CBC, nullptr, GCRY_CIPHER_MODE_CBC, 16},
        {V_SYM_IDEA, V_MODE_CFB, nullptr, GCRY_CIPHER_MODE_CFB, 16},
        {V_SYM_IDEA, V_MODE_OFB, nullptr, GCRY_CIPHER_MODE_OFB, 16}};
    for (const Case &c : cases) {
        const bool padded = c.alg != V_SYM_RC4 && c.mode <= V_MODE_CBC;
        for (size_t len = 0; len <= 100; ++len) {
            Bytes key = rng.bytes(c.keyBytes), iv = rng.bytes(8);
            const Bytes m = rng.bytes(len), p = padded ? pkcsPad(prePad(m), 8) : prePad(m);
            const Bytes want = c.evp ? evp(c.evp, true, key, c.alg == V_SYM_RC4 ? Bytes{} : iv, p, false)
                                     : ideaGcrypt(c.gcry, key, iv, p);
            Result e = run(true, record(c.alg, c.mode, key, iv), m);
            ASSERT_EQ(e.code, 0u) << c.alg << "/" << c.mode << " " << len;
            EXPECT_EQ(e.data, want) << c.alg << "/" << c.mode << " " << len;
        }
    }
}

// Every algorithm in every mode decrypts what it encrypted; the provider path gives short
// inputs back pre-padded to 8 bytes. The private routines and SEED run CBC whatever the mode.
TEST_F(Symmetric, EveryAlgorithmAndModeRoundTrips) {
    for (uint32_t alg : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 10u, 11u}) {
        const bool provider = alg == 0 || (alg >= 3 && alg <= 6);
        for (uint32_t mode = 0; mode < 4; ++mode) {
            if (alg == V_SYM_SEED && mode != V_MODE_CBC) continue;
            for (size_t len : {0, 1, 7, 8, 9, 15, 16, 17, 31, 100, 2500}) {
                Bytes key = rng.bytes(alg == V_SYM_DES3 ? 24 : 26), iv = rng.bytes(16);
                const SymKeyRecord k = record(alg, mode, key, iv);
                const Bytes m = rng.bytes(len);
                Result e = run(true, k, m);
                ASSERT_EQ(e.code, 0u) << alg << "/" << mode << " " << len;
                if (!provider) { EXPECT_EQ(e.data, run(true, record(alg, 1, key, iv), m).data); }
                Result d = run(false, k, e.data);
                ASSERT_EQ(d.code, 0u) << alg << "/" << mode << " " << len;
                EXPECT_EQ(d.data, provider ? prePad(m) : m) << alg << "/" << mode << " " << len;
            }
        }
    }
}

TEST_F(Symmetric, MissingStateOrInput) {
    Bytes key(24, 1), iv(16, 2), m(8, 3);
    const SymKeyRecord k = record(V_SYM_DES3, 1, key, iv);
    DataBlob good{8, m.data()}, noData{8, nullptr};
    for (auto f : {V_Encryption, V_Decryption}) {
        EXPECT_EQ(f(nullptr, &k, &good, nullptr), uint32_t(-1));
        for (const DataBlob *in : {static_cast<const DataBlob *>(nullptr), static_cast<const DataBlob *>(&noData)}) {
            DataBlob out{5, m.data()};
            EXPECT_EQ(f(&ctx, &k, in, &out), 30000u);
            EXPECT_EQ(ctx.error, 30000);
            EXPECT_EQ(out.Data, nullptr);
        }
        LibContext empty{};
        DataBlob out{};
        EXPECT_EQ(f(&empty, &k, &good, &out), 30000u);
        EXPECT_EQ(empty.error, 30000);
    }
}

// The private routines refuse records they would read past, and check only the last
// padding byte (1 to 8). Cipher texts are crafted by OpenSSL without padding.
TEST_F(Symmetric, PrivateRoutineFailures) {
    struct Case { uint32_t alg; uint32_t keyLength, ivLength; int lastByte; size_t len; uint32_t enc, dec; };
    const Case cases[] = {
        {V_SYM_DES3, 16, 8, 1, 16, 30023, 30024}, {V_SYM_DES3, 24, 7, 1, 16, 30023, 30024},
        {V_SYM_RC2, 0, 8, 1, 16, 30025, 30026},   {V_SYM_RC2_40, 129, 8, 1, 16, 30025, 30026},
        {V_SYM_DES3, 24, 8, 9, 16, 0, 30024},     {V_SYM_DES3, 24, 8, 0, 16, 0, 30024},
        {V_SYM_RC2, 8, 8, 9, 16, 0, 30026},       {V_SYM_RC2, 8, 8, 255, 8, 0, 30026},
        {V_SYM_DES3, 24, 8, 8, 16, 0, 0},         {V_SYM_RC2, 8, 8, 3, 24, 0, 0},
        {V_SYM_DES3, 24, 8, -1, 12, 0, 30024},    {V_SYM_RC2, 8, 8, -1, 0, 0, 30026}};
    for (const Case &c : cases) {
        Bytes key = rng.bytes(200), iv = rng.bytes(8), plain = rng.bytes(c.len);
        if (c.lastByte >= 0) plain.back() = uint8_t(c.lastByte);
        SymKeyRecord k = record(c.alg, 1, key, iv);
        k.keyLength = c.keyLength;
        k.ivLength = c.ivLength;
        EXPECT_EQ(run(true, k, plain).code, c.enc) << c.alg << " " << c.keyLength;
        Bytes ct = plain;
        if (c.enc == 0 && c.len % 8 == 0 && c.len > 0) {
            const bool des3 = c.alg == V_SYM_DES3;
            ct = evp(des3 ? "DES-EDE3-CBC" : "RC2-CBC", true, Bytes(key.begin(), key.begin() + c.keyLength),
                     iv, plain, false, des3 ? 0 : int(8 * c.keyLength));
        }
        Result d = run(false, k, ct);
        EXPECT_EQ(d.code, c.dec) << c.alg << " last byte " << c.lastByte;
        EXPECT_EQ(ctx.error, int32_t(c.dec));
        if (c.dec == 0) { EXPECT_EQ(d.data, Bytes(plain.begin(), plain.end() - c.lastByte)); }
    }
}

// SEED on the dispatch: mode 1 only; a last plain byte outside 1 to 16 is 30027 in the state
// while the context gets 30033. Encryption stores 30032 but returns the dispatch's own code.
TEST_F(Symmetric, DispatchFailures) {
    Bytes key = rng.bytes(16), iv = rng.bytes(16);
    EXPECT_EQ(run(true, record(V_SYM_SEED, V_MODE_ECB, key, iv), Bytes(5)).code, 30004u);
    EXPECT_EQ(ctx.error, 30032);
    EXPECT_EQ(run(false, record(V_SYM_SEED, V_MODE_OFB, key, iv), Bytes(16)).code, 30033u);
    EXPECT_EQ(ctx.state->lastError, 30004);
    for (int last : {0, 17, 16, 200}) {
        Bytes plain = rng.bytes(32);
        plain.back() = uint8_t(last);
        Result d = run(false, record(V_SYM_SEED, 1, key, iv), evp("SEED-CBC", true, key, iv, plain, false));
        EXPECT_EQ(d.code, last == 16 ? 0u : 30033u) << last;
        EXPECT_EQ(ctx.state->lastError, last == 16 ? 0 : 30027);
        if (last == 16) { EXPECT_EQ(d.data, Bytes(plain.begin(), plain.begin() + 16)); }
    }
    for (size_t len : {0, 24}) {
        EXPECT_EQ(run(false, record(V_SYM_SEED, 1, key, iv), Bytes(len, 1)).code, 30033u);
        EXPECT_EQ(ctx.state->lastError, 30027);
    }
    // Ids without a cipher cannot make a provider key.
    for (uint32_t alg : {7u, 9u, 12u, 16u}) {
        EXPECT_EQ(run(true, record(alg, 1, key, iv), Bytes(8)).code, 30002u);
        EXPECT_EQ(ctx.error, 30032);
        EXPECT_EQ(run(false, record(alg, 1, key, iv), Bytes(8)).code, 30033u);
        EXPECT_EQ(ctx.state->lastError, 30002);
    }
}

// Provider refusals: no IV in CBC, a mode id outside 0 to 3, cipher text that is not whole
// blocks or not well padded.
TEST_F(Symmetric, ProviderFailures) {
    Bytes key = rng.bytes(8), iv = rng.bytes(8);
    SymKeyRecord noIv = record(V_SYM_DES, V_MODE_CBC, key, iv);
    noIv.iv = nullptr;
    struct Case { SymKeyRecord k; size_t len; uint32_t enc; int32_t decInner; };
    const Case cases[] = {{noIv, 16, 30005, 30010},
                          {record(V_SYM_DES, 4, key, iv), 16, 30004, 30004},
                          {record(V_SYM_DES, V_MODE_CBC, key, iv), 12, 0, 30011},
                          {record(V_SYM_DES, V_MODE_ECB, key, iv), 16, 0, 30011}};
    for (const Case &c : cases) {
        Bytes m(c.len, 0x55);
        EXPECT_EQ(run(true, c.k, m).code, c.enc);
        if (c.enc) { EXPECT_EQ(ctx.error, 30032); }
        EXPECT_EQ(run(false, c.k, m).code, 30033u);
        EXPECT_EQ(ctx.error, 30033);
        EXPECT_EQ(ctx.state->lastError, c.decInner);
    }
}

TEST_F(Symmetric, FixedIvAgainstOpenSsl) {
    struct Case { uint32_t alg, mode; const char *evp; uint32_t keyBytes; int bits; bool pkcs; };
    const Case cases[] = {{V_SYM_DES, V_MODE_CBC, "DES-CBC", 8, 0, true},
                          {V_SYM_DES, V_MODE_OFB, "DES-OFB", 8, 0, false},
                          {V_SYM_DES3, V_MODE_CBC, "DES-EDE-CBC", 16, 0, true},
                          {V_SYM_RC2, V_MODE_CBC, "RC2-CBC", 8, 64, true},
                          {V_SYM_RC2_40, V_MODE_CBC, "RC2-CBC", 5, 40, true},
                          {V_SYM_RC4, V_MODE_ECB, "RC4", 8, 0, false},
                          {V_SYM_SEED, V_MODE_ECB, "SEED-CBC", 16, 0, true},
                          {V_SYM_SEED, V_MODE_OFB, "SEED-CBC", 16, 0, true}};
    const Bytes iv8 = vctest::bytesOf("58203716"), iv16 = vctest::bytesOf("5820371649385027");
    for (const Case &c : cases) {
        for (size_t len : {0, 5, 8, 16, 33}) {
            Bytes key = rng.bytes(c.keyBytes);
            const Bytes m = rng.bytes(len);
            Bytes want = c.alg == V_SYM_SEED ? evp(c.evp, true, key, iv16, m, true)
                         : evp(c.evp, true, key, c.alg == V_SYM_RC4 ? Bytes{} : iv8,
                               c.pkcs ? pkcsPad(prePad(m), 8) : prePad(m), false, c.bits);
            Result e = fixedIv(true, c.alg, c.mode, key, m);
            ASSERT_EQ(e.code, 0u) << c.alg << " " << len;
            EXPECT_EQ(e.data, want) << c.alg << " " << len;
            Result d = fixedIv(false, c.alg, c.mode, key, e.data);
            EXPECT_EQ(d.data, c.alg == V_SYM_SEED ? m : prePad(m)) << c.alg << " " << len;
        }
    }
    Bytes key(8);
    DataBlob k{8, key.data()}, out{};
    EXPECT_EQ(V_Encryption_IV_Fix(nullptr, 0, 1, &k, &k, &out), 30000u);
    EXPECT_EQ(V_Decryption_IV_Fix(ctx.state, 0, 1, &k, nullptr, &out), 30000u);
    EXPECT_EQ(ctx.error, 30000);
}

TEST_F(Symmetric, GpkiHandOff) {
    Bytes key = rng.bytes(16), iv = rng.bytes(16);
    const SymKeyRecord k = record(V_SYM_GPKI, 0, key, iv);
    ctx.error = 777;
    EXPECT_EQ(run(true, k, Bytes(8)).code, 60004u);
    EXPECT_EQ(ctx.error, 777);  // not stored
    EXPECT_EQ(run(false, k, Bytes(16)).code, 60004u);
    EXPECT_EQ(ctx.error, 0);  // decryption clears the field at entry

    fakegpki::Module &gpki = fakegpki::Install();
    std::snprintf(ctx.gpkiWork, sizeof ctx.gpkiWork, "work string 42");
    const Bytes m = rng.bytes(37), c = evp("SEED-CBC", true, key, iv, m, true);
    EXPECT_EQ(run(true, k, m).data, c);
    const std::vector<int> session = {1, 4, 4, 4, 4, 6, 6, 6, 12, 13, 5, 5, 5, 5, 2};
    EXPECT_EQ(gpki.slots, session);
    EXPECT_EQ(gpki.workString, "work string 42");
    EXPECT_EQ(gpki.algorithm, 64);
    EXPECT_EQ(gpki.key, key);
    EXPECT_EQ(gpki.iv, iv);
    EXPECT_EQ(run(false, k, c).data, m);

    for (int slot : {12, 13, 14}) {
        for (bool decline : {false, true}) {
            gpki.failSlot = slot;
            gpki.declineErrorText = decline;
            gpki.slots.clear();
            EXPECT_EQ(run(slot != 14, k, c).code, 100000u);
            EXPECT_EQ(ctx.error, 100000);
            EXPECT_STREQ(ctx.message, decline ? "GPKI ErrCode = 4242\n" : fakegpki::kErrorText);
            EXPECT_EQ(std::count(gpki.slots.begin(), gpki.slots.end(), 3), 1);
            EXPECT_EQ(gpki.liveObjects + gpki.liveHandles, 0);  // the session is released
        }
    }
    gpki.failSlot = 0;
    EXPECT_EQ(failEachAllocation([&](DataBlob &o) { DataBlob i{uint32_t(m.size()), const_cast<uint8_t *>(m.data())};
                                     return V_Encryption(&ctx, &k, &i, &o); },
                                 [&](uint32_t r) { EXPECT_EQ(r, 20006u); EXPECT_EQ(ctx.error, 20006); }),
              1);
    fakegpki::Uninstall();
}

// Each V_calloc of every path fails in turn: 20006 (the dispatch's code in the state), nothing
// left behind, and on success only the result.
TEST_F(Symmetric, EveryAllocationFailure) {
    Bytes key = rng.bytes(24), iv = rng.bytes(16), m = rng.bytes(21);
    struct Case { uint32_t alg; bool encrypt, fixedIv; int allocations; };
    const Case cases[] = {{V_SYM_DES3, true, false, 2}, {V_SYM_DES3, false, false, 2},
                          {V_SYM_RC2, true, false, 1},  {V_SYM_RC2, false, false, 1},
                          {V_SYM_SEED, true, false, 2}, {V_SYM_SEED, false, false, 2},
                          {V_SYM_DES, true, false, 10}, {V_SYM_DES, false, false, 10},
                          {V_SYM_RC4, true, false, 10}, {V_SYM_RC2, true, true, 10},
                          {V_SYM_SEED, false, true, 2}};
    for (const Case &c : cases) {
        const SymKeyRecord k = record(c.alg, V_MODE_CBC, key, iv);
        DataBlob kb{16, key.data()};
        Bytes in = m;
        if (!c.encrypt) in = c.fixedIv ? fixedIv(true, c.alg, 1, key, m).data : run(true, k, m).data;
        DataBlob i{uint32_t(in.size()), in.data()};
        const bool dispatched = c.fixedIv || (c.alg != V_SYM_DES3 && c.alg != V_SYM_RC2);
        const uint32_t returned = dispatched && !c.encrypt && !c.fixedIv ? 30033 : 20006;
        const int32_t stored = !dispatched || c.fixedIv ? 20006 : c.encrypt ? 30032 : 30033;
        const int n = failEachAllocation(
            [&](DataBlob &o) {
                if (c.fixedIv)
                    return (c.encrypt ? V_Encryption_IV_Fix : V_Decryption_IV_Fix)(ctx.state, c.alg, 1, &kb, &i, &o);
                return (c.encrypt ? V_Encryption : V_Decryption)(&ctx, &k, &i, &o);
            },
            [&](uint32_t r) {
                EXPECT_EQ(r, returned);
                EXPECT_EQ(ctx.error, stored);
                if (dispatched) { EXPECT_EQ(ctx.state->lastError, 20006); }
            });
        EXPECT_EQ(n, c.allocations) << c.alg << " " << c.encrypt << " " << c.fixedIv;
    }
}

}  // namespace
