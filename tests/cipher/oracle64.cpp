#include "oracle64.h"

#include <gcrypt.h>
#include <openssl/evp.h>

#include <cstdlib>
#include <string>

namespace cbtest {

Bytes evp(const char *name, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &input,
          int rc2Bits) {
    EXPECT_TRUE(vctest::loadOpenSslLegacy());
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (cipher == nullptr) {
        ADD_FAILURE() << "OpenSSL lacks " << name;
        return {};
    }
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    Bytes out(input.size() + 16);
    int n = 0, m = 0;
    bool ok = EVP_CipherInit_ex2(ctx, cipher, nullptr, nullptr, encrypt, nullptr) == 1 &&
              EVP_CIPHER_CTX_set_key_length(ctx, int(key.size())) == 1;
    if (ok && rc2Bits > 0)
        ok = EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr) == 1;
    ok = ok &&
         EVP_CipherInit_ex2(ctx, nullptr, key.data(), iv.empty() ? nullptr : iv.data(), encrypt,
                            nullptr) == 1 &&
         EVP_CIPHER_CTX_set_padding(ctx, 0) == 1 &&
         EVP_CipherUpdate(ctx, out.data(), &n, input.data(), int(input.size())) == 1 &&
         EVP_CipherFinal_ex(ctx, out.data() + n, &m) == 1;
    EXPECT_TRUE(ok) << "OpenSSL " << name << " failed";
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    out.resize(size_t(n + m));
    return out;
}

Oracle evpOracle(const char *prefix, int rc2Bits) {
    return [prefix, rc2Bits](Mode mode, bool enc, const Bytes &key, const Bytes &iv,
                             const Bytes &in) {
        std::string p = prefix;
        auto run = [&](const char *suffix, bool direction, const Bytes &useIv, const Bytes &data) {
            return evp((p + suffix).c_str(), direction, key, useIv, data, rc2Bits);
        };
        switch (mode) {
            case Mode::Ecb:
                return run("-ECB", enc, {}, in);
            case Mode::Cbc:
                return run("-CBC", enc, iv, in);
            case Mode::Cfb64:
                return run("-CFB", enc, iv, in);
            case Mode::Ofb64:
                return run("-OFB", enc, iv, in);
            case Mode::Cfb8:
                break;
        }
        Bytes reg = iv;
        return bitFeedbackModel([&](const Bytes &b) { return run("-ECB", true, {}, b); },
                                enc ? Feedback::CfbEncrypt : Feedback::CfbDecrypt, true, 8, reg,
                                in);
    };
}

Bytes gcryptIdea(Mode mode, bool encrypt, const Bytes &key, const Bytes &iv, const Bytes &input) {
    static const bool ready = [] {
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    (void)ready;
    int gmode = mode == Mode::Ecb     ? GCRY_CIPHER_MODE_ECB
                : mode == Mode::Cbc   ? GCRY_CIPHER_MODE_CBC
                : mode == Mode::Cfb64 ? GCRY_CIPHER_MODE_CFB
                : mode == Mode::Cfb8  ? GCRY_CIPHER_MODE_CFB8
                                      : GCRY_CIPHER_MODE_OFB;
    gcry_cipher_hd_t h;
    Bytes out(input.size());
    bool ok = gcry_cipher_open(&h, GCRY_CIPHER_IDEA, gmode, 0) == 0;
    EXPECT_TRUE(ok) << "libgcrypt lacks IDEA";
    if (!ok) return {};
    ok = gcry_cipher_setkey(h, key.data(), key.size()) == 0 &&
         (mode == Mode::Ecb || gcry_cipher_setiv(h, iv.data(), iv.size()) == 0) &&
         (input.empty() ||
          (encrypt
               ? gcry_cipher_encrypt(h, out.data(), out.size(), input.data(), input.size())
               : gcry_cipher_decrypt(h, out.data(), out.size(), input.data(), input.size())) == 0);
    EXPECT_TRUE(ok) << "libgcrypt IDEA failed";
    gcry_cipher_close(h);
    return out;
}

Oracle blockOracle(const std::function<BlockFn(const Bytes &key)> &makeBlock) {
    return [makeBlock](Mode mode, bool enc, const Bytes &key, const Bytes &iv, const Bytes &in) {
        EXPECT_TRUE(enc) << "the block oracle encrypts only";
        BlockFn block = makeBlock(key);
        Bytes out, chain = iv, reg = iv;
        switch (mode) {
            case Mode::Ecb:
            case Mode::Cbc:
                for (size_t at = 0; at < in.size(); at += 8) {
                    Bytes b(in.begin() + long(at), in.begin() + long(at) + 8);
                    if (mode == Mode::Cbc)
                        for (size_t i = 0; i < 8; ++i) b[i] ^= chain[i];
                    chain = block(b);
                    out.insert(out.end(), chain.begin(), chain.end());
                }
                return out;
            case Mode::Cfb64:
                return bitFeedbackModel(block, Feedback::CfbEncrypt, true, 64, reg, in);
            case Mode::Cfb8:
                return bitFeedbackModel(block, Feedback::CfbEncrypt, true, 8, reg, in);
            case Mode::Ofb64:
                return bitFeedbackModel(block, Feedback::Ofb, true, 64, reg, in, true);
        }
        return out;
    };
}

Bytes bitFeedbackModel(const BlockFn &encryptBlock, Feedback mode, bool msbFirst, int numbits,
                       Bytes &iv, const Bytes &input, bool tail) {
    auto toWord = [&](const uint8_t *p, size_t count) {
        uint64_t w = 0;
        for (size_t i = 0; i < 8; ++i) {
            uint64_t byte = i < count ? p[i] : 0;
            w |= msbFirst ? byte << (56 - 8 * i) : byte << (8 * i);
        }
        return w;
    };
    auto toBytes = [&](uint64_t w) {
        Bytes b(8);
        for (size_t i = 0; i < 8; ++i) b[i] = uint8_t(msbFirst ? w >> (56 - 8 * i) : w >> (8 * i));
        return b;
    };
    const unsigned k = unsigned(numbits), n = (k + 7) / 8;
    const uint64_t low = k == 64 ? ~0ull : (1ull << k) - 1;
    // The first k bits of a staged word, as a k-bit number.
    auto segment = [&](uint64_t w) { return msbFirst ? (k == 64 ? w : w >> (64 - k)) : w & low; };
    auto place = [&](uint64_t s) { return msbFirst ? (k == 64 ? s : s << (64 - k)) : s; };
    uint64_t reg = toWord(iv.data(), 8);
    Bytes out(input.size(), 0xEE);
    for (size_t at = 0; at + (tail ? 1 : n) <= input.size(); at += n) {
        size_t count = std::min<size_t>(n, input.size() - at);
        uint64_t key = segment(toWord(encryptBlock(toBytes(reg)).data(), 8));
        uint64_t data = segment(toWord(input.data() + at, count));
        uint64_t c = data ^ key;
        Bytes o = toBytes(place(c));
        std::copy(o.begin(), o.begin() + long(count), out.begin() + long(at));
        uint64_t in = mode == Feedback::CfbEncrypt ? c : mode == Feedback::CfbDecrypt ? data : key;
        if (k == 64)
            reg = in;
        else
            reg = msbFirst ? reg << k | in : reg >> k | in << (64 - k);
    }
    iv = toBytes(reg);
    return out;
}

}  // namespace cbtest
