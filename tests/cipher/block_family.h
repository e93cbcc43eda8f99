// The block-cipher families as the mode tests see them: our exported functions behind one
// key-taking interface, OpenSSL's names for the same cipher and modes, and independent models
// of the behaviour that no oracle has (zero-fill tails, the _NO_PAD tail, CFB/OFB of any bit
// width), written over an arbitrary single-block function.
#pragma once

#include <openssl/evp.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "support/test_util.h"

namespace ctest {

using vctest::Bytes;

using EcbFn = void (*)(const Bytes &key, const uint8_t *in, uint8_t *out, uint32_t length);
using CbcFn = void (*)(const Bytes &key, const uint8_t *in, uint8_t *out, uint32_t length,
                       const uint8_t *iv);
using FeedbackFn = void (*)(const Bytes &key, const uint8_t *in, uint8_t *out, int32_t numbits,
                            uint32_t length, uint8_t *iv);

// Binds an exported function to a raw key by running the family's key schedule first.
template <class Schedule, auto KeySchedule>
struct Bind {
    static Schedule schedule(const Bytes &key) {
        Schedule s;
        KeySchedule(&s, key.data());
        return s;
    }
    template <auto F>
    static void ecb(const Bytes &key, const uint8_t *in, uint8_t *out, uint32_t length) {
        Schedule s = schedule(key);
        F(in, out, &s, length);
    }
    template <auto F>
    static void cbc(const Bytes &key, const uint8_t *in, uint8_t *out, uint32_t length,
                    const uint8_t *iv) {
        Schedule s = schedule(key);
        F(in, out, &s, length, iv);
    }
    template <auto F>
    static void feedback(const Bytes &key, const uint8_t *in, uint8_t *out, int32_t numbits,
                         uint32_t length, uint8_t *iv) {
        Schedule s = schedule(key);
        F(in, out, &s, numbits, length, iv);
    }
};

struct Family {
    const char *name;
    uint32_t block, key;
    // OpenSSL names ("" where OpenSSL lacks the mode): ECB, CBC, 8-bit CFB, full-block CFB and OFB.
    const char *evpEcb, *evpCbc, *evpCfb8, *evpCfb, *evpOfb;
    EcbFn ecbEncrypt, ecbDecrypt;  // null where the family has no such function
    CbcFn cbcEncrypt, cbcDecrypt, noPadEncrypt, noPadDecrypt;
    FeedbackFn cfbEncrypt, cfbDecrypt, ofbEncrypt, ofbDecrypt;
};

// The families under test, defined in modes_test.cpp.
const std::vector<Family> &families();

// ---- OpenSSL ----

inline Bytes evp(const char *name, const Bytes &key, const Bytes &iv, const Bytes &in, bool encrypt) {
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    static std::map<std::string, EVP_CIPHER *> cache;
    EVP_CIPHER *&cipher = cache[name];
    if (!cipher) cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    EXPECT_NE(cipher, nullptr) << name;
    Bytes out(in.size() + 64);
    int n = 0, m = 0;
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    bool ok = EVP_CipherInit_ex2(ctx, cipher, key.data(), iv.empty() ? nullptr : iv.data(),
                                 encrypt ? 1 : 0, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_padding(ctx, 0) == 1 &&
              EVP_CipherUpdate(ctx, out.data(), &n, in.data(), int(in.size())) == 1 &&
              EVP_CipherFinal_ex(ctx, out.data() + n, &m) == 1;
    EVP_CIPHER_CTX_free(ctx);
    EXPECT_TRUE(ok) << name;
    out.resize(size_t(n + m));
    return out;
}

// The forward cipher on one block, through OpenSSL's ECB.
using BlockFn = std::function<Bytes(const Bytes &)>;
inline BlockFn oracleBlock(const Family &f, const Bytes &key, bool encrypt = true) {
    return [&f, key, encrypt](const Bytes &b) { return evp(f.evpEcb, key, {}, b, encrypt); };
}

// ---- Models ----

inline Bytes xorBytes(Bytes a, const Bytes &b) {
    for (size_t i = 0; i < a.size(); ++i) a[i] ^= b[i];
    return a;
}
inline Bytes slice(const Bytes &b, size_t from, size_t count) {
    return Bytes(b.begin() + long(from), b.begin() + long(from + count));
}

// CBC without expansion: whole blocks chain as usual; a tail of r bytes is XORed with the
// forward encryption of the last ciphertext block (the iv if there is none). Encryption
// emits a whole last block whose bytes past r are that keystream; decryption emits r bytes.
inline Bytes modelNoPad(const BlockFn &enc, const BlockFn &dec, uint32_t bs, const Bytes &in,
                        Bytes chain, bool encrypt) {
    Bytes out;
    const size_t whole = in.size() / bs * bs, r = in.size() - whole;
    for (size_t i = 0; i < whole; i += bs) {
        Bytes b = slice(in, i, bs);
        Bytes o = encrypt ? enc(xorBytes(b, chain)) : xorBytes(dec(b), chain);
        out.insert(out.end(), o.begin(), o.end());
        chain = encrypt ? o : b;
    }
    if (r) {
        Bytes k = enc(chain), tail(bs, 0);
        std::copy(in.begin() + long(whole), in.end(), tail.begin());
        Bytes o = xorBytes(tail, k);
        out.insert(out.end(), o.begin(), o.begin() + long(encrypt ? bs : r));
    }
    return out;
}

enum class Feedback { CfbEncrypt, CfbDecrypt, Ofb };

// CFB/OFB of width numbits over a bit string in little-endian bit order (bit t is bit t % 8 of
// byte t / 8): each step encrypts the register, XORs n = ceil(numbits / 8) input bytes with the
// keystream keeping only the first numbits bits, and the register becomes bits numbits ..
// numbits + block bits - 1 of register || feedback. Leftover bytes stay unwritten, so `out`
// comes in holding what the buffer held; the final register replaces `iv`.
inline void modelFeedback(const BlockFn &enc, uint32_t bs, Feedback mode, int32_t numbits,
                          const Bytes &in, Bytes &out, Bytes &iv) {
    if (numbits < 1 || numbits > int32_t(8 * bs)) return;
    const size_t bits = size_t(numbits), n = (bits + 7) / 8;
    auto bit = [](const Bytes &b, size_t t) { return b[t / 8] >> (t % 8) & 1; };
    Bytes reg = iv;
    for (size_t pos = 0; pos + n <= in.size(); pos += n) {
        Bytes k = enc(reg), o(bs, 0), d(bs, 0);
        for (size_t t = 0; t < bits; ++t) o[t / 8] |= uint8_t((bit(in, 8 * pos + t) ^ bit(k, t)) << (t % 8));
        for (size_t j = 0; j < n; ++j) out[pos + j] = o[j], d[j] = in[pos + j];
        const Bytes &fed = mode == Feedback::CfbEncrypt ? o : mode == Feedback::CfbDecrypt ? d : k;
        Bytes next(bs, 0);
        for (size_t t = 0; t < 8 * bs; ++t) {
            const size_t from = t + bits;
            const int v = from < 8 * bs ? bit(reg, from) : bit(fed, from - 8 * bs);
            next[t / 8] |= uint8_t(v << (t % 8));
        }
        reg = next;
    }
    iv = reg;
}

}  // namespace ctest
