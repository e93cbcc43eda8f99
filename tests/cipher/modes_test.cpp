// Every block cipher through one table: a differential loop against OpenSSL/libgcrypt (or the
// RC5 model) on random keys, ivs and lengths, and a model loop for what no library has.
#include <gcrypt.h>
#include <vorelcrypto/cipher.h>

#include <algorithm>

#include "cipher/harness.h"

namespace ctest {

#define VCT_BLOCK(P)                                                  \
    o.enc = [s](uint8_t *b) { E_##P##_Encrypt(b, s.get()); };         \
    o.dec = [s](uint8_t *b) { E_##P##_Decrypt(b, s.get()); };
#define VCT_CBC(P, SUFFIX, E, D)                                                                                   \
    o.E = [s](const uint8_t *i, uint8_t *u, uint32_t n, const uint8_t *v) { E_##P##_CBC_Encrypt##SUFFIX(i, u, s.get(), n, v); }; \
    o.D = [s](const uint8_t *i, uint8_t *u, uint32_t n, const uint8_t *v) { E_##P##_CBC_Decrypt##SUFFIX(i, u, s.get(), n, v); };
// ECB, CBC, CFB and OFB; `NUM` is the OFB num argument (dropped by the 128/DES forms), `UNIT`
// the OFB length units per byte.
#define VCT_MODES(P, NUM, UNIT)                                                                                    \
    VCT_BLOCK(P) VCT_CBC(P, , cbcE, cbcD);                                                                         \
    o.ecbE = [s](const uint8_t *i, uint8_t *u, uint32_t n) { E_##P##_ECB_Encrypt(i, u, s.get(), n); };             \
    o.ecbD = [s](const uint8_t *i, uint8_t *u, uint32_t n) { E_##P##_ECB_Decrypt(i, u, s.get(), n); };             \
    o.cfbE = [s](const uint8_t *i, uint8_t *u, int32_t b, uint32_t n, uint8_t *v) { E_##P##_CFB_Encrypt(i, u, s.get(), b, n, v); }; \
    o.cfbD = [s](const uint8_t *i, uint8_t *u, int32_t b, uint32_t n, uint8_t *v) { E_##P##_CFB_Decrypt(i, u, s.get(), b, n, v); }; \
    o.ofbE = [s](const uint8_t *i, uint8_t *u, int32_t b, uint32_t n, uint8_t *v, int32_t *num) {                  \
        (void)num, E_##P##_OFB_Encrypt(i, u, s.get(), b, n * (UNIT), v NUM);                                       \
    };                                                                                                             \
    o.ofbD = [s](const uint8_t *i, uint8_t *u, int32_t b, uint32_t n, uint8_t *v, int32_t *num) {                  \
        (void)num, E_##P##_OFB_Decrypt(i, u, s.get(), b, n * (UNIT), v NUM);                                      \
    };
#define VCT_NUM , num

// A cipher's Ops on a key schedule S set up by SETUP (from key k and parameter param); BODY
// binds the functions, hasNum is set where the OFB functions take `num`.
#define VCT_OPS(NAME, S, HAS_NUM, SETUP, BODY)                 \
    Ops NAME(const Bytes &k, [[maybe_unused]] int param) {      \
        Ops o;                                                 \
        o.hasNum = HAS_NUM;                                    \
        auto s = std::make_shared<S>();                        \
        [[maybe_unused]] S *p = s.get();                       \
        SETUP;                                                 \
        BODY return o;                                         \
    }

VCT_OPS(seed, SeedKeySchedule, false, E_SEED_KeySchedule(p, k.data()),
        VCT_MODES(SEED, , 1) VCT_CBC(SEED, _NO_PAD, npE, npD))
VCT_OPS(des, DesKeySchedule, false, EXPECT_EQ(E_DES_KeySchedule(p, k.data()), 1),
        VCT_MODES(DES, , 1) VCT_CBC(DES, _NO_PAD, npE, npD))
VCT_OPS(des3, Des3KeySchedule, false, E_DES3_KeySchedule(p, k.data()),
        VCT_MODES(DES3, , 1) VCT_CBC(DES3, _NO_PAD, npE, npD))
VCT_OPS(des3Key3, Des3_3KeySchedule, false, E_DES3_3Key_Schedule(p, k.data()),
        VCT_BLOCK(DES3_3Key) VCT_CBC(DES3_3Key, , cbcE, cbcD))
VCT_OPS(idea, IdeaKeySchedule, true, E_IDEA_KeySchedule(p, k.data()), VCT_MODES(IDEA, VCT_NUM, 1))
// Blowfish's OFB length counts bits.
VCT_OPS(blowfish, BlowfishKeySchedule, true, E_BF_KeySchedule(p, k.data(), uint32_t(k.size())),
        VCT_MODES(BF, VCT_NUM, 8))
VCT_OPS(rc2, Rc2KeySchedule, true, E_RC2_KeySchedule(p, k.data(), uint32_t(k.size()), param),
        VCT_MODES(RC2, VCT_NUM, 1))
VCT_OPS(rc5, Rc5KeySchedule, true, E_RC5_KeySchedule(p, k.data(), uint32_t(k.size()), param),
        VCT_MODES(RC5, VCT_NUM, 1))

// RC5-32/r/b encryption written from RFC 2040 as plainly as possible.
Bytes rc5Model(const Bytes &key, int rounds, const Bytes &in) {
    auto rotl = [](uint32_t x, uint32_t n) { return x << n % 32 | x >> (32 - n % 32) % 32; };
    const size_t c = std::max<size_t>(1, (key.size() + 3) / 4), t = 2 * size_t(rounds) + 2;
    std::vector<uint32_t> l(c, 0), s(t);
    for (size_t i = key.size(); i-- > 0;) l[i / 4] = (l[i / 4] << 8) + key[i];
    s[0] = 0xB7E15163;
    for (size_t i = 1; i < t; ++i) s[i] = s[i - 1] + 0x9E3779B9;
    uint32_t a = 0, b = 0;
    for (size_t k = 0, i = 0, j = 0; k < 3 * std::max(t, c); ++k, i = (i + 1) % t,
                j = (j + 1) % c) {
        a = s[i] = rotl(s[i] + a + b, 3);
        b = l[j] = rotl(l[j] + a + b, a + b);
    }
    auto word = [&](int o) {
        return uint32_t(in[o] | in[o + 1] << 8 | in[o + 2] << 16 | uint32_t(in[o + 3]) << 24);
    };
    a = word(0) + s[0], b = word(4) + s[1];
    for (int i = 1; i <= rounds; ++i) {
        a = rotl(a ^ b, b) + s[2 * i];
        b = rotl(b ^ a, a) + s[2 * i + 1];
    }
    Bytes out(8);
    for (int k = 0; k < 4; ++k) out[k] = uint8_t(a >> 8 * k), out[4 + k] = uint8_t(b >> 8 * k);
    return out;
}

const std::vector<Cipher> &ciphers() {
    static const std::vector<Cipher> all = {
        {"SEED", 16, 16, 16, 0, 0, false, seed,
         {"SEED-ECB", "SEED-CBC", "", "SEED-CFB", "SEED-OFB"}, 0, nullptr},
        {"DES", 8, 8, 8, 0, 0, false, des,
         {"DES-ECB", "DES-CBC", "DES-CFB8", "DES-CFB", "DES-OFB"}, 0, nullptr},
        {"DES3", 8, 16, 16, 0, 0, false, des3,
         {"DES-EDE", "DES-EDE-CBC", "", "DES-EDE-CFB", "DES-EDE-OFB"}, 0, nullptr},
        {"DES3_3Key", 8, 24, 24, 0, 0, false, des3Key3,
         {"DES-EDE3", "DES-EDE3-CBC", "", "", ""}, 0, nullptr},
        {"IDEA", 8, 16, 16, 0, 0, true, idea, {"", "", "", "", ""}, GCRY_CIPHER_IDEA, nullptr},
        {"BF", 8, 1, 72, 0, 0, true, blowfish,
         {"BF-ECB", "BF-CBC", "", "BF-CFB", "BF-OFB"}, 0, nullptr},
        {"RC2", 8, 1, 128, 1, 1024, false, rc2,
         {"RC2-ECB", "RC2-CBC", "", "RC2-CFB", "RC2-OFB"}, 0, nullptr},
        {"RC5", 8, 0, 300, 0, 16, false, rc5, {"", "", "", "", ""}, 0, rc5Model},
    };
    return all;
}

namespace {

constexpr uint8_t kSentinel = 0xA5;
Bytes fresh() { return Bytes(256, kSentinel); }
Bytes written(const Bytes &head) {  // `head`, then untouched sentinel bytes
    Bytes b = fresh();
    std::copy(head.begin(), head.end(), b.begin());
    return b;
}

// call(in, out, iv) apart and in place: both write `want` and nothing past it, and leave the same
// iv (`ivWant` when given).
template <class F>
void expectCall(F &&call, const Bytes &iv, const Bytes &in, const Bytes &want,
                const Bytes *ivWant = nullptr) {
    Bytes apart = fresh(), same = written(in), vA = iv, vS = iv;
    call(in.data(), apart.data(), vA.data());
    call(same.data(), same.data(), vS.data());
    EXPECT_EQ(apart, written(want)) << "length " << in.size();
    EXPECT_EQ(slice(same, 0, want.size()), want) << "in place, length " << in.size();
    EXPECT_EQ(vS, vA);
    EXPECT_EQ(vA, ivWant ? *ivWant : vA);
}

struct Keyed {
    Bytes key;
    int param;
    Ops ops;
};
Keyed randomKey(const Cipher &c, vctest::Rng &rng) {
    Bytes key = rng.bytes(c.keyMin + rng.below(c.keyMax - c.keyMin + 1));
    if (key.size() >= 2 && rng.below(4) == 0) {  // IDEA's subkeys 0 and 1 have special inverses
        uint32_t w = 2 * rng.below(uint32_t(key.size()) / 2);
        key[w] = 0, key[w + 1] = uint8_t(rng.below(2));
    }
    int param = c.paramMax ? c.paramMin + int(rng.below(uint32_t(c.paramMax - c.paramMin + 1))) : 0;
    return {key, param, c.ours(key, param)};
}

// Every mode against the oracle on random keys and ivs, both ways, apart and in place. Lengths
// 0 .. 2 blocks + 1 first, then random ones: ECB and CBC encrypt the zero-filled rounded-up
// input and decrypt n bytes; the _NO_PAD tail is XORed with the encrypted last ciphertext block
// (whole last block out, n bytes back); CFB-8 takes any length, full-width CFB/OFB whole
// blocks, and OFB through `num` any length in random pieces that resume mid-step.
TEST(Modes, AgainstOracle) {
    vctest::Rng rng(1);
    for (const auto &c : ciphers()) {
        SCOPED_TRACE(c.name);
        for (uint32_t trial = 0; trial < 2 * c.block + 22; ++trial) {
            const Keyed k = randomKey(c, rng);  // not a structured binding: lambdas capture these
            const Bytes &key = k.key;
            const int param = k.param;
            const Ops &o = k.ops;
            const uint32_t n = trial < 2 * c.block + 2 ? trial : rng.below(150);
            const Bytes iv = rng.bytes(c.block), any = rng.bytes(n);
            const Bytes blocks = slice(any, 0, n / c.block * c.block);
            Bytes padded = any;
            padded.resize((n + c.block - 1) / c.block * c.block, 0);
            SCOPED_TRACE(testing::Message() << vctest::toHex(key) << " param " << param);
            // Encryption of `in` gives `want`; decryption of its first ctLength bytes gives `in`.
            auto both = [&](Mode m, const Bytes &in, const Bytes &want, size_t ctLength, auto &&enc,
                            auto &&dec) {
                SCOPED_TRACE(testing::Message() << "mode " << m);
                const auto len = uint32_t(in.size());
                expectCall([&](auto i, auto u, auto v) { enc(i, u, len, v); }, iv, in, want);
                expectCall([&](auto i, auto u, auto v) { dec(i, u, len, v); }, iv,
                           slice(want, 0, ctLength), in);
            };
            auto oracle = [&](Mode m, const Bytes &in) {
                return oracleEncrypt(c, m, key, param, iv, in);
            };
            if (o.ecbE)
                both(Ecb, any, oracle(Ecb, padded), padded.size(),
                     [&](auto i, auto u, auto len, auto) { o.ecbE(i, u, len); },
                     [&](auto i, auto u, auto len, auto) { o.ecbD(i, u, len); });
            both(Cbc, any, oracle(Cbc, padded), padded.size(), o.cbcE, o.cbcD);
            if (o.npE) both(Cbc, any, modelNoPad(c, key, any, iv), n, o.npE, o.npD);
            if (!o.cfbE) continue;
            const auto full = int32_t(8 * c.block);
            auto width = [](const auto &fn, int32_t bits) {
                return [&fn, bits](const uint8_t *i, uint8_t *u, uint32_t len, uint8_t *v) {
                    fn(i, u, bits, len, v);
                };
            };
            both(Cfb8, any, oracle(Cfb8, any), n, width(o.cfbE, 8), width(o.cfbD, 8));
            both(Cfb, blocks, oracle(Cfb, blocks), blocks.size(), width(o.cfbE, full),
                 width(o.cfbD, full));
            auto ofb = [&](const auto &fn) {  // in random pieces where `num` carries the position
                return [&](const uint8_t *i, uint8_t *u, uint32_t len, uint8_t *v) {
                    int32_t num = 0;
                    for (uint32_t done = 0, step; done < len; done += step) {
                        step = o.hasNum ? std::min(len - done, 1 + rng.below(20)) : len;
                        fn(i + done, u + done, full, step, v, o.hasNum ? &num : nullptr);
                    }
                };
            };
            const Bytes &ofbIn = o.hasNum ? any : blocks;
            both(Ofb, ofbIn, oracle(Ofb, ofbIn), ofbIn.size(), ofb(o.ofbE), ofb(o.ofbD));
        }
    }
}

// CFB and OFB (both directions) at widths that are not whole bytes, and out of range (which write
// nothing), against the model, apart and in place, with the iv written back.
TEST(Modes, OddWidths) {
    vctest::Rng rng(3);
    for (const auto &c : ciphers()) {
        SCOPED_TRACE(c.name);
        for (int trial = 0; trial < 6; ++trial) {
            const Keyed k = randomKey(c, rng);
            const Ops &o = k.ops;
            if (!o.cfbE) break;
            const Bytes iv = rng.bytes(c.block), in = rng.bytes(rng.below(5 * c.block));
            const auto n = uint32_t(in.size()), full = 8 * c.block;
            auto enc = [&](const Bytes &b) { return oracleBlock(c, k.key, k.param, b); };
            for (int32_t bits : {-1, 0, 1, 7, 9, 33, int32_t(full) - 1, int32_t(full) + 1}) {
                SCOPED_TRACE(testing::Message() << "numbits " << bits << " length " << n);
                const uint32_t step = uint32_t(bits + 7) / 8;
                const uint32_t len = step == 0 || step > c.block ? 0 : n / step * step;
                for (int f = 0; f < 4; ++f) {  // CFB encrypt, decrypt, OFB both ways on one model
                    Bytes want = fresh(), ivWant = iv;
                    modelFeedback(enc, c.block, c.msbFirst, f < 2 ? Fb(f) : Fb::Ofb, bits, in, want,
                                  ivWant);
                    auto call = [&](const uint8_t *i, uint8_t *u, uint8_t *v) {
                        if (f >= 2) return (f == 2 ? o.ofbE : o.ofbD)(i, u, bits, n, v, nullptr);
                        (f == 0 ? o.cfbE : o.cfbD)(i, u, bits, n, v);
                    };
                    expectCall(call, iv, in, slice(want, 0, len), &ivWant);
                }
            }
        }
    }
}

}  // namespace
}  // namespace ctest
