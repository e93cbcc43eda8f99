/* VorelCrypto high-level public-key services (V_ functions): key pairs, RSA, KCDSA and
 * elliptic-curve operations, and the WTLS form of RSA public keys.
 *
 * Outputs are V_calloc buffers on the caller's context (free them with V_free). The results
 * differ from service to service and are listed with each; codes are those of frame.h. Keys
 * are the DER records the provider writes (csp_pubkey.h; EC keys raw octets as ec_protocols.h
 * takes them). */
#ifndef VORELCRYPTO_ASYM_SERVICES_H
#define VORELCRYPTO_ASYM_SERVICES_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* Algorithm ids of the key-pair dispatchers. */
enum {
    V_ASYM_RSA = 0,      /* 0, 1 and 2 all make RSA pairs */
    V_ASYM_KCDSA = 4,    /* 4 and 5 make KCDSA pairs */
    V_ASYM_ECDSA = 15,
    V_ASYM_ECKCDSA = 16
};

/* Result of the WTLS conversions for a key they cannot convert (not stored). */
enum { V_WTLS_REFUSED = 0 };

/* ---- key pairs ----
 * V_GenAssymetricKey: ids 0-2 V_GenerateRSAKey, 4-5 V_GenerateKCDSAKeyPair, 15-16
 * V_GenerateECCKeyPair (size = curve); any other id returns -1 and stores nothing. The
 * ...AndParams form calls V_GenerateKCDSAKeyPair_Params for 4 and 5.
 * V_GenerateRSAKey: size 512, 1024 or 2048 (others 30003), e = 65537; public SEQUENCE { n, e }
 * and private RSA key DER. 30000 without crypto state, 20006 (context and key records, outputs),
 * 30001 (key data and exponent buffers), 30003 (generation failed).
 * V_GenerateKCDSAKeyPair: public and private KCDSA key DER on the built-in 1024/160 parameters
 * (size not read); ..._Params: on new 1024/160 parameters, whose DER goes to `params`. 30000,
 * 20006, 30001, 30003.
 * V_GenerateECCKeyPair: kind 15 (ECDSA) or 16 (EC-KCDSA) on curve `curve`; public point and
 * private scalar octets. Allocation failure stores 20006 and returns -1; an unknown curve or
 * kind stores and returns 30003. The context is not tested for null (nothing is stored then). */
VC_API int32_t V_GenAssymetricKey(LibContext *ctx, uint32_t algorithm, int32_t size,
                                  DataBlob *publicKey, DataBlob *privateKey);
VC_API int32_t V_GenAssymetricKeyAndParams(LibContext *ctx, uint32_t algorithm, int32_t size,
                                           DataBlob *publicKey, DataBlob *privateKey,
                                           DataBlob *params);
VC_API int32_t V_GenerateRSAKey(LibContext *ctx, int32_t size, DataBlob *publicKey, DataBlob *privateKey);
VC_API int32_t V_GenerateKCDSAKeyPair(LibContext *ctx, int32_t size, DataBlob *publicKey,
                                      DataBlob *privateKey);
VC_API int32_t V_GenerateKCDSAKeyPair_Params(LibContext *ctx, int32_t size, DataBlob *publicKey,
                                             DataBlob *privateKey, DataBlob *params);
VC_API int32_t V_GenerateECCKeyPair(LibContext *ctx, int32_t kind, int32_t curve,
                                    DataBlob *publicKey, DataBlob *privateKey);

/* ---- RSA (PKCS #1 v1.5 blocks; OAEP as RFC 8017 with SHA-1 and a label) ----
 * The output is a 1,025-byte buffer. PublicEncrypt(+OAEP): 0, 20006, 30028; on success the
 * output length is 64, 128 or 256 for a key blob below 100, 200 or 300 bytes (the routine's
 * length from 300 up). PrivateEncrypt: 0, 20006, 20007 (empty key blob), 30030; on success
 * 64, 128 or 256 for a key blob below 400, 800 or 1,200 bytes. On failure these free the
 * buffer and zero the output blob. PublicDecrypt returns 0 whatever happened (20006 for a
 * failed allocation); PrivateDecrypt(+OAEP) return the routine's result: 0, or -1 with the
 * provider's reason in GetError(), and store nothing else. These three leave the buffer in the
 * output blob even on failure (length 0). The label blob of OAEP may be null. */
VC_API int32_t V_RSAPublicEncrypt(LibContext *ctx, const DataBlob *publicKey, const DataBlob *message,
                                  DataBlob *output);
VC_API int32_t V_RSAPublicDecrypt(LibContext *ctx, const DataBlob *publicKey, const DataBlob *input,
                                  DataBlob *output);
VC_API int32_t V_RSAPrivateEncrypt(LibContext *ctx, const DataBlob *privateKey, const DataBlob *message,
                                   DataBlob *output);
VC_API int32_t V_RSAPrivateDecrypt(LibContext *ctx, const DataBlob *privateKey, const DataBlob *input,
                                   DataBlob *output);
VC_API int32_t V_RSAPublicEncryptOAEP(LibContext *ctx, const DataBlob *publicKey, const DataBlob *message,
                                      const DataBlob *label, DataBlob *output);
VC_API int32_t V_RSAPrivateDecryptOAEP(LibContext *ctx, const DataBlob *privateKey, const DataBlob *input,
                                       const DataBlob *label, DataBlob *output);

/* ---- KCDSA (E_KCDSA_Sign_New / E_KCDSA_Verify_New) ----
 * Algorithm id 5 hashes with HAS-160, every other id with SHA-1.
 * V_KCDSA_Sign: 0; -1 (nothing stored) when the key or parameters do not decode or nothing was
 * signed; 20006 when the work buffer (message length + 100 bytes, at least the signature's
 * room) or the output cannot be allocated.
 * V_KCDSA_Verify: 1 valid, 0 otherwise; stores nothing. A parameters blob that is null, empty
 * or of 2 bytes or fewer is replaced by the library's stored 1024/160 parameters (its old
 * buffer, if any, is freed with V_free; the new one is the caller's to free), and those are
 * used. */
VC_API int32_t V_KCDSA_Sign(LibContext *ctx, uint32_t algorithm, const DataBlob *privateKey,
                            const DataBlob *params, const DataBlob *message, DataBlob *signature);
VC_API int32_t V_KCDSA_Verify(LibContext *ctx, uint32_t algorithm, const DataBlob *publicKey,
                              DataBlob *params, const DataBlob *message, const DataBlob *signature);

/* ---- elliptic curves: kind 15 ECDSA (SHA-1), 16 EC-KCDSA (HAS-160) ----
 * V_ECC_Sign: 0; -1 when nothing was signed (20006 stored, -1 returned when the work buffer
 * cannot be allocated); 20006 when the output cannot. The public key may be null or empty for
 * EC-KCDSA (then recomputed by the engine from the private key).
 * V_ECC_Verify: the engine's result (1 valid); the first argument is not read.
 * V_ECC_Encryption / V_ECC_Decryption: -1 for a null ctx, 30000 (not stored) for a missing
 * blob or data pointer; otherwise 0 in every case: the output holds the result when the engine
 * succeeded and stays empty when it failed; a failed allocation stores 20006. */
VC_API int32_t V_ECC_Sign(LibContext *ctx, int32_t kind, int32_t curve, const DataBlob *message,
                          const DataBlob *publicKey, const DataBlob *privateKey, DataBlob *signature);
VC_API int32_t V_ECC_Verify(LibContext *ignored, int32_t kind, int32_t curve, const DataBlob *message,
                            const DataBlob *signature, const DataBlob *publicKey);
VC_API int32_t V_ECC_Encryption(LibContext *ctx, int32_t curve, const DataBlob *publicKey,
                                const DataBlob *message, DataBlob *output);
VC_API int32_t V_ECC_Decryption(LibContext *ctx, int32_t curve, const DataBlob *privateKey,
                                const DataBlob *input, DataBlob *output);

/* ---- WTLS RSA public keys: exponent and modulus as unsigned big-endian octets ----
 * V_RSAPublicKey2WTLS: 1 with two 400-byte buffers (exponent, modulus) and their lengths;
 * 20006 stored and returned when one cannot be allocated; V_WTLS_REFUSED (nothing stored,
 * outputs null and 0) when the DER is not an RSA public key. V_WTLSPublicKey2RSA: 1 with the
 * DER in a 200-byte buffer; V_WTLS_REFUSED (nothing stored) for an exponent of more than four
 * significant octets, an empty modulus, or a key whose DER would not fit 200 bytes (moduli
 * above about 1,500 bits); 20006. -1 for a null ctx. */
VC_API int32_t V_RSAPublicKey2WTLS(LibContext *ctx, const uint8_t *der, uint32_t derLength,
                                   uint8_t **exponent, uint16_t *exponentLength, uint8_t **modulus,
                                   uint16_t *modulusLength);
VC_API int32_t V_WTLSPublicKey2RSA(LibContext *ctx, const uint8_t *exponent, uint16_t exponentLength,
                                   const uint8_t *modulus, uint16_t modulusLength, uint8_t **der,
                                   uint32_t *derLength);

VC_END_DECLS

#endif
