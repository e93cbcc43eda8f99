// The block ciphers as the tests see them: our exported functions bound to one key, and the
// oracles they are checked against - OpenSSL EVP or libgcrypt where they have the mode, and
// models written here (on an oracle's single block) for what no library has: CFB/OFB of any
// bit width, the _NO_PAD tail, RC5.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "support/oracles.h"

namespace ctest {

using vctest::Bytes;

// Our functions of one cipher, bound to a key schedule. Empty where the cipher lacks one.
struct Ops {
    std::function<void(uint8_t *)> enc, dec;  // one block in place
    std::function<void(const uint8_t *, uint8_t *, uint32_t)> ecbE, ecbD;
    std::function<void(const uint8_t *, uint8_t *, uint32_t, const uint8_t *)> cbcE, cbcD, npE,
        npD;
    std::function<void(const uint8_t *, uint8_t *, int32_t, uint32_t, uint8_t *)> cfbE, cfbD;
    // OFB in both directions; `num` is honoured only where hasNum (the 64-bit ciphers).
    std::function<void(const uint8_t *, uint8_t *, int32_t, uint32_t, uint8_t *, int32_t *)>
        ofbE, ofbD;
    bool hasNum = false;
};

enum Mode { Ecb, Cbc, Cfb8, Cfb, Ofb };

struct Cipher {
    const char *name;
    uint32_t block, keyMin, keyMax;
    int paramMin, paramMax;  // RC2 effective bits, RC5 rounds; 0, 0 where there is none
    bool msbFirst;           // CFB/OFB widths of part bytes run most significant bit first
    Ops (*ours)(const Bytes &key, int param);
    const char *evp[5];  // OpenSSL names per Mode; "" where OpenSSL lacks it
    int gcry;            // libgcrypt algorithm where OpenSSL has none (IDEA), else 0
    Bytes (*model)(const Bytes &key, int param, const Bytes &block);  // encryption, no library
};
const std::vector<Cipher> &ciphers();  // defined in modes_test.cpp
const Cipher &cipher(const char *name);

// The oracles without padding; rc2Bits > 0 sets RC2's effective key bits.
inline Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &in,
                 int rc2Bits = 0) {
    return vctest::evp(name, encrypt, key, iv, in, false, rc2Bits);
}
Bytes gcrypt(int algo, Mode mode, bool encrypt, const Bytes &key, const Bytes &iv,
             const Bytes &in);

inline Bytes xorBytes(Bytes a, const Bytes &b) {
    for (size_t i = 0; i < a.size() && i < b.size(); ++i) a[i] ^= b[i];
    return a;
}
inline Bytes slice(const Bytes &b, size_t from, size_t count) {
    return Bytes(b.begin() + long(from), b.begin() + long(from + count));
}

// The forward (or inverse) cipher on one block, by the cipher's oracle.
inline Bytes oracleBlock(const Cipher &c, const Bytes &key, int param, const Bytes &b,
                         bool encrypt = true) {
    if (*c.evp[Ecb]) return evp(c.evp[Ecb], encrypt, key, {}, b, param);
    if (c.gcry) return gcrypt(c.gcry, Ecb, encrypt, key, {}, b);
    EXPECT_TRUE(encrypt) << "the model only encrypts";
    return c.model(key, param, b);
}

// CFB or OFB of width numbits on steps of n = ceil(numbits / 8) bytes. Bit t of a byte string
// is bit t % 8 of byte t / 8 (little-endian), or bit 7 - t % 8 of it (msbFirst). Each step XORs
// the first numbits bits of the encrypted register into the step (the bits past numbits come
// out 0) and the register becomes bits numbits .. numbits + block bits - 1 of register || fed.
// Leftover bytes (less than a step) keep what `out` held; the final register goes to `iv`.
enum class Fb { CfbE, CfbD, Ofb };
inline void modelFeedback(const std::function<Bytes(const Bytes &)> &enc, uint32_t bs,
                          bool msb, Fb mode, int32_t numbits, const Bytes &in, Bytes &out,
                          Bytes &iv) {
    if (numbits < 1 || numbits > int32_t(8 * bs)) return;
    const size_t bits = size_t(numbits), n = (bits + 7) / 8;
    auto sh = [msb](size_t t) { return msb ? 7 - t % 8 : t % 8; };
    auto get = [&](const Bytes &b, size_t t) { return b[t / 8] >> sh(t) & 1; };
    auto put = [&](Bytes &b, size_t t, int v) { b[t / 8] |= uint8_t(v << sh(t)); };
    Bytes reg = iv;
    for (size_t pos = 0; pos + n <= in.size(); pos += n) {
        Bytes k = enc(reg), o(bs, 0), d = slice(in, pos, n), next(bs, 0);
        for (size_t t = 0; t < bits; ++t) put(o, t, get(d, t) ^ get(k, t));
        std::copy(o.begin(), o.begin() + long(n), out.begin() + long(pos));
        const Bytes &fed = mode == Fb::CfbE ? o : mode == Fb::CfbD ? d : k;
        for (size_t t = 0; t < 8 * bs; ++t)
            put(next, t, t + bits < 8 * bs ? get(reg, t + bits) : get(fed, t + bits - 8 * bs));
        reg = next;
    }
    iv = reg;
}

// Encryption in a Mode by the oracle: the library's own mode where it has one, else the model.
inline Bytes oracleEncrypt(const Cipher &c, Mode m, const Bytes &key, int param, const Bytes &iv,
                           const Bytes &in) {
    if (*c.evp[m]) return evp(c.evp[m], true, key, iv, in, param);
    if (c.gcry) return gcrypt(c.gcry, m, true, key, iv, in);
    auto enc = [&](const Bytes &b) { return oracleBlock(c, key, param, b); };
    Bytes out(in.size() + c.block), reg = iv;
    if (m == Ecb || m == Cbc) {
        for (size_t i = 0; i < in.size(); i += c.block) {
            reg = enc(m == Cbc ? xorBytes(slice(in, i, c.block), reg) : slice(in, i, c.block));
            std::copy(reg.begin(), reg.end(), out.begin() + long(i));
        }
    } else {  // OFB over the whole steps that cover the input
        Bytes padded = in;
        padded.resize(out.size());
        int32_t bits = m == Cfb8 ? 8 : int32_t(8 * c.block);
        modelFeedback(enc, c.block, c.msbFirst, m == Ofb ? Fb::Ofb : Fb::CfbE, bits, padded, out,
                      reg);
    }
    out.resize(in.size());
    return out;
}

// CBC without expansion: whole blocks chain as usual; a tail of r bytes is XORed with the
// forward encryption of the last ciphertext block (the iv if there is none), and the whole last
// block is emitted, its bytes past r being that keystream.
inline Bytes modelNoPad(const Cipher &c, const Bytes &key, const Bytes &in, const Bytes &iv) {
    const size_t whole = in.size() / c.block * c.block;
    Bytes out = oracleEncrypt(c, Cbc, key, 0, iv, slice(in, 0, whole));
    if (whole == in.size()) return out;
    const Bytes last = whole ? slice(out, whole - c.block, c.block) : iv;
    const Bytes tail = xorBytes(oracleBlock(c, key, 0, last), slice(in, whole, in.size() - whole));
    out.insert(out.end(), tail.begin(), tail.end());
    return out;
}

}  // namespace ctest
