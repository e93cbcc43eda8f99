/* VorelCrypto DSA and Diffie-Hellman engines (E_DSA_ and E_DH_ functions).
 *
 * Both work on caller-owned records with their own digit storage (DsaKey, DhKey in
 * pubkey_records.h), given once to their Init. Neither hashes: DSA signs a ready hash value h,
 * which the caller cuts to the byte length of q (its leftmost bytes) as DSA requires. p is at
 * most 2400 bits (the exponentiation's modulus limit). */
#ifndef VORELCRYPTO_DSA_DH_H
#define VORELCRYPTO_DSA_DH_H

#include <vorelcrypto/pubkey_records.h>

VC_BEGIN_DECLS

/* ---- DSA ---- */

/* Aims x, y, p, q, g at the record's own areas; signs and lengths are left as they were. */
VC_API void E_DSA_Init(DsaKey *key);
/* New p, q, g (a fresh prime q after every failed p; p = 1 mod 2q; g = h^((p-1)/q) != 1), then
 * x = EN_Random(qBits) mod q and y = g^x mod p. Returns 1, or 0 (changing nothing) when qBits
 * is below 16 or pBits is not between qBits + 8 and 2400. */
VC_API int32_t E_DSA_GenerateKey(DsaKey *key, uint32_t pBits, uint32_t qBits);
/* SEQUENCE { INTEGER r, INTEGER s } into sig (2 x byte length of q + 12 bytes suffice).
 * Returns 1, or 0 when hLen exceeds the byte length of q or 50. */
VC_API int32_t E_DSA_Sign(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen,
                          const DsaKey *key);
/* 1 when sig is SEQUENCE { INTEGER r, INTEGER s } with nothing after it, both r and s in
 * 1 ... q - 1, and the signature holds for h; else 0 (also for hLen beyond the signer's
 * limits). Refusing r or s outside 1 ... q - 1 closes a universal forgery: with s = 0 the
 * inverse of s comes back as 0 and r = 1 would verify for every h. */
VC_API int32_t E_DSA_Verify(const uint8_t *h, uint32_t hLen, const uint8_t *sig, uint32_t sigLen,
                            const DsaKey *key);

/* ---- Diffie-Hellman ---- */

/* Aims p, g, the public and the private value at the record's own areas. */
VC_API void E_DH_Init(DhKey *dh);
/* A safe prime p of pBits bits (32 to 2400) and g = generator: p = 11 mod 24 for generator 2,
 * p = 3 mod 10 for generator 5, each making g generate the whole group. Returns 1, or 0
 * (changing nothing) for any other generator or size. Generator 3 is refused: its class
 * p = 5 mod 12 makes (p - 1) / 2 even, so it holds no safe prime. */
VC_API int32_t E_DH_GenerateParameters(DhKey *dh, uint32_t pBits, uint32_t generator);
/* Keeps a non-zero private value already in the record; otherwise draws one of privateBits bits
 * (top bit set; bits(p) - 1 when privateBits is 0). Then public = g^private mod p. Returns 1,
 * or 0 when p is missing or the private size exceeds 2400 bits. */
VC_API int32_t E_DH_GenerateKey(DhKey *dh, uint32_t privateBits);
/* The shared value peer^private mod p as minimal bytes into out (byte length of p); returns
 * the count. -1 without a private value, or when peer is not in 2 ... p - 2 (0, 1 and p - 1
 * would give a shared value anyone can predict). */
VC_API int32_t E_DH_ComputeKey(uint8_t *out, const ENUM *peer, const DhKey *dh);

VC_END_DECLS

#endif
