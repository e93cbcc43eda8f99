// Montgomery arithmetic modulo an odd p on the 64-bit limb kernels, R = 2^(64 n) with n the limb
// count of p: the one multiplier behind the verifiers' two-base product and the fixed-base
// exponentiation of the signers. Products are exact and the final subtraction is picked by a
// mask, so the running time does not depend on the operands.
#pragma once

#include "pubkey/dlog_internal.h"

namespace vc::dlog {

using bignum::u128;
using bignum::u64;

inline constexpr int kMaxLimbs = (bignum::kMaxModWords + 1) / 2;

struct Mont {
    int n;
    u64 m[kMaxLimbs] = {};
    u64 n0;

    explicit Mont(const ENUM *p) : n((p->length + 1) / 2) {
        bignum::toLimbs(m, p->words, p->length, n);
        u64 inv = 1;  // Newton's iteration: correct low bits double each step
        for (int i = 0; i < 6; i++) inv *= 2 - m[0] * inv;
        n0 = u64(0) - inv;
    }

    // r = t R^-1 mod p for t < p R (2n limbs, destroyed).
    void reduce(u64 *r, u64 *t) const {
        u64 carry = 0;
        for (int i = 0; i < n; i++) {
            const u64 c = bignum::mulAddRow(t + i, m, n, t[i] * n0);
            const u128 s = u128(t[i + n]) + c + carry;
            t[i + n] = u64(s);
            carry = u64(s >> 64);
        }
        u64 d[kMaxLimbs], borrow = 0;
        for (int i = 0; i < n; i++) {
            const u128 s = u128(t[i + n]) - m[i] - borrow;
            d[i] = u64(s);
            borrow = u64(s >> 64) & 1;
        }
        const u64 keep = u64(0) - (borrow & (carry ^ 1));  // t R^-1 < p: no subtraction
        for (int i = 0; i < n; i++) r[i] = (t[i + n] & keep) | (d[i] & ~keep);
    }
    // r may be a or b.
    void mul(u64 *r, const u64 *a, const u64 *b) const {
        u64 t[2 * kMaxLimbs];
        bignum::mul64(t, a, n, b, n);
        reduce(r, t);
    }
    void sqr(u64 *r, const u64 *a) const {
        u64 t[2 * kMaxLimbs];
        bignum::sqr64(t, a, n);
        reduce(r, t);
    }
    // one = R mod p, rr = R^2 mod p: a division and a product.
    void constants(u64 *one, u64 *rr, const ENUM *p) const {
        Temp big, rm, sq;
        big->length = 2 * n + 1;
        big->words[2 * n] = 1;
        EN_Mod(rm.get(), big.get(), p);
        EN_Mod_Mul(sq.get(), rm.get(), rm.get(), p);
        bignum::toLimbs(one, rm->words, rm->length, n);
        bignum::toLimbs(rr, sq->words, sq->length, n);
    }
    // x (any size) into Montgomery form: (x mod p) R^2 R^-1.
    void enter(u64 *out, const ENUM *x, const ENUM *p, const u64 *rr) const {
        Temp t;
        EN_Mod(t.get(), x, p);
        u64 v[kMaxLimbs];
        bignum::toLimbs(v, t->words, t->length, n);
        mul(out, v, rr);
    }
    // r = x R^-1 mod p as a normalised number of at most p's length.
    void leave(ENUM *r, const u64 *x, const ENUM *p) const {
        u64 unit[kMaxLimbs] = {1}, v[kMaxLimbs];
        mul(v, x, unit);
        bignum::fromLimbs(r->words, v, p->length);
        r->sign = 0;
        r->length = p->length;
        bignum::trim(r);
    }
};

// acc = acc base^e with the Montgomery form of the trimmed odd p, for a public e (running time
// depends on it), from a cached table of base's powers; false (acc untouched) when there is no
// table and (p, base) does not come up often enough to build one.
bool mulFixedBasePublic(u64 *acc, const ENUM *base, const ENUM *e, const ENUM *p);

}  // namespace vc::dlog
