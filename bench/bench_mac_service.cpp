// V_GenMac beside an OpenSSL DES CBC-MAC of the same data (a fresh key and zero IV per message,
// as the service sets them up), and V_GenRandom beside RAND_bytes.
#include <vorelcrypto/vorelcrypto.h>

#include <algorithm>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include "bench_util.h"

namespace {

const uint8_t kKey[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef};

void genMac(benchmark::State &state) {
    LibContext ctx{};
    V_VCCInit(&ctx);
    auto msg = vcbench::filler(size_t(state.range(0)));
    uint8_t key[8];
    std::copy(kKey, kKey + 8, key);
    DataBlob k{8, key}, m{uint32_t(msg.size()), msg.data()};
    for (auto _ : state) {
        DataBlob mac{0, nullptr};
        V_GenMac(&ctx, V_MAC_DES, &k, &m, &mac);
        benchmark::DoNotOptimize(mac.Data);
        V_free(&ctx, mac.Data);
    }
    V_VCCTerm(&ctx);
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void opensslMac(benchmark::State &state) {
    if (!vcbench::loadOpenSslLegacy()) return state.SkipWithError("no legacy provider");
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, "DES-CBC", nullptr);
    if (cipher == nullptr) return state.SkipWithError("cipher not available");
    auto msg = vcbench::filler(size_t(state.range(0)));  // a whole number of blocks
    std::vector<uint8_t> out(msg.size());
    const uint8_t iv[8] = {};
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    for (auto _ : state) {
        int n = 0;
        EVP_EncryptInit_ex2(ctx, cipher, kKey, iv, nullptr);
        EVP_CIPHER_CTX_set_padding(ctx, 0);
        EVP_EncryptUpdate(ctx, out.data(), &n, msg.data(), int(msg.size()));
        benchmark::DoNotOptimize(out.data() + n - 8);
    }
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void genRandom(benchmark::State &state) {
    LibContext ctx{};
    V_VCCInit(&ctx);
    for (auto _ : state) {
        uint8_t *out = nullptr;
        V_GenRandom(&ctx, V_RANDOM_DES, uint32_t(state.range(0)), &out);
        benchmark::DoNotOptimize(out);
        V_free(&ctx, out);
    }
    V_VCCTerm(&ctx);
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void opensslRandom(benchmark::State &state) {
    std::vector<uint8_t> out(size_t(state.range(0)));
    for (auto _ : state) {
        RAND_bytes(out.data(), int(out.size()));
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

const bool registered = [] {
    benchmark::RegisterBenchmark("V_GenMac-des/ours", genMac)->Arg(16384);
    benchmark::RegisterBenchmark("V_GenMac-des/openssl", opensslMac)->Arg(16384);
    benchmark::RegisterBenchmark("V_GenRandom-des/ours", genRandom)->Arg(32);
    benchmark::RegisterBenchmark("V_GenRandom-des/openssl", opensslRandom)->Arg(32);
    return true;
}();

}  // namespace
