/* VorelCrypto provider, public-key families: key pairs, domain parameters, signatures, key
 * derivation, key wrapping and key sizes, on the context records and error scheme of csp.h.
 *
 * Asymmetric keys travel in CspKeyRecord: a key header and a data blob holding the key's DER
 * record (RSA, DSA, KCDSA and Diffie-Hellman keys as asn1.h writes them; elliptic-curve keys
 * in the SEQUENCEs given below). Every function returns 0, or -1 with the reason in
 * GetError(). */
#ifndef VORELCRYPTO_CSP_PUBKEY_H
#define VORELCRYPTO_CSP_PUBKEY_H

#include <vorelcrypto/csp.h>

VC_BEGIN_DECLS

/* Provider algorithms of the public-key families. RSA is 49, the id that V_GenerateRSAKey and
 * key-pair callers pass; the others are numbered after it. */
enum {
    CSP_ALG_RSA = 49,
    CSP_ALG_DSA = 50,
    CSP_ALG_KCDSA = 51,
    CSP_ALG_DH = 52,
    CSP_ALG_ECDSA = 53,
    CSP_ALG_ECKCDSA = 54,
    CSP_ALG_ECDH = 55
};

/* Context class of key derivation (the CDSA number). */
enum { CSP_CLASS_DERIVE = 7 };

/* Attribute types of the public-key families. CSP_ATTR_KEY (csp.h) holds a CspKeyRecord
 * pointer in the signature, asymmetric and derivation classes. */
enum {
    CSP_ATTR_MODULUS_BYTES = 0x1000000C, /* uint32: RSA modulus length in bytes, 64 to 300 */
    CSP_ATTR_CURVE = 0x10000010,         /* uint32: curve identifier of ecc.h */
    CSP_ATTR_HASH = 0x10000011,          /* uint32: KCDSA hash, E_KCDSA_HASH_SHA1 (default) or
                                            E_KCDSA_HASH_HAS160 */
    CSP_ATTR_GENERATOR = 0x10000012,     /* uint32: Diffie-Hellman generator, 2 (default) or 5 */
    CSP_ATTR_ALG_PARAMS = 0x2000000E     /* data: DER domain parameters (DSA, KCDSA, DH) */
};

/* Value that the RSA key-pair service puts in CSP_ATTR_KEY_LENGTH. The RSA generator takes
 * the size from CSP_ATTR_MODULUS_BYTES and requires only that the key-length attribute be
 * present. */
enum { CSP_RSA_KEYGEN_TAG = 138597 };

/* Reasons of the public-key families beyond those of csp.h. CSP_ERR_INVALID_KEY (1040) is a
 * key whose data does not decode as the operation's key, or a key of another algorithm;
 * CSP_ERR_ENGINE (1095) an engine that refused the input (a message too long for the modulus,
 * a cipher text that does not open, a peer value out of range); CSP_ERR_VERIFY (1105) a
 * signature that does not verify. */
enum {
    CSP_ERR_KEY_SIZE = 1101,     /* key or parameter size the generator cannot make */
    CSP_ERR_PARAMS = 1102,       /* domain parameters missing or not decodable */
    CSP_ERR_KEY_DATA_SHORT = 1103 /* key record's buffer too short for the key's DER */
};

/* Key classes of CspKeyHeader.keyClass; callers may preset CSP_KEYCLASS_UNKNOWN. */
enum { CSP_KEYCLASS_PUBLIC = 0, CSP_KEYCLASS_PRIVATE = 1 };
#define CSP_KEYCLASS_UNKNOWN 0xFFFFFFFFu

/* The key header (19 words) and the key data: 84 bytes with 32-bit pointers, sizeof() here.
 * The key-pair generator fills keyClass, algorithm, logicalBits, keyUsage and keyAttributes
 * and sets keyData.Length to the DER bytes written. Callers set blobType 2 and format 0 (the
 * key data is the DER record itself); the provider does not read them. */
typedef struct CspKeyHeader {
    uint32_t headerVersion;
    uint32_t cspId[4];
    uint32_t blobType;
    uint32_t format;
    uint32_t keyClass;       /* CSP_KEYCLASS_* */
    uint32_t algorithm;      /* CSP_ALG_* */
    uint32_t logicalBits;    /* modulus, prime p or curve order size in bits */
    uint32_t keyAttributes;
    uint32_t keyUsage;
    uint32_t startDate[2];
    uint32_t endDate[2];
    uint32_t wrapAlgorithm;
    uint32_t wrapMode;
    uint32_t reserved;
} CspKeyHeader;

typedef struct CspKeyRecord {
    CspKeyHeader header;
    DataBlob keyData;        /* Length: capacity on entry to a generator, DER length after */
} CspKeyRecord;

/* Elliptic-curve key data: public SEQUENCE { INTEGER curve, OCTET STRING point },
 * private SEQUENCE { INTEGER curve, OCTET STRING d, OCTET STRING point }. Diffie-Hellman key
 * data: public SEQUENCE { p, g, y }, private SEQUENCE { p, g, y, x } (INTEGERs). */

/* ---- key pairs (class CSP_CLASS_KEYGEN) ----
 * RSA (49): CSP_ATTR_KEY_LENGTH present (any value), CSP_ATTR_MODULUS_BYTES 64..300 (1101
 * otherwise); `publicExponent` holds e as 1 to 4 big-endian bytes (odd, at least 3; null or
 * empty: 65537; otherwise 1101). DSA (50) and KCDSA (51): on CSP_ATTR_ALG_PARAMS when given
 * (1102 when they do not decode), else new parameters of CSP_ATTR_KEY_LENGTH bits for p (q of
 * 160 bits, 256 from 2048 bits up; 1101 outside 512..2048) or, for KCDSA without a key length,
 * the built-in 1024/160 set. DH (52): CSP_ATTR_ALG_PARAMS required (10304). ECDSA (53),
 * EC-KCDSA (54), ECDH (55, an ECDSA pair): CSP_ATTR_CURVE required (10304; an unknown curve
 * 1101). `publicExponent` is read only for RSA. Both records need a key data buffer (1046) of
 * enough bytes (1103; 2,000 always suffice up to 4,096-bit keys). Also 1027, 1026, 1023, 1029
 * (a null record), 1095 (the engine failed). */
VC_API int32_t CSP_GenerateKeyPair(uint32_t moduleHandle, CspContextHandle handle,
                                   const CspContextRecord *context, uint32_t publicUsage,
                                   uint32_t publicAttributes, const DataBlob *publicExponent,
                                   CspKeyRecord *publicKey, uint32_t privateUsage,
                                   uint32_t privateAttributes, const void *credentials,
                                   CspKeyRecord *privateKey);

/* Domain parameters (class CSP_CLASS_KEYGEN): DSA and KCDSA SEQUENCE { p, q, g } with p of
 * `bits` bits (512..2048, 1101 otherwise), DH SEQUENCE { p, g } with a safe prime of `bits`
 * bits (64..2048) and CSP_ATTR_GENERATOR. `params` is the caller's buffer (Length its
 * capacity, 1011 when short, 1046 without a buffer; Length 0 and no buffer: malloc, freed with
 * free()); Length becomes the DER length. */
VC_API int32_t CSP_GenerateAlgorithmParams(uint32_t moduleHandle, CspContextHandle handle,
                                           const CspContextRecord *context, uint32_t bits,
                                           DataBlob *params);

/* ---- signatures (class CSP_CLASS_SIGNATURE, attribute CSP_ATTR_KEY) ----
 * RSA: PKCS #1 v1.5 over the SHA-1 DigestInfo of the data (RSASSA-PKCS1-v1_5 with SHA-1);
 * DSA: SHA-1 of the data cut to q, SEQUENCE { r, s }; KCDSA: E_KCDSA_Sign_New with
 * CSP_ATTR_HASH; ECDSA: E_ECDSA_Sign; EC-KCDSA: E_ECKCDSA_Sign (the private key's DER carries
 * the public point). The staged forms collect the data and sign at Final. `signature` as the
 * result blob of the MAC family (Length 0 and no buffer: malloc; short: 1011). Verification
 * fails with 1105 when the signature does not verify. Also 1040 (no usable key of the
 * context's algorithm), 1096 (staged order), 1029/1030/1046 (blob arrays), 1095. */
VC_API int32_t CSP_SignDataInit(uint32_t moduleHandle, CspContextHandle handle,
                                const CspContextRecord *context);
VC_API int32_t CSP_SignDataUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                  const DataBlob *data, uint32_t count);
VC_API int32_t CSP_SignDataFinal(uint32_t moduleHandle, CspContextHandle handle, DataBlob *signature);
VC_API int32_t CSP_SignData(uint32_t moduleHandle, CspContextHandle handle,
                            const CspContextRecord *context, const DataBlob *data, uint32_t count,
                            DataBlob *signature);
VC_API int32_t CSP_VerifyDataInit(uint32_t moduleHandle, CspContextHandle handle,
                                  const CspContextRecord *context);
VC_API int32_t CSP_VerifyDataUpdate(uint32_t moduleHandle, CspContextHandle handle,
                                    const DataBlob *data, uint32_t count);
VC_API int32_t CSP_VerifyDataFinal(uint32_t moduleHandle, CspContextHandle handle,
                                   const DataBlob *signature);
VC_API int32_t CSP_VerifyData(uint32_t moduleHandle, CspContextHandle handle,
                              const CspContextRecord *context, const DataBlob *data,
                              uint32_t count, const DataBlob *signature);

/* ---- key derivation (class CSP_CLASS_DERIVE, CSP_ATTR_KEY the own private key) ----
 * DH (52): `peer` is the peer's public value, big-endian; the shared value g^xy mod p as
 * minimal bytes. ECDH (55): `peer` is the peer's point; the x-coordinate of d Q. The result
 * goes to `derived` as for the signature blob. 1095 for a peer value the engine refuses. */
VC_API int32_t CSP_DeriveKey(uint32_t moduleHandle, CspContextHandle handle,
                             const CspContextRecord *context, const DataBlob *peer,
                             uint32_t keyUsage, uint32_t keyAttributes, DataBlob *derived);

/* ---- key wrapping ----
 * Wraps a symmetric key record of CSP_GenerateKey (`key`): its algorithm as four big-endian
 * bytes, its effective bits likewise, then its raw key bytes. Under a public key (class
 * CSP_CLASS_ASYMMETRIC, algorithm RSA, CSP_ATTR_KEY an RSA public key) that string is
 * RSAES-OAEP encrypted (SHA-1, empty label); under a symmetric key (class
 * CSP_CLASS_SYMMETRIC with the attributes of CSP_EncryptData) it is encrypted as
 * CSP_EncryptData does. Unwrapping reverses it (RSA: the private key) and builds the key record
 * in `key` (a buffer as for CSP_GenerateKey). `wrapped` / `key` as result blobs (Length 0 and
 * no buffer: malloc). 1040 for a wrapped key that does not open into a key record. */
VC_API int32_t CSP_WrapKey(uint32_t moduleHandle, CspContextHandle handle,
                           const CspContextRecord *context, const DataBlob *key, DataBlob *wrapped);
VC_API int32_t CSP_UnwrapKey(uint32_t moduleHandle, CspContextHandle handle,
                             const CspContextRecord *context, const DataBlob *wrapped, DataBlob *key);

/* Logical and effective size in bits of a public-key record (`key`, or when null the
 * CSP_ATTR_KEY of `context` or of the handle's record): the modulus, p, or the curve order
 * (163 or 160 bits). 1029 (nothing to read), 10304, 1040. */
VC_API int32_t CSP_QueryKeySizeInBits(uint32_t moduleHandle, CspContextHandle handle,
                                      const CspContextRecord *context, const CspKeyRecord *key,
                                      CspKeySize *size);

VC_END_DECLS

#endif
