/* VorelCrypto hash engines (E_ functions) and HMAC-SHA1.
 *
 * Every engine works on a caller-owned context: Init, any number of Updates, one Final; the
 * one-shot takes the digest buffer first. Engines check no argument and return nothing; a
 * context must be initialised again after Final. */
#ifndef VORELCRYPTO_HASH_H
#define VORELCRYPTO_HASH_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* ---- SHA-1, SHA-0 and the SHA-1 compression ---- */

/* Context of E_SHA1 and E_SHA. The buffer holds the bytes of the current block; words of it are
 * byte-reversed in place (to big-endian) before a compression. The fill of the buffer is not
 * stored: it is (countLow >> 3) mod 64. */
typedef struct ShaContext {
    uint32_t countLow;   /* message bits, modulo 2^32 */
    uint32_t countHigh;  /* carries of countLow plus the high bits of each length */
    uint32_t buffer[16]; /* 64 bytes of the current block, also read as 16 words */
    uint32_t state[5];   /* H0..H4; byte-reversed by Final */
} ShaContext;

/* SHA-1 (FIPS 180-2). Final leaves the state byte-reversed: initialise again before reuse.
 * Update and Final return nothing and check no argument. */
VC_API void E_SHA1_Init(ShaContext *context);
VC_API void E_SHA1_Update(ShaContext *context, const uint8_t *data, uint32_t length);
VC_API void E_SHA1_Final(ShaContext *context, uint8_t *digest);
/* One-shot SHA-1 into 20 bytes of digest. */
VC_API void E_SHA1(uint8_t *digest, const uint8_t *data, uint32_t length);

/* SHA-0 (the SHA of the 1993 FIPS 180). An Update that ends inside a block re-converts the
 * buffer's leading words when the next Update continues that block, so split input gives the
 * FIPS 180 value only when every Update but the last delivers a multiple of 64 bytes; existing
 * values depend on this. */
VC_API void E_SHA_Init(ShaContext *context);
VC_API void E_SHA_Update(ShaContext *context, const uint8_t *data, uint32_t length);
VC_API void E_SHA_Final(ShaContext *context, uint8_t *digest);
VC_API void E_SHA(uint8_t *digest, const uint8_t *data, uint32_t length);

/* One SHA-1 compression of the 64-byte block from the standard initial values, no padding:
 * the 20-byte chaining state, big-endian. Not SHA-1 of the block. */
VC_API void E_MySHA1(uint8_t *digest, const uint8_t *block);


/* ---- SHA-256, SHA-384, SHA-512 ---- */

/* Context of E_SHA256. The buffer holds message bytes in order; it is never byte-reversed. */
typedef struct Sha256Context {
    uint32_t state[8];  /* H0..H7 */
    uint32_t countLow;  /* message bits, modulo 2^32 */
    uint32_t countHigh; /* gains length >> 29 per Update; no carry from countLow (see below) */
    uint8_t buffer[64];
} Sha256Context;

/* Context of E_SHA384 and E_SHA512. */
typedef struct Sha512Context {
    uint32_t state[16]; /* H0..H7, each as its low 32-bit half followed by its high half */
    uint32_t count[4];  /* 128-bit message length in bits, least significant word first */
    uint8_t buffer[128];
} Sha512Context;

/* SHA-256 (FIPS 180-2), 32-byte digest. The bit count never carries from the low into the high
 * word, so a message that passes 2^32 bits over several Updates encodes a different length than
 * FIPS 180-2; every message below 512 MiB, and any single Update, hashes to the standard value.
 * Existing digests depend on this. */
VC_API void E_SHA256_Init(Sha256Context *context);
VC_API void E_SHA256_Update(Sha256Context *context, const uint8_t *data, uint32_t length);
VC_API void E_SHA256_Final(Sha256Context *context, uint8_t *digest);
/* One-shots store the digest length (32, 48, 64) in *digestLength. */
VC_API void E_SHA256(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length);

/* SHA-384 (FIPS 180-2), 48-byte digest. */
VC_API void E_SHA384_Init(Sha512Context *context);
VC_API void E_SHA384_Update(Sha512Context *context, const uint8_t *data, uint32_t length);
VC_API void E_SHA384_Final(Sha512Context *context, uint8_t *digest);
VC_API void E_SHA384(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length);

/* SHA-512 (FIPS 180-2), 64-byte digest. */
VC_API void E_SHA512_Init(Sha512Context *context);
VC_API void E_SHA512_Update(Sha512Context *context, const uint8_t *data, uint32_t length);
VC_API void E_SHA512_Final(Sha512Context *context, uint8_t *digest);
VC_API void E_SHA512(uint8_t *digest, uint32_t *digestLength, const uint8_t *data, uint32_t length);


/* ---- HMAC-SHA1 ---- */

/* Context of E_HMAC_SHA1. */
typedef struct HmacSha1Context {
    uint8_t key[64];   /* the key (at most 64 bytes) or the SHA-1 digest of a longer key */
    int32_t keyLength; /* bytes of key in use: the given length, or 16 for a longer key */
    ShaContext inner;  /* SHA-1 over the inner pad and the message */
    ShaContext outer;  /* SHA-1 of Final */
} HmacSha1Context;

/* HMAC-SHA1 in the RFC 2104 shape with two departures that existing MACs depend on: the outer
 * hash covers only the first 16 bytes of the inner digest, and a key longer than 64 bytes enters
 * the outer pad as the first 16 bytes of its SHA-1 digest (the inner pad still takes the key's
 * first 64 bytes). A negative keyLength is taken as an empty key. mac receives 20 bytes and
 * must hold 20 (Final also keeps the inner digest there). */
VC_API void E_HMAC_SHA1_Init(HmacSha1Context *context, const uint8_t *key, int32_t keyLength);
VC_API void E_HMAC_SHA1_Update(HmacSha1Context *context, const uint8_t *data, uint32_t length);
VC_API void E_HMAC_SHA1_Final(HmacSha1Context *context, uint8_t *mac);
/* One-shot: message first, then key, then the 20-byte mac. */
VC_API void E_HMAC_SHA1(const uint8_t *data, uint32_t dataLength, const uint8_t *key,
                        int32_t keyLength, uint8_t *mac);


/* ---- HAS-160 ---- */

/* HAS-160 (TTAS.KO-12.0011/R1): 20-byte digest, 64-byte blocks, little-endian words. The
 * buffer holds the bytes of the current block in message order; its fill is
 * (countLow >> 3) mod 64. After Final the context holds the final chaining words and must be
 * initialised again before reuse. */
typedef struct Has160Context {
    uint32_t countLow;   /* message bits so far, modulo 2^32 */
    uint32_t countHigh;  /* carries of countLow plus the high bits of each length */
    uint32_t state[5];   /* H0..H4 */
    uint8_t buffer[64];
} Has160Context;

VC_API void E_HAS160_Init(Has160Context *context);
VC_API void E_HAS160_Update(Has160Context *context, const uint8_t *data, uint32_t length);
VC_API void E_HAS160_Final(Has160Context *context, uint8_t *digest);
VC_API void E_HAS160(uint8_t *digest, const uint8_t *data, uint32_t length);


/* ---- MD2 and MD4 ---- */

/* MD2 (RFC 1319): 16-byte digest, 16-byte blocks, no bit count. State and checksum keep one
 * byte value in each 32-bit entry. */
typedef struct Md2Context {
    uint32_t fill;          /* bytes in the buffer, 0 to 15 */
    uint8_t buffer[16];
    uint32_t state[16];
    uint32_t checksum[16];
} Md2Context;

VC_API void E_MD2_Init(Md2Context *context);
VC_API void E_MD2_Update(Md2Context *context, const uint8_t *data, uint32_t length);
VC_API void E_MD2_Final(Md2Context *context, uint8_t *digest);
VC_API void E_MD2(uint8_t *digest, const uint8_t *data, uint32_t length);

/* MD4 (RFC 1320): 16-byte digest, 64-byte blocks. Whole blocks are compressed straight from
 * the caller's input; only a partial block is kept in the buffer. */
typedef struct Md4Context {
    uint32_t countLow;   /* message bits so far, modulo 2^32 */
    uint32_t countHigh;
    uint32_t state[4];   /* A, B, C, D */
    uint8_t buffer[64];
} Md4Context;

VC_API void E_MD4_Init(Md4Context *context);
VC_API void E_MD4_Update(Md4Context *context, const uint8_t *data, uint32_t length);
VC_API void E_MD4_Final(Md4Context *context, uint8_t *digest);
VC_API void E_MD4(uint8_t *digest, const uint8_t *data, uint32_t length);


/* ---- RIPEMD-160 ---- */

/* RIPEMD-160: 20-byte digest, 64-byte blocks. The buffer gathers message bytes into
 * little-endian words as they arrive, so a partly filled word holds its bytes in its low-order
 * positions. */
typedef struct Ripemd160Context {
    uint32_t countLow;   /* message bits so far, modulo 2^32 */
    uint32_t countHigh;
    uint32_t state[5];   /* H0..H4 */
    uint32_t buffer[16];
    int32_t fill;        /* bytes in the buffer, 0 to 63 */
} Ripemd160Context;

VC_API void E_RIPEMD160_Init(Ripemd160Context *context);
VC_API void E_RIPEMD160_Update(Ripemd160Context *context, const uint8_t *data, uint32_t length);
VC_API void E_RIPEMD160_Final(Ripemd160Context *context, uint8_t *digest);
VC_API void E_RIPEMD160(uint8_t *digest, const uint8_t *data, uint32_t length);


VC_END_DECLS

#endif
