// DER encoding and decoding of a 2048-bit RSA private key beside OpenSSL's i2d_RSAPrivateKey and
// d2i_RSAPrivateKey (which allocates a fresh key each time, as a caller reading a key must).
#define OPENSSL_SUPPRESS_DEPRECATED
#include "bench_util.h"

#include <openssl/bn.h>
#include <openssl/rsa.h>
#include <vorelcrypto/asn1.h>

#include <vector>

#include "fuzz/der_records.h"

namespace {

struct Key {
    RSA *rsa = RSA_new();
    std::vector<uint8_t> der;
    RsaKey record;
    Key() {
        BIGNUM *e = BN_new();
        BN_set_word(e, 65537);
        RSA_generate_key_ex(rsa, 2048, e, nullptr);
        BN_free(e);
        der.resize(size_t(i2d_RSAPrivateKey(rsa, nullptr)));
        uint8_t *p = der.data();
        i2d_RSAPrivateKey(rsa, &p);
        vcfuzz::aim(record);
        const uint8_t *in = der.data();
        uint32_t remaining = uint32_t(der.size());
        E_ASN1_GetRSAPrivateKey(&record, &in, &remaining);
    }
};
Key &key() {
    static Key k;
    return k;
}

void encodeOurs(benchmark::State &state) {
    Key &k = key();
    std::vector<uint8_t> out(k.der.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(E_ASN1_PutRSAPrivateKey(&k.record, out.data()));
        benchmark::ClobberMemory();
    }
    if (out != k.der) state.SkipWithError("encoding differs from OpenSSL's");
}

void encodeOpenSsl(benchmark::State &state) {
    Key &k = key();
    std::vector<uint8_t> out(k.der.size());
    for (auto _ : state) {
        uint8_t *p = out.data();
        benchmark::DoNotOptimize(i2d_RSAPrivateKey(k.rsa, &p));
        benchmark::ClobberMemory();
    }
}

void decodeOurs(benchmark::State &state) {
    Key &k = key();
    RsaKey record;
    vcfuzz::aim(record);
    for (auto _ : state) {
        const uint8_t *p = k.der.data();
        uint32_t remaining = uint32_t(k.der.size());
        benchmark::DoNotOptimize(E_ASN1_GetRSAPrivateKey(&record, &p, &remaining));
        benchmark::ClobberMemory();
    }
}

void decodeOpenSsl(benchmark::State &state) {
    Key &k = key();
    for (auto _ : state) {
        const uint8_t *p = k.der.data();
        RSA *r = d2i_RSAPrivateKey(nullptr, &p, long(k.der.size()));
        benchmark::DoNotOptimize(r);
        RSA_free(r);
    }
}

const bool registered = [] {
    benchmark::RegisterBenchmark("der_rsa2048_private_encode/ours", encodeOurs)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("der_rsa2048_private_encode/openssl", encodeOpenSsl)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("der_rsa2048_private_decode/ours", decodeOurs)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("der_rsa2048_private_decode/openssl", decodeOpenSsl)->Unit(benchmark::kMicrosecond);
    return true;
}();

}  // namespace
