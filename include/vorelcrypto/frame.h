/* VorelCrypto high-level services (V_ functions): context life cycle and error codes. */
#ifndef VORELCRYPTO_FRAME_H
#define VORELCRYPTO_FRAME_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* Codes that the V_ services store in LibContext.error and return. -1 is returned (and nothing
 * stored) for a null context. */
enum {
    VC_OK = 0,
    VC_ERR_ALLOC = 20006,          /* V_calloc failed for a context, state or work record */
    VC_ERR_EMPTY_INPUT = 20007,    /* a required input blob is empty */
    VC_ERR_NOT_READY = 30000,      /* no crypto state (or a missing input for cipher services) */
    VC_ERR_RESULT_ALLOC = 30001,   /* a result or key buffer could not be allocated */
    VC_ERR_KEY_IMPORT = 30002,     /* the provider could not make a key from the caller's bytes */
    VC_ERR_KEYPAIR = 30003,        /* key-pair generation failed */
    VC_ERR_MODE = 30004,           /* unsupported cipher mode */
    VC_ERR_ENC_INIT = 30005,
    VC_ERR_ENC_UPDATE = 30006,
    VC_ERR_ENC_FINAL = 30007,
    VC_ERR_DEC_INIT = 30010,
    VC_ERR_DEC_UPDATE = 30011,
    VC_ERR_DIGEST_INIT = 30015,
    VC_ERR_DIGEST_UPDATE = 30016,
    VC_ERR_DIGEST_FINAL = 30017,
    VC_ERR_MAC_INIT = 30019,
    VC_ERR_MAC_UPDATE = 30021,
    VC_ERR_DIRECT_ENC = 30023,
    VC_ERR_DIRECT_DEC = 30024,
    VC_ERR_DIRECT_ENC2 = 30025,
    VC_ERR_DIRECT_DEC2 = 30026,
    VC_ERR_BAD_PADDING = 30027,
    VC_ERR_RSA_PUBLIC = 30028,
    VC_ERR_RSA_PRIVATE = 30030,
    VC_ERR_ENCRYPTION = 30032,
    VC_ERR_DECRYPTION = 30033,
    VC_ERR_GPKI_ABSENT = 60004,
    VC_ERR_MAC_MISMATCH = 60010,   /* V_VerifyMac: the MAC does not verify (not stored) */
    VC_ERR_GPKI = 100000
};

/* Makes ctx ready: starts the common part when its flag is clear and allocates the CryptoState.
 * 0 on success (also when already ready); -1 for a null ctx or a failed start or allocation. */
VC_API int32_t V_VCCInit(LibContext *ctx);
/* Releases the CryptoState and stops the common part. Harmless on a null or empty context, and
 * on an empty context it leaves the common part as it is. */
VC_API void V_VCCTerm(LibContext *ctx);

/* Hash service ids of V_GenHash. The order is the library's own: MD5 is 1, MD4 is 3. */
enum {
    V_HASH_MD2 = 0,
    V_HASH_MD5 = 1,
    V_HASH_SHA1 = 2,
    V_HASH_MD4 = 3,
    V_HASH_RIPEMD160 = 4,
    V_HASH_HAS160 = 5
};

/* Digest of one message. On success `output` receives a 30-byte buffer (free it with
 * V_free(ctx, output->Data)) and the digest length, 16 or 20. Codes: 30000 not ready, 20006 or
 * 30001 allocation, 30015/30016/30017 a provider step failed (unknown id: 30015; null input data
 * pointer, even with length 0: 30016); GetError() then tells the provider's reason. On failure
 * `output` is left untouched. Both blob pointers must be valid. */
VC_API uint32_t V_GenHash(LibContext *ctx, uint32_t hashId, const DataBlob *input, DataBlob *output);

/* ---- Symmetric encryption ----
 *
 * Algorithm ids of SymKeyRecord.algorithm. Modes (SymKeyRecord.mode): 0 ECB, 1 CBC, 2 CFB, 3 OFB;
 * honoured on the provider path only (DES, RC4, RC5, IDEA, Blowfish). */
enum {
    V_SYM_DES = 0,      /* provider, 8 key bytes */
    V_SYM_DES3 = 1,     /* three-key triple DES CBC, 24 key bytes */
    V_SYM_RC2 = 2,      /* RC2-CBC, key length from the record, effective bits 8 * length */
    V_SYM_RC4 = 3,      /* provider, 8 key bytes */
    V_SYM_RC5 = 4,      /* provider, 26 key bytes, 12 rounds */
    V_SYM_IDEA = 5,     /* provider, 16 key bytes */
    V_SYM_BLOWFISH = 6, /* provider, 8 key bytes */
    V_SYM_SEED = 10,    /* SEED-CBC, 16 key bytes, 16 IV bytes */
    V_SYM_RC2_40 = 11,  /* as V_SYM_RC2 */
    V_SYM_GPKI = 15     /* handed to the registered GPKI module */
};
enum { V_MODE_ECB = 0, V_MODE_CBC = 1, V_MODE_CFB = 2, V_MODE_OFB = 3 };

/* Encrypts or decrypts one whole message. On success `output` receives a buffer from
 * V_calloc(ctx, ...) (free it with V_free) and its length. Cipher text is padded by the PKCS #5
 * rule over the cipher's block; on the provider path an input shorter than 8 bytes is first
 * made 8 bytes long (bytes of value 8 minus the length), and decryption gives back those 8
 * bytes. V_Encryption stores 30032 for a failing provider path but returns that path's own
 * code; V_Decryption stores and returns 30033 (ctx->state->lastError keeps the path's code,
 * 30027 for bad SEED padding). On failure output is {0, null}.
 * Triple DES (id 1) needs keyLength >= 24 and RC2 (2, 11) 1 to 128; both need ivLength >= 8:
 * otherwise 30023 / 30025 (encryption), 30024 / 30026 (decryption, also for a last plain byte
 * outside 1 to 8). SEED takes 16 key and 16 IV bytes. GPKI (id 15): 60004 when no module is
 * registered (returned, not stored); 100000 when a module step fails, with its text in
 * ctx->message. V_Decryption clears ctx->error at entry. */
VC_API uint32_t V_Encryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                             DataBlob *output);
VC_API uint32_t V_Decryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                             DataBlob *output);
/* The provider path with the library's fixed IV ("58203716"; SEED "5820371649385027", CBC in
 * any mode), for a ready context's state; ids 1, 2 and 11 go through the provider here (two-key
 * triple DES with 16 key bytes, RC2 with 8 or 5). The key is a plain blob holding at least the
 * algorithm's key bytes. The code is stored in state->lastError and the owner's error field and
 * returned; a null state returns 30000 without storing. */
VC_API uint32_t V_Encryption_IV_Fix(CryptoState *state, uint32_t algorithm, uint32_t mode,
                                    const DataBlob *key, const DataBlob *input, DataBlob *output);
VC_API uint32_t V_Decryption_IV_Fix(CryptoState *state, uint32_t algorithm, uint32_t mode,
                                    const DataBlob *key, const DataBlob *input, DataBlob *output);

/* ---- MAC and random ---- */

enum {
    V_MAC_DES = 0,  /* DES CBC-MAC, 8 key bytes, 8-byte MAC */
    V_MAC_DES3 = 1, /* two-key triple DES CBC-MAC, 16 key bytes, 8-byte MAC */
    V_MAC_RC2 = 2   /* HMAC-MD5 under 8 key bytes, 16-byte MAC */
};
enum { V_RANDOM_DES = 0, V_RANDOM_MD5 = 1 };

/* MAC of one message; `mac` receives a V_calloc buffer (8 bytes, 16 for V_MAC_RC2) and is left
 * untouched on failure. The key blob's leading 8 (V_MAC_DES, V_MAC_RC2) or 16 (V_MAC_DES3) bytes
 * are the key; a shorter blob gives 30002. Codes: 30000 (no crypto state, a null blob, null data
 * with a non-zero length), 20006, 30002, 30019 (also an unknown id), 30021. */
VC_API uint32_t V_GenMac(LibContext *ctx, int32_t macId, const DataBlob *key, const DataBlob *message,
                         DataBlob *mac);
/* 0 when `mac` is the MAC of the message; the error field is then left as it was. A MAC that
 * does not verify (other bytes or another length) returns VC_ERR_MAC_MISMATCH and stores
 * nothing; a failing start or update (also an unknown id) stores and returns -1; 30000, 20006
 * and 30002 as for V_GenMac. */
VC_API uint32_t V_VerifyMac(LibContext *ctx, int32_t macId, const DataBlob *key,
                            const DataBlob *message, const DataBlob *mac);
/* `length` random bytes into a V_calloc buffer stored at *result (a zero-length request still
 * gets a buffer; any length is served). -1 for a null context or result pointer or a provider
 * failure (unknown generator id: nothing stored, *result untouched), 20006 for a failed
 * allocation, 30000 for a context without crypto state. Success leaves the error field as it
 * was. */
VC_API uint32_t V_GenRandom(LibContext *ctx, int32_t generatorId, uint32_t length, uint8_t **result);

/* ---- Key wrapping and key share ----
 *
 * Length-preserving encryption of key material (a non-zero multiple of 8 bytes, else 30000)
 * with DES-CBC (id 0), three-key triple DES CBC (1, through V_Encryption: the padding block
 * stays in the buffer past the reported length), SEED-CBC (10; a length of 8 mod 16 loses its
 * last 8 bytes in the round trip) or the GPKI module (15). No padding is added or removed.
 * Other ids: 30032 (wrap) / 30033 (unwrap). A failing V_Encryption (ids 1, 15) or GPKI
 * V_Decryption returns 30032 and leaves that service's code in ctx->error. */
VC_API uint32_t V_KeyEncryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                                DataBlob *output);
VC_API uint32_t V_KeyDecryption(LibContext *ctx, const SymKeyRecord *key, const DataBlob *input,
                                DataBlob *output);
/* LZW coding of a key share. Encode: maxCodeBits 9 to 12 (a table of up to 4,096 entries) and
 * resetWhenFull (non-zero: start a fresh table when it fills). Decode: maxOutputLength bounds
 * the decoded size. The destination receives a malloc() buffer (free it with free()) and its
 * length; an empty result still gets a (one-byte) buffer. 1 on success, 0 on failure (a null or
 * malformed source, a bad parameter, a result over the bound, no memory), and the destination is
 * then {0, null}. The first argument is not read.
 *
 * Stream: 0x4B, maxCodeBits | 0x80 when resetWhenFull, then codes packed least-significant bit
 * first: 0-255 a byte, 256 CLEAR (fresh table, width 9), 257 END, table entries from 258. Every
 * code is as wide as the bit length of the next code the encoder will assign (at least 9, at
 * most maxCodeBits). A full table is frozen, or cleared with CLEAR when resetWhenFull. END is
 * followed by zero bits up to the byte boundary and nothing else. An empty source encodes to
 * the header and END. */
VC_API int32_t V_KeyShareEncode(void *unused, const DataBlob *source, uint32_t maxCodeBits,
                                uint32_t resetWhenFull, DataBlob *destination);
VC_API int32_t V_KeyShareDecode(void *unused, const DataBlob *source, uint32_t maxOutputLength,
                                DataBlob *destination);

VC_END_DECLS

#endif
