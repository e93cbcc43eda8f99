// Integer arithmetic against GMP on random operands of 1 to 75 words and both signs.
#include "bn_test_util.h"

using namespace bntest;

namespace {

int words(vctest::Rng &rng, int max = 75) { return 1 + int(rng.below(uint32_t(max))); }

TEST(BignumGmp, AddSubMulSqr) {
    vctest::Rng rng(1);
    for (int it = 0; it < 3000 / kScale; it++) {
        Num a = randomNum(rng, words(rng), rng.below(2));
        Num b = it % 7 == 0 ? Num(a) : randomNum(rng, words(rng));  // equal magnitudes sometimes
        b.e.sign = rng.below(2);
        Mpz za, zb, want;
        toMpz(za, a.p());
        toMpz(zb, b.p());
        Num r;
        EN_Add(r.p(), a.p(), b.p());
        mpz_add(want, za, zb);
        ASSERT_TRUE(equals(r.p(), want)) << "add " << it;
        EN_Sub(r.p(), a.p(), b.p());
        mpz_sub(want, za, zb);
        ASSERT_TRUE(equals(r.p(), want)) << "sub " << it;
        EN_Mul(r.p(), a.p(), b.p());
        mpz_mul(want, za, zb);
        ASSERT_TRUE(equals(r.p(), want)) << "mul " << it;
        EN_Sqr(r.p(), a.p());
        mpz_mul(want, za, za);
        ASSERT_TRUE(equals(r.p(), want)) << "sqr " << it;
        EN_SubU32(r.p(), a.p(), a.e.length > 1 ? b.e.words[0] : 0);
        mpz_abs(want, za);
        mpz_sub_ui(want, want, a.e.length > 1 ? b.e.words[0] : 0);
        if (a.e.sign) mpz_neg(want, want);
        ASSERT_TRUE(equals(r.p(), want)) << "subu32 " << it;
        EXPECT_EQ(EN_Comp(a.p(), b.p()), mpz_cmp(za, zb) > 0 ? 1 : mpz_cmp(za, zb) < 0 ? -1 : 0);
    }
}

TEST(BignumGmp, DivisionWithSharedRecords) {
    vctest::Rng rng(2);
    for (int it = 0; it < 3000 / kScale; it++) {
        Num a = randomNum(rng, words(rng, 150), rng.below(2)), d = randomNum(rng, words(rng), rng.below(2));
        if (it % 5 == 0) d.e.length = 1 + int32_t(rng.below(2)), d.store[d.e.length - 1] |= 1;
        Mpz za, zd, q, r;
        toMpz(za, a.p());
        toMpz(zd, d.p());
        mpz_tdiv_qr(q, r, za, zd);
        Num nq, nr;
        ASSERT_EQ(EN_Div(nq.p(), nr.p(), a.p(), d.p()), 1);
        if (mpz_cmpabs(zd, za) > 0) {  // quotient zero in the one-word form
            ASSERT_EQ(nq.e.length, 1);
            ASSERT_EQ(nq.store[0], 0u);
        } else {
            ASSERT_TRUE(equals(nq.p(), q)) << it;
        }
        Mpz got;
        toMpz(got, nr.p());
        ASSERT_EQ(mpz_cmp(got, r), 0) << it;
        ASSERT_EQ(nr.e.sign, a.e.sign);  // the remainder keeps a's sign, also when it is zero
        // Outputs sharing the operands' records; quotient only.
        Num a2 = a, d2 = d;
        EN_Div(a2.p(), d2.p(), a2.p(), d2.p());
        ASSERT_EQ(a2.words(), nq.words());
        ASSERT_EQ(d2.words(), nr.words());
        Num q3;
        EN_Div(q3.p(), nullptr, a.p(), d.p());
        ASSERT_EQ(q3.words(), nq.words());
    }
}

TEST(BignumGmp, Shifts) {
    vctest::Rng rng(3);
    for (int it = 0; it < 2000 / kScale; it++) {
        Num a = randomNum(rng, words(rng), rng.below(2));
        Mpz za, want, got;
        toMpz(za, a.p());
        const int32_t k = int32_t(rng.below(300));
        Num r;
        EN_LShift(r.p(), a.p(), k);
        mpz_mul_2exp(want, za, uint32_t(k));
        ASSERT_TRUE(equals(r.p(), want)) << "lshift " << k;
        const int32_t kr = int32_t(rng.below(uint32_t(a.e.length * 32 + 40)));
        EN_RShift(r.p(), a.p(), kr);
        mpz_abs(want, za);
        mpz_tdiv_q_2exp(want, want, uint32_t(kr));
        toMpz(got, r.p());
        mpz_abs(got, got);
        ASSERT_EQ(mpz_cmp(got, want), 0) << "rshift " << kr;
        Num in = a;  // in place: the magnitude shifted, the sign kept
        EN_RShift(in.p(), in.p(), kr);
        toMpz(got, in.p());
        mpz_abs(got, got);
        ASSERT_EQ(mpz_cmp(got, want), 0);
        EN_LShift1(r.p(), a.p());
        mpz_mul_2exp(want, za, 1);
        ASSERT_TRUE(equals(r.p(), want));
        EN_RShift1(in.p(), a.p());
        mpz_tdiv_q_2exp(want, za, 1);
        ASSERT_TRUE(equals(in.p(), want));
    }
}

TEST(BignumGmp, GcdLcm) {
    vctest::Rng rng(4);
    for (int it = 0; it < 300 / kScale; it++) {
        Num g = randomNum(rng, words(rng, 20));
        Num a0 = randomNum(rng, words(rng, 25), rng.below(2)), b0 = randomNum(rng, words(rng, 25), rng.below(2));
        Num a, b;
        EN_Mul(a.p(), a0.p(), g.p());  // a common factor, with twos in it sometimes
        EN_Mul(b.p(), b0.p(), g.p());
        if (it % 3 == 0) EN_LShift(a.p(), a0.p(), int32_t(rng.below(70)));
        Mpz za, zb, want, got;
        toMpz(za, a.p());
        toMpz(zb, b.p());
        Num r;
        EN_GCD(r.p(), a.p(), b.p());
        mpz_gcd(want, za, zb);
        ASSERT_TRUE(equals(r.p(), want)) << it;
        EN_LCM(r.p(), a.p(), b.p());
        mpz_lcm(want, za, zb);
        if (a.e.sign != b.e.sign) mpz_neg(want, want);  // the product's sign
        ASSERT_TRUE(equals(r.p(), want)) << it;
        Num inPlace = a;
        EN_GCD(inPlace.p(), inPlace.p(), b.p());
        mpz_gcd(want, za, zb);
        ASSERT_TRUE(equals(inPlace.p(), want));
    }
}

TEST(BignumGmp, BytesBitsAndWordRemainder) {
    vctest::Rng rng(5);
    for (int it = 0; it < 1000 / kScale; it++) {
        Num a = randomNum(rng, words(rng));
        Mpz za;
        toMpz(za, a.p());
        uint8_t out[400], want[400];
        size_t n = 0;
        mpz_export(want, &n, 1, 1, 0, 0, za);
        ASSERT_EQ(EN_ENUMToBytes(a.p(), out), uint32_t(n));
        ASSERT_EQ(0, memcmp(out, want, n));
        Num back;
        back.store.assign(back.store.size(), 0xAAAAAAAAu);
        std::vector<uint8_t> padded(3, 0);  // leading zero bytes are trimmed away
        padded.insert(padded.end(), out, out + n);
        EN_BytesToENUM(back.p(), padded.data(), uint32_t(padded.size()));
        ASSERT_TRUE(equals(back.p(), za));
        ASSERT_EQ(EN_GetFilledBitNum(a.p()), uint32_t(mpz_sizeinbase(za, 2)));
        const int32_t bit = int32_t(rng.below(uint32_t(a.e.length * 32 + 64))) - 32;
        ASSERT_EQ(EN_IsBitSet(a.p(), bit), bit >= 0 ? mpz_tstbit(za, uint32_t(bit)) : 0);
        const uint32_t w = 1 + rng.below(65536);
        ASSERT_EQ(EN_ModWord(a.p(), w), uint32_t(mpz_tdiv_ui(za, w)));
    }
    Num zero;
    uint8_t sink[1];
    EXPECT_EQ(EN_ENUMToBytes(zero.p(), sink), 0u);
}

}  // namespace
