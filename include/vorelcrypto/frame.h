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

VC_END_DECLS

#endif
