// Big-number benchmarks beside OpenSSL's BN: modular exponentiation with an odd modulus whose top
// bit is set (1024 and 2048 bits, full-size exponent) and a 32 x 32-word product.
#include "bench_util.h"

#include <openssl/bn.h>
#include <vorelcrypto/bignum.h>

#include <vector>

namespace {

// Words for a modulus (odd, top bit set), a base below it and an exponent, of `bits` bits.
struct Operands {
    std::vector<uint32_t> m, a, e;
    explicit Operands(int bits) {
        const size_t n = size_t(bits / 32);
        auto fill = [n](uint8_t seed) {
            const auto b = vcbench::filler(n * 4, seed);
            std::vector<uint32_t> w(n);
            for (size_t i = 0; i < n; i++) w[i] = uint32_t(b[4 * i]) | uint32_t(b[4 * i + 1]) << 8 | uint32_t(b[4 * i + 2]) << 16 | uint32_t(b[4 * i + 3]) << 24;
            return w;
        };
        m = fill(1), a = fill(2), e = fill(3);
        m[0] |= 1;
        m[n - 1] |= 0x80000000u;
        a[n - 1] &= 0x3FFFFFFFu;
        e[n - 1] |= 0x80000000u;
    }
};

ENUM view(std::vector<uint32_t> &w) { return ENUM{0, int32_t(w.size()), w.data()}; }

BIGNUM *toBn(const std::vector<uint32_t> &w) {
    std::vector<uint8_t> be;
    for (size_t i = w.size(); i-- > 0;)
        for (int s = 24; s >= 0; s -= 8) be.push_back(uint8_t(w[i] >> s));
    return BN_bin2bn(be.data(), int(be.size()), nullptr);
}

void modExpOurs(benchmark::State &state) {
    Operands op(int(state.range(0)));
    ENUM m = view(op.m), a = view(op.a), e = view(op.e);
    std::vector<uint32_t> out(op.m.size() + 2);
    ENUM r{0, 0, out.data()};
    for (auto _ : state) {
        EN_Mod_Exp(&r, &a, &e, &m);
        benchmark::DoNotOptimize(out.data());
    }
}

void modExpOpenSsl(benchmark::State &state) {
    Operands op(int(state.range(0)));
    BIGNUM *m = toBn(op.m), *a = toBn(op.a), *e = toBn(op.e), *r = BN_new();
    BN_CTX *ctx = BN_CTX_new();
    for (auto _ : state) {
        BN_mod_exp(r, a, e, m, ctx);
        benchmark::DoNotOptimize(r);
    }
    BN_CTX_free(ctx);
    BN_free(m), BN_free(a), BN_free(e), BN_free(r);
}

void mulOurs(benchmark::State &state) {
    Operands op(int(state.range(0)) * 32);
    ENUM a = view(op.a), b = view(op.m);
    std::vector<uint32_t> out(2 * op.a.size());
    ENUM r{0, 0, out.data()};
    for (auto _ : state) {
        EN_Mul(&r, &a, &b);
        benchmark::DoNotOptimize(out.data());
    }
}

void mulOpenSsl(benchmark::State &state) {
    Operands op(int(state.range(0)) * 32);
    BIGNUM *a = toBn(op.a), *b = toBn(op.m), *r = BN_new();
    BN_CTX *ctx = BN_CTX_new();
    for (auto _ : state) {
        BN_mul(r, a, b, ctx);
        benchmark::DoNotOptimize(r);
    }
    BN_CTX_free(ctx);
    BN_free(a), BN_free(b), BN_free(r);
}

const bool registered = [] {
    benchmark::RegisterBenchmark("bn_mod_exp/ours", modExpOurs)->Arg(1024)->Arg(2048)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("bn_mod_exp/openssl", modExpOpenSsl)->Arg(1024)->Arg(2048)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("bn_mul_words/ours", mulOurs)->Arg(32);
    benchmark::RegisterBenchmark("bn_mul_words/openssl", mulOpenSsl)->Arg(32);
    return true;
}();

}  // namespace
