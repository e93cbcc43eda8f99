/* VorelCrypto: the key records of the integer public-key engines (RSA, KCDSA, DSA,
 * Diffie-Hellman), shared by the engines and their DER encodings.
 *
 * Every record holds its numbers' digit storage inside itself: nothing is heap-allocated and
 * nothing needs releasing. Call the family's Init (E_RSA_Init, E_KCDSA_Init, E_DSA_Init,
 * E_DH_Init) once on a zero-filled record before any other use; Init aims each number's word
 * pointer at its own area and clears its sign, leaving lengths as they were. A record that is
 * copied must be given to Init again, since its pointers still aim at the original. */
#ifndef VORELCRYPTO_PUBKEY_RECORDS_H
#define VORELCRYPTO_PUBKEY_RECORDS_H

#include <vorelcrypto/bignum.h>

VC_BEGIN_DECLS

/* RSA key: n and d have 150 words (4,800 bits), e one word (e is at most 32 bits), the
 * primes and CRT values 75 words each. */
typedef struct RsaKey {
    ENUM n, e, d, p, q, dP, dQ, qInv;
    uint32_t nWords[150];
    uint32_t eWords[1];
    uint32_t dWords[150];
    uint32_t pWords[75];
    uint32_t qWords[75];
    uint32_t dPWords[75];
    uint32_t dQWords[75];
    uint32_t qInvWords[75];
} RsaKey;

/* KCDSA key: private x, public y = g^(x^-1 mod q) mod p, prime p, order q, generator g; a
 * 600-byte (150-word) area each, in that order. */
typedef struct KcdsaKey {
    ENUM x, y, p, q, g;
    uint32_t xWords[150];
    uint32_t yWords[150];
    uint32_t pWords[150];
    uint32_t qWords[150];
    uint32_t gWords[150];
} KcdsaKey;

/* DSA key: the same shape as KcdsaKey, with y = g^x mod p. */
typedef struct DsaKey {
    ENUM x, y, p, q, g;
    uint32_t xWords[150];
    uint32_t yWords[150];
    uint32_t pWords[150];
    uint32_t qWords[150];
    uint32_t gWords[150];
} DsaKey;

/* Diffie-Hellman key: prime p (150 words), generator g (one word: 2, 3 or 5), public value
 * g^private mod p and the private exponent (150 words each). */
typedef struct DhKey {
    ENUM p, g, publicValue, privateValue;
    uint32_t pWords[150];
    uint32_t gWords[1];
    uint32_t publicWords[150];
    uint32_t privateWords[150];
} DhKey;

VC_END_DECLS

#endif
