// Prime generation and the entropy pool beside OpenSSL, the pool also drawn from two threads at
// once (its lock against OpenSSL's per-thread generators).
#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

#include <openssl/bn.h>
#include <openssl/rand.h>

#include <utility>
#include <vector>

#include "bench_util.h"

namespace {

void primeOurs(benchmark::State &state) {
    const uint32_t bits = uint32_t(state.range(0));
    std::vector<uint32_t> words(bits / 32 + 2);
    ENUM p{0, 0, words.data()};
    for (auto _ : state) EN_GeneratePrimeRSA(&p, bits);
}

void primeOpenssl(benchmark::State &state) {
    BIGNUM *p = BN_new();
    for (auto _ : state) BN_generate_prime_ex(p, int(state.range(0)), 0, nullptr, nullptr, nullptr);
    BN_free(p);
}

void randOurs(benchmark::State &state) {
    std::vector<uint8_t> out(size_t(state.range(0)), 0);
    for (auto _ : state) RAND_Bytes(out.data(), int32_t(out.size()));
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

void randOpenssl(benchmark::State &state) {
    std::vector<uint8_t> out(size_t(state.range(0)), 0);
    for (auto _ : state) RAND_bytes(out.data(), int(out.size()));
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

// Prime search time varies widely between draws: the median of 21 single generations.
const bool registered = [] {
    using Fn = void (*)(benchmark::State &);
    const std::pair<const char *, Fn> primes[] = {{"prime_rsa/ours", primeOurs},
                                                  {"prime_rsa/openssl", primeOpenssl}};
    for (auto [name, fn] : primes)
        benchmark::RegisterBenchmark(name, fn)
            ->Arg(512)
            ->Arg(1024)
            ->Iterations(1)
            ->Repetitions(21)
            ->ReportAggregatesOnly(true)
            ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("rand_bytes/ours", randOurs)->Arg(32)->Arg(4096);
    benchmark::RegisterBenchmark("rand_bytes/openssl", randOpenssl)->Arg(32)->Arg(4096);
    benchmark::RegisterBenchmark("rand_bytes_shared/ours", randOurs)->Arg(32)->Threads(2);
    benchmark::RegisterBenchmark("rand_bytes_shared/openssl", randOpenssl)->Arg(32)->Threads(2);
    return true;
}();

}  // namespace
