/* VorelCrypto RSA engine: key generation, PKCS #1 v1.5 block formats, OAEP (two forms) and PSS.
 *
 * Keys live in the caller's RsaKey record (pubkey_records.h); call E_RSA_Init on it first. k is
 * the modulus length in bytes, (bit length of n + 7) / 8; moduli up to 75 words (2400 bits).
 * Every operation returns small integers and sets no error state: -1 for a length that does not
 * fit or a malformed block, 0 for a failed check. Some routines print fixed diagnostic texts to
 * standard output (named below); they are part of their behaviour.
 *
 * Private operations use the Chinese remainder theorem as noted per routine; their secret
 * temporaries are wiped before they return. Padding bytes come from RAND_Bytes, OAEP seeds and
 * PSS salts from E_GenerateRandom with the DES generator. */
#ifndef VORELCRYPTO_RSA_H
#define VORELCRYPTO_RSA_H

#include <vorelcrypto/bignum.h>
#include <vorelcrypto/pubkey_records.h>

VC_BEGIN_DECLS

/* Points each number of the record at its own storage and clears its sign; lengths stay. */
VC_API void E_RSA_Init(RsaKey *key);

/* ---- key generation (the record must have been through E_RSA_Init) ----
 * p has bits / 2 bits, q the rest, p > q, gcd(p - 1, e) = gcd(q - 1, e) = 1; d = e^-1 mod
 * lcm(p - 1, q - 1) (Carmichael's function), dP, dQ, qInv = q^-1 mod p. */
VC_API void E_RSA_GenerateKey(RsaKey *key, uint32_t bits, uint32_t e);
/* As E_RSA_GenerateKey with safe primes p and q ((p - 1) / 2 prime). */
VC_API void E_RSA_GenerateStrongKey(RsaKey *key, uint32_t bits, uint32_t e);
/* ANSI X9.31 construction: p - 1, p + 1, q - 1, q + 1 have the 101-bit prime factors p1, p2,
 * q1, q2, written as minimal big-endian bytes (13 bytes each, buffers of at least 13) into
 * p1Out, p2Out (those of the final, larger p) and q1Out, q2Out. Prints the self-check lines
 * "p1 OK" / "p1 Fail", "p2 ...", "q1 ...", "q2 ..." and "len = L" (L the word length of
 * gcd(p - 1, q - 1)) to standard output. bits of at least 512. */
VC_API void E_RSA_GenerateX9Key(RsaKey *key, uint32_t bits, uint32_t e, uint8_t *p1Out,
                                uint8_t *p2Out, uint8_t *q1Out, uint8_t *q2Out);
/* As E_RSA_GenerateX9Key with safe auxiliary primes. */
VC_API void E_RSA_GenerateStrongX9Key(RsaKey *key, uint32_t bits, uint32_t e, uint8_t *p1Out,
                                      uint8_t *p2Out, uint8_t *q1Out, uint8_t *q2Out);
/* d, dP, dQ and qInv from e, p and q (n is not touched). */
VC_API void E_RSA_GenerateD(RsaKey *key);

/* ---- PKCS #1 v1.5 ----
 * The private operation uses CRT when qInv has 16 words or more (1024-bit keys and up), after
 * checking that the low word of q * qInv mod p is 1 (else the call returns 0 and writes
 * nothing); smaller keys use d directly. Outputs are k bytes, left-padded with zeros. */

/* Block type 2 with non-zero random padding; inLen at most k - 11. Returns k or -1. */
VC_API int32_t E_RSA_Public_Encrypt(uint8_t *out, const uint8_t *in, int32_t inLen, RsaKey *key);
/* Block type 1 (0xFF padding); inLen at most k - 11. Returns k, 0 (check failed) or -1. */
VC_API int32_t E_RSA_Private_Encrypt(uint8_t *out, const uint8_t *in, int32_t inLen, RsaKey *key);
/* Opens a block type 1; inLen must be k. Returns the message length or -1 (at least 8 bytes
 * of 0xFF padding). out needs k bytes. */
VC_API int32_t E_RSA_Public_Decrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, RsaKey *key);
/* Opens a block type 2; inLen must be k. Returns the message length, 0 (check failed) or -1
 * (at least 8 padding bytes). out needs k bytes. */
VC_API int32_t E_RSA_Private_Decrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, RsaKey *key);
/* *sigLen = E_RSA_Private_Encrypt(out, in, inLen, key) (so -1 for an over-long message);
 * always returns 1. */
VC_API int32_t E_RSA_Sign(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t *sigLen,
                          RsaKey *key);
/* 1 when the first msgLen bytes that E_RSA_Public_Decrypt recovers from sig equal msg, else 0.
 * Only that prefix is compared: the recovered length is not examined. */
VC_API int32_t E_RSA_Verify(const uint8_t *msg, int32_t msgLen, const uint8_t *sig,
                            uint32_t sigLen, RsaKey *key);

/* ---- OAEP, PKCS #1 version 2.0 form: SHA-1, encoded message of k - 1 bytes ----
 * P is the encoding parameter string (its SHA-1 is bound into the block).
 * Encryption: inLen > k - 22 prints "encrypt part : message too long. encoding error" and
 * returns -1; k - 41 < inLen <= k - 22 prints "Input message too long. Fail to oaep encoding!"
 * and encrypts an all-zero encoded block (stored cipher texts depend on it); returns k.
 * Decryption (CRT whenever qInv is non-zero): returns the message length or -1, printing
 * "decrypt part : EM byte Length too long , decryption error" when the opened block is not
 * k - 1 bytes, "EM length too small. Fail to oaep decoding!" when k - 1 < 41 and
 * "pHash' does mot equal pHash" when the parameter hash differs. out needs k bytes. */
VC_API int32_t E_RSA_Public_Encrypt_OAEP(uint8_t *out, const uint8_t *in, int32_t inLen,
                                         const uint8_t *P, uint32_t pLen, RsaKey *key);
VC_API int32_t E_RSA_Private_Decrypt_OAEP(uint8_t *out, const uint8_t *in, uint32_t inLen,
                                          const uint8_t *P, uint32_t pLen, RsaKey *key);

/* ---- RSAES-OAEP of RFC 8017: SHA-1, MGF1 with SHA-1, label ----
 * Encryption: inLen at most k - 42; returns k, or -1 after printing
 * "encrypt part : message too long." (also for keys below 42 bytes).
 * Decryption: in must be k bytes and below n; returns the message length (out needs k bytes),
 * or -1 after printing "lHash' does not equal lHash" for any malformed block (one message for
 * every decoding failure, checked without early exits, so that failures cannot be told apart).
 * Both print "out variable is not initialized." and return -1 for a null out. */
VC_API int32_t E_RSAES_OAEP_Encrypt(uint8_t *out, const uint8_t *in, uint32_t inLen,
                                    const uint8_t *label, uint32_t labelLen, RsaKey *key);
VC_API int32_t E_RSAES_OAEP_Decrypt(uint8_t *out, const uint8_t *in, uint32_t inLen,
                                    const uint8_t *label, uint32_t labelLen, RsaKey *key);

/* ---- RSASSA-PSS ----
 * hashId and mgfHashId: 6 SHA-256, 7 SHA-384, 8 SHA-512, any other value SHA-1 (hLen 20).
 * emLen = (modBits - 1 + 7) / 8; exactly the top bit of the encoded block is cleared.
 * Sign: returns 1 with the k-byte signature and *sigLen = k (CRT whenever qInv is non-zero),
 * or 0 after printing "EMSA_PSS_ENCODE ERROR : intended encoded message length too
 * short(emLen < hLen+sLen+2)".
 * Verify: 1 valid, 0 invalid; prints "\nEMSA_PSS_VERIFY ERROR : encoded message too short"
 * when emLen < hLen + saltLen + 2, "\nverify part : EM byte Length too long , invalid
 * signature!" when the opened signature is longer than emLen, and "\npss verify error :
 * invalid signature" for every other failure (sigLen other than k included). */
VC_API int32_t E_RSASSA_PSS_Sign(uint32_t hashId, uint32_t mgfHashId, uint8_t *sig,
                                 int32_t *sigLen, const uint8_t *msg, uint32_t msgLen,
                                 uint32_t saltLen, RsaKey *key);
VC_API int32_t E_RSASSA_PSS_Verify(uint32_t hashId, uint32_t mgfHashId, const uint8_t *sig,
                                   uint32_t sigLen, const uint8_t *msg, uint32_t msgLen,
                                   uint32_t saltLen, RsaKey *key);

VC_END_DECLS

#endif
