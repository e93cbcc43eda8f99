// Each V_ signing and verification service beside the engine call it wraps, on the same key and
// message: RSA-2048 (private encryption of a DigestInfo, public decryption), KCDSA-1024 (SHA-1)
// and ECDSA on curve 7. The services' own cost (key decoding, buffers, copies) is the ratio.
#include <vorelcrypto/vorelcrypto.h>

#include <memory>
#include <vector>

#include "bench_util.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Fixture {
    LibContext ctx{};
    std::unique_ptr<RsaKey> rsa = std::make_unique<RsaKey>();
    std::unique_ptr<KcdsaKey> kcdsa = std::make_unique<KcdsaKey>();
    Bytes rsaPublic, rsaPrivate, kcdsaPublic, kcdsaPrivate, kcdsaParams, ecPublic, ecPrivate;
    Bytes message = vcbench::filler(35), rsaSig, kcdsaSig, ecSig;
    EcParams ec{};

    Fixture() {
        V_VCCInit(&ctx);
        E_RSA_Init(rsa.get());
        E_RSA_GenerateKey(rsa.get(), 2048, 65537);
        rsaPublic.resize(size_t(E_ASN1_GetRSAPublicKeyBytes(rsa.get())));
        rsaPublic.resize(size_t(E_ASN1_PutRSAPublicKey(rsa.get(), rsaPublic.data())));
        rsaPrivate.resize(size_t(E_ASN1_GetRSAPrivateKeyBytes(rsa.get())));
        rsaPrivate.resize(size_t(E_ASN1_PutRSAPrivateKey(rsa.get(), rsaPrivate.data())));
        rsaSig.resize(256);
        E_RSA_Private_Encrypt(rsaSig.data(), message.data(), int32_t(message.size()), rsa.get());

        E_KCDSA_Init(kcdsa.get());
        E_KCDSA_GenerateKey_fixParam(kcdsa.get(), 0, 160);
        kcdsaPublic.resize(size_t(E_ASN1_GetKCDSAPublicKeyBytes(kcdsa.get())));
        kcdsaPublic.resize(size_t(E_ASN1_PutKCDSAPublicKey1(kcdsa.get(), kcdsaPublic.data())));
        kcdsaPrivate.resize(size_t(E_ASN1_GetKCDSAPrivateKeyBytes(kcdsa.get())));
        kcdsaPrivate.resize(size_t(E_ASN1_PutKCDSAPrivateKey(kcdsa.get(), kcdsaPrivate.data())));
        kcdsaParams.resize(size_t(E_ASN1_GetKCDSAParamsBytes(kcdsa.get())));
        kcdsaParams.resize(size_t(E_ASN1_PutKCDSAParams(kcdsa.get(), kcdsaParams.data())));
        kcdsaSig.resize(100);
        uint32_t n = 0;
        E_KCDSA_Sign_New(E_KCDSA_HASH_SHA1, message.data(), uint32_t(message.size()), kcdsaSig.data(), &n, kcdsa.get());
        kcdsaSig.resize(n);

        E_ECParams_Init(7, &ec);
        ecPublic.resize(43);
        ecPrivate.resize(21);
        Opaque8 q{0, ecPublic.data()}, d{0, ecPrivate.data()};
        E_ECC_GenerateKeyPair(7, &ec, &q, &d);
        ecPublic.resize(q.length);
        ecPrivate.resize(d.length);
        ecSig.resize(50);
        const Opaque8 m{uint32_t(message.size()), message.data()}, dk{d.length, ecPrivate.data()};
        Opaque8 s{0, ecSig.data()};
        E_ECDSA_Sign(7, &ec, &m, &s, &dk);
        ecSig.resize(s.length);
    }
    ~Fixture() { V_VCCTerm(&ctx); }
};

Fixture &fixture() {
    static Fixture f;
    return f;
}

DataBlob blob(Bytes &b) { return {uint32_t(b.size()), b.data()}; }
Opaque8 octets(Bytes &b) { return {uint32_t(b.size()), b.data()}; }

void rsaSignService(benchmark::State &state) {
    Fixture &f = fixture();
    DataBlob key = blob(f.rsaPrivate), msg = blob(f.message);
    for (auto _ : state) {
        DataBlob out{};
        V_RSAPrivateEncrypt(&f.ctx, &key, &msg, &out);
        V_free(&f.ctx, out.Data);
    }
}
void rsaSignEngine(benchmark::State &state) {
    Fixture &f = fixture();
    uint8_t out[256];
    for (auto _ : state) benchmark::DoNotOptimize(E_RSA_Private_Encrypt(out, f.message.data(), int32_t(f.message.size()), f.rsa.get()));
}
void rsaVerifyService(benchmark::State &state) {
    Fixture &f = fixture();
    DataBlob key = blob(f.rsaPublic), sig = blob(f.rsaSig);
    for (auto _ : state) {
        DataBlob out{};
        V_RSAPublicDecrypt(&f.ctx, &key, &sig, &out);
        V_free(&f.ctx, out.Data);
    }
}
void rsaVerifyEngine(benchmark::State &state) {
    Fixture &f = fixture();
    uint8_t out[256];
    for (auto _ : state) benchmark::DoNotOptimize(E_RSA_Public_Decrypt(out, f.rsaSig.data(), 256, f.rsa.get()));
}

void kcdsaSignService(benchmark::State &state) {
    Fixture &f = fixture();
    DataBlob key = blob(f.kcdsaPrivate), params = blob(f.kcdsaParams), msg = blob(f.message);
    for (auto _ : state) {
        DataBlob sig{};
        V_KCDSA_Sign(&f.ctx, 4, &key, &params, &msg, &sig);
        V_free(&f.ctx, sig.Data);
    }
}
void kcdsaSignEngine(benchmark::State &state) {
    Fixture &f = fixture();
    uint8_t sig[100];
    uint32_t n = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(E_KCDSA_Sign_New(E_KCDSA_HASH_SHA1, f.message.data(), uint32_t(f.message.size()), sig, &n, f.kcdsa.get()));
}
void kcdsaVerifyService(benchmark::State &state) {
    Fixture &f = fixture();
    DataBlob key = blob(f.kcdsaPublic), params = blob(f.kcdsaParams), msg = blob(f.message), sig = blob(f.kcdsaSig);
    for (auto _ : state) benchmark::DoNotOptimize(V_KCDSA_Verify(&f.ctx, 4, &key, &params, &msg, &sig));
}
void kcdsaVerifyEngine(benchmark::State &state) {
    Fixture &f = fixture();
    for (auto _ : state)
        benchmark::DoNotOptimize(E_KCDSA_Verify_New(E_KCDSA_HASH_SHA1, f.message.data(), uint32_t(f.message.size()),
                                                    f.kcdsaSig.data(), uint32_t(f.kcdsaSig.size()), f.kcdsa.get()));
}

void ecdsaSignService(benchmark::State &state) {
    Fixture &f = fixture();
    DataBlob key = blob(f.ecPrivate), msg = blob(f.message);
    for (auto _ : state) {
        DataBlob sig{};
        V_ECC_Sign(&f.ctx, 15, 7, &msg, nullptr, &key, &sig);
        V_free(&f.ctx, sig.Data);
    }
}
void ecdsaSignEngine(benchmark::State &state) {
    Fixture &f = fixture();
    const Opaque8 m = octets(f.message), d = octets(f.ecPrivate);
    uint8_t buffer[50];
    for (auto _ : state) {
        EcParams params;  // the service loads the curve on every call too
        E_ECParams_Init(7, &params);
        Opaque8 s{0, buffer};
        benchmark::DoNotOptimize(E_ECDSA_Sign(7, &params, &m, &s, &d));
    }
}
void ecdsaVerifyService(benchmark::State &state) {
    Fixture &f = fixture();
    DataBlob key = blob(f.ecPublic), msg = blob(f.message), sig = blob(f.ecSig);
    for (auto _ : state) benchmark::DoNotOptimize(V_ECC_Verify(nullptr, 15, 7, &msg, &sig, &key));
}
void ecdsaVerifyEngine(benchmark::State &state) {
    Fixture &f = fixture();
    const Opaque8 m = octets(f.message), q = octets(f.ecPublic), s = octets(f.ecSig);
    for (auto _ : state) {
        EcParams params;
        E_ECParams_Init(7, &params);
        benchmark::DoNotOptimize(E_ECDSA_Verify(7, &params, &m, &s, &q));
    }
}

const bool registered = [] {
    benchmark::RegisterBenchmark("v_rsa2048_private_encrypt/ours", rsaSignService);
    benchmark::RegisterBenchmark("v_rsa2048_private_encrypt/engine", rsaSignEngine);
    benchmark::RegisterBenchmark("v_rsa2048_public_decrypt/ours", rsaVerifyService);
    benchmark::RegisterBenchmark("v_rsa2048_public_decrypt/engine", rsaVerifyEngine);
    benchmark::RegisterBenchmark("v_kcdsa1024_sign/ours", kcdsaSignService);
    benchmark::RegisterBenchmark("v_kcdsa1024_sign/engine", kcdsaSignEngine);
    benchmark::RegisterBenchmark("v_kcdsa1024_verify/ours", kcdsaVerifyService);
    benchmark::RegisterBenchmark("v_kcdsa1024_verify/engine", kcdsaVerifyEngine);
    benchmark::RegisterBenchmark("v_ecdsa7_sign/ours", ecdsaSignService);
    benchmark::RegisterBenchmark("v_ecdsa7_sign/engine", ecdsaSignEngine);
    benchmark::RegisterBenchmark("v_ecdsa7_verify/ours", ecdsaVerifyService);
    benchmark::RegisterBenchmark("v_ecdsa7_verify/engine", ecdsaVerifyEngine);
    return true;
}();

}  // namespace
