/* VorelCrypto DER encodings: SEQUENCEs of INTEGERs for numbers, 32-bit values and the key and
 * parameter records of the integer public-key engines.
 *
 * Encoders take the numbers or record and an output buffer; with a null output they only
 * return the size (and allocate nothing). They return the encoded size, 0 for a null array or
 * record or a negative count, or -1 when their scratch buffer (V_calloc) cannot be allocated. The size is predicted
 * before writing, with two deliberate quirks that stored encodings and callers' size queries
 * depend on: a zero number is predicted with no content octet but written with one (02 01 00),
 * so the SEQUENCE comes out one octet longer per zero than its header and the returned size
 * say, and the caller's buffer needs that octet too; and a number with sign 1 is predicted two
 * octets longer than it is written (the header and the returned size then exceed what is
 * written). Every INTEGER is written as non-negative; numbers are taken trimmed (leading zero
 * words are not written).
 *
 * Decoders all share one shape: the destination first, then the input position and the count
 * of bytes remaining from it:
 *
 *     int32_t E_ASN1_GetX(destination..., const uint8_t **position, uint32_t *remaining);
 *
 * They return 1 when the whole expected structure was read, and then advance *position and
 * reduce *remaining past it (bytes after the outer structure are left for the caller); they
 * return 0 for anything malformed (a wrong tag, a length running past the input, an indefinite
 * length or one of more than four octets, an empty INTEGER, an INTEGER wider than the
 * destination's storage, a structure whose content does not end exactly after its last item,
 * a null argument or destination word pointer (a record not yet given to its Init), or
 * *remaining 0: a length of 0 is never read as "unknown") and then leave *position and *remaining unchanged, and the
 * numbers read so far in place. They never read outside [*position, *position + *remaining).
 * INTEGER contents are read as unsigned magnitudes: leading 0x00 octets are dropped and a set
 * top bit is not a sign. Long-form lengths need not be minimal. */
#ifndef VORELCRYPTO_ASN1_H
#define VORELCRYPTO_ASN1_H

#include <vorelcrypto/bignum.h>
#include <vorelcrypto/pubkey_records.h>

VC_BEGIN_DECLS

/* SEQUENCE { INTEGER numbers[0], ..., INTEGER numbers[count - 1] }. */
VC_API int32_t E_ASN1_PutENUM(const ENUM *numbers, int32_t count, uint8_t *out);
VC_API int32_t E_ASN1_GetENUMBytes(const ENUM *numbers, int32_t count);
/* Reads count INTEGERs into *numbers[0] ... *numbers[count - 1]; each destination's storage
 * is taken to be 150 words. A negative count or a null pointer among the destinations gives 0.
 * Record decoders below take each field's own storage from the record layout instead. */
VC_API int32_t E_ASN1_GetENUM(ENUM *const *numbers, int32_t count, const uint8_t **position,
                              uint32_t *remaining);

/* SEQUENCE { INTEGER value }; the second argument is ignored. The reader takes magnitudes of at
 * most four octets (after leading zeros). */
VC_API int32_t E_ASN1_PutU32(uint32_t value, int32_t ignored, uint8_t *out);
VC_API int32_t E_ASN1_GetU32Bytes(uint32_t value);
VC_API int32_t E_ASN1_GetU32(uint32_t *value, const uint8_t **position, uint32_t *remaining);

/* Record decoders read the leading version INTEGER, which must be 0 (other versions announce
 * fields a record cannot hold), without storing it, and refuse any number wider than its
 * field's storage in the record (RsaKey: e 1 word, p, q, dP, dQ, qInv 75 words; DhKey: g 1
 * word; every other field 150 words).
 *
 * RSA: private SEQUENCE { 0, n, e, d, p, q, dP, dQ, qInv }, public SEQUENCE { n, e }. */
VC_API int32_t E_ASN1_PutRSAPrivateKey(const RsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetRSAPrivateKeyBytes(const RsaKey *key);
VC_API int32_t E_ASN1_GetRSAPrivateKey(RsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_PutRSAPublicKey(const RsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetRSAPublicKeyBytes(const RsaKey *key);
VC_API int32_t E_ASN1_GetRSAPublicKey(RsaKey *key, const uint8_t **position, uint32_t *remaining);

/* DSA: parameters SEQUENCE { p, q, g }, private SEQUENCE { 0, p, q, g, y, x },
 * public SEQUENCE { y, p, q, g }. */
VC_API int32_t E_ASN1_PutDSAParams(const DsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetDSAParamsBytes(const DsaKey *key);
VC_API int32_t E_ASN1_GetDSAParams(DsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_PutDSAPrivateKey(const DsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetDSAPrivateKeyBytes(const DsaKey *key);
VC_API int32_t E_ASN1_GetDSAPrivateKey(DsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_PutDSAPublicKey(const DsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetDSAPublicKeyBytes(const DsaKey *key);
VC_API int32_t E_ASN1_GetDSAPublicKey(DsaKey *key, const uint8_t **position, uint32_t *remaining);

/* Diffie-Hellman parameters SEQUENCE { p, g }; the other two numbers of the record are not
 * touched. */
VC_API int32_t E_ASN1_PutDHParams(const DhKey *dh, uint8_t *out);
VC_API int32_t E_ASN1_GetDHParamsBytes(const DhKey *dh);
VC_API int32_t E_ASN1_GetDHParams(DhKey *dh, const uint8_t **position, uint32_t *remaining);

/* KCDSA: parameters SEQUENCE { p, q, g }, private SEQUENCE { 0, p, q, g, y, x },
 * public SEQUENCE { y, p, q, g }. */
VC_API int32_t E_ASN1_PutKCDSAParams(const KcdsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetKCDSAParamsBytes(const KcdsaKey *key);
VC_API int32_t E_ASN1_GetKCDSAParams1(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_PutKCDSAPrivateKey(const KcdsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetKCDSAPrivateKeyBytes(const KcdsaKey *key);
VC_API int32_t E_ASN1_GetKCDSAPrivateKey(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_PutKCDSAPublicKey1(const KcdsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetKCDSAPublicKeyBytes(const KcdsaKey *key);
VC_API int32_t E_ASN1_GetKCDSAPublicKey1(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);

/* KCDSA forms beyond the records above.
 *
 * E_ASN1_PutParameters_KCDSA writes SEQUENCE { p, q, g } like E_ASN1_PutKCDSAParams, but with
 * exact sizes: a zero is counted with its content octet and the sign is ignored, so the header
 * and the returned size always match the bytes written (for parameters embedded in larger
 * structures).
 *
 * E_ASN1_GetParameters_KCDSA reads the KCDSA domain parameters as certificates carry them:
 *     SEQUENCE { INTEGER p, INTEGER q, INTEGER g,
 *                INTEGER j OPTIONAL,
 *                SEQUENCE { BIT STRING seed, INTEGER counter } OPTIONAL }
 * into p, q, g; j and the validation SEQUENCE are checked for shape and not stored.
 *
 * E_ASN1_GetKey_KCDSA reads either key record: the private SEQUENCE { 0, p, q, g, y, x } or
 * the public SEQUENCE { y, p, q, g }, told apart by their count of INTEGERs; a public one sets
 * x to zero (length 0).
 *
 * E_ASN1_GetEncPublicKey_KCDSA reads y from its certificate form, BIT STRING { 0 unused bits,
 * INTEGER y }; E_ASN1_GetEncPrivateKey_KCDSA reads x from its PKCS #8 form, OCTET STRING
 * { INTEGER x }. Each changes only that one number. */
VC_API int32_t E_ASN1_PutParameters_KCDSA(const KcdsaKey *key, uint8_t *out);
VC_API int32_t E_ASN1_GetParameters_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_GetKey_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_GetEncPublicKey_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);
VC_API int32_t E_ASN1_GetEncPrivateKey_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining);

/* The KCDSA signature SEQUENCE { BIT STRING r, INTEGER s } that E_KCDSA_Sign_New writes:
 * r's octets (after the BIT STRING's unused-bits octet, which must be 0) go to r, whose
 * capacity is *rLength on entry and which receives r's length; s goes to the number s (150
 * words of storage). */
VC_API int32_t E_ASN1_GetSignRS_KCDSA(uint8_t *r, uint32_t *rLength, ENUM *s,
                                      const uint8_t **position, uint32_t *remaining);

VC_END_DECLS

#endif
