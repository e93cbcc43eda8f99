// GF(2^m): both multiplication kernels, the specialised and generic reductions against a
// bit-by-bit polynomial model, squaring, inversion, trace and half-trace.
#include <gtest/gtest.h>

#include "ecc/binary_curve.h"
#include "ecc/gf2m.h"
#include "support/test_util.h"

namespace {

using vc::ecc::BinaryField;
using namespace vc::ecc::gf2m;

Fe randomFe(vctest::Rng &rng, unsigned m) {
    Fe a;
    for (auto &w : a.w) w = uint64_t(rng.word()) << 32 | rng.word();
    for (unsigned i = m; i < 192; i++) a.w[i / 64] &= ~(uint64_t(1) << (i % 64));
    return a;
}

bool bit(const uint64_t *c, unsigned i) { return (c[i / 64] >> (i % 64)) & 1; }
void flip(uint64_t *c, unsigned i) { c[i / 64] ^= uint64_t(1) << (i % 64); }

// One bit at a time from the top: x^i = x^(i-m) (x^k3 + x^k2 + x^k1 + 1).
Fe modelReduce(const BinaryField &f, const uint64_t in[6]) {
    uint64_t c[6];
    std::copy(in, in + 6, c);
    for (unsigned i = 383; i >= f.m; i--)
        if (bit(c, i))
            for (unsigned k : {0u, f.k1, f.k2, f.k3, f.m}) flip(c, i - f.m + k);
    return Fe{{c[0], c[1], c[2]}};
}

Fe modelMul(const BinaryField &f, const Fe &a, const Fe &b) {
    uint64_t c[6] = {};
    for (unsigned i = 0; i < 192; i++)
        if (bit(a.w, i))
            for (unsigned j = 0; j < 192; j++)
                if (bit(b.w, j)) flip(c, i + j);
    return modelReduce(f, c);
}

struct Poly {
    const char *text;
    BinaryField f;
    bool irreducible;
};
// The two built-in pentanomials, then the generic path: irreducible ones of other degrees and
// reducible ones whose k3 lies close to m (folds that land back in the word being cleared).
const Poly kPolys[] = {
    {"163;7;6;3;0", {163, 7, 6, 3}, true},     {"163;8;2;1;0", {163, 8, 2, 1}, true},
    {"131;8;3;2;0", {131, 8, 3, 2}, true},     {"128;7;2;1;0", {128, 7, 2, 1}, true},
    {"64;4;3;1;0", {64, 4, 3, 1}, true},       {"192;190;100;5;0", {192, 190, 100, 5}, false},
    {"70;69;68;1;0", {70, 69, 68, 1}, false},
};

TEST(Gf2mField, KernelsAgreeOnRandomProducts) {
    if (!clmulAvailable()) GTEST_SKIP() << "no PCLMULQDQ on this processor";
    vctest::Rng rng(1);
    for (int i = 0; i < 2000; i++) {
        Fe a = randomFe(rng, 192), b = randomFe(rng, 192);
        if (i == 0) a = b = Fe{{~0ull, ~0ull, ~0ull}};  // the most partial sums per bit
        uint64_t c1[6], c2[6];
        productPortable(c1, a, b);
        productClmul(c2, a, b);
        ASSERT_TRUE(std::equal(c1, c1 + 6, c2)) << i;
    }
}

TEST(Gf2mField, ReductionMatchesBitModel) {
    vctest::Rng rng(2);
    for (const Poly &p : kPolys) {
        const Field f(p.f);
        for (int i = 0; i < 300; i++) {
            uint64_t c[6];
            for (auto &w : c) w = uint64_t(rng.word()) << 32 | rng.word();
            if (i == 0) std::fill(c, c + 6, ~uint64_t(0));
            const Fe expected = modelReduce(p.f, c);
            Fe r;
            f.reduce(r, c);
            ASSERT_EQ(r, expected) << p.text << " case " << i;
        }
    }
}

TEST(Gf2mField, ArithmeticMatchesBitModelOnBothKernels) {
    vctest::Rng rng(3);
    for (const Poly &p : kPolys) {
        for (Kernel kernel : {Kernel::best, Kernel::portable}) {
            const Field f(p.f, kernel);
            for (int i = 0; i < 40; i++) {
                const Fe a = randomFe(rng, p.f.m), b = randomFe(rng, p.f.m);
                Fe r, s;
                f.mul(r, a, b);
                ASSERT_EQ(r, modelMul(p.f, a, b)) << p.text;
                f.sqr(r, a);
                ASSERT_EQ(r, modelMul(p.f, a, a)) << p.text;
                f.sqrn(r, a, 5);
                s = a;
                for (int j = 0; j < 5; j++) s = modelMul(p.f, s, s);
                ASSERT_EQ(r, s) << p.text;
                if (!p.irreducible) continue;
                f.inv(r, a);
                f.mul(s, r, a);
                ASSERT_EQ(s, isZero(a) ? feZero() : feOne()) << p.text;
            }
            Fe r;
            f.inv(r, feZero());
            EXPECT_TRUE(isZero(r));
        }
    }
}

// The quadratic solver through the word interface: a root z (z^2 + z = c) for half of the
// elements; for odd m, exactly one of c and c + 1 has one; for even m none is offered.
TEST(Gf2mField, QuadraticSolver) {
    vctest::Rng rng(4);
    for (const Poly &p : kPolys) {
        if (!p.irreducible) continue;
        const Field f(p.f);
        unsigned solved = 0;
        for (int i = 0; i < 50; i++) {
            const Fe c = randomFe(rng, p.f.m);
            uint32_t cw[6], zw[6], cw1[6], zw1[6];
            toWords(c, cw);
            toWords(c + feOne(), cw1);
            const bool ok = vc::ecc::binarySolveQuadratic(p.f, cw, zw);
            ASSERT_TRUE(p.f.m % 2 == 0 || ok != vc::ecc::binarySolveQuadratic(p.f, cw1, zw1)) << p.text;
            if (!ok) continue;
            solved++;
            Fe z = fromWords(zw), z2;
            f.sqr(z2, z);
            ASSERT_EQ(z2 + z, c) << p.text;
        }
        EXPECT_TRUE(p.f.m % 2 == 0 ? solved == 0 : solved > 10 && solved < 40) << p.text << " " << solved;
    }
}

}  // namespace
