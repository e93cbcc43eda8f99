// IDEA, RC2, RC5, Blowfish and RC4 beside OpenSSL EVP (legacy provider) and libgcrypt.
#include <gcrypt.h>
#include <openssl/evp.h>
#include <vorelcrypto/cipher.h>

#include <functional>
#include <string>

#include "bench_util.h"

namespace {

constexpr int64_t kSize = 16384;
const uint8_t kKey[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
const uint8_t kIv[8] = {8, 7, 6, 5, 4, 3, 2, 1};

// Runs `body(in, out, size)` per iteration over a buffer of the benchmark's size.
void run(benchmark::State &state,
         const std::function<void(const uint8_t *, uint8_t *, uint32_t)> &body) {
    auto in = vcbench::filler(size_t(state.range(0)));
    std::vector<uint8_t> out(in.size() + 16);
    for (auto _ : state) {
        body(in.data(), out.data(), uint32_t(in.size()));
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

// OpenSSL EVP encryption with the key set once; the iv chains on from call to call.
void bmOpenSsl(benchmark::State &state, const char *name, int rc2Bits) {
    if (!vcbench::loadOpenSslLegacy()) return state.SkipWithError("no legacy provider");
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (cipher == nullptr) return state.SkipWithError("cipher not available");
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex2(ctx, cipher, nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_set_key_length(ctx, 16);
    if (rc2Bits) EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_SET_RC2_KEY_BITS, rc2Bits, nullptr);
    EVP_EncryptInit_ex2(ctx, nullptr, kKey, kIv, nullptr);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        int len = 0;
        EVP_EncryptUpdate(ctx, out, &len, in, int(n));
    });
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
}

void bmGcryptIdea(benchmark::State &state) {
    gcry_check_version(nullptr);
    gcry_cipher_hd_t h;
    if (gcry_cipher_open(&h, GCRY_CIPHER_IDEA, GCRY_CIPHER_MODE_CBC, 0) != 0)
        return state.SkipWithError("no IDEA in libgcrypt");
    gcry_cipher_setkey(h, kKey, 16);
    gcry_cipher_setiv(h, kIv, 8);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        gcry_cipher_encrypt(h, out, n, in, n);
    });
    gcry_cipher_close(h);
}

void bmBfCbc(benchmark::State &state) {
    BlowfishKeySchedule ks;
    E_BF_KeySchedule(&ks, kKey, 16);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        E_BF_CBC_Encrypt(in, out, &ks, n, kIv);
    });
}

void bmBfCbcDecrypt(benchmark::State &state) {
    BlowfishKeySchedule ks;
    E_BF_KeySchedule(&ks, kKey, 16);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        E_BF_CBC_Decrypt(in, out, &ks, n, kIv);
    });
}

void bmRc2Cbc(benchmark::State &state) {
    Rc2KeySchedule ks;
    E_RC2_KeySchedule(&ks, kKey, 16, 128);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        E_RC2_CBC_Encrypt(in, out, &ks, n, kIv);
    });
}

void bmRc5Cbc(benchmark::State &state) {
    Rc5KeySchedule ks;
    E_RC5_KeySchedule(&ks, kKey, 16, 12);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        E_RC5_CBC_Encrypt(in, out, &ks, n, kIv);
    });
}

void bmIdeaCbc(benchmark::State &state) {
    IdeaKeySchedule ks;
    E_IDEA_KeySchedule(&ks, kKey);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        E_IDEA_CBC_Encrypt(in, out, &ks, n, kIv);
    });
}

void bmRc4(benchmark::State &state) {
    Rc4State st;
    E_RC4_KeySchedule(&st, kKey, 16);
    run(state,
        [&](const uint8_t *in, uint8_t *out, uint32_t n) { E_RC4_Encrypt(in, out, &st, n); });
}

void bmOpenSslBfCbcDecrypt(benchmark::State &state) {
    if (!vcbench::loadOpenSslLegacy()) return state.SkipWithError("no legacy provider");
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, "BF-CBC", nullptr);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EVP_DecryptInit_ex2(ctx, cipher, nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_set_key_length(ctx, 16);
    EVP_DecryptInit_ex2(ctx, nullptr, kKey, kIv, nullptr);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        int len = 0;
        EVP_DecryptUpdate(ctx, out, &len, in, int(n));
    });
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
}

const bool registered = [] {
    auto reg = [](const char *name, auto fn) {
        benchmark::RegisterBenchmark(name, fn)->Arg(kSize);
    };
    reg("bf-cbc/ours", bmBfCbc);
    reg("bf-cbc/openssl", [](benchmark::State &s) { bmOpenSsl(s, "BF-CBC", 0); });
    reg("bf-cbc-decrypt/ours", bmBfCbcDecrypt);
    reg("bf-cbc-decrypt/openssl", bmOpenSslBfCbcDecrypt);
    reg("rc2-cbc/ours", bmRc2Cbc);
    reg("rc2-cbc/openssl", [](benchmark::State &s) { bmOpenSsl(s, "RC2-CBC", 128); });
    reg("rc4/ours", bmRc4);
    reg("rc4/openssl", [](benchmark::State &s) { bmOpenSsl(s, "RC4", 0); });
    reg("idea-cbc/ours", bmIdeaCbc);
    reg("idea-cbc/libgcrypt", bmGcryptIdea);
    reg("idea-cbc/openssl", [](benchmark::State &s) { bmOpenSsl(s, "IDEA-CBC", 0); });
    reg("rc5-cbc/ours", bmRc5Cbc);
    return true;
}();

}  // namespace
