// V_Encryption of 16 KiB beside OpenSSL's EVP doing the same whole job (key set-up, CBC, PKCS
// padding): SEED on its engine, triple DES on the private routine, DES through the provider.
#include <openssl/evp.h>
#include <vorelcrypto/vorelcrypto.h>

#include <string>

#include "bench_util.h"

namespace {

constexpr int64_t kSize = 16384;

void ours(benchmark::State &state, uint32_t algorithm) {
    LibContext ctx{};
    V_VCCInit(&ctx);
    auto key = vcbench::filler(24, 7), iv = vcbench::filler(16, 9);
    const auto msg = vcbench::filler(size_t(state.range(0)));
    const SymKeyRecord k{algorithm, V_MODE_CBC, 24, key.data(), 16, iv.data()};
    const DataBlob in{uint32_t(msg.size()), const_cast<uint8_t *>(msg.data())};
    for (auto _ : state) {
        DataBlob out{0, nullptr};
        if (V_Encryption(&ctx, &k, &in, &out) != 0) return state.SkipWithError("V_Encryption failed");
        benchmark::DoNotOptimize(out.Data);
        V_free(&ctx, out.Data);
    }
    V_VCCTerm(&ctx);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void openssl(benchmark::State &state, const char *name) {
    if (!vcbench::loadOpenSslLegacy()) return state.SkipWithError("no legacy provider");
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (!cipher) return state.SkipWithError("cipher not available");
    const auto key = vcbench::filler(24, 7), iv = vcbench::filler(16, 9);
    const auto msg = vcbench::filler(size_t(state.range(0)));
    std::vector<uint8_t> out(msg.size() + 16);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    for (auto _ : state) {
        int n = 0, m = 0;
        EVP_EncryptInit_ex2(ctx, cipher, key.data(), iv.data(), nullptr);
        EVP_EncryptUpdate(ctx, out.data(), &n, msg.data(), int(msg.size()));
        EVP_EncryptFinal_ex(ctx, out.data() + n, &m);
        benchmark::DoNotOptimize(out.data());
    }
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void both(const char *op, uint32_t algorithm, const char *evpName) {
    benchmark::RegisterBenchmark((std::string(op) + "/ours").c_str(), ours, algorithm)->Arg(kSize);
    benchmark::RegisterBenchmark((std::string(op) + "/openssl").c_str(), openssl, evpName)->Arg(kSize);
}

const bool registered = [] {
    both("V_Encryption-seed-cbc", V_SYM_SEED, "SEED-CBC");
    both("V_Encryption-des-ede3-cbc", V_SYM_DES3, "DES-EDE3-CBC");
    both("V_Encryption-des-cbc", V_SYM_DES, "DES-CBC");
    return true;
}();

}  // namespace
