// Building blocks shared by the big-number sources: the word kernels, the stack temporaries and
// the fast 64-bit-limb kernels behind multiplication, squaring and exponentiation.
#pragma once

#include <vorelcrypto/bignum.h>

#include <cassert>
#include <cstdint>
#include <cstring>

namespace vc::bignum {

// Every temporary number lives in a 150-word stack array; a reduced product must fit in it, so
// moduli are bounded at 75 words.
inline constexpr int32_t kTempWords = 150;
inline constexpr int32_t kMaxModWords = kTempWords / 2;

// A stack number: sign 0, length 0, all words zero. Two words beyond the 150 hold the spare word
// of a right shift and the extra top word of a Montgomery reduction modulo 75 words.
inline constexpr int32_t kTempStorage = kTempWords + 2;
struct Temp {
    uint32_t w[kTempStorage] = {};
    ENUM n{0, 0, w};
    Temp() = default;
    Temp(const Temp &) = delete;
    Temp &operator=(const Temp &) = delete;
    ENUM *operator->() { return &n; }
    ENUM *get() { return &n; }
};

// Copies src into a temporary (asserting the 150-word bound in debug builds).
void loadTemp(Temp &t, const ENUM *src);

inline void trim(ENUM *a) {
    while (a->length > 0 && a->words[a->length - 1] == 0) a->length--;
}
// The library's zero test: length 0, or length 1 with word 0.
inline bool isZero(const ENUM *a) {
    return a->length == 0 || (a->length == 1 && a->words[0] == 0);
}
// Bit length of a normalised number without trimming it.
uint32_t bitLength(const ENUM *a);
// Unnormalised zero: sign 0, length 1, word 0.
inline void setWordZero(ENUM *a) {
    a->sign = 0;
    a->length = 1;
    a->words[0] = 0;
}

// Magnitude sum, a the longer operand, with the library's carry rule. r may be a or b.
void uAdd(ENUM *r, const ENUM *a, const ENUM *b);
// Magnitude difference |a| - |b| for |a| >= |b|, trimmed. r may be a or b.
void uSub(ENUM *r, const ENUM *a, const ENUM *b);
// out[0..n-1] = in * w; returns the carry word.
uint32_t mulWord(uint32_t *out, const uint32_t *in, int32_t n, uint32_t w);
// out[0..n-1] += in * w; returns the carry word.
uint32_t mulAddWord(uint32_t *out, const uint32_t *in, int32_t n, uint32_t w);
// out[2i], out[2i+1] = in[i]^2.
void sqrWords(uint32_t *out, const uint32_t *in, int32_t n);

// The word-at-a-time schoolbook product and square: the reference results, which stored keys
// and signatures depend on; the exported
// EN_Mul/EN_Sqr take faster kernels whenever the result is provably the same.
void mulLiteral(ENUM *r, const ENUM *a, const ENUM *b);
void sqrLiteral(ENUM *r, const ENUM *a);

// EN_Mod_Exp through the 32-bit EN_MontMul steps only (no 64-bit kernels), for comparison.
void modExpLiteral(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m);

// ---- 64-bit limb kernels (little-endian host: a 32-bit word array read two words at a time).
using u64 = uint64_t;
using u128 = unsigned __int128;

// One row of a schoolbook product: r[0..n-1] = a * b (mulRow) or r[0..n-1] += a * b
// (mulAddRow), returning the carry limb. Unrolled four times: these carry every product,
// square and Montgomery reduction.
template <bool kAdd>
inline u64 rowStep(u64 *r, const u64 *a, int i, u64 b, u64 c) {
    const u128 t = u128(a[i]) * b + c + (kAdd ? r[i] : 0);
    r[i] = u64(t);
    return u64(t >> 64);
}
template <bool kAdd>
inline u64 row(u64 *r, const u64 *a, int n, u64 b) {
    u64 c = 0;
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        c = rowStep<kAdd>(r, a, i, b, c);
        c = rowStep<kAdd>(r, a, i + 1, b, c);
        c = rowStep<kAdd>(r, a, i + 2, b, c);
        c = rowStep<kAdd>(r, a, i + 3, b, c);
    }
    for (; i < n; i++) c = rowStep<kAdd>(r, a, i, b, c);
    return c;
}
inline u64 mulRow(u64 *r, const u64 *a, int n, u64 b) { return row<false>(r, a, n, b); }
inline u64 mulAddRow(u64 *r, const u64 *a, int n, u64 b) { return row<true>(r, a, n, b); }

// r[0..na+nb-1] = a * b (r distinct from a and b).
void mul64(u64 *r, const u64 *a, int na, const u64 *b, int nb);
// r[0..2n-1] = a^2 (r distinct from a).
void sqr64(u64 *r, const u64 *a, int n);
// The reference squaring adds the diagonal squares to the doubled cross products with the
// magnitude sum's carry rule, which loses a carry where a word of the doubled cross products is
// all ones and a carry comes in. Given the exact square s (2n 32-bit words, as limbs) of the n
// 32-bit words of a, rewrites s to the reference result (a no-op unless a carry is lost).
void sqrCarryRule(u64 *s, const u64 *a, int32_t n);
inline uint32_t word32(const u64 *v, int32_t k) { return uint32_t(v[k >> 1] >> (32 * (k & 1))); }
inline void setWord32(u64 *v, int32_t k, uint32_t x) {
    const int sh = 32 * (k & 1);
    v[k >> 1] = (v[k >> 1] & ~(u64(0xFFFFFFFFu) << sh)) | (u64(x) << sh);
}
// Limb views of a number: load zero-pads to nl limbs, store writes 32-bit words [0, n32).
void toLimbs(u64 *out, const uint32_t *in, int32_t n32, int nl);
void fromLimbs(uint32_t *out, const u64 *in, int32_t n32);

}  // namespace vc::bignum
