// Word kernels, multiplication and squaring.
//
// The reference algorithms work one 32-bit word at a time (mulLiteral, sqrLiteral). EN_Mul and
// EN_Sqr compute the same values on 64-bit limbs; squaring then re-applies the reference
// carry rule of its diagonal sum, which differs from the true square only where a carry is lost.
#include "bignum/bn_internal.h"

namespace vc::bignum {

uint32_t mulWord(uint32_t *out, const uint32_t *in, int32_t n, uint32_t w) {
    uint64_t c = 0;
    for (int32_t i = 0; i < n; i++) {
        const uint64_t t = uint64_t(in[i]) * w + c;
        out[i] = uint32_t(t);
        c = t >> 32;
    }
    return uint32_t(c);
}

uint32_t mulAddWord(uint32_t *out, const uint32_t *in, int32_t n, uint32_t w) {
    uint64_t c = 0;
    for (int32_t i = 0; i < n; i++) {
        const uint64_t t = uint64_t(in[i]) * w + out[i] + c;
        out[i] = uint32_t(t);
        c = t >> 32;
    }
    return uint32_t(c);
}

void sqrWords(uint32_t *out, const uint32_t *in, int32_t n) {
    for (int32_t i = 0; i < n; i++) {
        const uint64_t t = uint64_t(in[i]) * in[i];
        out[2 * i] = uint32_t(t);
        out[2 * i + 1] = uint32_t(t >> 32);
    }
}

void mulLiteral(ENUM *r, const ENUM *a, const ENUM *b) {
    const int32_t la = a->length, lb = b->length;
    r->sign = a->sign ^ b->sign;
    if (la == 0 || lb == 0) {
        r->length = 0;
        return;
    }
    uint32_t *z = r->words;
    z[la] = mulWord(z, a->words, la, b->words[0]);
    for (int32_t j = 1; j < lb; j++) z[j + la] = mulAddWord(z + j, a->words, la, b->words[j]);
    r->length = la + lb;
    if (z[r->length - 1] == 0) r->length--;
}

namespace {

// x[0..2n-1] + d[0..2n-1] with the magnitude sum's carry rule (d plays the shorter operand).
template <class Get, class Set>
void ruleSum(int32_t words, Get x, const uint32_t *d, Set out) {
    uint32_t carry = 0;
    for (int32_t k = 0; k < words; k++) {
        const uint32_t s = x(k) + d[k] + carry;
        carry = d[k] > s;
        out(k, s);
    }
}

}  // namespace

void sqrLiteral(ENUM *r, const ENUM *a) {
    const int32_t n = a->length;
    const uint32_t *x = a->words;
    r->sign = 0;
    if (n == 0) {
        r->length = 0;
        return;
    }
    assert(n <= kMaxModWords);
    uint32_t *z = r->words;
    z[0] = 0;
    z[2 * n - 1] = 0;
    if (n > 1) {
        z[n] = mulWord(z + 1, x + 1, n - 1, x[0]);
        for (int32_t i = 1; i < n - 1; i++) z[i + n] = mulAddWord(z + 2 * i + 1, x + i + 1, n - i - 1, x[i]);
    }
    for (int32_t k = 2 * n - 1; k > 0; k--) z[k] = (z[k] << 1) | (z[k - 1] >> 31);
    z[0] <<= 1;
    uint32_t d[kTempWords];
    sqrWords(d, x, n);
    ruleSum(2 * n, [z](int32_t k) { return z[k]; }, d, [z](int32_t k, uint32_t s) { z[k] = s; });
    r->length = 2 * n;
    trim(r);
}

// ---- 64-bit limbs


void toLimbs(u64 *out, const uint32_t *in, int32_t n32, int nl) {
    for (int i = 0; i < nl; i++) out[i] = 0;
    if (n32 > 0) memcpy(out, in, size_t(n32) * 4);
}

void fromLimbs(uint32_t *out, const u64 *in, int32_t n32) {
    if (n32 > 0) memcpy(out, in, size_t(n32) * 4);
}

void mul64(u64 *r, const u64 *a, int na, const u64 *b, int nb) {
    r[na] = mulRow(r, a, na, b[0]);
    for (int j = 1; j < nb; j++) r[j + na] = mulAddRow(r + j, a, na, b[j]);
}

void sqr64(u64 *r, const u64 *a, int n) {
    r[0] = 0;
    r[2 * n - 1] = 0;
    if (n > 1) {
        r[n] = mulRow(r + 1, a + 1, n - 1, a[0]);
        for (int i = 1; i < n - 1; i++) r[i + n] = mulAddRow(r + 2 * i + 1, a + i + 1, n - i - 1, a[i]);
    }
    u64 top = 0;  // double the cross products and add the diagonal in one pass
    u64 c = 0;
    for (int i = 0; i < n; i++) {
        const u128 sq = u128(a[i]) * a[i];
        const u64 lo = r[2 * i], hi = r[2 * i + 1];
        const u128 s0 = u128((lo << 1) | top) + u64(sq) + c;
        const u128 s1 = u128((hi << 1) | (lo >> 63)) + u64(sq >> 64) + u64(s0 >> 64);
        top = hi >> 63;
        r[2 * i] = u64(s0);
        r[2 * i + 1] = u64(s1);
        c = u64(s1 >> 64);
    }
}

void sqrCarryRule(u64 *s, const u64 *a, int32_t n) {
    // Limb k of the diagonal is the square of 32-bit word k. Recover the doubled cross products
    // x = s - diagonal and look for an all-ones word: without one no carry can be lost.
    u64 hit = 0;  // the high bit of a 32-bit lane is set when that lane of some x is all ones
    bool borrow = false;
    auto step = [&](u64 &limb, u64 square) {
        u64 x;
        const bool b1 = __builtin_sub_overflow(limb, square, &x);
        const bool b2 = __builtin_sub_overflow(x, u64(borrow), &x);
        borrow = b1 | b2;
        hit |= (~x - 0x0000000100000001u) & x & 0x8000000080000000u;
    };
    // Two words of a per limb. For odd n the last step meets a zero padding word and the
    // square's zero top limb, which changes nothing.
    for (int32_t j = 0; 2 * j < n; j++) {
        const u64 lo = uint32_t(a[j]), hi = a[j] >> 32;
        step(s[2 * j], lo * lo);
        step(s[2 * j + 1], hi * hi);
    }
    const bool allOnes = hit != 0;
    if (!allOnes) return;
    uint32_t x[kTempWords], d[kTempWords];
    uint32_t b32 = 0;
    for (int32_t k = 0; k < 2 * n; k++) {
        const u64 sq = u64(word32(a, k >> 1)) * word32(a, k >> 1);
        d[k] = uint32_t(sq >> (32 * (k & 1)));
        const u64 t = u64(word32(s, k)) - d[k] - b32;
        x[k] = uint32_t(t);
        b32 = uint32_t(t >> 63);
    }
    ruleSum(2 * n, [&x](int32_t k) { return x[k]; }, d, [s](int32_t k, uint32_t v) { setWord32(s, k, v); });
}

}  // namespace vc::bignum

using namespace vc::bignum;

extern "C" {

void EN_Mul(ENUM *r, const ENUM *a, const ENUM *b) {
    const int32_t la = a->length, lb = b->length;
    if (la == 0 || lb == 0 || la > kTempWords || lb > kTempWords) {
        mulLiteral(r, a, b);
        return;
    }
    u64 x[kTempWords / 2], y[kTempWords / 2], z[kTempWords];
    const int nx = (la + 1) / 2, ny = (lb + 1) / 2;
    toLimbs(x, a->words, la, nx);
    toLimbs(y, b->words, lb, ny);
    if (nx >= ny)
        mul64(z, x, nx, y, ny);
    else
        mul64(z, y, ny, x, nx);
    r->sign = a->sign ^ b->sign;
    fromLimbs(r->words, z, la + lb);
    r->length = la + lb;
    if (r->words[r->length - 1] == 0) r->length--;
}

void EN_Sqr(ENUM *r, const ENUM *a) {
    const int32_t n = a->length;
    if (n == 0) {
        r->sign = 0;
        r->length = 0;
        return;
    }
    assert(n <= kMaxModWords);
    u64 x[kMaxModWords / 2 + 1] = {}, z[kTempWords / 2 + 1];
    const int nx = (n + 1) / 2;
    toLimbs(x, a->words, n, nx);
    sqr64(z, x, nx);
    sqrCarryRule(z, x, n);
    r->sign = 0;
    fromLimbs(r->words, z, 2 * n);
    r->length = 2 * n;
    trim(r);
}

}  // extern "C"
