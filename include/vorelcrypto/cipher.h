/* VorelCrypto block and stream ciphers with their modes of operation (E_ functions).
 *
 * Each block cipher has a key schedule into a caller-owned record, single-block encryption and
 * decryption in place, and the mode wrappers: ECB (input, output, schedule, length), CBC
 * (input, output, schedule, length, iv), CFB and OFB (input, output, schedule, numbits, length,
 * iv). Engines check no argument and return nothing. */
#ifndef VORELCRYPTO_CIPHER_H
#define VORELCRYPTO_CIPHER_H

#include <vorelcrypto/types.h>

VC_BEGIN_DECLS

/* ---- SEED ---- */


/* ---- DES and triple DES ---- */


/* ---- IDEA ---- */


/* ---- RC2 ---- */


/* ---- RC5 ---- */


/* ---- Blowfish ---- */


/* ---- RC4 ---- */


VC_END_DECLS

#endif
