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


/* ---- MD2 and MD4 ---- */


/* ---- RIPEMD-160 ---- */


VC_END_DECLS

#endif
