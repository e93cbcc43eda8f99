// Scalar multiplication through the curve layer (octet strings in and out, constant-time
// paths) beside OpenSSL's EC_POINT_mul on the same curve: k G and k P for a random k of the
// curve's size, on curves 3, 5, 7 and 11.
#include "bench_util.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/obj_mac.h>
#include <vorelcrypto/ecc.h>

#include "ecc/scalar_mul.h"

#include <vector>

namespace {

int nidOf(int curveId) {
    switch (curveId) {
    case 3: return NID_sect163k1;
    case 5: return NID_X9_62_c2pnb163v1;
    case 7: return NID_secp160r1;
    default: return NID_sect163r2;
    }
}

// A scalar of the curve's size below n (top octet cleared) and a point P = 7 G.
struct Operands {
    std::vector<uint8_t> k, point;
    explicit Operands(int curveId) : k(vcbench::filler(21, uint8_t(curveId))) {
        k[0] = curveId == 7 ? 0 : 3;
        point.resize(43);
        const uint8_t seven = 7;
        vc::ecc::scalarMulBase(curveId, &seven, 1, point.data(), false);
        point.resize(curveId == 7 ? 41 : 43);
    }
};

template <bool kBase>
void ours(benchmark::State &state) {
    const int id = int(state.range(0));
    Operands op(id);
    uint8_t out[43];
    for (auto _ : state) {
        if (kBase)
            vc::ecc::scalarMulBase(id, op.k.data(), 21, out, true);
        else
            vc::ecc::scalarMul(id, op.point.data(), uint32_t(op.point.size()), op.k.data(), 21, out, true);
        benchmark::DoNotOptimize(out);
    }
}

template <bool kBase>
void openssl(benchmark::State &state) {
    const int id = int(state.range(0));
    Operands op(id);
    EC_GROUP *group = EC_GROUP_new_by_curve_name(nidOf(id));
    BN_CTX *ctx = BN_CTX_new();
    EC_POINT *p = EC_POINT_new(group), *r = EC_POINT_new(group);
    EC_POINT_oct2point(group, p, op.point.data(), op.point.size(), ctx);
    BIGNUM *k = BN_bin2bn(op.k.data(), int(op.k.size()), nullptr);
    for (auto _ : state) {
        if (kBase)
            EC_POINT_mul(group, r, k, nullptr, nullptr, ctx);
        else
            EC_POINT_mul(group, r, nullptr, p, k, ctx);
        benchmark::DoNotOptimize(r);
    }
    BN_free(k);
    EC_POINT_free(p), EC_POINT_free(r);
    BN_CTX_free(ctx);
    EC_GROUP_free(group);
}

const bool registered = [] {
    for (int id : {3, 5, 7, 11}) {
        benchmark::RegisterBenchmark("ec_kG/ours", ours<true>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec_kG/openssl", openssl<true>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec_kP/ours", ours<false>)->Arg(id)->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("ec_kP/openssl", openssl<false>)->Arg(id)->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
