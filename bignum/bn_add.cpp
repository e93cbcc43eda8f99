// Signed addition and subtraction on top of the two magnitude routines.
#include "bignum/bn_internal.h"

namespace vc::bignum {

void uAdd(ENUM *r, const ENUM *a, const ENUM *b) {
    const int32_t la = a->length, lb = b->length;
    const uint32_t *x = a->words, *y = b->words;
    uint32_t *z = r->words;
    uint32_t carry = 0;
    // The carry out of a word is "the shorter operand's word exceeds the sum word" (0 past its
    // end), so a carry into an all-ones word of a is dropped: results have always been so.
    for (int32_t i = 0; i < lb; i++) {
        const uint32_t yi = y[i], s = x[i] + yi + carry;
        carry = yi > s;
        z[i] = s;
    }
    for (int32_t i = lb; i < la; i++) {
        z[i] = x[i] + carry;
        carry = 0;
    }
    r->length = la;
    if (carry) z[r->length++] = 1;
}

void uSub(ENUM *r, const ENUM *a, const ENUM *b) {
    const int32_t la = a->length, lb = b->length;
    const uint32_t *x = a->words, *y = b->words;
    uint32_t *z = r->words;
    uint32_t borrow = 0;
    for (int32_t i = 0; i < lb; i++) {
        const uint64_t d = uint64_t(x[i]) - y[i] - borrow;
        z[i] = uint32_t(d);
        borrow = uint32_t(d >> 63);
    }
    for (int32_t i = lb; i < la; i++) {
        const uint32_t xi = x[i];
        z[i] = xi - borrow;
        borrow = borrow && xi == 0;
    }
    r->length = la;
    trim(r);
}

namespace {

// r = |x| - |y| or |y| - |x|, whichever is non-negative: sign 0 when |y| <= |x|, else
// `negSign` with the swapped difference.
void signedDiff(ENUM *r, const ENUM *x, const ENUM *y, uint32_t posSign, uint32_t negSign) {
    if (EN_UComp(y, x) <= 0) {
        uSub(r, x, y);
        r->sign = posSign;
    } else {
        uSub(r, y, x);
        r->sign = negSign;
    }
}

void magnitudeSum(ENUM *r, const ENUM *a, const ENUM *b, uint32_t sign) {
    if (a->length >= b->length)
        uAdd(r, a, b);
    else
        uAdd(r, b, a);
    r->sign = sign;
}

}  // namespace
}  // namespace vc::bignum

using namespace vc::bignum;

extern "C" {

// Equal magnitudes always give sign 0.
void EN_Add(ENUM *r, const ENUM *a, const ENUM *b) {
    if (a->sign == b->sign)
        magnitudeSum(r, a, b, a->sign);
    else if (a->sign == 1)
        signedDiff(r, b, a, 0, 1);  // |a| <= |b|: |b| - |a|
    else
        signedDiff(r, a, b, 0, 1);  // |b| <= |a|: |a| - |b|
}

void EN_Sub(ENUM *r, const ENUM *a, const ENUM *b) {
    if (a->sign != b->sign)
        magnitudeSum(r, a, b, a->sign);
    else if (a->sign == 1)
        signedDiff(r, b, a, 0, 1);  // |a| <= |b|: |b| - |a|
    else
        signedDiff(r, a, b, 0, 1);  // |b| <= |a|: |a| - |b|
}

void EN_SubU32(ENUM *r, const ENUM *a, uint32_t w) {
    const int32_t la = a->length;
    r->sign = a->sign;
    if (la == 0) {  // |a| >= w leaves only w = 0 here
        r->length = 0;
        return;
    }
    const uint32_t x0 = a->words[0];
    r->words[0] = x0 - w;
    uint32_t borrow = x0 < w;
    for (int32_t i = 1; i < la; i++) {
        const uint32_t xi = a->words[i];
        r->words[i] = xi - borrow;
        borrow = borrow && xi == 0;
    }
    r->length = la;
    trim(r);
}

}  // extern "C"
