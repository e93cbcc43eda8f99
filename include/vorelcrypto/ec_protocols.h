/* VorelCrypto EC protocols on the built-in curves (3, 5, 7, 11, 21, 22; see ecc.h): ECDSA with
 * SHA-1, EC-KCDSA with HAS-160, ECDH, the ANSI X9.63 key derivation with SHA-1 and two
 * agreement schemes, and EC encryption (no integrity tag).
 *
 * Every function takes the curve identifier and its EcParams record (from E_ECParams_Init)
 * first; the arithmetic follows the identifier. Byte strings are Opaque8 (length, pointer);
 * as outputs their `data` must point at enough room and `length` receives the count written.
 * Private keys and scalars are big-endian octets; public keys are points 0x04 || X || Y (43
 * octets, 41 on curve 7). Verification also accepts compressed public keys (0x02 / 0x03 || X).
 * Nothing here allocates memory. Private scalars (keys, nonces, ephemeral keys) are multiplied
 * in constant time and the secret temporaries are erased before returning. */
#ifndef VORELCRYPTO_EC_PROTOCOLS_H
#define VORELCRYPTO_EC_PROTOCOLS_H

#include <vorelcrypto/ecc.h>

VC_BEGIN_DECLS

/* ---- ECDSA (SHA-1 over the whole message) ---- */

/* Signs with a nonce from E_GenerateRandom_X962, drawing again while r or s is zero. r and s
 * receive their minimal big-endian octets (room for 21 each). Returns 0; -4 when the private
 * key is missing, empty, longer than 24 significant octets or zero modulo n, or the curve is
 * unknown. */
VC_API int32_t ZENOR_V1_ECC_SignatureGeneration_X917(int32_t curveId, const EcParams *params,
                                                     const Opaque8 *privateKey, const uint8_t *msg,
                                                     uint32_t msgLen, Opaque8 *r, Opaque8 *s);
/* The same with the caller's nonce k (1 <= k < n). Returns 0, or -4 as above and also when k
 * is missing, zero or not below n, or gives r = 0 or s = 0. */
VC_API int32_t ZENOR_V1_ECC_SignatureGeneration_from_givenK(int32_t curveId, const EcParams *params,
                                                            const Opaque8 *privateKey,
                                                            const Opaque8 *k, const uint8_t *msg,
                                                            uint32_t msgLen, Opaque8 *r, Opaque8 *s);
/* Note the order: s before r. Returns 1 valid, 0 invalid (also s >= n), 2 malformed: r or s
 * empty, zero, or longer than 21 octets (20 on curve 7), or the point u1 G + u2 Q at
 * infinity; -4 when the public key is not a point of the curve's form. */
VC_API int32_t ZENOR_V1_ECC_SignatureVerification(int32_t curveId, const EcParams *params,
                                                  const Opaque8 *publicKey, const uint8_t *msg,
                                                  uint32_t msgLen, const Opaque8 *s, const Opaque8 *r);
/* publicKey = d G for the given private key d. Returns 0; -4 when d is missing, empty, zero
 * modulo n or the curve is unknown. */
VC_API int32_t ZENOR_V1_ECC_KeyPairGeneration_X962(int32_t curveId, const EcParams *params,
                                                   Opaque8 *publicKey, const Opaque8 *privateKey);
/* A new ECDSA key pair: d from E_GenerateRandom_X962 (room for 21 octets), publicKey = d G.
 * Returns 0, or -1 on failure. */
VC_API int32_t E_ECC_GenerateKeyPair(int32_t curveId, const EcParams *params, Opaque8 *publicKey,
                                     Opaque8 *privateKey);
/* Signs and writes the DER form 30 L 02 Lr r 02 Ls s (single-octet lengths; r and s carry a
 * 0x00 octet in front when their first octet exceeds 0x7F): room for 50 octets. Returns the
 * signature generation's result. */
VC_API int32_t E_ECDSA_Sign(int32_t curveId, const EcParams *params, const Opaque8 *msg,
                            Opaque8 *signature, const Opaque8 *privateKey);
/* Reads the DER form strictly (single-octet lengths that match exactly, minimal non-negative
 * INTEGERs, nothing after the SEQUENCE) and returns the verification's result; a signature
 * that does not parse returns 2. */
VC_API int32_t E_ECDSA_Verify(int32_t curveId, const EcParams *params, const Opaque8 *msg,
                              const Opaque8 *signature, const Opaque8 *publicKey);

/* ---- EC-KCDSA (HAS-160) ----
 * r = HAS-160 of the x-coordinate of k G cut to 21 octets on curves 3 and 5 and to 20 octets
 * on the others (curves 11, 21 and 22 leave out x's last octet, which stored signatures depend
 * on); e = (r XOR HAS-160(z || M)) mod n with z the public key's octets after its first, at
 * most 64, zero-filled to 64 octets; s = d (k - e) mod n. r is 20 octets, s 21 octets. */

/* d below n from E_GenerateRandom_ECKCDSA (room for 21 octets), publicKey = d^-1 G. Returns 0;
 * -4 when a buffer is missing or the curve is unknown. */
VC_API int32_t ZENOR_V1_ECC_KeyPairGeneration_ECKCDSA(int32_t curveId, const EcParams *params,
                                                      Opaque8 *publicKey, Opaque8 *privateKey);
/* The same through the engine-level name. */
VC_API int32_t E_ECC_GenerateKeyPair_ECKCDSA(int32_t curveId, const EcParams *params,
                                             Opaque8 *publicKey, Opaque8 *privateKey);
/* Signs with nonces from E_GenerateRandom_ECKCDSA, drawing again while s = 0. r receives 20
 * octets; s 21 octets, right-aligned with leading zero octets. Returns 0; -4 when the private
 * or public key is missing or unusable or the curve is unknown. */
VC_API int32_t ZENOR_V1_ECC_SignatureGeneration_ECKCDSA(int32_t curveId, const EcParams *params,
                                                        const Opaque8 *privateKey,
                                                        const Opaque8 *publicKey, const uint8_t *msg,
                                                        uint32_t msgLen, Opaque8 *r, Opaque8 *s);
/* Note the order: s before r. Returns 1 valid, 0 invalid, 2 malformed (s not 21 octets, r not
 * 20 octets, s = 0 or s > n; refused before any point arithmetic), -4 when the public key is
 * not a point of the curve (including a compressed X that no point has). */
VC_API int32_t ZENOR_V1_ECC_SignatureVerification_ECKCDSA(int32_t curveId, const EcParams *params,
                                                          const Opaque8 *publicKey,
                                                          const uint8_t *msg, uint32_t msgLen,
                                                          const Opaque8 *s, const Opaque8 *r);
/* Signs and writes the 47-octet DER form 30 2D 04 14 r 04 15 s. Returns the signature
 * generation's result. */
VC_API int32_t E_ECKCDSA_Sign(int32_t curveId, const EcParams *params, const Opaque8 *msg,
                              Opaque8 *signature, const Opaque8 *privateKey, const Opaque8 *publicKey);
/* Returns -1 for a public key whose first octet is not 0x04, 0x02 or 0x03 or a signature that
 * is not exactly the 47-octet form, else the verification's result. */
VC_API int32_t E_ECKCDSA_Verify(int32_t curveId, const EcParams *params, const Opaque8 *msg,
                                const Opaque8 *signature, const Opaque8 *publicKey);

/* Test variants: the same computations, printing their intermediate values in upper-case hex
 * on standard output after the labels "\n v : " (HAS-160(z || M)), "\nx1 : ", "\n r : ",
 * "\n e : ", "\n s : " when signing, "\n v' : ", "\n e' : ", "\n x2 : ", "\nH(x2) : " when
 * verifying and "\ndInv = " for key pairs, each run ending with a newline. The givenK
 * variants sign with the caller's k (1 <= k < n; -4 otherwise or when s = 0); the TEST key
 * pairs use the library's fixed test private key. */
VC_API int32_t ZENOR_V1_ECC_SignatureGeneration_ECKCDSA_givenK(int32_t curveId, const EcParams *params,
                                                               const Opaque8 *privateKey,
                                                               const Opaque8 *publicKey,
                                                               const Opaque8 *k, const uint8_t *msg,
                                                               uint32_t msgLen, Opaque8 *r, Opaque8 *s);
VC_API int32_t E_ECKCDSA_Sign_givenK(int32_t curveId, const EcParams *params, const Opaque8 *msg,
                                     Opaque8 *signature, const Opaque8 *privateKey,
                                     const Opaque8 *publicKey, const Opaque8 *k);
VC_API int32_t ZENOR_V1_ECC_KeyPairGeneration_ECKCDSA_TEST(int32_t curveId, const EcParams *params,
                                                           Opaque8 *publicKey, Opaque8 *privateKey);
VC_API int32_t E_ECC_GenerateKeyPair_ECKCDSA_TEST(int32_t curveId, const EcParams *params,
                                                  Opaque8 *publicKey, Opaque8 *privateKey);
VC_API int32_t ZENOR_V1_ECC_SignatureVerification_ECKCDSA_test(int32_t curveId, const EcParams *params,
                                                               const Opaque8 *publicKey,
                                                               const uint8_t *msg, uint32_t msgLen,
                                                               const Opaque8 *s, const Opaque8 *r);
VC_API int32_t E_ECKCDSA_Verify_TEST(int32_t curveId, const EcParams *params, const Opaque8 *msg,
                                     const Opaque8 *signature, const Opaque8 *publicKey);

/* ---- ECDH, X9.63 key derivation and agreement ---- */

/* z = the x-coordinate of ownPrivate * peerPublic: 20 octets on curve 7, 21 on the binary
 * curves (room for 21). Returns 0; -4 when the peer point is not a point on the curve (the
 * curve through G on curves 21 and 22), the private scalar is missing or empty, or the product
 * is the point at infinity. */
VC_API int32_t ZENOR_V1_ECDHPrimitive(int32_t curveId, const EcParams *params,
                                      const Opaque8 *peerPublic, const Opaque8 *ownPrivate, Opaque8 *z);
/* The same; z->length never exceeds 16 bits. */
VC_API int32_t E_ECC_ECDH_Primitive(int32_t curveId, const EcParams *params, const Opaque8 *peerPublic,
                                    const Opaque8 *ownPrivate, Opaque8 *z);
/* ANSI X9.63 with SHA-1: keyData->length is the number of bits wanted (in), bytes =
 * ceil(bits / 8) octets go to keyData->data, block i being SHA-1(z || 00 00 00 i || info) with
 * i modulo 256. When bytes is not a multiple of 20 and bits not a multiple of 8, the low
 * 8 - bits mod 8 bits of the last octet are cleared; when bytes is a multiple of 20 nothing is
 * cleared (existing derived keys depend on this). sharedInfo may be null. Returns 0. */
VC_API int32_t ZENOR_V1_DeriveKeyData(int32_t ignored, const Opaque8 *z, Opaque8 *keyData,
                                      const Opaque8 *sharedInfo);
/* One-pass Diffie-Hellman: z = ECDH(ownPrivate, peerPublic), then the key derivation.
 * Returns 0, or the primitive's -4. */
VC_API int32_t E_ECC_X9_63_KAS_OPDHS(int32_t curveId, const EcParams *params, const Opaque8 *peerPublic,
                                     const Opaque8 *ownPrivate, Opaque8 *keyData,
                                     const Opaque8 *sharedInfo);
/* Full unified model: z = ECDH(private1, public1) || ECDH(private2, public2), then the key
 * derivation. Returns 0, or the primitive's -4. */
VC_API int32_t E_ECC_X9_63_FUMS(int32_t curveId, const EcParams *params, const Opaque8 *public1,
                                const Opaque8 *private1, const Opaque8 *public2,
                                const Opaque8 *private2, Opaque8 *keyData,
                                const Opaque8 *sharedInfo);

/* ---- EC encryption: R || message XOR SHA-1(z || counter) key stream, no integrity ---- */

/* params->G.length + msgLen. */
VC_API uint32_t ZENOR_V1_ECC_getLengthOfMessageToBeEncrypted(const EcParams *params, uint32_t msgLen);
/* ciphertext->length - params->G.length, or 0xFFFFFFFF when the low 8 bits of the ciphertext
 * length are not greater than G's length (a guard that looks at those 8 bits only). */
VC_API uint32_t ZENOR_V1_ECC_getLengthOfOriginalMessage(const EcParams *params, const Opaque8 *ciphertext);
/* ciphertext = R || plaintext XOR key stream, R = k G for an ephemeral k from
 * E_GenerateRandom_X962, key stream from z = ECDH(k, recipient). Room for G's length +
 * plaintext length. Returns 1; -4 for a recipient key that is not a point on the curve or a
 * plaintext longer than 5,120 octets (past 256 blocks the one-octet counter repeats the key stream). */
VC_API int32_t E_ECC_Encryption(int32_t curveId, const EcParams *params, Opaque8 *ciphertext,
                                const Opaque8 *plaintext, const Opaque8 *recipientPublic);
/* The inverse with the recipient's private key (room for the ciphertext length - G's length;
 * longer ciphertexts than encryption makes decrypt with the repeating key stream). Returns 1; -1 for a ciphertext shorter than R, -4 when R is not a point on the curve
 * or the key is missing. A wrong key gives a wrong plaintext, not an error. */
VC_API int32_t E_ECC_Decryption(int32_t curveId, const EcParams *params, Opaque8 *plaintext,
                                const Opaque8 *ciphertext, const Opaque8 *ownPrivate);

VC_END_DECLS

#endif
