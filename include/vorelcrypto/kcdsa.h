/* VorelCrypto KCDSA engine (E_KCDSA_ functions).
 *
 * KCDSA signs over the order-q subgroup of the integers modulo a prime p, with the inverse key
 * convention: the private key is x, the public key y = g^(x^-1 mod q) mod p. A signature (r, s)
 * of a value h is W = g^k mod p, r = Hash(W), e = (r XOR h) mod q, s = x (k - e) mod q; it
 * verifies when Hash(y^s g^e mod p) = r.
 *
 * Every function works on a caller-owned KcdsaKey (pubkey_records.h) given once to
 * E_KCDSA_Init, and on caller-owned output buffers. Nothing is allocated but the DER readers'
 * scratch. Numbers are at most 150 words; p at most 2400 bits (the exponentiation's modulus
 * limit). Results: 1 success or valid, 0 refusal or invalid.
 *
 * Three generations of signers:
 *  - E_KCDSA_Sign, E_KCDSA_Sign2, E_KCDSA_Sign2RS take a ready value h of hLen bytes (1 to the
 *    byte length of q, at most 50) and always hash with HAS-160. W's bytes are hashed from a
 *    600-byte zero-filled work buffer over 4 x (32-bit words of W) bytes, so a W whose top word
 *    starts with zero bytes is hashed with the buffer's bytes that follow it (zeros unless an
 *    earlier pass of the same call left bytes there); with hLen > 20, r continues with the
 *    buffer's bytes 20 onwards. Stored signatures depend on this exact shape.
 *  - E_KCDSA_Sign_New hashes z || M itself, z being the minimal bytes of the low 512 bits of y
 *    (not padded: shorter than 64 bytes when those bits start with zero bytes), with SHA-1
 *    (hash id 2) or HAS-160 (hash id 5), and writes SEQUENCE { BIT STRING r, INTEGER s }. */
#ifndef VORELCRYPTO_KCDSA_H
#define VORELCRYPTO_KCDSA_H

#include <vorelcrypto/pubkey_records.h>

VC_BEGIN_DECLS

/* Hash identifiers of E_KCDSA_Sign_New and E_KCDSA_Verify_New (the library's hash ids). */
enum { E_KCDSA_HASH_SHA1 = 2, E_KCDSA_HASH_HAS160 = 5 };

/* The built-in 1024/160 parameter set (the one E_KCDSA_GenerateKey_fixParam loads) as the
 * lower-case hexadecimal text of its DER SEQUENCE { INTEGER p, INTEGER q, INTEGER g }: 290
 * bytes, 580 characters and a terminating NUL. */
VC_API extern const char E_KCDSA_FixedParamsDerHex[581];

/* Aims x, y, p, q, g at the record's own 600-byte areas and clears their signs; lengths are
 * left as they were (zero-fill the record first). */
VC_API void E_KCDSA_Init(KcdsaKey *key);

/* ---- key generation ----
 * Each returns 1, or 0 (changing nothing) when the sizes are out of range: qBits 16 or more,
 * pBits at least qBits + 8 and at most 2400; x and h sizes at most 2400 bits. */

/* New p, q, g (a fresh prime q after every failed p; p = 1 mod 2q; g = h^((p-1)/q) != 1),
 * then x from EN_Random(qBits) mod q and y = g^(x^-1) mod p. */
VC_API int32_t E_KCDSA_GenerateKey(KcdsaKey *key, uint32_t pBits, uint32_t qBits);
/* New p, q, g as E_KCDSA_GenerateKey; x from qBits / 8 bytes of E_X9_31RandomBytes2 with XKEY
 * seed1 (20 bytes, advanced in place), XSEED seed2 (20 bytes, or null for zero) and q reducing
 * each step, then reduced mod q. Both lengths are set to 20. */
VC_API int32_t E_KCDSA_GenerateKey2(KcdsaKey *key, uint32_t pBits, uint32_t qBits, uint8_t *seed1,
                                    uint32_t *seed1Len, uint8_t *seed2, uint32_t *seed2Len);
/* As E_KCDSA_GenerateKey2 on the record's p, q, g (pBits is ignored), with x left as drawn, not
 * reduced mod q (its inverse is still taken mod q). */
VC_API int32_t E_KCDSA_GenerateKey3(KcdsaKey *key, uint32_t pBits, uint32_t qBits, uint8_t *seed1,
                                    uint32_t *seed1Len, uint8_t *seed2, uint32_t *seed2Len);
/* Seeded 1024/160 parameters with HAS-160: a 160-bit Seed, J (863 bits, prime) from the hashes
 * of Seed + 5 ... Seed, then q = H(Seed + count * 1024 + counter) (low bit and bit 159 set) and
 * p = 2 J q + 1 until both are prime and g = h^((p-1)/q) != 1 for h = EN_Random(hBits) mod p.
 * Writes "2" to standard output per candidate, "d" after each search, "3" per private-key draw.
 * Outputs Seed (minimal bytes, at most 20), the final count and counter, and h (minimal bytes,
 * up to the byte length of p). Then x from EN_Random(xBits) mod q and y. */
VC_API int32_t E_KCDSA_GenerateX9Key(KcdsaKey *key, uint32_t hBits, uint32_t xBits, uint8_t *seed,
                                     uint32_t *seedLen, uint32_t *count, uint32_t *counter,
                                     uint8_t *h, uint32_t *hLen);
/* New x (EN_Random(qBits) mod q) and y on the record's p, q, g. */
VC_API int32_t E_KCDSA_GenerateXY(KcdsaKey *key, uint32_t ignored, uint32_t qBits);
/* Loads the built-in 1024/160 p, q, g, then x from EN_Random(xBits) mod q and y. */
VC_API int32_t E_KCDSA_GenerateKey_fixParam(KcdsaKey *key, uint32_t ignored, uint32_t xBits);

/* ---- signing a ready value h (HAS-160) ----
 * 0, writing nothing, when hLen is 0 or exceeds the byte length of q or 50. */

/* SEQUENCE { INTEGER r, INTEGER s } into sig (r as the number its hLen bytes make: leading
 * zero bytes vanish, a 0x00 comes in front of a top bit). sig needs hLen + byte length of q +
 * 12 bytes. */
VC_API int32_t E_KCDSA_Sign(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen,
                            const KcdsaKey *key);
/* As E_KCDSA_Sign, and the minimal bytes of the nonce k into k (byte length of q). */
VC_API int32_t E_KCDSA_Sign2(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen,
                             const KcdsaKey *key, uint8_t *k, uint32_t *kLen);
/* Raw r (hLen bytes), the minimal bytes of s and of k. k - e is taken as a plain magnitude
 * difference before the multiplication by x, so the signature is right only when k >= e
 * (existing signatures were made so). */
VC_API int32_t E_KCDSA_Sign2RS(const uint8_t *h, uint32_t hLen, uint8_t *r, uint32_t *rLen,
                               uint8_t *s, uint32_t *sLen, const KcdsaKey *key, uint8_t *k,
                               uint32_t *kLen);

/* ---- signing a message ----
 * hashAlg E_KCDSA_HASH_SHA1 or E_KCDSA_HASH_HAS160; with any other id nothing is hashed and
 * the hash values stay 20 zero bytes. y comes from the record when it has at least 32 words,
 * else it is recomputed from x (the record is not changed). Writes 30 L 03 15 00 r[20] 02 sl
 * [00] s, the lengths one byte each (well-formed for q up to 101 bytes); sig needs q's byte
 * length + 28 bytes. Returns 1. */
VC_API int32_t E_KCDSA_Sign_New(uint32_t hashAlg, const uint8_t *msg, uint32_t msgLen, uint8_t *sig,
                                uint32_t *sigLen, const KcdsaKey *key);

/* ---- verification: 1 valid, 0 otherwise ---- */

/* sig is SEQUENCE { INTEGER r, INTEGER s } and nothing after it; r is read as its INTEGER's
 * value restored to hLen bytes, so that every E_KCDSA_Sign output is read back as written. */
VC_API int32_t E_KCDSA_Verify(const uint8_t *h, uint32_t hLen, const uint8_t *sig, uint32_t sigLen,
                              const KcdsaKey *key);
/* Raw r (at least hLen bytes, the first hLen used) and s (sLen bytes, at most 600). */
VC_API int32_t E_KCDSA_Verify_withParams(const uint8_t *h, uint32_t hLen, const uint8_t *r,
                                         uint32_t rLen, const uint8_t *s, uint32_t sLen,
                                         const KcdsaKey *key);
/* sig as E_KCDSA_Sign_New writes it (r of at least 20 bytes, the first 20 compared), nothing
 * after it; y and z from the record. An unknown hashAlg verifies nothing. */
VC_API int32_t E_KCDSA_Verify_New(uint32_t hashAlg, const uint8_t *msg, uint32_t msgLen,
                                  const uint8_t *sig, uint32_t sigLen, const KcdsaKey *key);

VC_END_DECLS

#endif
