// The EC protocols beside OpenSSL on curves 3, 5, 7 and 11: ECDSA signing and verification
// with SHA-1 of a 64-octet message (OpenSSL: SHA-1 then ECDSA_sign / ECDSA_verify), EC-KCDSA
// signing and verification beside OpenSSL's ECDSA of the same curve, and ECDH beside
// ECDH_compute_key.
#define OPENSSL_SUPPRESS_DEPRECATED  // EC_KEY: the least overhead OpenSSL offers for these calls
#include "bench_util.h"

#include <openssl/ec.h>
#include <openssl/ecdh.h>
#include <openssl/ecdsa.h>
#include <openssl/obj_mac.h>
#include <openssl/sha.h>
#include <vorelcrypto/ec_protocols.h>

#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

int nidOf(int curveId) {
    switch (curveId) {
    case 3: return NID_sect163k1;
    case 5: return NID_X9_62_c2pnb163v1;
    case 7: return NID_secp160r1;
    default: return NID_sect163r2;
    }
}

// One OpenSSL key pair on the curve, also as our octets, and the message.
struct Setup {
    int id;
    EcParams params{};
    EC_KEY *key;
    Bytes d, q, msg = vcbench::filler(64);
    explicit Setup(int curveId) : id(curveId), key(EC_KEY_new_by_curve_name(nidOf(curveId))) {
        E_ECParams_Init(id, &params);
        EC_KEY_generate_key(key);
        d.resize(size_t(BN_num_bytes(EC_KEY_get0_private_key(key))));
        BN_bn2bin(EC_KEY_get0_private_key(key), d.data());
        q.resize(EC_POINT_point2oct(EC_KEY_get0_group(key), EC_KEY_get0_public_key(key),
                                    POINT_CONVERSION_UNCOMPRESSED, nullptr, 0, nullptr));
        EC_POINT_point2oct(EC_KEY_get0_group(key), EC_KEY_get0_public_key(key), POINT_CONVERSION_UNCOMPRESSED,
                           q.data(), q.size(), nullptr);
    }
    ~Setup() { EC_KEY_free(key); }
    Opaque8 view(Bytes &b) { return Opaque8{uint32_t(b.size()), b.data()}; }
};

void ecdsaSignOurs(benchmark::State &state) {
    Setup s(int(state.range(0)));
    Opaque8 m = s.view(s.msg), d = s.view(s.d);
    uint8_t der[50];
    for (auto _ : state) {
        Opaque8 sig{0, der};
        E_ECDSA_Sign(s.id, &s.params, &m, &sig, &d);
        benchmark::DoNotOptimize(der);
    }
}

void ecdsaVerifyOurs(benchmark::State &state) {
    Setup s(int(state.range(0)));
    Opaque8 m = s.view(s.msg), d = s.view(s.d), q = s.view(s.q);
    uint8_t der[50];
    Opaque8 sig{0, der};
    E_ECDSA_Sign(s.id, &s.params, &m, &sig, &d);
    for (auto _ : state)
        if (E_ECDSA_Verify(s.id, &s.params, &m, &sig, &q) != 1) state.SkipWithError("does not verify");
}

// EC-KCDSA keys have Q = d^-1 G: the pair is made by the library.
struct KcdsaSetup : Setup {
    uint8_t kd[21], kq[43];
    Opaque8 dk{0, kd}, qk{0, kq};
    explicit KcdsaSetup(int curveId) : Setup(curveId) {
        ZENOR_V1_ECC_KeyPairGeneration_ECKCDSA(id, &params, &qk, &dk);
    }
};

void eckcdsaSignOurs(benchmark::State &state) {
    KcdsaSetup s(int(state.range(0)));
    Opaque8 m = s.view(s.msg);
    uint8_t der[47];
    for (auto _ : state) {
        Opaque8 sig{0, der};
        E_ECKCDSA_Sign(s.id, &s.params, &m, &sig, &s.dk, &s.qk);
        benchmark::DoNotOptimize(der);
    }
}

void eckcdsaVerifyOurs(benchmark::State &state) {
    KcdsaSetup s(int(state.range(0)));
    Opaque8 m = s.view(s.msg);
    uint8_t der[47];
    Opaque8 sig{0, der};
    E_ECKCDSA_Sign(s.id, &s.params, &m, &sig, &s.dk, &s.qk);
    for (auto _ : state)
        if (E_ECKCDSA_Verify(s.id, &s.params, &m, &sig, &s.qk) != 1) state.SkipWithError("does not verify");
}

void ecdhOurs(benchmark::State &state) {
    Setup s(int(state.range(0)));
    Opaque8 d = s.view(s.d), q = s.view(s.q);
    uint8_t z[21];
    for (auto _ : state) {
        Opaque8 zo{0, z};
        ZENOR_V1_ECDHPrimitive(s.id, &s.params, &q, &d, &zo);
        benchmark::DoNotOptimize(z);
    }
}

void signOpenSsl(benchmark::State &state) {
    Setup s(int(state.range(0)));
    uint8_t digest[20], der[64];
    for (auto _ : state) {
        SHA1(s.msg.data(), s.msg.size(), digest);
        unsigned length = 0;
        ECDSA_sign(0, digest, 20, der, &length, s.key);
        benchmark::DoNotOptimize(der);
    }
}

void verifyOpenSsl(benchmark::State &state) {
    Setup s(int(state.range(0)));
    uint8_t digest[20], der[64];
    unsigned length = 0;
    SHA1(s.msg.data(), s.msg.size(), digest);
    ECDSA_sign(0, digest, 20, der, &length, s.key);
    for (auto _ : state) {
        SHA1(s.msg.data(), s.msg.size(), digest);
        if (ECDSA_verify(0, digest, 20, der, int(length), s.key) != 1) state.SkipWithError("does not verify");
    }
}

void ecdhOpenSsl(benchmark::State &state) {
    Setup s(int(state.range(0)));
    uint8_t z[32];
    for (auto _ : state) {
        ECDH_compute_key(z, sizeof z, EC_KEY_get0_public_key(s.key), s.key, nullptr);
        benchmark::DoNotOptimize(z);
    }
}

const bool registered = [] {
    const struct {
        const char *ours, *openssl;
        void (*run)(benchmark::State &);
        void (*reference)(benchmark::State &);
    } rows[] = {
        {"ecdsa_sign/ours", "ecdsa_sign/openssl", ecdsaSignOurs, signOpenSsl},
        {"ecdsa_verify/ours", "ecdsa_verify/openssl", ecdsaVerifyOurs, verifyOpenSsl},
        {"eckcdsa_sign/ours", "eckcdsa_sign/openssl", eckcdsaSignOurs, signOpenSsl},
        {"eckcdsa_verify/ours", "eckcdsa_verify/openssl", eckcdsaVerifyOurs, verifyOpenSsl},
        {"ecdh/ours", "ecdh/openssl", ecdhOurs, ecdhOpenSsl},
    };
    for (const auto &row : rows)
        for (int id : {3, 5, 7, 11}) {
            benchmark::RegisterBenchmark(row.ours, row.run)->Arg(id)->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark(row.openssl, row.reference)->Arg(id)->Unit(benchmark::kMicrosecond);
        }
    return true;
}();

}  // namespace
