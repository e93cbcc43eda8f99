/* VorelCrypto prime generation and probable-prime tests (EN_ functions on ENUM).
 *
 * Results are written into caller-created numbers with at least (bits + 31) / 32 + 1 words.
 * "Strong" means a safe prime: p and (p - 1) / 2 both prime. The generators draw from the
 * random generators (random.h) and EN_MillerRabin from a witness generator of the library's own
 * (one per thread); nothing here reads or reseeds the C run-time's rand(). Calls on different
 * numbers may run in several threads at once. The searches end once a prime is found; a residue
 * class that no search can finish in is refused at once (see EN_GeneratePrimeDH). */
#ifndef VORELCRYPTO_PRIME_H
#define VORELCRYPTO_PRIME_H

#include <vorelcrypto/bignum.h>
#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* Prime-search context: flags 0 = plain, 32 = residue class rem mod add, 16 + 32 = safe prime in
 * that class. It borrows rem and add. */
typedef struct EN_PrimeCtx {
    uint32_t flags;
    ENUM *rem; /* may be null: residue 1 */
    ENUM *add;
} EN_PrimeCtx;

/* Probable-prime test with 5 random witnesses: 1 prime, 0 composite. */
VC_API int32_t EN_IsPrime(const ENUM *n);
/* p and p >> 1 each pass one witness trial, five times over. */
VC_API int32_t EN_IsStrongPrime(const ENUM *p);
/* As EN_IsStrongPrime with witnesses from the X9.31 generator. */
VC_API int32_t EN_IsStrongX9Prime(const ENUM *p);

/* A prime of exactly bits bits (bits >= 16) with its two top bits set, p mod s not 0 or 1 for
 * every odd prime s up to 17863. Returns 1. */
VC_API int32_t EN_GeneratePrimeRSA(ENUM *p, uint32_t bits);
/* As EN_GeneratePrimeRSA, repeated until p is a safe prime. */
VC_API int32_t EN_GeneratePrimeStrongRSA(ENUM *p, uint32_t bits);
/* As EN_GeneratePrimeRSA with the X9.31 generator for candidates and witnesses. */
VC_API int32_t EN_GenerateX9Prime(ENUM *p, int32_t bits);
VC_API int32_t EN_GenerateStrongX9Prime(ENUM *p, int32_t bits);
/* A prime p = rem (mod add) of bits bits (top bit set); rem null means 1. add is even. Returns
 * 1, or 0 with p zero, without searching, when the class admits no prime the search can accept:
 * add zero or null, gcd(rem, add) > 1, or an odd prime s <= 17863 dividing add with
 * rem = 1 (mod s) (candidates with residue 0 or 1 modulo such primes are sieved out). */
VC_API int32_t EN_GeneratePrimeDH(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem);
/* A safe prime p = 2q + 1 with q = rem >> 1 (mod add / 2) (rem null: q = 1), so p = rem
 * (mod add) for an odd rem and an even add. Returns 1, or 0 with p zero, without searching,
 * when add / 2 is zero or shares a factor with rem >> 1 or with 2 (rem >> 1) + 1 (no q and p
 * could then both be prime; for example add = 12 with rem null makes every p a multiple of 3). */
VC_API int32_t EN_GeneratePrimeStrongDH(ENUM *p, uint32_t bits, const ENUM *add,
                                        const ENUM *rem);

/* useClass != 0: flags 32 (16 + 32 when safe != 0) with add and rem stored; useClass = 0: flags
 * 0. bits is not used. */
VC_API void EN_PrimeInit(EN_PrimeCtx *ctx, uint32_t bits, uint32_t safe, uint32_t useClass,
                         ENUM *add, ENUM *rem);
/* Searches until it finds a prime of the kind ctx asks for, tested with EN_MillerRabin (up to
 * 20 trials). With flags 16 + 32 the result has bits + 1 bits (existing parameters depend on
 * it). Returns 1, or 0 with p zero for a class refused as by EN_GeneratePrimeDH (flags 32) or
 * EN_GeneratePrimeStrongDH (flags 16 + 32). Folds the time into the calling thread's witness
 * generator before each candidate's trials. */
VC_API int32_t EN_PrimeUpdate(ENUM *p, uint32_t bits, const EN_PrimeCtx *ctx);
/* One Miller-Rabin trial with a witness from the library's witness generator, each word two
 * 15-bit draws: 1 passes, 0 composite. n odd, > 3; a one-word n below 2^16 makes the witness
 * search slow (words are redrawn until below n). */
VC_API int32_t EN_MillerRabin(const ENUM *n);

VC_END_DECLS

#endif
