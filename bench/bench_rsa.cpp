// RSA benchmarks beside OpenSSL: the private (CRT) and public (e = 65537) operations on the same
// 1024 and 2048-bit keys, and 2048-bit key generation (median of 20).
#include "bench_util.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <vorelcrypto/bignum.h>
#include <vorelcrypto/rsa.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

namespace {

// One OpenSSL key per size, shared by both sides, and the same key in our record.
struct SharedKey {
    EVP_PKEY *pkey = nullptr;
    std::unique_ptr<RsaKey> ours{new RsaKey{}};
};

SharedKey &sharedKey(int bits) {
    static std::map<int, SharedKey> keys;
    SharedKey &k = keys[bits];
    if (k.pkey != nullptr) return k;
    k.pkey = EVP_RSA_gen(unsigned(bits));
    E_RSA_Init(k.ours.get());
    const char *names[] = {OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
                           OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_FACTOR1,
                           OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_EXPONENT1,
                           OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1};
    RsaKey *r = k.ours.get();
    ENUM *fields[] = {&r->n, &r->e, &r->d, &r->p, &r->q, &r->dP, &r->dQ, &r->qInv};
    for (int i = 0; i < 8; i++) {
        BIGNUM *bn = nullptr;
        EVP_PKEY_get_bn_param(k.pkey, names[i], &bn);
        std::vector<uint8_t> b(size_t(BN_num_bytes(bn)));
        BN_bn2bin(bn, b.data());
        EN_BytesToENUM(fields[i], b.data(), uint32_t(b.size()));
        BN_free(bn);
    }
    return k;
}

const std::vector<uint8_t> kDigestInfo = vcbench::filler(35, 5);  // a SHA-1 DigestInfo's length

// Private operation: a PKCS #1 v1.5 signature of a 35-byte block (CRT).
void privateOurs(benchmark::State &state) {
    SharedKey &k = sharedKey(int(state.range(0)));
    std::vector<uint8_t> sig(512);
    for (auto _ : state) {
        int32_t len = 0;
        E_RSA_Sign(kDigestInfo.data(), int32_t(kDigestInfo.size()), sig.data(), &len, k.ours.get());
        benchmark::DoNotOptimize(sig.data());
    }
}

void privateOpenSsl(benchmark::State &state) {
    SharedKey &k = sharedKey(int(state.range(0)));
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, k.pkey, nullptr);
    EVP_PKEY_sign_init(ctx);
    EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING);
    std::vector<uint8_t> sig(512);
    for (auto _ : state) {
        size_t len = sig.size();
        EVP_PKEY_sign(ctx, sig.data(), &len, kDigestInfo.data(), kDigestInfo.size());
        benchmark::DoNotOptimize(sig.data());
    }
    EVP_PKEY_CTX_free(ctx);
}

// Public operation (e = 65537): opening that signature.
std::vector<uint8_t> signatureOf(SharedKey &k) {
    std::vector<uint8_t> sig(512);
    int32_t len = 0;
    E_RSA_Sign(kDigestInfo.data(), int32_t(kDigestInfo.size()), sig.data(), &len, k.ours.get());
    sig.resize(size_t(len));
    return sig;
}

void publicOurs(benchmark::State &state) {
    SharedKey &k = sharedKey(int(state.range(0)));
    const std::vector<uint8_t> sig = signatureOf(k);
    std::vector<uint8_t> out(512);
    for (auto _ : state) {
        E_RSA_Public_Decrypt(out.data(), sig.data(), uint32_t(sig.size()), k.ours.get());
        benchmark::DoNotOptimize(out.data());
    }
}

void publicOpenSsl(benchmark::State &state) {
    SharedKey &k = sharedKey(int(state.range(0)));
    const std::vector<uint8_t> sig = signatureOf(k);
    EVP_PKEY_CTX *ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, k.pkey, nullptr);
    EVP_PKEY_verify_recover_init(ctx);
    EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING);
    std::vector<uint8_t> out(512);
    for (auto _ : state) {
        size_t len = out.size();
        EVP_PKEY_verify_recover(ctx, out.data(), &len, sig.data(), sig.size());
        benchmark::DoNotOptimize(out.data());
    }
    EVP_PKEY_CTX_free(ctx);
}

// Key generation: one benchmark iteration times 20 generations and reports their median.
template <class Generate>
void medianOf20(benchmark::State &state, Generate generate) {
    for (auto _ : state) {
        std::vector<double> seconds;
        for (int i = 0; i < 20; i++) {
            const auto start = std::chrono::steady_clock::now();
            generate(unsigned(state.range(0)));
            seconds.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        std::nth_element(seconds.begin(), seconds.begin() + 10, seconds.end());
        state.SetIterationTime(seconds[10]);
    }
}

void keygenOurs(benchmark::State &state) {
    medianOf20(state, [](unsigned bits) {
        RsaKey key;
        std::memset(&key, 0, sizeof key);
        E_RSA_Init(&key);
        E_RSA_GenerateKey(&key, bits, 65537);
    });
}

void keygenOpenSsl(benchmark::State &state) {
    medianOf20(state, [](unsigned bits) { EVP_PKEY_free(EVP_RSA_gen(bits)); });
}

const bool registered = [] {
    benchmark::RegisterBenchmark("rsa_private/ours", privateOurs)->Arg(1024)->Arg(2048);
    benchmark::RegisterBenchmark("rsa_private/openssl", privateOpenSsl)->Arg(1024)->Arg(2048);
    benchmark::RegisterBenchmark("rsa_public/ours", publicOurs)->Arg(1024)->Arg(2048);
    benchmark::RegisterBenchmark("rsa_public/openssl", publicOpenSsl)->Arg(1024)->Arg(2048);
    benchmark::RegisterBenchmark("rsa_keygen_median20/ours", keygenOurs)
        ->Arg(2048)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("rsa_keygen_median20/openssl", keygenOpenSsl)
        ->Arg(2048)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    return true;
}();

}  // namespace
