// The 64-bit limb kernels against the documented 32-bit steps they stand in for, including the
// rare inputs where the documented steps leave the textbook result.
#include "bignum/bn_internal.h"
#include "bn_test_util.h"

using namespace bntest;

namespace {

// Words drawn often from values that make carries run or get lost.
std::vector<uint32_t> edgyWords(vctest::Rng &rng, int n) {
    const uint32_t pick[] = {0, 1, 0xFFFFFFFF, 0xFFFFFFFE, 0x80000000, 0x7FFFFFFF};
    std::vector<uint32_t> w(static_cast<size_t>(n));
    for (auto &x : w) x = rng.below(2) ? pick[rng.below(6)] : rng.word();
    return w;
}

void expectSame(const Num &a, const Num &b, int it) {
    ASSERT_EQ(a.e.sign, b.e.sign) << it;
    ASSERT_EQ(a.e.length, b.e.length) << it;
    ASSERT_EQ(a.words(), b.words()) << it;
}

TEST(BignumKernels, MulEqualsWordRows) {
    vctest::Rng rng(50);
    for (int it = 0; it < 3000 / kScale; it++) {
        // Unnormalised operands too: the one-step length rule must come out the same.
        Num a = fromWords(edgyWords(rng, 1 + int(rng.below(150))), rng.below(2));
        Num b = fromWords(edgyWords(rng, 1 + int(rng.below(150))), rng.below(2));
        Num fast(400), literal(400);
        EN_Mul(fast.p(), a.p(), b.p());
        vc::bignum::mulLiteral(literal.p(), a.p(), b.p());
        expectSame(fast, literal, it);
    }
}

TEST(BignumKernels, SqrEqualsWordRowsWithItsCarryRule) {
    vctest::Rng rng(51);
    int lost = 0;
    for (int it = 0; it < 20000 / kScale; it++) {
        Num a = fromWords(edgyWords(rng, 1 + int(rng.below(it % 4 ? 8 : 75))));
        Num fast, literal;
        EN_Sqr(fast.p(), a.p());
        vc::bignum::sqrLiteral(literal.p(), a.p());
        expectSame(fast, literal, it);
        Mpz za, sq, got;
        toMpz(za, a.p());
        mpz_mul(sq, za, za);
        toMpz(got, literal.p());
        lost += mpz_cmp(sq, got) != 0;
    }
    EXPECT_GT(lost, 0);  // the inputs reached the lost diagonal carry
}

// Montgomery moduli with an even number of words take the 64-bit path in EN_Mod_Exp; the
// reference runs the same exponentiation through EN_MontMul.
TEST(BignumKernels, MontgomeryExpEqualsWordSteps) {
    vctest::Rng rng(52);
    for (int it = 0; it < 240 / kScale; it++) {
        const int words = 2 * (1 + int(rng.below(it % 3 ? 4 : 37)));
        Num m = fromWords(edgyWords(rng, words));
        m.store[0] |= 1;
        m.store[size_t(words - 1)] |= 0x80000000u;
        if (it % 10 == 0) m.store[0] = 1;  // nprime of the set-up is then not -N^-1
        Mpz zm, za, r;
        toMpz(zm, m.p());
        Num a;
        switch (it % 5) {
        case 0: {  // Montgomery form 2: short products, shortened reductions
            mpz_set_ui(r, 1);
            mpz_mul_2exp(r, r, uint32_t(32 * words));
            mpz_invert(r, r, zm);
            mpz_mul_ui(za, r, 2);
            mpz_mod(za, za, zm);
            a = fromMpz(za);
            break;
        }
        case 1: a = fromWords({uint32_t(it % 3)}); a.e.length = it % 3 ? 1 : 0; break;
        default: {
            Num x = fromWords(edgyWords(rng, words));
            toMpz(za, x.p());
            mpz_mod(za, za, zm);
            a = fromMpz(za);
        }
        }
        Num e = fromWords(edgyWords(rng, 1 + int(rng.below(it % 4 ? 8 : 64))));
        e.store[size_t(e.e.length - 1)] |= 1;
        Num fast, literal;
        EN_Mod_Exp(fast.p(), a.p(), e.p(), m.p());
        vc::bignum::modExpLiteral(literal.p(), a.p(), e.p(), m.p());
        expectSame(fast, literal, it);
    }
}

}  // namespace
