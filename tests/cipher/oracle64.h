// Differential testing of the 64-bit-block cipher families (IDEA, RC2, RC5, Blowfish) against
// an oracle: OpenSSL EVP or libgcrypt, or an independent model written in the test.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "support/test_util.h"

namespace cbtest {

using vctest::Bytes;

enum class Mode { Ecb, Cbc, Cfb64, Cfb8, Ofb64 };

// oracle(mode, encrypt, key, iv, input) -> output. Modes an oracle lacks are modelled on its
// ECB (see bitFeedbackModel).
using Oracle = std::function<Bytes(Mode, bool, const Bytes &, const Bytes &, const Bytes &)>;

// Runs one EVP cipher over the input in one update. keyBits > 0 sets RC2's effective key bits.
Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &input,
          int rc2Bits = 0);

// OpenSSL EVP as the oracle of every mode of cipher `prefix` ("BF", "RC2"); CFB with 8-bit
// feedback is modelled on its ECB.
Oracle evpOracle(const char *prefix, int rc2Bits = 0);

// Runs libgcrypt's IDEA in the given mode.
Bytes gcryptIdea(Mode mode, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &input);

enum class Feedback { CfbEncrypt, CfbDecrypt, Ofb };

// CFB or OFB of any width 1..64 on steps of n = (numbits + 7) / 8 bytes, written bit by bit on
// a 64-bit register: msbFirst takes register and data as big-endian bit strings (the first bits
// are the most significant), otherwise as little-endian numbers (the first bits are the least
// significant). Leftover bytes stay unwritten (0xEE) unless `tail` asks for them to be XORed
// with the first bytes of one more step; iv receives the final register.
using BlockFn = std::function<Bytes(const Bytes &)>;
Bytes bitFeedbackModel(const BlockFn &encryptBlock, Feedback mode, bool msbFirst, int numbits,
                       Bytes &iv, const Bytes &input, bool tail = false);

// An encrypting oracle for every Mode built on a block-encryption function of the key.
Oracle blockOracle(const std::function<BlockFn(const Bytes &key)> &makeBlock);

// One cipher family of ours, bound to a key schedule made from a key.
template <class Schedule>
struct Family {
    void (*ecbEnc)(const uint8_t *, uint8_t *, const Schedule *, uint32_t);
    void (*ecbDec)(const uint8_t *, uint8_t *, const Schedule *, uint32_t);
    void (*cbcEnc)(const uint8_t *, uint8_t *, const Schedule *, uint32_t, const uint8_t *);
    void (*cbcDec)(const uint8_t *, uint8_t *, const Schedule *, uint32_t, const uint8_t *);
    void (*cfbEnc)(const uint8_t *, uint8_t *, const Schedule *, int32_t, uint32_t, uint8_t *);
    void (*cfbDec)(const uint8_t *, uint8_t *, const Schedule *, int32_t, uint32_t, uint8_t *);
    void (*ofbEnc)(const uint8_t *, uint8_t *, const Schedule *, int32_t, uint32_t, uint8_t *,
                   int32_t *);
    void (*ofbDec)(const uint8_t *, uint8_t *, const Schedule *, int32_t, uint32_t, uint8_t *,
                   int32_t *);
    uint32_t ofbLengthUnit;  // 8 where the OFB length counts bits
};

// Our output for one mode and direction. OFB is cut into random pieces carried by `num`.
template <class Schedule>
Bytes ours(const Family<Schedule> &f, const Schedule &ks, Mode mode, bool enc, const Bytes &iv0,
           const Bytes &in, vctest::Rng &rng) {
    Bytes out(in.size() + 8, 0xEE), iv = iv0;
    auto n = uint32_t(in.size());
    switch (mode) {
        case Mode::Ecb:
            (enc ? f.ecbEnc : f.ecbDec)(in.data(), out.data(), &ks, n);
            break;
        case Mode::Cbc:
            (enc ? f.cbcEnc : f.cbcDec)(in.data(), out.data(), &ks, n, iv.data());
            break;
        case Mode::Cfb64:
        case Mode::Cfb8:
            (enc ? f.cfbEnc : f.cfbDec)(in.data(), out.data(), &ks, mode == Mode::Cfb8 ? 8 : 64, n,
                                        iv.data());
            break;
        case Mode::Ofb64: {
            int32_t num = 0;
            for (uint32_t done = 0; done < n;) {
                uint32_t piece = std::min(n - done, 1 + rng.below(20));
                (enc ? f.ofbEnc : f.ofbDec)(in.data() + done, out.data() + done, &ks, 64,
                                            piece * f.ofbLengthUnit, iv.data(), &num);
                done += piece;
            }
            break;
        }
    }
    out.resize(in.size());
    return out;
}

// Random keys (from makeKey), ivs and lengths through every mode in both directions, compared
// with the oracle. ECB, CBC and CFB-64 use whole blocks; CFB-8 and OFB any length.
template <class Schedule>
void differential(const Family<Schedule> &f,
                  const std::function<Bytes(vctest::Rng &, Schedule &)> &makeKey,
                  const Oracle &oracle, int rounds = 60) {
    vctest::Rng rng(0xb10c);
    for (int t = 0; t < rounds; ++t) {
        Schedule ks;
        Bytes key = makeKey(rng, ks);
        Bytes iv = rng.bytes(8);
        for (Mode mode : {Mode::Ecb, Mode::Cbc, Mode::Cfb64, Mode::Cfb8, Mode::Ofb64}) {
            bool whole = mode == Mode::Ecb || mode == Mode::Cbc || mode == Mode::Cfb64;
            size_t len = whole ? 8 * rng.below(40) : rng.below(300);
            Bytes plain = rng.bytes(len);
            Bytes cipher = oracle(mode, true, key, iv, plain);
            SCOPED_TRACE(testing::Message() << "case " << t << " mode " << int(mode) << " key "
                                            << vctest::toHex(key) << " length " << len);
            EXPECT_EQ(vctest::toHex(ours(f, ks, mode, true, iv, plain, rng)),
                      vctest::toHex(cipher));
            EXPECT_EQ(vctest::toHex(ours(f, ks, mode, false, iv, cipher, rng)),
                      vctest::toHex(plain));
        }
    }
}

// The mode behaviour every family shares beyond the oracle: continuation of CFB through the
// written-back iv, OFB decryption equal to encryption, and in-place operation.
template <class Schedule>
void sharedModeChecks(const Family<Schedule> &f, const Schedule &ks) {
    vctest::Rng rng(7);
    Bytes iv = rng.bytes(8),
          plain = rng.bytes(240);  // 240 and 120: whole steps of 1 to 5 and 8 bytes
    for (int32_t bits : {8, 16, 24, 32, 40, 64}) {
        SCOPED_TRACE(bits);
        // One call over 240 bytes equals two calls of 120 bytes chained through the iv.
        Bytes whole(240), parts(240), ivA = iv, ivB = iv;
        f.cfbEnc(plain.data(), whole.data(), &ks, bits, 240, ivA.data());
        f.cfbEnc(plain.data(), parts.data(), &ks, bits, 120, ivB.data());
        f.cfbEnc(plain.data() + 120, parts.data() + 120, &ks, bits, 120, ivB.data());
        EXPECT_EQ(whole, parts);
        EXPECT_EQ(ivA, ivB);
        // In place equals out of place, and decrypting restores the plaintext.
        Bytes inPlace = plain, ivC = iv, ivD = iv;
        f.cfbEnc(inPlace.data(), inPlace.data(), &ks, bits, 240, ivC.data());
        EXPECT_EQ(inPlace, whole);
        f.cfbDec(inPlace.data(), inPlace.data(), &ks, bits, 240, ivD.data());
        EXPECT_EQ(inPlace, plain);
        // OFB: both directions are one operation; without num the stream continues by the iv.
        Bytes o1(240), o2(240), ivE = iv, ivF = iv;
        f.ofbEnc(plain.data(), o1.data(), &ks, bits, 240 * f.ofbLengthUnit, ivE.data(), nullptr);
        f.ofbDec(plain.data(), o2.data(), &ks, bits, 120 * f.ofbLengthUnit, ivF.data(), nullptr);
        f.ofbDec(plain.data() + 120, o2.data() + 120, &ks, bits, 120 * f.ofbLengthUnit, ivF.data(),
                 nullptr);
        EXPECT_EQ(o1, o2);
        EXPECT_EQ(ivE, ivF);
    }
    // numbits above 64 writes nothing and keeps the iv; a short tail is not written without num.
    Bytes out(16, 0xEE), ivG = iv;
    f.cfbEnc(plain.data(), out.data(), &ks, 65, 16, ivG.data());
    f.ofbEnc(plain.data(), out.data(), &ks, 65, 16 * f.ofbLengthUnit, ivG.data(), nullptr);
    EXPECT_EQ(out, Bytes(16, 0xEE));
    EXPECT_EQ(ivG, iv);
    f.ofbEnc(plain.data(), out.data(), &ks, 64, 13 * f.ofbLengthUnit, ivG.data(), nullptr);
    EXPECT_EQ(Bytes(out.begin() + 8, out.end()), Bytes(8, 0xEE));
    // CBC and ECB with a partial tail zero-fill it: the tail block equals that of the padded data.
    Bytes padded = plain;
    padded.resize(16);
    std::fill(padded.begin() + 13, padded.end(), 0);
    Bytes a(16), b(16), back(16, 0xEE);
    f.cbcEnc(plain.data(), a.data(), &ks, 13, iv.data());
    f.cbcEnc(padded.data(), b.data(), &ks, 16, iv.data());
    EXPECT_EQ(a, b);
    f.cbcDec(a.data(), back.data(), &ks, 13, iv.data());
    EXPECT_EQ(Bytes(back.begin(), back.begin() + 13), Bytes(plain.begin(), plain.begin() + 13));
    EXPECT_EQ(Bytes(back.begin() + 13, back.end()), Bytes(3, 0xEE));
    f.ecbEnc(plain.data(), a.data(), &ks, 13);
    f.ecbEnc(padded.data(), b.data(), &ks, 16);
    EXPECT_EQ(a, b);
}

// Every feedback width 1..64 of our CFB (both directions) and OFB against the bit model.
template <class Schedule>
void feedbackWidths(const Family<Schedule> &f, const Schedule &ks,
                    const std::function<Bytes(const Bytes &)> &encryptBlock, bool msbFirst) {
    vctest::Rng rng(64);
    for (int bits = 1; bits <= 64; ++bits) {
        SCOPED_TRACE(bits);
        Bytes iv = rng.bytes(8), plain = rng.bytes(5 + rng.below(60));
        Bytes ivModel = iv, ivOurs = iv, ivBack = iv, ivOfb = iv, ivOfbModel = iv;
        Bytes cipher =
            bitFeedbackModel(encryptBlock, Feedback::CfbEncrypt, msbFirst, bits, ivModel, plain);
        Bytes out(plain.size(), 0xEE), back(plain.size(), 0xEE), ofbOut(plain.size(), 0xEE);
        auto len = uint32_t(plain.size());
        f.cfbEnc(plain.data(), out.data(), &ks, bits, len, ivOurs.data());
        EXPECT_EQ(vctest::toHex(out), vctest::toHex(cipher));
        EXPECT_EQ(ivOurs, ivModel);
        f.cfbDec(cipher.data(), back.data(), &ks, bits, len, ivBack.data());
        EXPECT_EQ(vctest::toHex(back),
                  vctest::toHex(bitFeedbackModel(encryptBlock, Feedback::CfbDecrypt, msbFirst, bits,
                                                 iv, cipher)));
        f.ofbEnc(plain.data(), ofbOut.data(), &ks, bits, len * f.ofbLengthUnit, ivOfb.data(),
                 nullptr);
        EXPECT_EQ(vctest::toHex(ofbOut),
                  vctest::toHex(bitFeedbackModel(encryptBlock, Feedback::Ofb, msbFirst, bits,
                                                 ivOfbModel, plain)));
        EXPECT_EQ(ivOfb, ivOfbModel);
    }
}

// Table-driven single-block known answers: key schedule from `setKey`, then E_x_Encrypt and
// E_x_Decrypt in place.
struct BlockVector {
    const char *key, *plain, *cipher;
    int param = 0;  // effective bits or rounds where the cipher takes one
};

}  // namespace cbtest
