// Modular arithmetic against GMP, over the three kinds of modulus: odd with the top bit set
// (Montgomery form), odd without it and even (division).
#include "bn_test_util.h"

using namespace bntest;

namespace {

enum class Kind { MontOdd, PlainOdd, Even };

Num randomModulus(vctest::Rng &rng, int words, Kind kind) {
    Num m = randomNum(rng, words);
    uint32_t &top = m.store[size_t(words - 1)];
    if (kind == Kind::MontOdd) top |= 0x80000000u;
    else if (words == 1 || top > 1) top = (top >> 1) | 1;  // top bit clear, still non-zero
    if (kind == Kind::Even) m.store[0] &= ~1u;
    else m.store[0] |= 1;
    if (kind == Kind::Even && m.e.length == 1 && m.store[0] == 0) m.store[0] = 2;
    return m;
}


class ModKinds : public ::testing::TestWithParam<Kind> {};

TEST_P(ModKinds, AddSubMulSqrInv) {
    vctest::Rng rng(10 + int(GetParam()));
    for (int it = 0; it < 1500 / kScale; it++) {
        const int words = 1 + int(rng.below(75));
        Num m = randomModulus(rng, words, GetParam());
        Num a = randomBelow(rng, m), b = randomBelow(rng, m);
        Mpz zm, za, zb, want;
        toMpz(zm, m.p());
        toMpz(za, a.p());
        toMpz(zb, b.p());
        Num r;
        EN_Mod_Add(r.p(), a.p(), b.p(), m.p());
        mpz_add(want, za, zb);
        mpz_mod(want, want, zm);
        ASSERT_TRUE(equals(r.p(), want)) << "add " << it;
        EN_Mod_Sub(r.p(), a.p(), b.p(), m.p());
        mpz_sub(want, za, zb);
        mpz_mod(want, want, zm);
        ASSERT_TRUE(equals(r.p(), want)) << "sub " << it;
        mpz_mul(want, za, zb);
        mpz_mod(want, want, zm);
        for (auto f : {EN_Mod_Mul, EN_Mod_MulA, EN_Mod_MulB, EN_Mod_MulAB}) {
            f(r.p(), a.p(), b.p(), m.p());
            ASSERT_TRUE(equals(r.p(), want)) << "mul " << it;
        }
        // Unreduced operands for the variants that reduce them first.
        Num big = randomNum(rng, words + 1 + int(rng.below(uint32_t(76 - words))));
        Mpz zbig, w2;
        toMpz(zbig, big.p());
        mpz_mul(w2, zbig, zb);
        mpz_mod(w2, w2, zm);
        EN_Mod_MulA(r.p(), big.p(), b.p(), m.p());
        ASSERT_TRUE(equals(r.p(), w2));
        EN_Mod_MulB(r.p(), b.p(), big.p(), m.p());
        ASSERT_TRUE(equals(r.p(), w2));
        mpz_mul(w2, zbig, zbig);
        mpz_mod(w2, w2, zm);
        EN_Mod_SqrA(r.p(), big.p(), m.p());
        ASSERT_TRUE(equals(r.p(), w2));
        EN_Mod_MulAB(r.p(), big.p(), big.p(), m.p());
        ASSERT_TRUE(equals(r.p(), w2));
        EN_Mod_Sqr(r.p(), a.p(), m.p());
        mpz_mul(want, za, za);
        mpz_mod(want, want, zm);
        ASSERT_TRUE(equals(r.p(), want)) << "sqr " << it;
        Num inPlace = a;  // result in an operand's record
        EN_Mod_Mul(inPlace.p(), inPlace.p(), inPlace.p(), m.p());
        ASSERT_TRUE(equals(inPlace.p(), want));
        if (it % 4 == 0) {
            EN_Mod_Inv(r.p(), a.p(), m.p());
            if (mpz_invert(want, za, zm) == 0 || mpz_cmp_ui(zm.z, 1) == 0) mpz_set_ui(want, 0);
            Mpz got;
            toMpz(got, r.p());
            ASSERT_EQ(mpz_cmp(got, want), 0) << "inv " << it;
        }
    }
}

TEST_P(ModKinds, ExpEveryWindow) {
    vctest::Rng rng(20 + int(GetParam()));
    const int expBits[] = {3, 17, 18, 127, 128, 255, 256, 2048};
    for (int it = 0; it < 48 / kScale; it++) {
        for (int bits : expBits) {
            if (bits == 2048 && it % 4 != 0) continue;  // the slow ones less often
            const int words = 1 + int(rng.below(75));
            Num m = randomModulus(rng, words, GetParam());
            Num a = randomBelow(rng, m);
            Num e = randomNum(rng, (bits + 31) / 32, rng.below(2));
            e.store[size_t(e.e.length - 1)] &= bits % 32 ? (1u << (bits % 32)) - 1 : ~0u;
            e.store[size_t(e.e.length - 1)] |= 1u << ((bits - 1) % 32);
            Mpz zm, za, ze, want;
            toMpz(zm, m.p());
            toMpz(za, a.p());
            toMpz(ze, e.p());
            mpz_abs(ze, ze);  // only the magnitude counts
            mpz_powm(want, za, ze, zm);
            Num r;
            EN_Mod_Exp(r.p(), a.p(), e.p(), m.p());
            ASSERT_TRUE(equals(r.p(), want)) << "exp bits " << bits << " words " << words;
            Num big = randomNum(rng, words + 2);  // ExpA reduces the base first
            toMpz(za, big.p());
            mpz_powm(want, za, ze, zm);
            EN_Mod_ExpA(big.p(), big.p(), e.p(), m.p());
            ASSERT_TRUE(equals(big.p(), want));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Moduli, ModKinds, ::testing::Values(Kind::MontOdd, Kind::PlainOdd, Kind::Even));

TEST(BignumGmp, MontgomeryMulAndReduce) {
    vctest::Rng rng(30);
    for (int it = 0; it < 500 / kScale; it++) {
        const int words = 1 + int(rng.below(75));
        Num m = randomModulus(rng, words, Kind::MontOdd);
        Num a = randomBelow(rng, m), b = randomBelow(rng, m);
        Num rr(160), ni(160), n(160), spare(160);
        EN_MontCtx ctx{0, rr.e, ni.e, n.e, spare.e, 0};
        EN_MontSet(&ctx, m.p());
        Mpz zm, za, zb, rinv, want, got;
        toMpz(zm, m.p());
        toMpz(za, a.p());
        toMpz(zb, b.p());
        ASSERT_EQ(ctx.ri, uint32_t(32 * words));
        ASSERT_EQ(uint32_t(m.store[0] * ctx.nprime), 0xFFFFFFFFu);
        mpz_set_ui(rinv, 1);
        mpz_mul_2exp(want, rinv, 2 * ctx.ri);
        mpz_mod(want, want, zm);
        ASSERT_TRUE(equals(&ctx.RR, want));
        mpz_mul_2exp(rinv, rinv, ctx.ri);
        ASSERT_NE(mpz_invert(rinv, rinv, zm), 0);
        Num t, r;
        EN_Mul(t.p(), a.p(), b.p());
        if (t.e.length < words) continue;  // a shortened reduction: see the behaviour tests
        mpz_mul(want, za, zb);
        mpz_mul(want, want, rinv);
        mpz_mod(want, want, zm);
        EN_MontMul(r.p(), a.p(), b.p(), &ctx);
        ASSERT_TRUE(equals(r.p(), want)) << it;
        EN_MontReduce(r.p(), t.p(), &ctx);
        ASSERT_TRUE(equals(r.p(), want)) << it;
    }
}

}  // namespace
