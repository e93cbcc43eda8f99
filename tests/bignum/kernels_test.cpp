// The 64-bit limb kernels against the 32-bit reference steps they stand in for, including the
// rare inputs where the reference steps leave the textbook result.
#include "bignum/bn_internal.h"
#include "bn_test_util.h"

using namespace bntest;

namespace {

// Words drawn often from values that make carries run or get lost.
Num edgy(vctest::Rng &rng, int n, uint32_t sign = 0) {
    const uint32_t pick[] = {0, 1, 0xFFFFFFFF, 0xFFFFFFFE, 0x80000000, 0x7FFFFFFF};
    Words w(static_cast<size_t>(n));
    for (auto &x : w) x = rng.below(2) ? pick[rng.below(6)] : rng.word();
    return fromWords(w, sign);
}

struct Operands { Num a, b, s, base, e, m; };
using Fn = void (*)(ENUM *r, const Operands &o);

// Even-word Montgomery moduli take the 64-bit path in EN_Mod_Exp; the reference runs the same
// exponentiation through EN_MontMul. Unnormalised operands check the one-step length rule.
const struct Kernel { const char *name; int every; Fn fast, literal; } kKernels[] = {
    {"mul", 2, [](ENUM *r, const Operands &o) { EN_Mul(r, o.a.p(), o.b.p()); },
     [](ENUM *r, const Operands &o) { vc::bignum::mulLiteral(r, o.a.p(), o.b.p()); }},
    {"sqr", 1, [](ENUM *r, const Operands &o) { EN_Sqr(r, o.s.p()); },
     [](ENUM *r, const Operands &o) { vc::bignum::sqrLiteral(r, o.s.p()); }},
    {"mont exp", 25, [](ENUM *r, const Operands &o) { EN_Mod_Exp(r, o.base.p(), o.e.p(), o.m.p()); },
     [](ENUM *r, const Operands &o) { vc::bignum::modExpLiteral(r, o.base.p(), o.e.p(), o.m.p()); }},
};

void expOperands(vctest::Rng &rng, int it, Operands &o) {
    const int words = 2 * (1 + int(rng.below(it % 3 ? 4 : 37)));
    o.m = edgy(rng, words);
    o.m.store[0] = it % 10 == 0 ? 1 : o.m.store[0] | 1;  // with 1, nprime of the set-up is not -N^-1
    o.m.store[size_t(words - 1)] |= 0x80000000u;
    Mpz zm, za;
    toMpz(zm, o.m.p());
    Mpz rinv;  // R^-1 mod N, R = 2^(32 words)
    mpz_set_ui(rinv, 1), mpz_mul_2exp(rinv, rinv, uint32_t(32 * words)), mpz_invert(rinv, rinv, zm);
    if (it % 5 == 0) {  // Montgomery form 2: short products, shortened reductions
        mpz_mul_ui(za, rinv, 2);
    } else if (it % 5 == 2) {  // Montgomery form whose square loses a diagonal carry (a^2)
        Mpz x, sq, got;
        for (int tries = 0; tries < 4000; tries++) {
            toMpz(x, edgy(rng, words).p()), mpz_mod(x, x, zm);
            Num xs = fromMpz(x), r(400);
            vc::bignum::sqrLiteral(r.p(), xs.p());
            mpz_mul(sq, x, x), toMpz(got, r.p());
            if (mpz_cmp(sq, got) != 0) break;
        }
        mpz_mul(za, x, rinv);
    } else if (it % 5 == 1) {  // 0 (length 0), 1 or 2
        mpz_set_ui(za, uint32_t(it % 3));
    } else {
        toMpz(za, edgy(rng, words).p());
    }
    mpz_mod(za, za, zm);
    o.base = fromMpz(za);
    o.e = edgy(rng, 1 + int(rng.below(it % 4 ? 8 : 64)));
    o.e.store[size_t(o.e.e.length - 1)] |= 1;
}

TEST(BignumKernels, FastEqualsLiteral) {
    vctest::Rng rng(50);
    int lost = 0;
    for (int it = 0; it < 8000 / kScale; it++) {
        Operands o;
        o.a = edgy(rng, 1 + int(rng.below(150)), rng.below(2)), o.b = edgy(rng, 1 + int(rng.below(150)), rng.below(2));
        o.s = edgy(rng, 1 + int(rng.below(it % 4 ? 8 : 75)));
        if (it % 25 == 0) expOperands(rng, it / 25, o);
        for (const Kernel &k : kKernels) {
            if (it % k.every) continue;
            Num fast(400), literal(400);
            k.fast(fast.p(), o);
            k.literal(literal.p(), o);
            ASSERT_EQ(fast.e.sign, literal.e.sign) << k.name << " " << it;
            ASSERT_EQ(fast.words(), literal.words()) << k.name << " " << it;
            if (&k != &kKernels[1]) continue;
            Mpz zs, sq, got;
            toMpz(zs, o.s.p()), mpz_mul(sq, zs, zs), toMpz(got, literal.p());
            lost += mpz_cmp(sq, got) != 0;
        }
    }
    EXPECT_GT(lost, 0);  // the inputs reached the lost diagonal carry
}

}  // namespace
