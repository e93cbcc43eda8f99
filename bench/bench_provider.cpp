// The provider's one-shot encryption (CSP_EncryptData: Init, Update, Final with PKCS #7
// padding) beside OpenSSL's EVP doing the same per message (new IV, Update, Final with
// padding), on 16 KiB. Both key schedules are made once, outside the loop.
#include <openssl/evp.h>
#include <vorelcrypto/csp.h>

#include <string>

#include "bench_util.h"

namespace {

constexpr int64_t kSize = 16384;

void openssl(benchmark::State &state, const char *name, bool encrypt) {
    if (!vcbench::loadOpenSslLegacy()) return state.SkipWithError("no legacy provider");
    EVP_CIPHER *cipher = EVP_CIPHER_fetch(nullptr, name, nullptr);
    if (!cipher) return state.SkipWithError("cipher not available");
    const auto key = vcbench::filler(16, 7), iv = vcbench::filler(8, 9);
    auto in = vcbench::filler(size_t(state.range(0)));
    std::vector<uint8_t> out(in.size() + 16);
    EVP_CIPHER_CTX *ctx = EVP_CIPHER_CTX_new();
    EVP_CipherInit_ex2(ctx, cipher, key.data(), iv.data(), 1, nullptr);
    if (!encrypt) {  // decrypt what encryption makes, padding included
        int n = 0, m = 0;
        EVP_CipherUpdate(ctx, out.data(), &n, in.data(), int(in.size()));
        EVP_CipherFinal_ex(ctx, out.data() + n, &m);
        in.assign(out.begin(), out.begin() + n + m);
        EVP_CipherInit_ex2(ctx, cipher, key.data(), iv.data(), 0, nullptr);
    }
    for (auto _ : state) {
        int n = 0, m = 0;
        EVP_CipherInit_ex2(ctx, nullptr, nullptr, iv.data(), encrypt ? 1 : 0, nullptr);
        EVP_CipherUpdate(ctx, out.data(), &n, in.data(), int(in.size()));
        EVP_CipherFinal_ex(ctx, out.data() + n, &m);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    EVP_CIPHER_CTX_free(ctx);
    EVP_CIPHER_free(cipher);
}

void ours(benchmark::State &state, uint32_t algorithm, uint32_t keyBytes, bool encrypt) {
    auto key = vcbench::filler(keyBytes, 7), iv = vcbench::filler(8, 9);
    std::vector<uint64_t> keyStorage(CSP_KEY_RECORD_MAX / 8);
    DataBlob keyRecord{CSP_KEY_RECORD_MAX, reinterpret_cast<uint8_t *>(keyStorage.data())};
    DataBlob material{keyBytes, key.data()}, ivBlob{8, iv.data()};

    CspAttribute attributes[3] = {};
    CspContextRecord gen{};
    gen.contextClass = CSP_CLASS_KEYGEN;
    gen.algorithm = algorithm;
    gen.attributeCount = 1;
    gen.attributes = attributes;
    attributes[0].type = CSP_ATTR_KEY_LENGTH;
    attributes[0].value.uint32 = 8 * keyBytes;
    if (CSP_GenerateKey(CSP_MODULE_HANDLE, &gen, nullptr, 3, 0, &material, &keyRecord) != 0)
        return state.SkipWithError("key generation failed");

    CspContextRecord record{};
    record.contextClass = CSP_CLASS_SYMMETRIC;
    record.algorithm = algorithm;
    record.attributeCount = 3;
    record.attributes = attributes;
    attributes[0].type = CSP_ATTR_KEY;
    attributes[0].value.data = &keyRecord;
    attributes[1].type = CSP_ATTR_MODE;
    attributes[1].value.uint32 = CSP_MODE_CBC;
    attributes[2].type = CSP_ATTR_INIT_VECTOR;
    attributes[2].value.data = &ivBlob;

    auto in = vcbench::filler(size_t(state.range(0)));
    std::vector<uint8_t> out(in.size() + 8), last(8);
    uint32_t finalLength = 0;
    auto once = [&](auto call) {
        DataBlob input{uint32_t(in.size()), in.data()}, output{uint32_t(out.size()), out.data()},
            rest{8, last.data()};
        uint32_t written = 0;
        const int32_t r = call(CSP_MODULE_HANDLE, &record, nullptr, &input, 1, &output, 1, &written, &rest);
        finalLength = rest.Length;
        return r == 0 ? written : UINT32_MAX;
    };
    if (!encrypt) {  // decrypt what encryption makes, padding included
        const uint32_t n = once(CSP_EncryptData);
        if (n == UINT32_MAX) return state.SkipWithError("encryption failed");
        in.assign(out.begin(), out.begin() + n);
        in.insert(in.end(), last.begin(), last.begin() + finalLength);
    }
    for (auto _ : state) {
        if (once(encrypt ? CSP_EncryptData : CSP_DecryptData) == UINT32_MAX) return state.SkipWithError("failed");
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void both(const char *op, uint32_t algorithm, uint32_t keyBytes, const char *evpName, bool encrypt) {
    benchmark::RegisterBenchmark((std::string(op) + "/ours").c_str(), ours, algorithm, keyBytes, encrypt)
        ->Arg(kSize);
    benchmark::RegisterBenchmark((std::string(op) + "/openssl").c_str(), openssl, evpName, encrypt)
        ->Arg(kSize);
}

const bool registered = [] {
    both("csp-des-cbc-encrypt", CSP_ALG_DES, 8, "DES-CBC", true);
    both("csp-des-cbc-decrypt", CSP_ALG_DES, 8, "DES-CBC", false);
    both("csp-des-ede-cbc-encrypt", CSP_ALG_3DES_2KEY, 16, "DES-EDE-CBC", true);
    return true;
}();

}  // namespace
