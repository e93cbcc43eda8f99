// The limb exponentiations against GMP's mpz_powm and EN_Mod_Exp: odd moduli of every word
// count up to 75, bases below and above the modulus, short, long and zero exponents, with the
// IFMA kernels (where the processor has them) and with the 64-bit limb kernels.
#include "bignum/modexp_fast.h"

#include "bignum/bn_test_util.h"

namespace {

using bntest::Mpz;
using bntest::Num;

// The paired exponentiation: its second result is checked by the loop, its first (a short
// exponent beside a long one) against modExpPublic.
void pairedSecond(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m) {
    Num first, three = bntest::fromWords({3}), want;
    vc::bignum::modExpSecret2(first.p(), a, three.p(), m, r, a, e, m);
    vc::bignum::modExpPublic(want.p(), a, three.p(), m);
    EXPECT_EQ(first.words(), want.words());
}

void (*const kVariants[])(ENUM *, const ENUM *, const ENUM *, const ENUM *) = {
    vc::bignum::modExpSecret, vc::bignum::modExpPublic, pairedSecond};

// Runs the body once per kernel family, leaving the IFMA kernels allowed.
template <class Body>
void forEachKernel(Body body) {
    for (bool ifma : {true, false}) {
        SCOPED_TRACE(ifma ? "IFMA kernels" : "64-bit kernels");
        vc::bignum::allowIfma(ifma);
        body();
    }
    vc::bignum::allowIfma(true);
}

TEST(ModExpFast, AgreesWithGmpAndEnModExp) {
    forEachKernel([] {
        vctest::Rng rng(11);
        // Every width up to 20 words, then steps to the 74 and 75-word bounds (R^2 too wide for one
        // division at 75).
        for (int words = 1; words <= 75; words = words < 20   ? words + 1
                                                 : words < 74 ? std::min(words + 9, 74)
                                                              : words + 1) {
            for (int round = 0; round < 6; round++) {
                Num m = bntest::randomNum(rng, words);
                m.store[0] |= 1;
                if (round % 2 == 0) m.store[words - 1] |= 0x80000000u;  // EN_Mod_Exp's Montgomery path
                const int baseWords = round == 5 ? 2 * words : words;
                Num a = bntest::randomNum(rng, baseWords);
                if (round == 3) a.e.length = 0;
                const int expWords = round == 4 ? 1 : int(rng.below(uint32_t(words) + 1)) + 1;
                Num e = bntest::randomNum(rng, expWords);
                if (round == 4) e.store[0] = 65537;
                Mpz za, ze, zm, want;
                toMpz(za, a.p()), toMpz(ze, e.p()), toMpz(zm, m.p());
                mpz_powm(want, za, ze, zm);
                for (auto variant : kVariants) {
                    Num r;
                    variant(r.p(), a.p(), e.p(), m.p());
                    Mpz got;
                    toMpz(got, r.p());
                    ASSERT_EQ(mpz_cmp(got, want), 0) << words << " words, round " << round;
                    ASSERT_EQ(r.e.sign, 0u);
                    if (r.e.length > 0) {
                        ASSERT_NE(r.store[size_t(r.e.length) - 1], 0u);
                    }
                    if (round != 3) {  // EN_Mod_Exp's Montgomery path gives 0^e = 1
                        Num ref;
                        EN_Mod_ExpA(ref.p(), a.p(), e.p(), m.p());
                        ASSERT_EQ(r.words(), ref.words());
                    }
                }
            }
        }
    });
}

TEST(ModExpFast, ZeroExponentAndUnitModulus) {
    Num m = bntest::fromWords({0x1235}), one = bntest::fromWords({1}), a = bntest::fromWords({7});
    Num zero;
    for (auto variant : kVariants) {
        Num r;
        variant(r.p(), a.p(), zero.p(), m.p());
        EXPECT_EQ(r.words(), bntest::Words{1});
        variant(r.p(), a.p(), zero.p(), one.p());
        EXPECT_EQ(r.words(), bntest::Words{0});
        variant(r.p(), a.p(), a.p(), one.p());
        EXPECT_EQ(r.e.length, 0);
    }
}

}  // namespace
