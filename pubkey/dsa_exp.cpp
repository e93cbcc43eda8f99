// a^e1 * b^e2 mod p for the verifiers: one pass of squarings shared by both exponents, each
// multiplying in its odd powers at the ends of its own sliding windows (public exponents, so the
// running time may depend on them). Montgomery arithmetic on the 64-bit limb kernels.
#include "bignum/modexp_fast.h"
#include "pubkey/dlog_mont.h"

#include <array>
#include <cstring>

namespace vc::dlog {

namespace {

constexpr int kWindow = 4;
constexpr int kOddPowers = 1 << (kWindow - 1);
constexpr uint32_t kMaxExponentBits = 32 * bignum::kTempWords;

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
    ENUM pm = *p;
    bignum::trim(&pm);
    const Mont mt(&pm);
    u64 rrLimbs[kMaxLimbs], acc[kMaxLimbs], fixed[kMaxLimbs];
    mt.constants(acc, rrLimbs, &pm);  // acc = 1 in Montgomery form
    std::memcpy(fixed, acc, sizeof fixed);
    const ENUM *base[2] = {a, b};
    u64 odd[2][kOddPowers][kMaxLimbs], sq[kMaxLimbs];
    std::array<uint8_t, kMaxExponentBits> digits[2];
    uint32_t top = 0;
    for (int j = 0; j < 2; j++) {
        // A base with a cached table of its powers (the domain's g, a key seen again) needs no
        // squarings: its part is gathered apart and multiplied in at the end.
        if (mulFixedBasePublic(fixed, base[j], &e[j], &pm)) {
            e[j].length = 0;
        } else {
            mt.enter(odd[j][0], base[j], &pm, rrLimbs);
            mt.sqr(sq, odd[j][0]);
            for (int i = 1; i < kOddPowers; i++) mt.mul(odd[j][i], odd[j][i - 1], sq);
        }
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
    mt.mul(acc, acc, fixed);
    mt.leave(r, acc, &pm);
}

}  // namespace vc::dlog
