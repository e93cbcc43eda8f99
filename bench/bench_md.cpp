// MD2, MD4, MD5, RIPEMD-160 and HAS-160 one-shot digests beside the oracle libraries: OpenSSL
// for MD4, MD5 and RIPEMD-160, nettle for MD2. HAS-160 has no other implementation; it runs
// beside SHA-1, the hash of the same shape, as a yardstick: OpenSSL's, and ours in its
// portable form when the build has it.
#include "bench_util.h"
#include "hash/md5.h"

#include <vorelcrypto/hash.h>

#include <nettle/md2.h>
#include <openssl/evp.h>

#if __has_include("hash/sha1.h")
#include "hash/sha1.h"
#define VC_BENCH_PORTABLE_SHA1 1
#endif

namespace {

constexpr size_t kMaxDigest = 64;

template <void (*Digest)(uint8_t *, const uint8_t *, uint32_t)>
void bmOurs(benchmark::State &state) {
    auto data = vcbench::filler(size_t(state.range(0)));
    uint8_t digest[kMaxDigest];
    for (auto _ : state) {
        Digest(digest, data.data(), uint32_t(data.size()));
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

// One digest per iteration on a reused EVP context, the way a caller hashes many messages.
void bmOpenSsl(benchmark::State &state, const char *name) {
    vcbench::loadOpenSslLegacy();
    EVP_MD *md = EVP_MD_fetch(nullptr, name, nullptr);
    if (md == nullptr) {
        state.SkipWithError("OpenSSL lacks the digest");
        return;
    }
    EVP_MD_CTX *ctx = EVP_MD_CTX_new();
    auto data = vcbench::filler(size_t(state.range(0)));
    uint8_t digest[kMaxDigest];
    unsigned int size = 0;
    for (auto _ : state) {
        EVP_DigestInit_ex2(ctx, md, nullptr);
        EVP_DigestUpdate(ctx, data.data(), data.size());
        EVP_DigestFinal_ex(ctx, digest, &size);
        benchmark::DoNotOptimize(digest);
    }
    EVP_MD_CTX_free(ctx);
    EVP_MD_free(md);
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void bmNettleMd2(benchmark::State &state) {
    auto data = vcbench::filler(size_t(state.range(0)));
    uint8_t digest[MD2_DIGEST_SIZE];
    md2_ctx ctx;
    for (auto _ : state) {
        md2_init(&ctx);
        md2_update(&ctx, data.size(), data.data());
        md2_digest(&ctx, sizeof digest, digest);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

#ifdef VC_BENCH_PORTABLE_SHA1
void bmPortableSha1(benchmark::State &state) {
    bool enabled = vc::hash::shaExtensionsEnabled();
    vc::hash::setShaExtensionsEnabled(false);
    bmOurs<E_SHA1>(state);
    vc::hash::setShaExtensionsEnabled(enabled);
}
#endif

void sizes(benchmark::internal::Benchmark *b) { b->Arg(64)->Arg(1024)->Arg(65536); }

const bool registered = [] {
    sizes(benchmark::RegisterBenchmark("md2/ours", bmOurs<E_MD2>));
    sizes(benchmark::RegisterBenchmark("md2/nettle", bmNettleMd2));
    sizes(benchmark::RegisterBenchmark("md4/ours", bmOurs<E_MD4>));
    sizes(benchmark::RegisterBenchmark("md4/openssl", bmOpenSsl, "MD4"));
    sizes(benchmark::RegisterBenchmark("md5/ours", bmOurs<vc::hash::md5>));
    sizes(benchmark::RegisterBenchmark("md5/openssl", bmOpenSsl, "MD5"));
    sizes(benchmark::RegisterBenchmark("ripemd160/ours", bmOurs<E_RIPEMD160>));
    sizes(benchmark::RegisterBenchmark("ripemd160/openssl", bmOpenSsl, "RIPEMD160"));
    sizes(benchmark::RegisterBenchmark("has160/ours", bmOurs<E_HAS160>));
    sizes(benchmark::RegisterBenchmark("has160/openssl-sha1", bmOpenSsl, "SHA1"));
#ifdef VC_BENCH_PORTABLE_SHA1
    sizes(benchmark::RegisterBenchmark("has160/sha1-portable", bmPortableSha1));
#endif
    return true;
}();

}  // namespace
