// The library's deliberate behaviours, each against a small model or a value written here
// (signs and forms that the GMP loop already sees on random operands are left to it).
#include "bn_test_util.h"

using namespace bntest;

namespace {

Num W(const Words &w, uint32_t sign = 0) { return fromWords(w, sign); }
Num with(uint32_t first, const Num &n) {  // a status word followed by n's words
    Words w{first};
    for (uint32_t x : n.words()) w.push_back(x);
    return fromWords(w, n.e.sign);
}
uint32_t v(const Num &n) {  // the value as a small signed number, for results whose zero form is not pinned
    Mpz z;
    toMpz(z, n.p());
    return uint32_t(mpz_get_si(z));
}
template <auto F>
Num bin(const Num &a, const Num &b, Num r = Num()) { return F(r.p(), a.p(), b.p()), r; }
template <auto F>
uint32_t cmp(const Num &a, const Num &b) { return uint32_t(F(a.p(), b.p())); }
Num modSub(uint32_t a, uint32_t b) { Num r; return EN_Mod_Sub(r.p(), W({a}).p(), W({b}).p(), W({7}).p()), r; }
Num inv(uint32_t a, uint32_t m, uint32_t signs = 0) {  // r starts as 99 to show an unwritten result
    Num r = W({99});
    return EN_Mod_Inv(r.p(), W({a}, signs & 1).p(), W({m}, signs >> 1).p()), r;
}
Num mask(Words w, int32_t bit) { Num a = W(w); return with(uint32_t(EN_MaskBit(a.p(), bit)), a); }
Num divByZero(const Num &zero) {  // status, then q and rem, which stay as they were
    Num q = W({1, 2}), r = W({3});
    return with(uint32_t(EN_Div(q.p(), r.p(), W({5, 6}).p(), zero.p())), with(q.store[0], with(q.store[1], r)));
}

const struct Pin { const char *name; Num (*make)(); uint32_t sign; Words want; } kPins[] = {
    {"magnitude sum loses the carry into an all-ones word",
     [] { return bin<EN_Add>(W({0xFFFFFFFF, 0xFFFFFFFF, 5}), W({1, 0, 1})); }, 0, {0, 0, 6}},
    {"UComp returns the length difference", [] {
         const Num a = W({1, 2, 3}), b = W({9}, 1), c = W({5, 7}), d = W({6, 7});
         return W({cmp<EN_UComp>(a, b), cmp<EN_UComp>(b, a), cmp<EN_UComp>(c, d), cmp<EN_UComp>(d, c),
                   cmp<EN_UComp>(c, c), cmp<EN_UComp>(W({}), b)});
     }, 0, {2, uint32_t(-2), uint32_t(-1), 1, 0, uint32_t(-1)}},
    {"EN_Create(4): four zero words, bit count 96, kept by Expand and Clone", [] {
         ENUM *c = EN_Create(4), *k = nullptr;
         const uint32_t length = uint32_t(c->length), bits = EN_GetFilledBitNum(c), *words = c->words;
         EN_Expand(c, 20);
         k = EN_Clone(c);
         Num r = W({length, bits, uint32_t(c->length), c->words == words, uint32_t(k->length)});
         return EN_Destroy(k), EN_Destroy(c), EN_Destroy(nullptr), r;
     }, 0, {4, 96, 4, 1, 4}},
    {"one-word zero trimmed by GetFilledBitNum", [] {
         Num z;
         EN_U32ToENUM(z.p(), 0);
         const uint32_t before = uint32_t(z.e.length), bits = EN_GetFilledBitNum(z.p());
         return W({before, bits, uint32_t(z.e.length)});
     }, 0, {1, 0, 0}},
    {"0 * -7 is a negative zero", [] { return bin<EN_Mul>(W({}), W({7}, 1)); }, 1, {}},
    {"-0 < 0", [] { return W({cmp<EN_Comp>(W({}, 1), W({})), cmp<EN_Comp>(W({}), W({}, 1))}); }, 0, {uint32_t(-1), 1}},
    {"-3 / 7 quotient", [] { Num q = W({9, 9}), r; return with(uint32_t(EN_Div(q.p(), r.p(), W({3}, 1).p(), W({7}).p())), q); },
     0, {1, 0}},
    {"division by an empty zero writes nothing", [] { return divByZero(W({})); }, 0, {0, 1, 2, 3}},
    {"division by a one-word zero writes nothing", [] { return divByZero(W({0})); }, 0, {0, 1, 2, 3}},
    {"right shift past the length: one-word zero", [] { Num r = W({}, 1); return EN_RShift(r.p(), W({1, 2, 3}).p(), 160), r; },
     0, {0}},
    {"right shift by exactly the length: empty, sign kept", [] {
         Num r = W({5, 5, 5, 5});
         return EN_RShift(r.p(), W({1, 2, 3}, 1).p(), 96), r;
     }, 1, {}},
    {"right shift clears the spare word, copies the sign", [] {
         Num r;
         std::fill(r.store.begin(), r.store.end(), 0xAAAAAAAAu), r.e.sign = 1;
         EN_RShift(r.p(), W({0x11111111, 0x22222222, 0x33333333}).p(), 32);
         return r.e.length++, r;
     }, 0, {0x22222222, 0x33333333, 0}},
    {"left shift by one in place", [] { Num a = W({0x80000000, 0x80000000}); return EN_LShift1(a.p(), a.p()), a; }, 0, {0, 1, 1}},
    {"MaskBit past the length", [] { return mask({7, 9}, 64); }, 0, {0, 7, 9}},
    {"MaskBit whole-word cut is not trimmed", [] { return mask({7, 0, 9}, 64); }, 0, {1, 7, 0}},
    {"MaskBit partial cut", [] { return mask({7, 0x1234, 9}, 40); }, 0, {1, 7, 0x34}},
    {"MaskBit partial cut is trimmed", [] { return mask({7, 0x1200, 9}, 40); }, 0, {1, 7}},
    {"Mod_Sub mod 7: a - b when a >= b, else m - (b - a), not reduced further", [] {
         return W({v(modSub(2, 5)), v(modSub(5, 2)), v(modSub(20, 5)), v(modSub(5, 20)), v(modSub(3, 3)), v(modSub(0, 6))});
     }, 0, {4, 3, 15, uint32_t(-8), 0, 1}},
    {"6^-1 mod 9: none, one-word zero", [] { return inv(6, 9); }, 0, {0}},
    {"0^-1 mod 7: none, one-word zero", [] { return inv(0, 7); }, 0, {0}},
    {"inverses; negative operands leave r unwritten", [] {
         return W({v(inv(10, 7)), v(inv(3, 7)), v(inv(1, 1)), v(inv(17, 3120)), v(inv(3, 7, 1)), v(inv(3, 7, 2))});
     }, 0, {5, 5, 0, 2753, 99, 99}},
    {"5^(empty) mod 11", [] { Num r; return EN_Mod_Exp(r.p(), W({5}).p(), W({}).p(), W({11}).p()), r; }, 0, {1}},
    {"5^0 mod 1", [] { Num r; return EN_Mod_Exp(r.p(), W({5}).p(), W({0}).p(), W({1}).p()), r; }, 0, {0}},
};

TEST(BignumBehaviour, Pins) {
    for (const Pin &pin : kPins) {
        const Num got = pin.make();
        EXPECT_EQ(got.words(), pin.want) << pin.name;
        EXPECT_EQ(got.e.sign, pin.sign) << pin.name;
    }
}

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

TEST(BignumBehaviour, MagnitudeSumAgainstModel) {
    vctest::Rng rng(40);
    const uint32_t pick[] = {0, 1, 0xFFFFFFFF, 0xFFFFFFFE, 0x80000000};
    int lost = 0;
    for (int it = 0; it < 3000; it++) {
        Words x(1 + rng.below(6)), y(1 + rng.below(6));
        for (auto *v : {&x, &y})
            for (auto &w : *v) w = rng.below(3) ? pick[rng.below(5)] : rng.word();
        x.back() |= 1, y.back() |= 1;
        if (x.size() < y.size()) std::swap(x, y);
        const Num add = bin<EN_Add>(W(x, 1), W(y, 1)), sub = bin<EN_Sub>(W(x, 1), W(y));  // both the sum
        ASSERT_EQ(add.words(), modelSum(x, y));
        ASSERT_EQ(add.e.sign, 1u);
        ASSERT_EQ(sub.words(), modelSum(x, y));
        Mpz zx, zy, zr;
        toMpz(zx, W(x).p()), toMpz(zy, W(y).p()), toMpz(zr, sub.p());
        mpz_add(zx, zx, zy);
        lost += mpz_cmpabs(zx, zr) != 0;
    }
    EXPECT_GT(lost, 0);  // the operands did reach the lost carry
}

// Model of the Montgomery reduction with GMP: the word loop runs once per word of t cut to its
// low ri bits (a whole-word cut keeps its length, a partial one is trimmed), on t held in
// al + nl + 1 words (higher words of a long t drop out). An empty low part leaves out as it was.
void modelReduce(mpz_ptr out, const ENUM *t, const EN_MontCtx &ctx) {
    Mpz T, n, q, low;
    toMpz(T, t);
    toMpz(n, &ctx.N);
    const int32_t w = int32_t(ctx.ri / 32);
    int32_t al = t->length;
    if (w < al) {
        mpz_tdiv_r_2exp(low, T, ctx.ri);
        al = ctx.ri % 32 == 0 ? w : int32_t((mpz_sizeinbase(low, 2) + 31) / 32);
        if (ctx.ri % 32 && mpz_sgn(low.z) == 0) al = 0;
    }
    if (al == 0) return;
    const uint32_t held = uint32_t(32 * (al + ctx.N.length + 1));
    mpz_tdiv_r_2exp(T, T, held);
    for (int32_t i = 0; i < al; i++) {
        mpz_tdiv_q_2exp(q, T, uint32_t(32 * i));
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

TEST(BignumBehaviour, MontgomeryAgainstModel) {
    vctest::Rng rng(42);
    int shortened = 0;
    for (int it = 0; it < 600; it++) {
        const int words = it % 8 ? 2 + int(rng.below(10)) : 1 + int(rng.below(75));
        Num m = randomNum(rng, words);
        m.store[0] |= 1;
        uint32_t &top = m.store[size_t(words - 1)];
        top = it % 2 ? top | 0x80000000u : (top >> 12) | 1;  // bit length a multiple of 32, or not
        Num rr(160), ni(160), n(160), spare(160);
        EN_MontCtx ctx{0, rr.e, ni.e, n.e, spare.e, 0};
        EN_MontSet(&ctx, m.p());
        Mpz zm, want, got, zt, math;
        toMpz(zm, m.p());
        if (m.store[0] != 1) {
            ASSERT_EQ(uint32_t(m.store[0] * ctx.nprime), 0xFFFFFFFFu);
        }
        // t: random and short, or with zero top words in its low ri bits.
        Num t = randomNum(rng, 1 + int(rng.below(uint32_t(2 * words))));
        if (it % 3 == 0 && t.e.length >= words)
            for (int k = 1 + int(rng.below(uint32_t(words - 1))); k < words; k++) t.store[size_t(k)] = 0;
        toMpz(zt, t.p());
        if (ctx.ri % 32 && it % 3 == 0) {  // zero the low part above word 0
            mpz_tdiv_q_2exp(math, zt, ctx.ri), mpz_mul_2exp(math, math, ctx.ri);
            mpz_tdiv_r_2exp(zt, zt, 32), mpz_add(zt, zt, math);
            t = fromMpz(zt);
        }
        Num r = W({0x5a5a});
        mpz_set_ui(want, 0x5a5a);
        modelReduce(want, t.p(), ctx);
        EN_MontReduce(r.p(), t.p(), &ctx);
        toMpz(got, r.p());
        ASSERT_EQ(mpz_cmp(got, want), 0) << it << " ri " << ctx.ri;
        mpz_set_ui(math, 1), mpz_mul_2exp(math, math, ctx.ri), mpz_invert(math, math, zm);
        mpz_mul(math, math, zt), mpz_mod(math, math, zm);
        shortened += mpz_cmp(math, got) != 0;
        // MontMul: the product of two reduced numbers, then the same reduction.
        Num a = randomNum(rng, words), b = randomNum(rng, words);
        toMpz(zt, a.p()), mpz_mod(zt, zt, zm), a = fromMpz(zt);
        toMpz(math, b.p()), mpz_mod(math, math, zm), b = fromMpz(math);
        mpz_mul(zt, zt, math);
        modelReduce(want, fromMpz(zt).p(), ctx);
        EN_MontMul(r.p(), a.p(), b.p(), &ctx);
        toMpz(got, r.p());
        ASSERT_EQ(mpz_cmp(got, want), 0) << it;
    }
    EXPECT_GT(shortened, 50);  // the cases did leave the textbook result
}

}  // namespace
