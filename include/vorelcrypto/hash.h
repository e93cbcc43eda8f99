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


/* ---- SHA-256, SHA-384, SHA-512 ---- */


/* ---- HMAC-SHA1 ---- */


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
