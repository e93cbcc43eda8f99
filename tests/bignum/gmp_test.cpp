// Every operation against GMP, one table driven by one loop: random operands of 1 to 75 words
// and both signs, moduli odd with the top bit set (Montgomery form), odd without it and even.
#include <string>

#include "bn_test_util.h"

using namespace bntest;

namespace {

// How a result is compared: normal form (zero has sign 0), value only, a quotient whose zero is
// one word 0, or a remainder carrying the dividend's sign (also when it is zero).
enum Form { Exact, Value, Quot, RemSign };
enum X { A, RA, UA };  // signed a; a reduced mod m; |a| unreduced
enum Y { B, RB, E };   // signed b; b reduced mod m; the exponent

using Ours = void (*)(ENUM *r, const ENUM *x, const ENUM *y, const ENUM *m, uint32_t k);
using Gmp = void (*)(mpz_ptr w, mpz_srcptr x, mpz_srcptr y, mpz_srcptr m, uint32_t k);
#define OURS(...) [](ENUM *r, const ENUM *x, const ENUM *y, const ENUM *m, uint32_t k) { __VA_ARGS__; }
#define GMP(...) [](mpz_ptr w, mpz_srcptr x, mpz_srcptr y, mpz_srcptr m, uint32_t k) { __VA_ARGS__; }
#define MODGMP(...) GMP(__VA_ARGS__; mpz_mod(w, w, m))

// Divisors from 2^16 + 1 up to 2^32 - 1.
uint32_t wideDivisor(uint32_t k) { return 0x10001u + k * 1771875u % 0xFFFEFFFFu; }

// EN_ModWord folds 16 bits at a time into a 32-bit remainder, exact while the remainder stays
// below 2^16; above that the shift drops the remainder's high bits (mod 2^32), and existing
// values depend on it. The model reads |x| as 16-bit digits from GMP.
uint32_t modWordModel(mpz_srcptr x, uint32_t w) {
    uint32_t c = 0;
    for (long d = long(mpz_sizeinbase(x, 2) + 15) / 16 - 1; d >= 0; d--) {
        Mpz digit;
        mpz_tdiv_q_2exp(digit, x, 16 * d);
        const uint32_t v = uint32_t(mpz_get_ui(digit) & 0xFFFF);
        c = uint32_t((uint64_t(c) << 16) + v) % w;
    }
    return c;
}

const struct Op { const char *name; X x; Y y; Form form; Ours ours; Gmp gmp; } kOps[] = {
    {"add", A, B, Exact, OURS(EN_Add(r, x, y)), GMP(mpz_add(w, x, y))},
    {"sub", A, B, Exact, OURS(EN_Sub(r, x, y)), GMP(mpz_sub(w, x, y))},
    {"mul", A, B, Exact, OURS(EN_Mul(r, x, y)), GMP(mpz_mul(w, x, y))},
    {"sqr", A, B, Exact, OURS(EN_Sqr(r, x)), GMP(mpz_mul(w, x, x))},
    {"subu32", A, B, Exact, OURS(EN_SubU32(r, x, x->length > 1 ? k : 0)),
     GMP(mpz_abs(w, x); mpz_sub_ui(w, w, mpz_sizeinbase(x, 2) > 32 ? k : 0); if (mpz_sgn(x) < 0) mpz_neg(w, w))},
    {"comp", A, B, Value, OURS(EN_U32ToENUM(r, uint32_t(EN_Comp(x, y) + 1))),
     GMP(mpz_set_si(w, (mpz_cmp(x, y) > 0) - (mpz_cmp(x, y) < 0) + 1))},
    {"div quotient", A, B, Quot, OURS(EN_Div(r, nullptr, x, y)), GMP(mpz_tdiv_q(w, x, y))},
    {"div remainder", A, B, RemSign, OURS(Num q; EN_Div(q.p(), r, x, y)), GMP(mpz_tdiv_r(w, x, y))},
    {"div in operands", A, B, Quot, OURS(Num d; EN_Copy(d.p(), y); EN_Copy(r, x); EN_Div(r, d.p(), r, d.p())),
     GMP(mpz_tdiv_q(w, x, y))},
    {"mod", A, B, Value, OURS(EN_Mod(r, x, y)), GMP(mpz_tdiv_r(w, x, y))},
    {"lshift", A, B, Exact, OURS(EN_LShift(r, x, int32_t(k))), GMP(mpz_mul_2exp(w, x, k))},
    {"rshift", A, B, Value, OURS(EN_RShift(r, x, int32_t(k))), GMP(mpz_tdiv_q_2exp(w, x, k))},
    {"rshift in place", A, B, Value, OURS(EN_Copy(r, x); EN_RShift(r, r, int32_t(k))), GMP(mpz_tdiv_q_2exp(w, x, k))},
    {"lshift1", A, B, Exact, OURS(EN_LShift1(r, x)), GMP(mpz_mul_2exp(w, x, 1))},
    {"rshift1", A, B, Exact, OURS(EN_RShift1(r, x)), GMP(mpz_tdiv_q_2exp(w, x, 1))},
    {"gcd", A, B, Exact, OURS(EN_GCD(r, x, y)), GMP(mpz_gcd(w, x, y))},
    {"gcd in place", A, B, Exact, OURS(EN_Copy(r, x); EN_GCD(r, r, y)), GMP(mpz_gcd(w, x, y))},
    {"lcm", A, B, Exact, OURS(EN_LCM(r, x, y)), GMP(mpz_lcm(w, x, y); if (mpz_sgn(x) != mpz_sgn(y)) mpz_neg(w, w))},
    {"to bytes", UA, B, Exact,  // big-endian, no leading zero byte
     OURS(uint8_t buf[1400]; uint32_t n = EN_ENUMToBytes(x, buf); EN_U32ToENUM(r, n ? buf[0] << 16 | n : 0)),
     GMP(size_t n = (mpz_sizeinbase(x, 2) + 7) / 8; mpz_tdiv_q_2exp(w, x, uint32_t(8 * n - 8)); mpz_mul_2exp(w, w, 16);
         mpz_add_ui(w, w, n))},
    {"bytes round trip", UA, B, Exact, OURS(uint8_t buf[1400] = {}; EN_BytesToENUM(r, buf, EN_ENUMToBytes(x, buf + 3) + 3)),
     GMP(mpz_set(w, x))},
    {"bit length", UA, B, Value, OURS(EN_Copy(r, x); EN_U32ToENUM(r, EN_GetFilledBitNum(r))),
     GMP(mpz_set_ui(w, mpz_sizeinbase(x, 2)))},
    {"bit set", UA, B, Value, OURS(EN_U32ToENUM(r, uint32_t(EN_IsBitSet(x, int32_t(k) - 32)))),
     GMP(mpz_set_ui(w, k >= 32 && mpz_tstbit(x, k - 32)))},
    {"mod word", UA, B, Value, OURS(EN_U32ToENUM(r, EN_ModWord(x, 13 * k + 1))), GMP(mpz_set_ui(w, mpz_tdiv_ui(x, 13 * k + 1)))},
    {"mod word above 2^16", UA, B, Value, OURS(EN_U32ToENUM(r, EN_ModWord(x, wideDivisor(k)))),
     GMP(mpz_set_ui(w, modWordModel(x, wideDivisor(k))))},
    {"mod add", RA, RB, Exact, OURS(EN_Mod_Add(r, x, y, m)), MODGMP(mpz_add(w, x, y))},
    {"mod sub", RA, RB, Exact, OURS(EN_Mod_Sub(r, x, y, m)), MODGMP(mpz_sub(w, x, y))},
    {"mod mul", RA, RB, Exact, OURS(EN_Mod_Mul(r, x, y, m)), MODGMP(mpz_mul(w, x, y))},
    {"mod mul in place", RA, RB, Exact, OURS(EN_Copy(r, x); EN_Mod_Mul(r, r, r, m)), MODGMP(mpz_mul(w, x, x))},
    {"mod sqr", RA, RB, Exact, OURS(EN_Mod_Sqr(r, x, m)), MODGMP(mpz_mul(w, x, x))},
    {"mod mulA", UA, RB, Exact, OURS(EN_Mod_MulA(r, x, y, m)), MODGMP(mpz_mul(w, x, y))},
    {"mod mulB", UA, RB, Exact, OURS(EN_Mod_MulB(r, y, x, m)), MODGMP(mpz_mul(w, x, y))},
    {"mod mulAB", UA, RB, Exact, OURS(EN_Mod_MulAB(r, x, x, m)), MODGMP(mpz_mul(w, x, x))},
    {"mod sqrA", UA, RB, Exact, OURS(EN_Mod_SqrA(r, x, m)), MODGMP(mpz_mul(w, x, x))},
    {"mod inv", RA, RB, Value, OURS(EN_Mod_Inv(r, x, m)),
     GMP(if (mpz_invert(w, x, m) == 0 || mpz_cmp_ui(m, 1) == 0) mpz_set_ui(w, 0))},
    {"mod exp", RA, E, Exact, OURS(EN_Mod_Exp(r, x, y, m)), GMP(Mpz e; mpz_abs(e, y); mpz_powm(w, x, e, m))},
    {"mod expA in place", UA, E, Exact, OURS(EN_Copy(r, x); EN_Mod_ExpA(r, r, y, m)),
     GMP(Mpz e; mpz_abs(e, y); mpz_powm(w, x, e, m))},
};

std::string hex(mpz_srcptr z) {
    char *s = mpz_get_str(nullptr, 16, z);
    std::string out(s);
    free(s);
    return out;
}

::testing::AssertionResult matches(Form form, const ENUM *r, mpz_srcptr want, uint32_t xSign) {
    Mpz got;
    toMpz(got, r);
    const bool zero = mpz_sgn(want) == 0, normal = r->length == 0 || r->words[r->length - 1] != 0;
    bool ok = mpz_cmp(got, want) == 0;
    if (form == Quot && zero) ok = r->length == 1 && r->words[0] == 0 && r->sign == 0;
    else if (form == Exact || form == Quot) ok = ok && normal && !(zero && r->sign);
    else if (form == RemSign) ok = ok && r->sign == xSign;
    if (ok) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "got " << hex(got) << " (length " << r->length << ", sign " << r->sign
                                         << ") want " << hex(want);
}

int words(vctest::Rng &rng, uint32_t max = 75) { return 1 + int(rng.below(max)); }

Num modulus(vctest::Rng &rng, int kind) {  // 0: odd, top bit set; 1: odd, top bit clear; 2: even
    Num m = randomNum(rng, words(rng));
    uint32_t &top = m.store[size_t(m.e.length - 1)];
    if (kind == 0) top |= 0x80000000u;
    else if (m.e.length == 1 || top > 1) top = (top >> 1) | 1;
    m.store[0] = kind == 2 ? m.store[0] & ~1u : m.store[0] | 1;
    if (m.e.length == 1 && m.store[0] == 0) m.store[0] = 2;
    return m;
}

TEST(BignumGmp, EveryOperation) {
    vctest::Rng rng(1);
    const uint32_t expBits[] = {3, 17, 18, 127, 128, 255, 256, 2048};
    for (int it = 0; it < 720 / kScale; it++) {
        Num a = randomNum(rng, words(rng), rng.below(2)), b = randomNum(rng, words(rng), rng.below(2));
        Mpz z[2][3], g;
        if (it % 4 == 0) b = a, b.e.sign = rng.below(2);                            // equal magnitudes
        if (it % 4 == 1) b = randomNum(rng, words(rng, 2), rng.below(2));           // short divisors
        if (it % 4 == 2) {                                                           // a common factor
            toMpz(z[0][0], randomNum(rng, words(rng, 50), rng.below(2)).p()), toMpz(g, randomNum(rng, words(rng, 20)).p());
            toMpz(z[1][0], randomNum(rng, words(rng, 50), rng.below(2)).p());  // products stay within 75 words
            mpz_mul(z[0][0], z[0][0], g), mpz_mul(z[1][0], z[1][0], g);
            if (it % 3 == 0) mpz_mul_2exp(z[0][0], z[0][0], rng.below(70));
            a = fromMpz(z[0][0]), b = fromMpz(z[1][0]);
        }
        const Num m = modulus(rng, it % 3);
        Mpz zm;
        toMpz(zm, m.p());
        Num e = randomNum(rng, int(expBits[it / 3 % 8] + 31) / 32, rng.below(2));
        e.store[size_t(e.e.length - 1)] &= ~0u >> (31 - (expBits[it / 3 % 8] - 1) % 32);
        e.store[size_t(e.e.length - 1)] |= 1u << ((expBits[it / 3 % 8] - 1) % 32);
        Num ua = a, ra, rb;
        ua.e.sign = 0;
        for (Num *red : {&ra, &rb}) {
            toMpz(g, randomNum(rng, m.e.length + 1).p());
            mpz_mod(g, g, zm);
            *red = fromMpz(g);
        }
        const Num *xs[] = {&a, &ra, &ua}, *ys[] = {&b, &rb, &e};
        for (int i = 0; i < 3; i++) toMpz(z[0][i], xs[i]->p()), toMpz(z[1][i], ys[i]->p());
        const uint32_t k = rng.below(uint32_t(a.e.length * 32 + 40));
        for (const Op &op : kOps) {
            if (op.y == E && expBits[it / 3 % 8] == 2048 && it % 5 != 0) continue;  // the slow ones less often
            Num r;
            std::fill(r.store.begin(), r.store.end(), 0xAAAAAAAAu);
            op.ours(r.p(), xs[op.x]->p(), ys[op.y]->p(), m.p(), k);
            Mpz want;
            op.gmp(want, z[0][op.x], z[1][op.y], zm, k);
            ASSERT_TRUE(matches(op.form, r.p(), want, xs[op.x]->e.sign)) << op.name << ", iteration " << it;
        }
    }
}

}  // namespace
