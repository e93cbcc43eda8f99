// V_Encryption, V_Decryption and the fixed-IV pair: every path against OpenSSL or libgcrypt,
// round trips over every algorithm and mode, the codes, the GPKI hand-off, the allocations.
#include "cipher_oracle.h"
#include "fake_gpki.h"

namespace {

using namespace symtest;

struct Result { uint32_t code; Bytes data; };

class Symmetric : public ServiceTest {
protected:
    Result run(bool encrypt, const SymKeyRecord &k, const Bytes &in) {
        uint8_t none = 0;
        DataBlob i{uint32_t(in.size()), in.empty() ? &none : const_cast<uint8_t *>(in.data())};
        DataBlob o{5, &none};
        const uint32_t r = (encrypt ? V_Encryption : V_Decryption)(&ctx, &k, &i, &o);
        if (r != 0) { EXPECT_EQ(o.Data, nullptr); }
        return {r, r == 0 ? take(o) : Bytes{}};
    }
    Result fixedIv(bool encrypt, uint32_t alg, uint32_t mode, Bytes &key, const Bytes &in) {
        DataBlob k{uint32_t(key.size()), key.data()}, o{};
        DataBlob i{uint32_t(in.size()), const_cast<uint8_t *>(in.data())};
        const uint32_t r = (encrypt ? V_Encryption_IV_Fix : V_Decryption_IV_Fix)(ctx.state, alg, mode, &k, &i, &o);
        EXPECT_EQ(ctx.error, int32_t(r));
        return {r, r == 0 ? take(o) : Bytes{}};
    }
    // Encrypts, compares with `want` when given, decrypts and compares with `back`.
    void roundTrip(const SymKeyRecord &k, const Bytes &m, const Bytes *want, const Bytes &back) {
        Result e = run(true, k, m);
        ASSERT_EQ(e.code, 0u) << k.algorithm << "/" << k.mode << " " << m.size();
        if (want) { EXPECT_EQ(e.data, *want) << k.algorithm << "/" << k.mode << " " << m.size(); }
        EXPECT_EQ(run(false, k, e.data).data, back) << k.algorithm << "/" << k.mode << " " << m.size();
    }
};

SymKeyRecord record(uint32_t alg, uint32_t mode, Bytes &key, Bytes &iv) {
    return {alg, mode, uint32_t(key.size()), key.data(), uint32_t(iv.size()), iv.data()};
}

// CBC (or the provider's mode) of the PKCS-padded message on random keys; the provider path
// pre-pads to 8 bytes first, uses no padding in the stream modes and decrypts to the pre-padded
// input. RC2's key length sets its effective bits.
TEST_F(Symmetric, EncryptionAgainstOracles) {
    struct Case { uint32_t alg, mode; const char *evp; int gcry; uint32_t keyMin, keyMax, ivBytes; };
    const Case cases[] = {
        {V_SYM_DES3, V_MODE_CBC, "DES-EDE3-CBC", 0, 24, 24, 8}, {V_SYM_RC2, V_MODE_CBC, "RC2-CBC", 0, 1, 128, 8},
        {V_SYM_RC2_40, V_MODE_CBC, "RC2-CBC", 0, 1, 128, 8}, {V_SYM_SEED, V_MODE_CBC, "SEED-CBC", 0, 16, 16, 16},
        {V_SYM_DES, V_MODE_ECB, "DES-ECB", 0, 8, 8, 8}, {V_SYM_DES, V_MODE_CBC, "DES-CBC", 0, 8, 8, 8},
        {V_SYM_DES, V_MODE_CFB, "DES-CFB", 0, 8, 8, 8}, {V_SYM_DES, V_MODE_OFB, "DES-OFB", 0, 8, 8, 8},
        {V_SYM_BLOWFISH, V_MODE_ECB, "BF-ECB", 0, 8, 8, 8}, {V_SYM_BLOWFISH, V_MODE_CBC, "BF-CBC", 0, 8, 8, 8},
        {V_SYM_BLOWFISH, V_MODE_CFB, "BF-CFB", 0, 8, 8, 8}, {V_SYM_BLOWFISH, V_MODE_OFB, "BF-OFB", 0, 8, 8, 8},
        {V_SYM_RC4, V_MODE_CBC, "RC4", 0, 8, 8, 8},
        {V_SYM_IDEA, V_MODE_ECB, nullptr, GCRY_CIPHER_MODE_ECB, 16, 16, 8},
        {V_SYM_IDEA, V_MODE_CBC, nullptr, GCRY_CIPHER_MODE_CBC, 16, 16, 8},
        {V_SYM_IDEA, V_MODE_CFB, nullptr, GCRY_CIPHER_MODE_CFB, 16, 16, 8},
        {V_SYM_IDEA, V_MODE_OFB, nullptr, GCRY_CIPHER_MODE_OFB, 16, 16, 8},
    };
    for (const Case &c : cases) {
        const bool provider = c.alg == V_SYM_DES || (c.alg >= V_SYM_RC4 && c.alg <= V_SYM_BLOWFISH);
        for (size_t len = 0; len <= 100; ++len) {
            Bytes key = rng.bytes(c.keyMin + rng.below(c.keyMax - c.keyMin + 1)), iv = rng.bytes(c.ivBytes);
            const Bytes m = rng.bytes(len), back = provider ? prePad(m) : m;
            const Bytes p = c.alg != V_SYM_RC4 && c.mode <= V_MODE_CBC ? pkcsPad(back, c.ivBytes) : back;
            const int bits = c.alg == V_SYM_RC2 || c.alg == V_SYM_RC2_40 ? int(8 * key.size()) : 0;
            const Bytes want = c.evp ? evp(c.evp, true, key, c.alg == V_SYM_RC4 ? Bytes{} : iv, p, false, bits)
                                     : ideaGcrypt(c.gcry, key, iv, p);
            roundTrip(record(c.alg, c.mode, key, iv), m, &want, back);
        }
    }
}

// Every algorithm in every mode, RC5 included; the private routines run CBC in any mode.
TEST_F(Symmetric, EveryAlgorithmAndModeRoundTrips) {
    for (uint32_t alg : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 10u, 11u}) {
        const bool provider = alg == 0 || (alg >= 3 && alg <= 6);
        for (uint32_t mode = 0; mode < 4; ++mode) {
            for (size_t len : {0, 1, 7, 8, 9, 16, 17, 100, 2500}) {
                if (alg == 10 && mode != 1) continue;
                Bytes key = rng.bytes(alg == 1 ? 24 : 26), iv = rng.bytes(16);
                const Bytes m = rng.bytes(len);
                Bytes cbc = run(true, record(alg, 1, key, iv), m).data;
                roundTrip(record(alg, mode, key, iv), m, provider ? nullptr : &cbc, provider ? prePad(m) : m);
            }
        }
    }
}

TEST_F(Symmetric, FixedIvAgainstOpenSsl) {
    struct Case { uint32_t alg, mode; const char *evp; uint32_t keyBytes; int bits; bool pkcs; };
    const Case cases[] = {{0, 1, "DES-CBC", 8, 0, true},      {0, 3, "DES-OFB", 8, 0, false},
                          {1, 1, "DES-EDE-CBC", 16, 0, true}, {2, 1, "RC2-CBC", 8, 64, true},
                          {11, 1, "RC2-CBC", 5, 40, true},    {3, 0, "RC4", 8, 0, false},
                          {10, 0, "SEED-CBC", 16, 0, true},   {10, 3, "SEED-CBC", 16, 0, true}};
    const Bytes iv8 = vctest::bytesOf("58203716"), iv16 = vctest::bytesOf("5820371649385027");
    for (const Case &c : cases) {
        for (size_t len : {1, 5, 8, 16, 33}) {
            Bytes key = rng.bytes(c.keyBytes);
            const Bytes m = rng.bytes(len), p = c.pkcs ? pkcsPad(prePad(m), 8) : prePad(m);
            const Bytes want = c.alg == 10 ? evp(c.evp, true, key, iv16, m, true)
                                           : evp(c.evp, true, key, c.alg == V_SYM_RC4 ? Bytes{} : iv8, p, false, c.bits);
            Result e = fixedIv(true, c.alg, c.mode, key, m);
            EXPECT_EQ(e.data, want) << c.alg << " " << len;
            EXPECT_EQ(fixedIv(false, c.alg, c.mode, key, e.data).data, c.alg == 10 ? m : prePad(m));
        }
    }
    Bytes key(8);
    DataBlob k{8, key.data()}, out{};
    EXPECT_EQ(V_Encryption_IV_Fix(nullptr, 0, 1, &k, &k, &out), uint32_t(VC_ERR_NOT_READY));
    EXPECT_EQ(V_Decryption_IV_Fix(ctx.state, 0, 1, &k, nullptr, &out), uint32_t(VC_ERR_NOT_READY));
    EXPECT_EQ(ctx.error, VC_ERR_NOT_READY);
}

// Failures of each path: code returned, code stored, the dispatch's code in the state (-1: not
// looked at). `last` >= 0 makes the input OpenSSL's unpadded encryption of `len` bytes of 0x55
// ending in `last`.
TEST_F(Symmetric, Failures) {
    struct Case { uint32_t alg, mode, keyLength, ivLength; int last; size_t len; bool encrypt;
                  uint32_t returned; int32_t stored, inner; };
    constexpr uint32_t kNoAlgorithm = 7, kNoMode = 4;  // ids the service does not know
    const Case cases[] = {
        {V_SYM_DES3, V_MODE_CBC, 16, 8, -1, 16, true, VC_ERR_DIRECT_ENC, VC_ERR_DIRECT_ENC, -1},
        {V_SYM_DES3, V_MODE_CBC, 24, 7, -1, 16, true, VC_ERR_DIRECT_ENC, VC_ERR_DIRECT_ENC, -1},
        {V_SYM_RC2, V_MODE_CBC, 0, 8, -1, 16, true, VC_ERR_DIRECT_ENC2, VC_ERR_DIRECT_ENC2, -1},
        {V_SYM_RC2_40, V_MODE_CBC, 129, 8, -1, 8, false, VC_ERR_DIRECT_DEC2, VC_ERR_DIRECT_DEC2, -1},
        {V_SYM_DES3, V_MODE_CBC, 24, 8, -1, 12, false, VC_ERR_DIRECT_DEC, VC_ERR_DIRECT_DEC, -1},
        {V_SYM_RC2, V_MODE_CBC, 8, 8, -1, 0, false, VC_ERR_DIRECT_DEC2, VC_ERR_DIRECT_DEC2, -1},
        {V_SYM_DES3, V_MODE_CBC, 24, 8, 9, 16, false, VC_ERR_DIRECT_DEC, VC_ERR_DIRECT_DEC, -1},
        {V_SYM_DES3, V_MODE_CBC, 24, 8, 0, 16, false, VC_ERR_DIRECT_DEC, VC_ERR_DIRECT_DEC, -1},
        {V_SYM_RC2, V_MODE_CBC, 8, 8, 9, 8, false, VC_ERR_DIRECT_DEC2, VC_ERR_DIRECT_DEC2, -1},
        {V_SYM_RC2, V_MODE_CBC, 5, 8, 255, 16, false, VC_ERR_DIRECT_DEC2, VC_ERR_DIRECT_DEC2, -1},
        {V_SYM_SEED, V_MODE_ECB, 16, 16, -1, 5, true, VC_ERR_MODE, VC_ERR_ENCRYPTION, VC_ERR_MODE},
        {V_SYM_SEED, V_MODE_CFB, 16, 16, -1, 16, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_MODE},
        {V_SYM_SEED, V_MODE_CBC, 16, 16, 0, 32, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_BAD_PADDING},
        {V_SYM_SEED, V_MODE_CBC, 16, 16, 17, 32, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_BAD_PADDING},
        {V_SYM_SEED, V_MODE_CBC, 16, 16, -1, 24, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_BAD_PADDING},
        {V_SYM_SEED, V_MODE_CBC, 16, 16, -1, 0, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_BAD_PADDING},
        {kNoAlgorithm, V_MODE_CBC, 8, 8, -1, 8, true, VC_ERR_KEY_IMPORT, VC_ERR_ENCRYPTION, VC_ERR_KEY_IMPORT},
        {kNoAlgorithm + 9, V_MODE_CBC, 8, 8, -1, 8, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_KEY_IMPORT},
        {V_SYM_DES, kNoMode, 8, 8, -1, 16, true, VC_ERR_MODE, VC_ERR_ENCRYPTION, VC_ERR_MODE},
        {V_SYM_DES, kNoMode + 5, 8, 8, -1, 16, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_MODE},
        {V_SYM_DES, V_MODE_CBC, 8, 0, -1, 16, true, VC_ERR_ENC_INIT, VC_ERR_ENCRYPTION, VC_ERR_ENC_INIT},
        {V_SYM_DES, V_MODE_CBC, 8, 0, -1, 16, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_DEC_INIT},
        {V_SYM_DES, V_MODE_CBC, 8, 8, -1, 12, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_DEC_UPDATE},
        {V_SYM_DES, V_MODE_ECB, 8, 8, 0x55, 16, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_DEC_UPDATE},
        {V_SYM_SEED, V_MODE_CBC, 16, 0, -1, 16, true, VC_ERR_ENC_INIT, VC_ERR_ENCRYPTION, VC_ERR_ENC_INIT},
        {V_SYM_SEED, V_MODE_CBC, 16, 0, -1, 16, false, VC_ERR_DECRYPTION, VC_ERR_DECRYPTION, VC_ERR_DEC_INIT},
    };
    const char *names[] = {"DES-ECB", "DES-EDE3-CBC", "RC2-CBC"};  // by V_SYM_DES, V_SYM_DES3, V_SYM_RC2
    for (const Case &c : cases) {
        Bytes key = rng.bytes(200), iv = rng.bytes(16), in(c.len, 0x55);
        SymKeyRecord k = record(c.alg, c.mode, key, iv);
        k.keyLength = c.keyLength;
        k.ivLength = c.ivLength;
        if (c.ivLength == 0) k.iv = nullptr;
        if (c.last >= 0) {
            in.back() = uint8_t(c.last);
            const bool seed = c.alg == V_SYM_SEED;
            in = evp(seed ? "SEED-CBC" : names[c.alg > 1 ? 2 : c.alg], true, head(key, c.keyLength),
                     seed || c.alg ? head(iv, seed ? 16 : 8) : Bytes{}, in, false, c.alg > 1 && !seed ? 8 * c.keyLength : 0);
        }
        ctx.state->lastError = -1;
        EXPECT_EQ(run(c.encrypt, k, in).code, c.returned) << c.alg << "/" << c.mode << " " << c.len;
        EXPECT_EQ(ctx.error, c.stored) << c.alg << "/" << c.mode << " " << c.len;
        EXPECT_EQ(ctx.state->lastError, c.inner) << c.alg << "/" << c.mode << " " << c.len;
    }
    // Only the last padding byte is read: 1 to 8 (16 for SEED) bytes come off, whatever the rest.
    Bytes key = rng.bytes(24), iv = rng.bytes(16), plain = rng.bytes(32);
    plain.back() = 8;
    EXPECT_EQ(run(false, record(1, 1, key, iv), evp("DES-EDE3-CBC", true, key, head(iv, 8), plain, false)).data,
              head(plain, 24));
    Bytes k16 = head(key, 16);
    plain.back() = 16;
    EXPECT_EQ(run(false, record(10, 1, k16, iv), evp("SEED-CBC", true, k16, iv, plain, false)).data,
              head(plain, 16));
}

TEST_F(Symmetric, MissingStateOrInput) {
    Bytes key(24, 1), iv(16, 2), m(8, 3);
    const SymKeyRecord k = record(1, 1, key, iv);
    DataBlob good{8, m.data()}, noData{8, nullptr}, out{};
    LibContext empty{};
    for (auto f : {V_Encryption, V_Decryption}) {
        EXPECT_EQ(f(nullptr, &k, &good, &out), uint32_t(-1));
        EXPECT_EQ(f(&empty, &k, &good, &out), uint32_t(VC_ERR_NOT_READY));
        EXPECT_EQ(empty.error, VC_ERR_NOT_READY);
        for (auto [kr, in] : {std::pair<const SymKeyRecord *, const DataBlob *>{&k, nullptr}, {&k, &noData}, {nullptr, &good}}) {
            out = DataBlob{5, m.data()};
            EXPECT_EQ(f(&ctx, kr, in, &out), uint32_t(VC_ERR_NOT_READY));
            EXPECT_EQ(ctx.error, VC_ERR_NOT_READY);
            EXPECT_EQ(out.Data, nullptr);
        }
    }
}

TEST_F(Symmetric, GpkiHandOff) {
    Bytes key = rng.bytes(16), iv = rng.bytes(16);
    const SymKeyRecord k = record(V_SYM_GPKI, V_MODE_ECB, key, iv);
    ctx.error = 777;
    EXPECT_EQ(run(true, k, Bytes(8)).code, uint32_t(VC_ERR_GPKI_ABSENT));
    EXPECT_EQ(ctx.error, 777);  // not stored
    EXPECT_EQ(run(false, k, Bytes(16)).code, uint32_t(VC_ERR_GPKI_ABSENT));
    EXPECT_EQ(ctx.error, 0);  // cleared at entry
    fakegpki::Module &gpki = fakegpki::Install();
    std::snprintf(ctx.gpkiWork, sizeof ctx.gpkiWork, "work string 42");
    const Bytes m = rng.bytes(37), c = evp("SEED-CBC", true, key, iv, m, true);
    roundTrip(k, m, &c, m);
    EXPECT_EQ(gpki.slots, (std::vector<int>{1, 4, 4, 4, 4, 6, 6, 6, 12, 13, 5, 5, 5, 5, 2,  //
                                            1, 4, 4, 4, 4, 6, 6, 6, 12, 14, 5, 5, 5, 5, 2}));
    EXPECT_TRUE(gpki.workString == "work string 42" && gpki.algorithm == 64 && gpki.key == key && gpki.iv == iv);
    for (int slot : {12, 13, 14}) {
        for (bool decline : {false, true}) {
            gpki.failSlot = slot;
            gpki.declineErrorText = decline;
            gpki.slots.clear();
            EXPECT_EQ(run(slot != 14, k, c).code, uint32_t(VC_ERR_GPKI));
            EXPECT_EQ(ctx.error, VC_ERR_GPKI);
            EXPECT_STREQ(ctx.message, decline ? "GPKI ErrCode = 4242\n" : fakegpki::kErrorText);
            EXPECT_EQ(std::count(gpki.slots.begin(), gpki.slots.end(), 3), 1);
            // The call returns at once: the session is left open, nothing is deleted or closed.
            EXPECT_EQ(std::count(gpki.slots.begin(), gpki.slots.end(), 5), 0);
            EXPECT_EQ(std::count(gpki.slots.begin(), gpki.slots.end(), 2), 0);
        }
    }
    gpki.failSlot = 0;
    DataBlob i{uint32_t(m.size()), const_cast<uint8_t *>(m.data())};
    EXPECT_EQ(failEachAllocation([&](DataBlob &o) { return V_Encryption(&ctx, &k, &i, &o); }, allocFailed()), 1);
    fakegpki::Uninstall();
}

// Each V_calloc of each path fails in turn: 20006 (in the state for the dispatch), nothing left
// behind; on success only the result is left.
TEST_F(Symmetric, EveryAllocationFailure) {
    struct Case { uint32_t alg; bool encrypt, fixedIv; int allocations; };
    const Case cases[] = {{1, true, false, 2},  {1, false, false, 2}, {2, true, false, 1},
                          {2, false, false, 1}, {10, true, false, 2}, {10, false, false, 2},
                          {0, true, false, 10}, {0, false, false, 10}, {3, true, false, 10},
                          {2, true, true, 10},  {10, false, true, 2}};
    Bytes key = rng.bytes(24), iv = rng.bytes(16), m = rng.bytes(21);
    for (const Case &c : cases) {
        const SymKeyRecord k = record(c.alg, 1, key, iv);
        DataBlob kb{16, key.data()};
        Bytes in = c.encrypt ? m : c.fixedIv ? fixedIv(true, c.alg, 1, key, m).data : run(true, k, m).data;
        DataBlob i{uint32_t(in.size()), in.data()};
        const bool dispatched = c.fixedIv || (c.alg != 1 && c.alg != 2);
        const int n = failEachAllocation(
            [&](DataBlob &o) {
                if (c.fixedIv)
                    return (c.encrypt ? V_Encryption_IV_Fix : V_Decryption_IV_Fix)(ctx.state, c.alg, 1, &kb, &i, &o);
                return (c.encrypt ? V_Encryption : V_Decryption)(&ctx, &k, &i, &o);
            },
            [&](uint32_t r) {
                EXPECT_EQ(r, dispatched && !c.encrypt && !c.fixedIv ? 30033u : 20006u);
                EXPECT_EQ(ctx.error, !dispatched || c.fixedIv ? 20006 : c.encrypt ? 30032 : 30033);
                if (dispatched) { EXPECT_EQ(ctx.state->lastError, 20006); }
            });
        EXPECT_EQ(n, c.allocations) << c.alg << " " << c.encrypt << " " << c.fixedIv;
    }
}

}  // namespace
