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

/* SEED round keys: the two subkeys of each of the 16 rounds, round 1 first. One record serves
 * both directions. Keys and blocks are 16 bytes. */
typedef struct SeedKeySchedule {
    uint32_t roundKeys[32];
} SeedKeySchedule;

VC_API void E_SEED_KeySchedule(SeedKeySchedule *roundKeys, const uint8_t *key);
VC_API void E_SEED_Encrypt(uint8_t *block, const SeedKeySchedule *roundKeys);
VC_API void E_SEED_Decrypt(uint8_t *block, const SeedKeySchedule *roundKeys);

/* ECB and CBC zero-fill a short tail: encryption writes `length` rounded up to a whole block,
 * decryption reads that much and writes `length` bytes. CBC never writes the iv. */
VC_API void E_SEED_ECB_Encrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, uint32_t length);
VC_API void E_SEED_ECB_Decrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, uint32_t length);
VC_API void E_SEED_CBC_Encrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, uint32_t length,
                               const uint8_t *iv);
VC_API void E_SEED_CBC_Decrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, uint32_t length,
                               const uint8_t *iv);
/* CBC without expansion: a short tail is XORed with the encrypted last chaining block in both
 * directions. Encryption still writes a whole last block (its bytes past `length` are keystream),
 * decryption writes exactly `length` bytes. */
VC_API void E_SEED_CBC_Encrypt_NO_PAD(const uint8_t *input, uint8_t *output,
                                      const SeedKeySchedule *roundKeys, uint32_t length,
                                      const uint8_t *iv);
VC_API void E_SEED_CBC_Decrypt_NO_PAD(const uint8_t *input, uint8_t *output,
                                      const SeedKeySchedule *roundKeys, uint32_t length,
                                      const uint8_t *iv);
/* CFB and OFB with a feedback width of numbits (1 to 128; other values write nothing): each
 * step handles (numbits + 7) / 8 bytes, bits of a partial byte beyond numbits are written as
 * zero, leftover bytes are not processed, and the final register is written back to iv.
 * OFB decryption is the same operation as OFB encryption. */
VC_API void E_SEED_CFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits,
                               uint32_t length, uint8_t *iv);
VC_API void E_SEED_CFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits,
                               uint32_t length, uint8_t *iv);
VC_API void E_SEED_OFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits,
                               uint32_t length, uint8_t *iv);
VC_API void E_SEED_OFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits,
                               uint32_t length, uint8_t *iv);


/* ---- DES and triple DES ---- */


/* ---- IDEA ---- */


/* ---- RC2 ---- */


/* ---- RC5 ---- */


/* ---- Blowfish ---- */


/* ---- RC4 ---- */


VC_END_DECLS

#endif
