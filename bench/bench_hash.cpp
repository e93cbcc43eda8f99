// SHA-1, SHA-0, SHA-256, SHA-384/512 and HMAC-SHA1 beside OpenSSL's one-shot functions. SHA-0
// has no OpenSSL counterpart; its reference is our own SHA-1 with the portable code, the same
// compression apart from the schedule's rotation.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <vorelcrypto/hash.h>

#include "bench_util.h"
#include "hash/sha1.h"

namespace {

using OneShot = void (*)(uint8_t *digest, const uint8_t *data, uint32_t length);
using Sha2OneShot = void (*)(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length);
using OpenSslOneShot = unsigned char *(*)(const unsigned char *, size_t, unsigned char *);

// Runs body over a filler message of state.range(0) bytes, with or without the SHA extensions.
template <typename Body>
void run(benchmark::State &state, bool extensions, Body body) {
    auto data = vcbench::filler(size_t(state.range(0)));
    uint8_t digest[64];
    bool was = vc::hash::shaExtensionsEnabled();
    vc::hash::setShaExtensionsEnabled(extensions);
    for (auto _ : state) {
        body(digest, data.data(), data.size());
        benchmark::DoNotOptimize(digest);
    }
    vc::hash::setShaExtensionsEnabled(was);
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void bmOurs(benchmark::State &state, OneShot f, bool extensions) {
    run(state, extensions, [f](uint8_t *d, const uint8_t *p, size_t n) { f(d, p, uint32_t(n)); });
}

void bmOursSha2(benchmark::State &state, Sha2OneShot f, bool extensions) {
    run(state, extensions, [f](uint8_t *d, const uint8_t *p, size_t n) {
        uint32_t length;
        f(d, &length, p, uint32_t(n));
    });
}

void bmOpenSsl(benchmark::State &state, OpenSslOneShot f) {
    run(state, true, [f](uint8_t *d, const uint8_t *p, size_t n) { f(p, n, d); });
}

void bmHmacOurs(benchmark::State &state) {
    static const uint8_t key[20] = {1, 2, 3};
    run(state, true, [](uint8_t *d, const uint8_t *p, size_t n) { E_HMAC_SHA1(p, uint32_t(n), key, 20, d); });
}

void bmHmacOpenSsl(benchmark::State &state) {
    static const uint8_t key[20] = {1, 2, 3};
    run(state, true, [](uint8_t *d, const uint8_t *p, size_t n) {
        unsigned length;
        HMAC(EVP_sha1(), key, 20, p, n, d, &length);
    });
}

void sizes(benchmark::internal::Benchmark *b) { b->Arg(64)->Arg(1024)->Arg(65536); }

const bool registered = [] {
    bool ni = vc::hash::cpuHasShaExtensions();
    sizes(benchmark::RegisterBenchmark("sha1/ours", bmOurs, E_SHA1, ni));
    sizes(benchmark::RegisterBenchmark("sha1/openssl", bmOpenSsl, SHA1));
    sizes(benchmark::RegisterBenchmark("sha1-portable/ours", bmOurs, E_SHA1, false));
    sizes(benchmark::RegisterBenchmark("sha1-portable/openssl", bmOpenSsl, SHA1));
    sizes(benchmark::RegisterBenchmark("sha0/ours", bmOurs, E_SHA, ni));
    sizes(benchmark::RegisterBenchmark("sha0/sha1-portable", bmOurs, E_SHA1, false));
    sizes(benchmark::RegisterBenchmark("sha256/ours", bmOursSha2, E_SHA256, ni));
    sizes(benchmark::RegisterBenchmark("sha256/openssl", bmOpenSsl, SHA256));
    sizes(benchmark::RegisterBenchmark("sha256-portable/ours", bmOursSha2, E_SHA256, false));
    sizes(benchmark::RegisterBenchmark("sha256-portable/openssl", bmOpenSsl, SHA256));
    sizes(benchmark::RegisterBenchmark("sha384/ours", bmOursSha2, E_SHA384, ni));
    sizes(benchmark::RegisterBenchmark("sha384/openssl", bmOpenSsl, SHA384));
    sizes(benchmark::RegisterBenchmark("sha512/ours", bmOursSha2, E_SHA512, ni));
    sizes(benchmark::RegisterBenchmark("sha512/openssl", bmOpenSsl, SHA512));
    sizes(benchmark::RegisterBenchmark("hmac-sha1/ours", bmHmacOurs));
    sizes(benchmark::RegisterBenchmark("hmac-sha1/openssl", bmHmacOpenSsl));
    return true;
}();

}  // namespace
