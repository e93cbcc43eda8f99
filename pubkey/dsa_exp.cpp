// a^e1 * b^e2 mod p for the verifiers: one pass of squarings shared by both exponents, each
// multiplying in its odd powers at the ends of its own sliding windows (public exponents, so the
// running time may depend on them). Montgomery arithmetic on the 64-bit limb kernels.
#include "bignum/modexp_fast.h"
#include "pubkey/dlog_internal.h"

#include <array>

namespace vc::dlog {

namespace {

using bignum::u128;
using bignum::u64;

constexpr int kMaxLimbs = (bignum::kMaxModWords + 1) / 2;
constexpr int kWindow = 4;
constexpr int kOddPowers = 1 << (kWindow - 1);
constexpr uint32_t kMaxExponentBits = 32 * bignum::kTempWords;

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
        const bool keep = borrow && !carry;
        for (int i = 0; i < n; i++) r[i] = keep ? t[i + n] : d[i];
    }
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
    // x (any size) into Montgomery form: (x mod p) R^2 R^-1.
    void enter(u64 *out, const ENUM *x, const ENUM *p, const u64 *rr) const {
        Temp t;
        EN_Mod(t.get(), x, p);
        u64 v[kMaxLimbs];
        bignum::toLimbs(v, t->words, t->length, n);
        mul(out, v, rr);
    }
};

// Sliding-window digits of e: digit[i] = the odd window value ending at bit i, else 0.
uint32_t windowDigits(const ENUM *e, uint8_t *digit) {
    const int32_t bits = int32_t(bignum::bitLength(e));
    for (int32_t i = 0; i < bits; i++) digit[i] = 0;
    for (int32_t i = bits - 1; i >= 0;) {
        if (!EN_IsBitSet(e, i)) {
            i--;
            continue;
        }
        int32_t low = i - kWindow + 1 < 0 ? 0 : i - kWindow + 1;
        while (!EN_IsBitSet(e, low)) low++;
        uint32_t v = 0;
        for (int32_t j = i; j >= low; j--) v = (v << 1) | uint32_t(EN_IsBitSet(e, j));
        digit[low] = uint8_t(v);
        i = low - 1;
    }
    return uint32_t(bits);
}

}  // namespace

void powPublic2(ENUM *r, const ENUM *a, const ENUM *e1, const ENUM *b, const ENUM *e2, const ENUM *p) {
    ENUM e[2] = {*e1, *e2};
    bignum::trim(&e[0]), bignum::trim(&e[1]);
    if ((p->words[0] & 1) == 0 || bignum::bitLength(&e[0]) > kMaxExponentBits ||
        bignum::bitLength(&e[1]) > kMaxExponentBits) {
        Temp u, v;
        bignum::modExpPublic(u.get(), a, e1, p);
        bignum::modExpPublic(v.get(), b, e2, p);
        EN_Mod_Mul(r, u.get(), v.get(), p);
        bignum::trim(r);
        return;
    }
    const Mont mt(p);
    const int n = mt.n;
    // R mod p by one division, R^2 mod p by one product.
    Temp big, rm, rr;
    big->length = 2 * n + 1;
    big->words[2 * n] = 1;
    EN_Mod(rm.get(), big.get(), p);
    EN_Mod_Mul(rr.get(), rm.get(), rm.get(), p);
    u64 rrLimbs[kMaxLimbs], acc[kMaxLimbs];
    bignum::toLimbs(rrLimbs, rr->words, rr->length, n);
    bignum::toLimbs(acc, rm->words, rm->length, n);  // 1 in Montgomery form

    const ENUM *base[2] = {a, b};
    u64 odd[2][kOddPowers][kMaxLimbs], sq[kMaxLimbs];
    std::array<uint8_t, kMaxExponentBits> digits[2];
    uint32_t top = 0;
    for (int j = 0; j < 2; j++) {
        mt.enter(odd[j][0], base[j], p, rrLimbs);
        mt.sqr(sq, odd[j][0]);
        for (int i = 1; i < kOddPowers; i++) mt.mul(odd[j][i], odd[j][i - 1], sq);
        const uint32_t bits = windowDigits(&e[j], digits[j].data());
        for (uint32_t i = bits; i < top; i++) digits[j][i] = 0;
        if (bits > top) {
            for (uint32_t i = top; i < bits; i++) digits[1 - j][i] = 0;
            top = bits;
        }
    }
    for (int32_t i = int32_t(top) - 1; i >= 0; i--) {
        mt.sqr(acc, acc);
        for (int j = 0; j < 2; j++)
            if (digits[j][i] != 0) mt.mul(acc, acc, odd[j][digits[j][i] / 2]);
    }
    u64 unit[kMaxLimbs] = {1};
    mt.mul(acc, acc, unit);
    bignum::fromLimbs(r->words, acc, p->length);
    r->sign = 0;
    r->length = p->length;
    bignum::trim(r);
}

}  // namespace vc::dlog
