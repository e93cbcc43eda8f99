/* VorelCrypto prime generation and probable-prime tests (EN_ functions on ENUM).
 *
 * Results are written into caller-created numbers with at least (bits + 31) / 32 + 1 words.
 * "Strong" means a safe prime: p and (p - 1) / 2 both prime. The generators never give up and
 * draw from the process-wide random generators and the C run-time's rand(): calls must not
 * overlap across threads. */
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
/* A prime p = rem (mod add) of bits bits (top bit set); rem null means 1. add is even. */
VC_API int32_t EN_GeneratePrimeDH(ENUM *p, uint32_t bits, const ENUM *add, const ENUM *rem);
/* A safe prime p = 2q + 1 = rem (mod add); rem null means q = 1 mod add/2. */
VC_API int32_t EN_GeneratePrimeStrongDH(ENUM *p, uint32_t bits, const ENUM *add,
                                        const ENUM *rem);

/* useClass != 0: flags 32 (16 + 32 when safe != 0) with add and rem stored; useClass = 0: flags
 * 0. bits is not used. */
VC_API void EN_PrimeInit(EN_PrimeCtx *ctx, uint32_t bits, uint32_t safe, uint32_t useClass,
                         ENUM *add, ENUM *rem);
/* Searches until it finds a prime of the kind ctx asks for, tested with EN_MillerRabin (up to
 * 20 trials). With flags 16 + 32 the result has bits + 1 bits (existing parameters depend on
 * it). Returns 1. Reseeds the C run-time generator (srand). */
VC_API int32_t EN_PrimeUpdate(ENUM *p, uint32_t bits, const EN_PrimeCtx *ctx);
/* One Miller-Rabin trial with a witness from rand(): 1 passes, 0 composite. n odd, > 3. */
VC_API int32_t EN_MillerRabin(const ENUM *n);

VC_END_DECLS

#endif
