// Division, shifts, greatest common divisor and least common multiple.
#include "bignum/bn_internal.h"

#include <utility>

namespace vc::bignum {
namespace {

// Short division of the magnitude u[0..n-1] by the word v, quotient into q; returns the rest.
uint32_t divWord(uint32_t *q, const uint32_t *u, int32_t n, uint32_t v) {
    uint64_t rest = 0;
    for (int32_t i = n - 1; i >= 0; i--) {
        const uint64_t num = (rest << 32) | u[i];
        q[i] = uint32_t(num / v);
        rest = num % v;
    }
    return uint32_t(rest);
}

// Knuth's algorithm D on magnitudes: q[0..m] and r[0..n-1] for u (m + n words) over v (n >= 2
// words, top word non-zero).
void longDivide(uint32_t *q, uint32_t *r, const uint32_t *u0, int32_t un, const uint32_t *v0, int32_t n) {
    const int s = __builtin_clz(v0[n - 1]);  // normalise: the divisor's top bit set
    uint32_t v[kTempWords], u[kTempWords + 1];
    for (int32_t i = n - 1; i > 0; i--) v[i] = s ? (v0[i] << s) | (v0[i - 1] >> (32 - s)) : v0[i];
    v[0] = v0[0] << s;
    u[un] = s ? u0[un - 1] >> (32 - s) : 0;
    for (int32_t i = un - 1; i > 0; i--) u[i] = s ? (u0[i] << s) | (u0[i - 1] >> (32 - s)) : u0[i];
    u[0] = u0[0] << s;
    const uint64_t b = uint64_t(1) << 32;
    for (int32_t j = un - n; j >= 0; j--) {
        const uint64_t num = (uint64_t(u[j + n]) << 32) | u[j + n - 1];
        uint64_t qhat = num / v[n - 1], rhat = num % v[n - 1];
        while (qhat >= b || qhat * v[n - 2] > ((rhat << 32) | u[j + n - 2])) {
            qhat--;
            rhat += v[n - 1];
            if (rhat >= b) break;
        }
        int64_t borrow = 0;  // u[j..j+n] -= qhat * v
        uint64_t carry = 0;
        for (int32_t i = 0; i < n; i++) {
            const uint64_t p = qhat * v[i] + carry;
            carry = p >> 32;
            const int64_t t = int64_t(u[i + j]) - int64_t(uint32_t(p)) + borrow;
            u[i + j] = uint32_t(t);
            borrow = t >> 32;
        }
        const int64_t t = int64_t(u[j + n]) - int64_t(carry) + borrow;
        u[j + n] = uint32_t(t);
        if (t < 0) {  // the estimate was one too large: add the divisor back
            qhat--;
            uint64_t c = 0;
            for (int32_t i = 0; i < n; i++) {
                const uint64_t sum = uint64_t(u[i + j]) + v[i] + c;
                u[i + j] = uint32_t(sum);
                c = sum >> 32;
            }
            u[j + n] += uint32_t(c);
        }
        q[j] = uint32_t(qhat);
    }
    for (int32_t i = 0; i < n; i++) r[i] = s ? (u[i] >> s) | (u[i + 1] << (32 - s)) : u[i];
}

bool isEven(const ENUM *x) { return x->length == 0 || (x->words[0] & 1) == 0; }

}  // namespace
}  // namespace vc::bignum

using namespace vc::bignum;

extern "C" {

int32_t EN_Div(ENUM *q, ENUM *rem, const ENUM *a, const ENUM *d) {
    Temp A, D;  // copies first, so that q and rem may be a's or d's records
    loadTemp(A, a);
    loadTemp(D, d);
    if (isZero(D.get())) return 0;
    if (EN_UComp(D.get(), A.get()) > 0) {
        if (rem != nullptr) EN_Copy(rem, A.get());
        if (q != nullptr) setWordZero(q);
        return 1;
    }
    const int32_t la = A->length, ld = D->length;
    Temp Q, R;
    if (ld == 1) {
        R.w[0] = divWord(Q.w, A.w, la, D.w[0]);
    } else {
        longDivide(Q.w, R.w, A.w, la, D.w, ld);
    }
    if (q != nullptr) {
        q->sign = A->sign ^ D->sign;
        q->length = la - ld + 1;
        memcpy(q->words, Q.w, size_t(q->length) * 4);
        trim(q);
    }
    if (rem != nullptr) {
        rem->sign = A->sign;
        rem->length = ld;
        memcpy(rem->words, R.w, size_t(ld) * 4);
        trim(rem);
    }
    return 1;
}

void EN_LShift(ENUM *r, const ENUM *a, int32_t k) {
    const int32_t w = k / 32, b = k % 32, la = a->length;
    const uint32_t *x = a->words;
    uint32_t *z = r->words;
    if (b == 0) {
        z[la + w] = 0;
        for (int32_t i = la - 1; i >= 0; i--) z[i + w] = x[i];
    } else if (la == 0) {
        z[w] = 0;
    } else {
        z[la + w] = x[la - 1] >> (32 - b);
        for (int32_t i = la - 1; i > 0; i--) z[i + w] = (x[i] << b) | (x[i - 1] >> (32 - b));
        z[w] = x[0] << b;
    }
    for (int32_t i = 0; i < w; i++) z[i] = 0;
    r->sign = a->sign;
    r->length = la + w + 1;
    trim(r);
}

void EN_RShift(ENUM *r, const ENUM *a, int32_t k) {
    const int32_t w = k / 32, b = k % 32, la = a->length;
    if (w > la) {
        setWordZero(r);
        return;
    }
    const uint32_t *x = a->words;
    uint32_t *z = r->words;
    const int32_t n = la - w;
    for (int32_t i = 0; i < n; i++) {
        const uint32_t next = i + w + 1 < la ? x[i + w + 1] : 0;
        z[i] = b ? (x[i + w] >> b) | (next << (32 - b)) : x[i + w];
    }
    z[n] = 0;  // the spare word past the result
    if (r != a) r->sign = a->sign;
    r->length = n;
    trim(r);
}

void EN_LShift1(ENUM *r, const ENUM *a) {
    const int32_t la = a->length;
    uint32_t carry = 0;
    for (int32_t i = 0; i < la; i++) {
        const uint32_t x = a->words[i];
        r->words[i] = (x << 1) | carry;
        carry = x >> 31;
    }
    r->sign = a->sign;
    r->length = la;
    if (carry) r->words[r->length++] = 1;
}

void EN_RShift1(ENUM *r, const ENUM *a) {
    const int32_t la = a->length;
    for (int32_t i = 0; i < la; i++) {
        const uint32_t next = i + 1 < la ? a->words[i + 1] : 0;
        r->words[i] = (a->words[i] >> 1) | (next << 31);
    }
    r->sign = a->sign;
    r->length = la;
    trim(r);
}

// Stein's binary algorithm; the larger magnitude is kept first.
void EN_GCD(ENUM *r, const ENUM *a, const ENUM *b) {
    Temp A, B;
    loadTemp(A, a);
    loadTemp(B, b);
    A->sign = B->sign = 0;
    ENUM *x = A.get(), *y = B.get();
    if (EN_UComp(x, y) < 0) std::swap(x, y);
    int32_t twos = 0;
    while (!isZero(y)) {
        const bool xEven = isEven(x), yEven = isEven(y);
        if (xEven && !yEven) {
            EN_RShift1(x, x);
        } else if (xEven && yEven) {
            EN_RShift1(x, x);
            EN_RShift1(y, y);
            twos++;
        } else if (!xEven && !yEven) {
            uSub(x, x, y);
            EN_RShift1(x, x);
        } else {
            EN_RShift1(y, y);
        }
        if (EN_UComp(y, x) > 0) std::swap(x, y);
    }
    if (twos > 0)
        EN_LShift(r, x, twos);
    else
        EN_Copy(r, x);
}

void EN_LCM(ENUM *r, const ENUM *a, const ENUM *b) {
    Temp A, B, P, G;
    loadTemp(A, a);
    loadTemp(B, b);
    EN_Mul(P.get(), A.get(), B.get());
    EN_GCD(G.get(), A.get(), B.get());
    EN_Div(r, nullptr, P.get(), G.get());
}

}  // extern "C"
