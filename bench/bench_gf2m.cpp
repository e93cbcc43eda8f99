// GF(2^163) and binary-curve benchmarks beside OpenSSL: a field multiplication and an
// inversion (BN_GF2m_*), and k*G and k*P for a random 163-bit k on ids 3, 5 and 11
// (EC_POINT_mul on sect163k1, c2pnb163v1, sect163r2). The size column is the curve id.
#include "bench_util.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/obj_mac.h>

#include "ecc/binary_curve.h"
#include "ecc/gf2m.h"

namespace {

using namespace vc::ecc;

const BinaryField kField{163, 7, 6, 3};
const int kPoly[6] = {163, 7, 6, 3, 0, -1};

gf2m::Fe element(uint8_t seed) {
    const auto b = vcbench::filler(24, seed);
    gf2m::Fe a{};
    for (int i = 0; i < 24; i++) a.w[i / 8] |= uint64_t(b[i]) << (8 * (i % 8));
    a.w[2] &= (uint64_t(1) << 35) - 1;
    return a;
}

BIGNUM *toBn(const gf2m::Fe &a) {
    uint8_t be[24];
    for (int i = 0; i < 24; i++) be[23 - i] = uint8_t(a.w[i / 8] >> (8 * (i % 8)));
    return BN_bin2bn(be, 24, nullptr);
}

void mulOurs(benchmark::State &state) {
    const gf2m::Field f(kField, state.range(0) ? gf2m::Kernel::best : gf2m::Kernel::portable);
    gf2m::Fe a = element(1), b = element(2);
    for (auto _ : state) {
        f.mul(a, a, b);
        benchmark::DoNotOptimize(a);
    }
}

void mulOpenSsl(benchmark::State &state) {
    BIGNUM *a = toBn(element(1)), *b = toBn(element(2));
    BN_CTX *ctx = BN_CTX_new();
    for (auto _ : state) {
        BN_GF2m_mod_mul_arr(a, a, b, kPoly, ctx);
        benchmark::DoNotOptimize(a);
    }
    BN_CTX_free(ctx);
    BN_free(a), BN_free(b);
}

void invOurs(benchmark::State &state) {
    const gf2m::Field f(kField, state.range(0) ? gf2m::Kernel::best : gf2m::Kernel::portable);
    gf2m::Fe a = element(3);
    for (auto _ : state) {
        f.inv(a, a);
        benchmark::DoNotOptimize(a);
    }
}

void invOpenSsl(benchmark::State &state) {
    BIGNUM *a = toBn(element(3)), *p = BN_new();
    BN_GF2m_arr2poly(kPoly, p);
    BN_CTX *ctx = BN_CTX_new();
    for (auto _ : state) {
        BN_GF2m_mod_inv(a, a, p, ctx);
        benchmark::DoNotOptimize(a);
    }
    BN_CTX_free(ctx);
    BN_free(a), BN_free(p);
}

struct Curve {
    BinaryField field;
    uint32_t a[6], b[6], g[12], k[6];
    explicit Curve(int id) {
        const BinaryCurveConstants *c = binaryCurveConstants(id);
        parseBinaryField(c->polynomial, &field);
        auto load = [](const uint8_t *be, uint32_t *w) {
            for (int i = 0; i < 6; i++) w[i] = 0;
            for (int i = 0; i < 21; i++) w[(20 - i) / 4] |= uint32_t(be[i]) << (8 * ((20 - i) % 4));
        };
        load(c->a, a), load(c->b, b), load(c->gx, g), load(c->gy, g + 6);
        const auto r = vcbench::filler(24, uint8_t(id));
        for (int i = 0; i < 6; i++) k[i] = uint32_t(r[4 * i]) | uint32_t(r[4 * i + 1]) << 8 | uint32_t(r[4 * i + 2]) << 16 | uint32_t(r[4 * i + 3]) << 24;
        k[5] = (k[5] & 3) | 4;
    }
};

// Flags: bit 0 multiplies the built-in G, bit 1 asks for the constant-time path. k*P runs on
// 2G, so that no path can recognise G.
template <int Flags>
void mulPointOurs(benchmark::State &state) {
    Curve c(int(state.range(0)));
    uint32_t p[12], two[6] = {2}, r[12];
    binaryScalarMul(int(state.range(0)), 0, c.field, c.a, c.b, c.g, two, p, true);
    for (auto _ : state) {
        binaryScalarMul(int(state.range(0)), Flags & 1, c.field, c.a, c.b, p, c.k, r, (Flags & 2) != 0);
        benchmark::DoNotOptimize(r);
    }
}

template <int Flags>
void mulPointOpenSsl(benchmark::State &state) {
    const int id = int(state.range(0));
    EC_GROUP *g = EC_GROUP_new_by_curve_name(id == 3 ? NID_sect163k1 : id == 5 ? NID_X9_62_c2pnb163v1 : NID_sect163r2);
    Curve c(id);
    uint8_t be[24];
    for (int i = 0; i < 24; i++) be[23 - i] = uint8_t(c.k[i / 4] >> (8 * (i % 4)));
    BIGNUM *k = BN_bin2bn(be, 24, nullptr), *two = BN_new();
    BN_set_word(two, 2);
    BN_CTX *ctx = BN_CTX_new();
    EC_POINT *p = EC_POINT_new(g), *r = EC_POINT_new(g);
    EC_POINT_mul(g, p, two, nullptr, nullptr, ctx);
    for (auto _ : state) {
        if (Flags & 1) EC_POINT_mul(g, r, k, nullptr, nullptr, ctx);
        else EC_POINT_mul(g, r, nullptr, p, k, ctx);
        benchmark::DoNotOptimize(r);
    }
    EC_POINT_free(p), EC_POINT_free(r);
    BN_free(k), BN_free(two);
    BN_CTX_free(ctx);
    EC_GROUP_free(g);
}

const bool registered = [] {
    benchmark::RegisterBenchmark("gf2m_mul/ours", mulOurs)->Arg(1);
    benchmark::RegisterBenchmark("gf2m_mul/openssl", mulOpenSsl)->Arg(1);
    benchmark::RegisterBenchmark("gf2m_mul_portable/ours", mulOurs)->Arg(0);
    benchmark::RegisterBenchmark("gf2m_mul_portable/openssl", mulOpenSsl)->Arg(0);
    benchmark::RegisterBenchmark("gf2m_inv/ours", invOurs)->Arg(1);
    benchmark::RegisterBenchmark("gf2m_inv/openssl", invOpenSsl)->Arg(1);
    for (int id : {3, 5, 11}) {
        benchmark::RegisterBenchmark("ec2m_kG/ours", mulPointOurs<3>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec2m_kG/openssl", mulPointOpenSsl<1>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec2m_kP/ours", mulPointOurs<2>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec2m_kP/openssl", mulPointOpenSsl<0>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec2m_kP_vartime/ours", mulPointOurs<0>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec2m_kP_vartime/openssl", mulPointOpenSsl<0>)->Arg(id)->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
