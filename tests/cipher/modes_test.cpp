// The mode wrappers of every block-cipher family: against OpenSSL where it has the same mode
// (whole blocks, 8-bit and full-block CFB, full-block OFB), against the models of
// block_family.h for zero-fill tails, the _NO_PAD tail and CFB/OFB of any width, and
// in-place operation. Each check runs on random keys, ivs and lengths from a seeded generator.
#include <vorelcrypto/cipher.h>

#include <gtest/gtest.h>

#include "cipher/block_family.h"

namespace ctest {

using Seed = Bind<SeedKeySchedule, E_SEED_KeySchedule>;
using Des = Bind<DesKeySchedule, E_DES_KeySchedule>;
using Des3 = Bind<Des3KeySchedule, E_DES3_KeySchedule>;
using Des33 = Bind<Des3_3KeySchedule, E_DES3_3Key_Schedule>;

const std::vector<Family> &families() {
    static const std::vector<Family> all = {
        {"SEED", 16, 16, "SEED-ECB", "SEED-CBC", "", "SEED-CFB", "SEED-OFB",
         Seed::ecb<E_SEED_ECB_Encrypt>, Seed::ecb<E_SEED_ECB_Decrypt>,
         Seed::cbc<E_SEED_CBC_Encrypt>, Seed::cbc<E_SEED_CBC_Decrypt>,
         Seed::cbc<E_SEED_CBC_Encrypt_NO_PAD>, Seed::cbc<E_SEED_CBC_Decrypt_NO_PAD>,
         Seed::feedback<E_SEED_CFB_Encrypt>, Seed::feedback<E_SEED_CFB_Decrypt>,
         Seed::feedback<E_SEED_OFB_Encrypt>, Seed::feedback<E_SEED_OFB_Decrypt>},
        {"DES", 8, 8, "DES-ECB", "DES-CBC", "DES-CFB8", "DES-CFB", "DES-OFB",
         Des::ecb<E_DES_ECB_Encrypt>, Des::ecb<E_DES_ECB_Decrypt>, Des::cbc<E_DES_CBC_Encrypt>,
         Des::cbc<E_DES_CBC_Decrypt>, Des::cbc<E_DES_CBC_Encrypt_NO_PAD>,
         Des::cbc<E_DES_CBC_Decrypt_NO_PAD>, Des::feedback<E_DES_CFB_Encrypt>,
         Des::feedback<E_DES_CFB_Decrypt>, Des::feedback<E_DES_OFB_Encrypt>,
         Des::feedback<E_DES_OFB_Decrypt>},
        {"DES3", 8, 16, "DES-EDE", "DES-EDE-CBC", "", "DES-EDE-CFB", "DES-EDE-OFB",
         Des3::ecb<E_DES3_ECB_Encrypt>, Des3::ecb<E_DES3_ECB_Decrypt>,
         Des3::cbc<E_DES3_CBC_Encrypt>, Des3::cbc<E_DES3_CBC_Decrypt>,
         Des3::cbc<E_DES3_CBC_Encrypt_NO_PAD>, Des3::cbc<E_DES3_CBC_Decrypt_NO_PAD>,
         Des3::feedback<E_DES3_CFB_Encrypt>, Des3::feedback<E_DES3_CFB_Decrypt>,
         Des3::feedback<E_DES3_OFB_Encrypt>, Des3::feedback<E_DES3_OFB_Decrypt>},
        {"DES3_3Key", 8, 24, "DES-EDE3", "DES-EDE3-CBC", "", "", "", nullptr, nullptr,
         Des33::cbc<E_DES3_3Key_CBC_Encrypt>, Des33::cbc<E_DES3_3Key_CBC_Decrypt>, nullptr,
         nullptr, nullptr, nullptr, nullptr, nullptr},
    };
    return all;
}

namespace {

constexpr uint8_t kSentinel = 0xA5;
constexpr size_t kRoom = 256;  // every output buffer; bytes past what a call writes stay kSentinel

Bytes fresh() { return Bytes(kRoom, kSentinel); }
// `expected` followed by untouched sentinel bytes.
Bytes written(const Bytes &expected) {
    Bytes b = fresh();
    std::copy(expected.begin(), expected.end(), b.begin());
    return b;
}
Bytes zeroFill(const Bytes &in, uint32_t bs) {
    Bytes b = in;
    b.resize((in.size() + bs - 1) / bs * bs, 0);
    return b;
}

TEST(Modes, WholeBlocksMatchOpenSsl) {
    vctest::Rng rng(1);
    for (const auto &f : families()) {
        SCOPED_TRACE(f.name);
        for (int trial = 0; trial < 24; ++trial) {
            const Bytes key = rng.bytes(f.key), iv = rng.bytes(f.block);
            const Bytes in = rng.bytes(f.block * rng.below(9));
            const auto n = uint32_t(in.size());
            Bytes out = fresh(), back = fresh();
            if (f.ecbEncrypt) {
                f.ecbEncrypt(key, in.data(), out.data(), n);
                EXPECT_EQ(out, written(evp(f.evpEcb, key, {}, in, true)));
                f.ecbDecrypt(key, out.data(), back.data(), n);
                EXPECT_EQ(back, written(in));
            }
            f.cbcEncrypt(key, in.data(), out.data(), n, iv.data());
            EXPECT_EQ(out, written(evp(f.evpCbc, key, iv, in, true)));
            f.cbcDecrypt(key, out.data(), back.data(), n, iv.data());
            EXPECT_EQ(back, written(in));
            if (f.noPadEncrypt) {  // on whole blocks the _NO_PAD pair is plain CBC
                f.noPadEncrypt(key, in.data(), back.data(), n, iv.data());
                EXPECT_EQ(back, out);
                f.noPadDecrypt(key, out.data(), back.data(), n, iv.data());
                EXPECT_EQ(back, written(in));
            }
            struct {
                FeedbackFn fn;
                const char *oracle;
                int32_t numbits;
                bool encrypt;
            } const feedback[] = {
                {f.cfbEncrypt, f.evpCfb8, 8, true},
                {f.cfbDecrypt, f.evpCfb8, 8, false},
                {f.cfbEncrypt, f.evpCfb, int32_t(8 * f.block), true},
                {f.cfbDecrypt, f.evpCfb, int32_t(8 * f.block), false},
                {f.ofbEncrypt, f.evpOfb, int32_t(8 * f.block), true},
                {f.ofbDecrypt, f.evpOfb, int32_t(8 * f.block), false},
            };
            for (const auto &c : feedback) {
                if (!c.fn || !*c.oracle) continue;
                Bytes ivCopy = iv, got = fresh();
                c.fn(key, in.data(), got.data(), c.numbits, n, ivCopy.data());
                EXPECT_EQ(got, written(evp(c.oracle, key, iv, in, c.encrypt)))
                    << c.oracle << " numbits " << c.numbits;
            }
        }
    }
}

TEST(Modes, ZeroFillTails) {
    vctest::Rng rng(2);
    for (const auto &f : families()) {
        SCOPED_TRACE(f.name);
        for (uint32_t n = 0; n <= 3 * f.block + 1; ++n) {
            const Bytes key = rng.bytes(f.key), iv = rng.bytes(f.block), in = rng.bytes(n);
            const Bytes padded = zeroFill(in, f.block);
            Bytes out = fresh(), back = fresh();
            if (f.ecbEncrypt) {  // encryption writes the rounded-up length, decryption n bytes
                f.ecbEncrypt(key, in.data(), out.data(), n);
                EXPECT_EQ(out, written(evp(f.evpEcb, key, {}, padded, true))) << n;
                f.ecbDecrypt(key, out.data(), back.data(), n);
                EXPECT_EQ(back, written(in)) << n;
            }
            const Bytes expected = evp(f.evpCbc, key, iv, padded, true);
            f.cbcEncrypt(key, in.data(), out.data(), n, iv.data());
            EXPECT_EQ(out, written(expected)) << n;
            f.cbcDecrypt(key, out.data(), back.data(), n, iv.data());
            EXPECT_EQ(back, written(in)) << n;
        }
    }
}

TEST(Modes, NoPadTailUsesForwardCipherBothWays) {
    vctest::Rng rng(3);
    for (const auto &f : families()) {
        if (!f.noPadEncrypt) continue;
        SCOPED_TRACE(f.name);
        for (uint32_t n = 0; n <= 3 * f.block + 1; ++n) {
            const Bytes key = rng.bytes(f.key), iv = rng.bytes(f.block), in = rng.bytes(n);
            const BlockFn enc = oracleBlock(f, key), dec = oracleBlock(f, key, false);
            Bytes out = fresh(), back = fresh();
            f.noPadEncrypt(key, in.data(), out.data(), n, iv.data());
            EXPECT_EQ(out, written(modelNoPad(enc, dec, f.block, in, iv, true))) << n;
            // Decryption reads only the first n ciphertext bytes and writes exactly n.
            const Bytes cipher = slice(out, 0, n);
            EXPECT_EQ(modelNoPad(enc, dec, f.block, cipher, iv, false), in) << n;
            f.noPadDecrypt(key, cipher.data(), back.data(), n, iv.data());
            EXPECT_EQ(back, written(in)) << n;
        }
    }
}

TEST(Modes, FeedbackOfAnyWidth) {
    vctest::Rng rng(4);
    for (const auto &f : families()) {
        if (!f.cfbEncrypt) continue;
        SCOPED_TRACE(f.name);
        const auto full = int32_t(8 * f.block);
        const std::vector<int32_t> widths = {1,  2,  7,  8,  9,        15,       16,      17,
                                             31, 32, 33, 63, full - 1, full,     full + 1,
                                             0,  -1, 48, 96, 127,      full + 64};
        for (int32_t numbits : widths) {
            if (numbits > full + 64) continue;
            for (int trial = 0; trial < 3; ++trial) {
                const Bytes key = rng.bytes(f.key), iv = rng.bytes(f.block);
                const Bytes in = rng.bytes(rng.below(4 * f.block + 3));
                const auto n = uint32_t(in.size());
                const BlockFn enc = oracleBlock(f, key);
                SCOPED_TRACE(testing::Message() << "numbits " << numbits << " length " << n);

                Bytes cipher = fresh(), ivCipher = iv;
                modelFeedback(enc, f.block, Feedback::CfbEncrypt, numbits, in, cipher, ivCipher);
                Bytes got = fresh(), ivGot = iv;
                f.cfbEncrypt(key, in.data(), got.data(), numbits, n, ivGot.data());
                EXPECT_EQ(got, cipher);
                EXPECT_EQ(ivGot, ivCipher);

                const Bytes written_ = slice(cipher, 0, n);
                Bytes plain = fresh(), ivPlain = iv;
                modelFeedback(enc, f.block, Feedback::CfbDecrypt, numbits, written_, plain, ivPlain);
                got = fresh(), ivGot = iv;
                f.cfbDecrypt(key, written_.data(), got.data(), numbits, n, ivGot.data());
                EXPECT_EQ(got, plain);
                EXPECT_EQ(ivGot, ivPlain);

                Bytes stream = fresh(), ivStream = iv;
                modelFeedback(enc, f.block, Feedback::Ofb, numbits, in, stream, ivStream);
                for (FeedbackFn ofb : {f.ofbEncrypt, f.ofbDecrypt}) {
                    got = fresh(), ivGot = iv;
                    ofb(key, in.data(), got.data(), numbits, n, ivGot.data());
                    EXPECT_EQ(got, stream);
                    EXPECT_EQ(ivGot, ivStream);
                }
            }
        }
    }
}

// Every function gives the same output and iv with input and output in one buffer.
TEST(Modes, InPlace) {
    vctest::Rng rng(5);
    for (const auto &f : families()) {
        SCOPED_TRACE(f.name);
        for (uint32_t n : {0u, 1u, f.block - 1, f.block, 2 * f.block + 3, 5 * f.block}) {
            const Bytes key = rng.bytes(f.key), iv = rng.bytes(f.block);
            const Bytes in = written(rng.bytes(n));
            const uint32_t up = (n + f.block - 1) / f.block * f.block;
            // `length` is how much the call writes; past it the shared buffer keeps its input.
            auto check = [&](auto &&call, uint32_t length, const char *what) {
                Bytes apart = fresh(), ivApart = iv, same = in, ivSame = iv;
                call(in.data(), apart.data(), ivApart.data());
                call(same.data(), same.data(), ivSame.data());
                EXPECT_EQ(slice(same, 0, length), slice(apart, 0, length)) << what << n;
                EXPECT_EQ(ivSame, ivApart) << what << n;
            };
            if (f.ecbEncrypt) {
                check([&](auto *i, auto *o, auto *) { f.ecbEncrypt(key, i, o, n); }, up, "ECB ");
                check([&](auto *i, auto *o, auto *) { f.ecbDecrypt(key, i, o, n); }, n, "ECB ");
            }
            for (auto [fn, length] : {std::pair{f.cbcEncrypt, up}, {f.cbcDecrypt, n},
                                      {f.noPadEncrypt, up}, {f.noPadDecrypt, n}})
                if (fn) check([&](auto *i, auto *o, auto *v) { fn(key, i, o, n, v); }, length, "CBC ");
            for (FeedbackFn fn : {f.cfbEncrypt, f.cfbDecrypt, f.ofbEncrypt, f.ofbDecrypt})
                for (int32_t bits : {1, 8, 13, int32_t(8 * f.block)}) {
                    const uint32_t step = uint32_t(bits + 7) / 8;
                    if (fn)
                        check([&](auto *i, auto *o, auto *v) { fn(key, i, o, bits, n, v); },
                              n / step * step, "CFB/OFB ");
                }
        }
    }
}

}  // namespace
}  // namespace ctest
