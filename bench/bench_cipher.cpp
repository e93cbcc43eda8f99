// Block ciphers in CBC mode (and SEED in CFB/OFB), ours beside OpenSSL's EVP on 16 KiB buffers.
#include <vorelcrypto/cipher.h>

#include <openssl/evp.h>

#include "bench_util.h"

namespace {

constexpr int64_t kSize = 16384;

// Runs `call(in, out, length)` over one buffer per iteration.
template <class Call>
void run(benchmark::State &state, Call &&call) {
    const auto in = vcbench::filler(size_t(state.range(0)));
    std::vector<uint8_t> out(in.size() + 16);
    for (auto _ : state) {
        call(in.data(), out.data(), uint32_t(in.size()));
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void openssl(benchmark::State &state, const char *name, bool encrypt) {
    if (!vcbench::loadOpenSslLegacy()) return state.SkipWithError("no legacy provider");
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (!cipher) return state.SkipWithError("cipher not available");
    const auto key = vcbench::filler(24, 7), iv = vcbench::filler(16, 9);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EVP_CipherInit_ex2(ctx, cipher, key.data(), iv.data(), encrypt ? 1 : 0, nullptr);
    EVP_CIPHER_CTX_set_padding(ctx, 0);
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        int written = 0;
        EVP_CipherUpdate(ctx, out, &written, in, int(n));
    });
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
}

// One of our CBC functions with its key schedule.
template <class Schedule, auto KeySchedule, auto Cbc>
void ours(benchmark::State &state) {
    const auto key = vcbench::filler(24, 7), iv = vcbench::filler(16, 9);
    Schedule ks;
    KeySchedule(&ks, key.data());
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) { Cbc(in, out, &ks, n, iv.data()); });
}

template <auto Feedback>
void oursSeedFeedback(benchmark::State &state) {
    const auto key = vcbench::filler(16, 7);
    auto iv = vcbench::filler(16, 9);
    SeedKeySchedule ks;
    E_SEED_KeySchedule(&ks, key.data());
    run(state, [&](const uint8_t *in, uint8_t *out, uint32_t n) {
        Feedback(in, out, &ks, 128, n, iv.data());
    });
}

void both(const char *op, void (*mine)(benchmark::State &), const char *evpName, bool encrypt) {
    benchmark::RegisterBenchmark((std::string(op) + "/ours").c_str(), mine)->Arg(kSize);
    benchmark::RegisterBenchmark((std::string(op) + "/openssl").c_str(), openssl, evpName, encrypt)
        ->Arg(kSize);
}

const bool registered = [] {
    both("seed-cbc-encrypt", ours<SeedKeySchedule, E_SEED_KeySchedule, E_SEED_CBC_Encrypt>,
         "SEED-CBC", true);
    both("seed-cbc-decrypt", ours<SeedKeySchedule, E_SEED_KeySchedule, E_SEED_CBC_Decrypt>,
         "SEED-CBC", false);
    both("seed-cfb-encrypt", oursSeedFeedback<E_SEED_CFB_Encrypt>, "SEED-CFB", true);
    both("seed-ofb", oursSeedFeedback<E_SEED_OFB_Encrypt>, "SEED-OFB", true);
    both("des-cbc-encrypt", ours<DesKeySchedule, E_DES_KeySchedule, E_DES_CBC_Encrypt>,
         "DES-CBC", true);
    both("des-cbc-decrypt", ours<DesKeySchedule, E_DES_KeySchedule, E_DES_CBC_Decrypt>,
         "DES-CBC", false);
    both("des-ede-cbc-encrypt", ours<Des3KeySchedule, E_DES3_KeySchedule, E_DES3_CBC_Encrypt>,
         "DES-EDE-CBC", true);
    both("des-ede3-cbc-encrypt",
         ours<Des3_3KeySchedule, E_DES3_3Key_Schedule, E_DES3_3Key_CBC_Encrypt>, "DES-EDE3-CBC",
         true);
    both("des-ede3-cbc-decrypt",
         ours<Des3_3KeySchedule, E_DES3_3Key_Schedule, E_DES3_3Key_CBC_Decrypt>, "DES-EDE3-CBC",
         false);
    return true;
}();

}  // namespace
