// Benchmark conventions.
//
// Register every operation under the name "OPERATION/IMPLEMENTATION" with its sizes as
// arguments: "sha1/ours" and "sha1/openssl" with Arg(64)->Arg(1024)->Arg(65536). The
// implementation named "ours" is the library; every other implementation of the same operation
// and size is a reference, and the closing table prints, per reference, our speed relative to
// it (reference time / our time: above 1 means we are faster). Benchmarks that process bytes call
// state.SetBytesProcessed so that the table also shows throughput.
//
// Register from a static initialiser in the benchmark's own file:
//
//   static const bool registered = [] {
//       benchmark::RegisterBenchmark("sha1/ours", bmOurs)->Arg(64)->Arg(65536);
//       return true;
//   }();
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace vcbench {

// Deterministic filler bytes for inputs.
inline std::vector<uint8_t> filler(size_t n, uint8_t seed = 1) {
    std::vector<uint8_t> v(n);
    uint32_t x = seed * 2654435761u + 1;
    for (auto &b : v) {
        x = x * 1103515245u + 12345u;
        b = uint8_t(x >> 24);
    }
    return v;
}

// Loads OpenSSL's default and legacy providers (SEED, Blowfish, RC2, RC4, MD4, DES).
bool loadOpenSslLegacy();

}  // namespace vcbench
