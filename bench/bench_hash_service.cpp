// V_GenHash beside the bare engine one-shot of the same message: the service should add only
// its three allocations and the provider's dispatch.
//
// Two ways of timing. The plain rows hash the same message over and over: the processor then
// overlaps one engine call with the next (they do not depend on each other), which a short
// engine call profits from far more than the longer service call. The "chained" rows start each
// message with a byte of the previous digest, so that every call costs its whole latency, as a
// single call of an application does.
#include <vorelcrypto/vorelcrypto.h>

#include "bench_util.h"

namespace {

template <bool Chained>
void genHash(benchmark::State &state, uint32_t hashId) {
    LibContext ctx{};
    V_VCCInit(&ctx);
    auto msg = vcbench::filler(size_t(state.range(0)));
    DataBlob in{uint32_t(msg.size()), msg.data()};
    for (auto _ : state) {
        DataBlob out{0, nullptr};
        V_GenHash(&ctx, hashId, &in, &out);
        benchmark::DoNotOptimize(out.Data);
        if constexpr (Chained) msg[0] = out.Data[0];
        V_free(&ctx, out.Data);
    }
    V_VCCTerm(&ctx);
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

template <void (*OneShot)(uint8_t *, const uint8_t *, uint32_t), bool Chained = false>
void engine(benchmark::State &state) {
    auto msg = vcbench::filler(size_t(state.range(0)));
    uint8_t digest[20];
    for (auto _ : state) {
        OneShot(digest, msg.data(), uint32_t(msg.size()));
        benchmark::DoNotOptimize(digest);
        if constexpr (Chained) msg[0] = digest[0];
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0));
}

const bool registered = [] {
    benchmark::RegisterBenchmark("V_GenHash-sha1/ours", genHash<false>, V_HASH_SHA1)->Arg(64)->Arg(1024);
    benchmark::RegisterBenchmark("V_GenHash-sha1/engine", engine<E_SHA1>)->Arg(64)->Arg(1024);
    benchmark::RegisterBenchmark("V_GenHash-sha1-chained/ours", genHash<true>, V_HASH_SHA1)->Arg(64);
    benchmark::RegisterBenchmark("V_GenHash-sha1-chained/engine", engine<E_SHA1, true>)->Arg(64);
    benchmark::RegisterBenchmark("V_GenHash-has160/ours", genHash<false>, V_HASH_HAS160)->Arg(64);
    benchmark::RegisterBenchmark("V_GenHash-has160/engine", engine<E_HAS160>)->Arg(64);
    return true;
}();

}  // namespace
