// What the processor offers, asked once per process. The engines choose their fast code from
// this; tests and benchmarks may switch a fast path off through the engine's own switch, never
// by changing what is detected here.
#pragma once

#include <cpuid.h>

namespace vc {

struct CpuFeatures {
    bool ssse3, sse41, avx, avx2, bmi2, avx512f, avx512vl;
    bool avx512ifma;  // 52-bit multiply-add, for big-number Montgomery products
    bool sha;        // SHA-1 and SHA-256 instructions (with SSSE3 and SSE4.1 beside them)
    bool pclmulqdq;  // carry-less multiplication
    bool aesni;
};

namespace detail {
inline CpuFeatures detectCpuFeatures() {
    CpuFeatures f{};
    __builtin_cpu_init();
    // __builtin_cpu_supports also checks that the operating system saves the wide registers.
    f.ssse3 = __builtin_cpu_supports("ssse3");
    f.sse41 = __builtin_cpu_supports("sse4.1");
    f.avx = __builtin_cpu_supports("avx");
    f.avx2 = __builtin_cpu_supports("avx2");
    f.bmi2 = __builtin_cpu_supports("bmi2");
    f.avx512f = __builtin_cpu_supports("avx512f");
    f.avx512vl = __builtin_cpu_supports("avx512vl");
    f.avx512ifma = __builtin_cpu_supports("avx512ifma");
    f.pclmulqdq = __builtin_cpu_supports("pclmul");
    f.aesni = __builtin_cpu_supports("aes");
    unsigned a, b, c, d;
    f.sha = __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & (1u << 29)) && f.ssse3 && f.sse41;
    return f;
}
}  // namespace detail

inline const CpuFeatures &cpuFeatures() {
    static const CpuFeatures features = detail::detectCpuFeatures();
    return features;
}

}  // namespace vc
