/* VorelCrypto multi-precision integers (ENUM) and their arithmetic (EN_ functions).
 *
 * An ENUM holds a sign (0 non-negative, 1 negative), the count of 32-bit words in use and a
 * pointer to the magnitude's words, least significant first. There is no capacity field: every
 * destination must have been created by the caller with enough words for the result (a product
 * needs the sum of the operand lengths, a sum the longer length plus one, a left shift by k bits
 * the operand length plus k/32 plus one, a right shift one spare word, a residue modulo m as
 * many words as m). Operations never grow an array and never check its size.
 *
 * Normal form: the top word in use is non-zero and zero has length 0. Three values are left
 * unnormalised on purpose: a fresh EN_Create(n) (length n, all words zero), EN_U32ToENUM(a, 0)
 * (length 1, word 0) and the product of zero by a negative number (length 0, sign 1). A number
 * is zero for this library when its length is 0, or its length is 1 and its word is 0.
 *
 * Temporaries are 150-word stack arrays (no operation but EN_Create and EN_Clone allocates):
 * no dividend may exceed 150 words and no modulus 75 words (2400 bits). Debug builds assert
 * these bounds; release builds do not check them.
 *
 * Results come first in every argument list. Unless a comment says otherwise the result record
 * must be distinct from the operands. */
#ifndef VORELCRYPTO_BIGNUM_H
#define VORELCRYPTO_BIGNUM_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

typedef struct ENUM {
    uint32_t sign;   /* 0 = non-negative, 1 = negative */
    int32_t length;  /* words in use */
    uint32_t *words; /* magnitude, least significant word first */
} ENUM;

/* Montgomery context for an odd modulus N. It owns no memory: whoever builds it points the
 * four records at word arrays of their own (at least 150 words each). */
typedef struct EN_MontCtx {
    uint32_t ri;     /* bit length of N; R = 2^ri */
    ENUM RR;         /* R^2 mod N */
    ENUM Ni;         /* working value of the set-up, (R1 * R1^-1 - 1) / N[0] */
    ENUM N;          /* copy of the modulus */
    ENUM spare;      /* carried for callers; no EN_ routine reads it */
    uint32_t nprime; /* -N^-1 mod 2^32 */
} EN_MontCtx;

/* ---- life cycle and copying ---- */

/* A new number with an n-word zero array: sign 0 and length n (not normalised). Null when
 * memory runs out. Release with EN_Destroy. */
VC_API ENUM *EN_Create(uint32_t n);
/* Frees the array (when non-null) and the record; null does nothing. */
VC_API void EN_Destroy(ENUM *a);
/* Leaves the record unchanged whatever n is: numbers are never grown in place; create a number
 * of the needed size instead. */
VC_API void EN_Expand(ENUM *a, uint32_t n);
/* A new number with a's sign and length and an array of exactly a->length words. */
VC_API ENUM *EN_Clone(const ENUM *a);
/* Copies sign, length and words of src into dst's existing array. */
VC_API void EN_Copy(ENUM *dst, const ENUM *src);
/* a = w: sign 0, length 1 (also for w = 0). */
VC_API void EN_U32ToENUM(ENUM *a, uint32_t w);
/* Minimal big-endian bytes of |a| into out; returns the count (0 for zero). */
VC_API uint32_t EN_ENUMToBytes(const ENUM *a, uint8_t *out);
/* a = the big-endian bytes in[0..len-1]: sign 0, trimmed. a needs (len + 3) / 4 words. */
VC_API void EN_BytesToENUM(ENUM *a, const uint8_t *in, uint32_t len);

/* ---- bits and comparison ---- */

/* Bit length: (length - 1) * 32 + bit length of the top word; 0 for length 0. A number of
 * length 1 whose word is 0 is trimmed to length 0 here; a zero top word at a greater length is
 * not (EN_Create(4) gives 96). */
VC_API uint32_t EN_GetFilledBitNum(ENUM *a);
/* Bit i of |a|: 0 for i < 0 or i / 32 >= length. */
VC_API int32_t EN_IsBitSet(const ENUM *a, int32_t i);
/* |a| = |a| mod 2^i in place. Returns 0 and changes nothing when i / 32 >= length, else 1.
 * With i a multiple of 32 the length becomes i / 32 without further trimming. */
VC_API int32_t EN_MaskBit(ENUM *a, int32_t i);
/* Compares magnitudes. Different lengths give length(a) - length(b) itself; equal lengths
 * give 1, -1 or 0. Test only the sign. */
VC_API int32_t EN_UComp(const ENUM *a, const ENUM *b);
/* Signed comparison, -1, 0 or 1. Signs are compared first, so a negative zero ranks below
 * zero. */
VC_API int32_t EN_Comp(const ENUM *a, const ENUM *b);

/* ---- integer arithmetic ---- */

/* r = a + b. Equal magnitudes of opposite sign give sign 0. The carry out of each word of the
 * magnitude sum is "the shorter operand's word is greater than the sum word": a carry coming
 * into an all-ones word of the longer operand is not passed on (existing results depend on
 * it). */
VC_API void EN_Add(ENUM *r, const ENUM *a, const ENUM *b);
/* r = a - b, with the same magnitude sum as EN_Add. */
VC_API void EN_Sub(ENUM *r, const ENUM *a, const ENUM *b);
/* r = |a| - w with a's sign; requires |a| >= w. */
VC_API void EN_SubU32(ENUM *r, const ENUM *a, uint32_t w);
/* r = a * b, sign(a) XOR sign(b); a zero operand gives length 0 (and sign 1 for zero times a
 * negative number). */
VC_API void EN_Mul(ENUM *r, const ENUM *a, const ENUM *b);
/* r = a^2, sign 0. */
VC_API void EN_Sqr(ENUM *r, const ENUM *a);
/* q = a / d and rem = a mod d (rem has a's sign, q sign(a) XOR sign(d)); q and rem may be the
 * records of a or d. Returns 0 and writes nothing for a zero d, else 1. When |d| > |a|, rem is
 * a copy of a and q is zero as sign 0, length 1, word 0. rem may be null; q may be null only
 * when |d| > |a|. a and d at most 150 words. */
VC_API int32_t EN_Div(ENUM *q, ENUM *rem, const ENUM *a, const ENUM *d);
/* r = a * 2^k, a's sign. */
VC_API void EN_LShift(ENUM *r, const ENUM *a, int32_t k);
/* r = |a| / 2^k; r may be a. Needs one spare word past the result. The sign is copied only
 * when r is not a. k / 32 beyond a's length gives zero as sign 0, length 1, word 0. */
VC_API void EN_RShift(ENUM *r, const ENUM *a, int32_t k);
/* r = a * 2; r may be a. */
VC_API void EN_LShift1(ENUM *r, const ENUM *a);
/* r = a / 2; r may be a. */
VC_API void EN_RShift1(ENUM *r, const ENUM *a);
/* r = gcd(|a|, |b|) by Stein's binary algorithm; r may be a or b. */
VC_API void EN_GCD(ENUM *r, const ENUM *a, const ENUM *b);
/* r = a * b / gcd(a, b); r may be a or b. */
VC_API void EN_LCM(ENUM *r, const ENUM *a, const ENUM *b);

/* ---- modular arithmetic ----
 * A residue modulo m needs as many words as m; m at most 75 words. The result may be the same
 * record as an input except for EN_Mod_Sub, and except that exponentiation's result must not be
 * the exponent. A multiplication whose two operand pointers are equal squares instead. */

/* r = a mod m with the sign of a: a negative a gives a value in (-m, 0]. */
VC_API void EN_Mod(ENUM *r, const ENUM *a, const ENUM *m);
/* r = (a + b) mod m. */
VC_API void EN_Mod_Add(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m);
/* a - b when a >= b, else m - (b - a); not reduced further. r distinct from a, b and m. */
VC_API void EN_Mod_Sub(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m);
/* r = a * b mod m, a and b reduced. */
VC_API void EN_Mod_Mul(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m);
/* As EN_Mod_Mul, a reduced first. */
VC_API void EN_Mod_MulA(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m);
/* As EN_Mod_Mul, b reduced first. */
VC_API void EN_Mod_MulB(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m);
/* As EN_Mod_Mul, a and b reduced first. */
VC_API void EN_Mod_MulAB(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m);
/* r = a^2 mod m, a reduced. */
VC_API void EN_Mod_Sqr(ENUM *r, const ENUM *a, const ENUM *m);
/* As EN_Mod_Sqr, a reduced first. */
VC_API void EN_Mod_SqrA(ENUM *r, const ENUM *a, const ENUM *m);
/* r = a^-1 mod m by the extended Euclidean algorithm, or 0 (sign 0, length 1, word 0) when
 * gcd(a, m) != 1. Works for a >= m. A negative a or m leaves r unwritten. */
VC_API void EN_Mod_Inv(ENUM *r, const ENUM *a, const ENUM *m);
/* r = a^|e| mod m by sliding windows, a reduced. e = 0 gives 1 (0 when m is 1). An odd m whose
 * top bit is set (bit length a multiple of 32) runs in Montgomery form, any other m with
 * division. r must not be e. */
VC_API void EN_Mod_Exp(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m);
/* As EN_Mod_Exp, a reduced first. */
VC_API void EN_Mod_ExpA(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m);

/* ---- Montgomery arithmetic ---- */

/* Fills ctx for the odd modulus m; ctx's four records must already point at word arrays. */
VC_API void EN_MontSet(EN_MontCtx *ctx, const ENUM *m);
/* r = a * b * R^-1 mod N. */
VC_API void EN_MontMul(ENUM *r, const ENUM *a, const ENUM *b, const EN_MontCtx *ctx);
/* r = t * R^-1 mod N. The word loop runs once per word of t's low ri bits after trimming, so
 * zero top words of that low part shorten it; a zero low part leaves r unwritten. */
VC_API void EN_MontReduce(ENUM *r, const ENUM *t, const EN_MontCtx *ctx);
/* |a| mod w, exact for w up to 2^16; w must be non-zero. */
VC_API uint32_t EN_ModWord(const ENUM *a, uint32_t w);

VC_END_DECLS

#endif
