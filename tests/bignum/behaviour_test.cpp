// The library's deliberate behaviours, each against a small model written here.
#include "bn_test_util.h"

using namespace bntest;

namespace {

using Words = std::vector<uint32_t>;

// Model of the magnitude sum: the carry out of a word is "the shorter operand's word (0 past
// its end) exceeds the sum word"; the length is the longer operand's (plus one for a carry out
// of the top), so a carry lost into an all-ones top word leaves a zero top word.
Words modelSum(const Words &a, const Words &b) {
    Words out;
    uint32_t carry = 0;
    for (size_t i = 0; i < a.size(); i++) {
        const uint32_t y = i < b.size() ? b[i] : 0, s = a[i] + y + carry;
        carry = y > s;
        out.push_back(s);
    }
    if (carry) out.push_back(1);
    return out;
}

TEST(BignumBehaviour, MagnitudeSumLosesCarryIntoAllOnesWord) {
    Num a = fromWords({0xFFFFFFFF, 0xFFFFFFFF, 5}), b = fromWords({1, 0, 1}), r;
    EN_Add(r.p(), a.p(), b.p());
    EXPECT_EQ(r.words(), (Words{0, 0, 6}));
    vctest::Rng rng(40);
    const uint32_t pick[] = {0, 1, 0xFFFFFFFF, 0xFFFFFFFE, 0x80000000};
    int lost = 0;
    for (int it = 0; it < 3000; it++) {
        Words x(1 + rng.below(6)), y(1 + rng.below(6));
        for (auto *v : {&x, &y})
            for (auto &w : *v) w = rng.below(3) ? pick[rng.below(5)] : rng.word();
        x.back() |= 1, y.back() |= 1;
        if (x.size() < y.size()) std::swap(x, y);
        Num nx = fromWords(x, 1), ny = fromWords(y, 1);
        EN_Add(r.p(), nx.p(), ny.p());  // equal signs: the magnitude sum, sign kept
        ASSERT_EQ(r.words(), modelSum(x, y));
        ASSERT_EQ(r.e.sign, 1u);
        ny.e.sign = 0;
        EN_Sub(r.p(), nx.p(), ny.p());  // different signs: the same sum
        ASSERT_EQ(r.words(), modelSum(x, y));
        Mpz zx, zy, zr;
        toMpz(zx, nx.p());
        toMpz(zy, ny.p());
        mpz_sub(zx, zx, zy);
        toMpz(zr, r.p());
        lost += mpz_cmp(zx, zr) != 0;
    }
    EXPECT_GT(lost, 0);  // the operands did reach the lost carry
}

TEST(BignumBehaviour, UCompReturnsLengthDifference) {
    struct {
        Words a, b;
        int32_t want;
    } cases[] = {
        {{1, 2, 3}, {9}, 2}, {{9}, {1, 2, 3}, -2}, {{5, 7}, {6, 7}, -1}, {{6, 7}, {5, 7}, 1}, {{5, 7}, {5, 7}, 0}, {{}, {4}, -1},
    };
    for (auto &c : cases) {
        Num a = fromWords(c.a), b = fromWords(c.b, 1);
        EXPECT_EQ(EN_UComp(a.p(), b.p()), c.want);
    }
}

TEST(BignumBehaviour, UnnormalisedZeroForms) {
    ENUM *c = EN_Create(4);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->length, 4);
    EXPECT_EQ(EN_GetFilledBitNum(c), 96u);
    EXPECT_EQ(c->length, 4);
    uint32_t *words = c->words;
    EN_Expand(c, 20);  // the record is left as it was
    EXPECT_EQ(c->words, words);
    EXPECT_EQ(c->length, 4);
    ENUM *k = EN_Clone(c);
    EXPECT_EQ(k->length, 4);
    EN_Destroy(k);
    EN_Destroy(c);
    EN_Destroy(nullptr);

    Num z;
    EN_U32ToENUM(z.p(), 0);
    EXPECT_EQ(z.e.length, 1);
    EXPECT_EQ(EN_GetFilledBitNum(z.p()), 0u);
    EXPECT_EQ(z.e.length, 0);

    Num zero, minus7 = fromWords({7}, 1), r;
    EN_Mul(r.p(), zero.p(), minus7.p());
    EXPECT_EQ(r.e.length, 0);
    EXPECT_EQ(r.e.sign, 1u);
    Num negZero;
    negZero.e.sign = 1;
    EXPECT_EQ(EN_Comp(negZero.p(), zero.p()), -1);
    EXPECT_EQ(EN_Comp(zero.p(), negZero.p()), 1);
    Num five = fromWords({5}), minus5 = fromWords({5}, 1);
    EN_Add(r.p(), five.p(), minus5.p());
    EXPECT_EQ(r.e.length, 0);
    EXPECT_EQ(r.e.sign, 0u);

    Num three = fromWords({3}, 1), seven = fromWords({7}), q = fromWords({9, 9}), rem;
    ASSERT_EQ(EN_Div(q.p(), rem.p(), three.p(), seven.p()), 1);
    EXPECT_EQ(q.e.length, 1);
    EXPECT_EQ(q.store[0], 0u);
    EXPECT_EQ(q.e.sign, 0u);
    EXPECT_EQ(rem.words(), Words{3});
    EXPECT_EQ(rem.e.sign, 1u);
    EXPECT_EQ(EN_Div(nullptr, rem.p(), seven.p(), fromWords({1, 1}).p()), 1);
    EXPECT_EQ(rem.words(), Words{7});

    Num a = fromWords({1, 2, 3});
    r.e.sign = 1;
    EN_RShift(r.p(), a.p(), 32 * 5);  // beyond the length: zero in the one-word form
    EXPECT_EQ(r.e.length, 1);
    EXPECT_EQ(r.store[0], 0u);
    EXPECT_EQ(r.e.sign, 0u);
}

TEST(BignumBehaviour, DivisionByZeroWritesNothing) {
    Num a = fromWords({5, 6}), q = fromWords({1, 2}), rem = fromWords({3});
    Num zeros[2];
    EN_U32ToENUM(zeros[1].p(), 0);
    for (auto &z : zeros) {
        EXPECT_EQ(EN_Div(q.p(), rem.p(), a.p(), z.p()), 0);
        EXPECT_EQ(q.words(), (Words{1, 2}));
        EXPECT_EQ(rem.words(), Words{3});
    }
}

TEST(BignumBehaviour, ShiftsMaskBitAndSpareWord) {
    Num r;
    r.store.assign(r.store.size(), 0xAAAAAAAAu);
    r.e.sign = 1;
    Num a = fromWords({0x11111111, 0x22222222, 0x33333333});
    EN_RShift(r.p(), a.p(), 32);
    EXPECT_EQ(r.words(), (Words{0x22222222, 0x33333333}));
    EXPECT_EQ(r.store[2], 0u);  // the spare word past the result
    EXPECT_EQ(r.e.sign, 0u);    // copied from another record
    Num neg = fromWords({8}, 1);
    EN_RShift(neg.p(), neg.p(), 2);  // in place: magnitude shifted, record's sign untouched
    EXPECT_EQ(neg.words(), Words{2});
    EXPECT_EQ(neg.e.sign, 1u);

    Num two = fromWords({0x80000000, 0x80000000});
    EN_LShift1(two.p(), two.p());
    EXPECT_EQ(two.words(), (Words{0, 1, 1}));

    Num m2 = fromWords({7, 9});
    EXPECT_EQ(EN_MaskBit(m2.p(), 64), 0);
    EXPECT_EQ(m2.words(), (Words{7, 9}));
    Num m3 = fromWords({7, 0, 9});
    EXPECT_EQ(EN_MaskBit(m3.p(), 64), 1);
    EXPECT_EQ(m3.e.length, 2);  // a whole-word cut is not trimmed
    Num m4 = fromWords({7, 0x1234, 9});
    EXPECT_EQ(EN_MaskBit(m4.p(), 40), 1);
    EXPECT_EQ(m4.words(), (Words{7, 0x34}));
    Num m5 = fromWords({7, 0x1200, 9});
    EXPECT_EQ(EN_MaskBit(m5.p(), 40), 1);
    EXPECT_EQ(m5.words(), (Words{7}));  // a partial cut is trimmed
}

TEST(BignumBehaviour, ModuloKeepsSignAndSubDoesNotReduce) {
    Num minus3 = fromWords({3}, 1), seven = fromWords({7}), r;
    EN_Mod(r.p(), minus3.p(), seven.p());
    EXPECT_EQ(r.words(), Words{3});
    EXPECT_EQ(r.e.sign, 1u);
    vctest::Rng rng(41);
    for (int it = 0; it < 500; it++) {
        Num a = randomNum(rng, 1 + int(rng.below(40)), 1), m = randomNum(rng, 1 + int(rng.below(20)));
        Mpz za, zm, want;
        toMpz(za, a.p());
        toMpz(zm, m.p());
        mpz_tdiv_r(want, za, zm);
        EN_Mod(r.p(), a.p(), m.p());
        Mpz got;
        toMpz(got, r.p());
        ASSERT_EQ(mpz_cmp(got, want), 0);
    }
    // Model: a - b when a >= b, else m - (b - a), reduced only when both inputs were.
    struct {
        uint32_t a, b, m;
        int64_t want;
    } cases[] = {{2, 5, 7, 4}, {5, 2, 7, 3}, {20, 5, 7, 15}, {5, 20, 7, -8}, {3, 3, 7, 0}, {0, 6, 7, 1}};
    for (auto &c : cases) {
        Num a = fromWords({c.a}), b = fromWords({c.b}), m = fromWords({c.m});
        EN_Mod_Sub(r.p(), a.p(), b.p(), m.p());
        Mpz got;
        toMpz(got, r.p());
        EXPECT_EQ(mpz_get_si(got), c.want) << c.a << " - " << c.b;
    }
}

TEST(BignumBehaviour, InverseZeroWhenNoneAndUnwrittenForNegatives) {
    struct {
        uint32_t a, m, want;
        bool none;
    } cases[] = {{6, 9, 0, true}, {10, 7, 5, false}, {3, 7, 5, false}, {0, 7, 0, true}, {1, 1, 0, false}, {17, 3120, 2753, false}};
    for (auto &c : cases) {
        Num a = fromWords({c.a}), m = fromWords({c.m}), r = fromWords({99});
        EN_Mod_Inv(r.p(), a.p(), m.p());
        Mpz got;
        toMpz(got, r.p());
        EXPECT_EQ(mpz_get_ui(got), c.want) << c.a << " mod " << c.m;
        if (c.none) {
            EXPECT_EQ(r.e.length, 1);  // zero as sign 0, length 1, word 0
        }
    }
    Num a = fromWords({3}, 1), m = fromWords({7}), r = fromWords({99});
    EN_Mod_Inv(r.p(), a.p(), m.p());
    EXPECT_EQ(r.words(), Words{99});
    a.e.sign = 0, m.e.sign = 1;
    EN_Mod_Inv(r.p(), a.p(), m.p());
    EXPECT_EQ(r.words(), Words{99});
}

TEST(BignumBehaviour, ExpOfZeroExponent) {
    Num a = fromWords({5}), e, m = fromWords({11}), one = fromWords({1}), r;
    EN_Mod_Exp(r.p(), a.p(), e.p(), m.p());
    EXPECT_EQ(r.words(), Words{1});
    EN_U32ToENUM(e.p(), 0);
    EN_Mod_Exp(r.p(), a.p(), e.p(), one.p());
    EXPECT_EQ(r.e.length, 1);
    EXPECT_EQ(r.store[0], 0u);
}

// Model of the Montgomery reduction with GMP: the word loop runs once per word of t cut to its
// low ri bits (a whole-word cut keeps its length, a partial one is trimmed), on t held in
// al + nl + 1 words (higher words of a long t drop out).
void modelReduce(mpz_ptr out, const ENUM *t, const EN_MontCtx &ctx) {
    Mpz T, n, q, low;
    toMpz(T, t);
    toMpz(n, &ctx.N);
    const int32_t wordsT = t->length, w = int32_t(ctx.ri / 32);
    int32_t al = wordsT;
    if (w < wordsT) {
        if (ctx.ri % 32 == 0) {
            al = w;
        } else {
            mpz_tdiv_r_2exp(low, T, ctx.ri);
            al = int32_t((mpz_sizeinbase(low, 2) + 31) / 32);
            if (mpz_sgn(low.z) == 0) al = 0;
        }
    }
    if (al == 0) return;
    const uint32_t held = uint32_t(32 * (al + ctx.N.length + 1));
    mpz_tdiv_r_2exp(T, T, held);
    for (int32_t i = 0; i < al; i++) {
        mpz_tdiv_q_2exp(q, T, uint32_t(32 * i));
        mpz_tdiv_r_2exp(q, q, 32);
        mpz_mul_ui(q, q, ctx.nprime);
        mpz_tdiv_r_2exp(q, q, 32);
        mpz_mul(q, q, n);
        mpz_mul_2exp(q, q, uint32_t(32 * i));
        mpz_add(T, T, q);
    }
    mpz_tdiv_r_2exp(T, T, held);
    mpz_tdiv_q_2exp(out, T, ctx.ri);
    if (mpz_cmp(out, n) >= 0) mpz_sub(out, out, n);
}

TEST(BignumBehaviour, MontgomeryReductionShortenedByZeroTopWords) {
    vctest::Rng rng(42);
    int shortened = 0;
    for (int it = 0; it < 600; it++) {
        const int words = 2 + int(rng.below(10));
        Num m = randomNum(rng, words);
        m.store[0] |= 1;
        if (it % 2) m.store[size_t(words - 1)] |= 0x80000000u;  // bit length a multiple of 32
        else m.store[size_t(words - 1)] = (m.store[size_t(words - 1)] >> 12) | 1;
        Num rr(160), ni(160), n(160), spare(160);
        EN_MontCtx ctx{0, rr.e, ni.e, n.e, spare.e, 0};
        EN_MontSet(&ctx, m.p());
        // t: a short number, or one whose low part has zero top words.
        Num t = randomNum(rng, 1 + int(rng.below(uint32_t(2 * words))));
        if (it % 3 == 0 && t.e.length >= words)
            for (int k = 1 + int(rng.below(uint32_t(words - 1))); k < words; k++) t.store[size_t(k)] = 0;
        if (ctx.ri % 32) {  // zero the low part above word 0
            Mpz zt, hi, lo;
            toMpz(zt, t.p());
            mpz_tdiv_q_2exp(hi, zt, ctx.ri);
            mpz_tdiv_r_2exp(lo, zt, 32);
            if (it % 3 == 0) mpz_mul_2exp(hi, hi, ctx.ri), mpz_add(zt, hi, lo);
            t = fromMpz(zt);
        }
        Num r = fromWords({0x5a5a}), full(160);
        Mpz want, math, rinv, zt, zn;
        mpz_set_ui(want, 0x5a5a);  // an empty low part leaves r as it was
        modelReduce(want, t.p(), ctx);
        EN_MontReduce(r.p(), t.p(), &ctx);
        Mpz got;
        toMpz(got, r.p());
        ASSERT_EQ(mpz_cmp(got, want), 0) << it << " t " << str(t.p()) << " m " << str(m.p()) << " ri " << ctx.ri;
        toMpz(zt, t.p());
        toMpz(zn, m.p());
        mpz_set_ui(rinv, 1);
        mpz_mul_2exp(rinv, rinv, ctx.ri);
        mpz_invert(rinv, rinv, zn);
        mpz_mul(math, zt, rinv);
        mpz_mod(math, math, zn);
        shortened += mpz_cmp(math, got) != 0;
    }
    EXPECT_GT(shortened, 50);  // the cases did leave the textbook result
}

}  // namespace
