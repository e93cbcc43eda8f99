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

/* DES round keys, two words per round in round order, laid out for the library's round
 * function; callers only allocate the record. Keys are 8 bytes whose parity bits (the low bit of
 * each byte) are ignored; weak and semi-weak keys are accepted. Blocks are 8 bytes. */
typedef struct DesKeySchedule {
    uint32_t subkeys[32];
} DesKeySchedule;
/* Two-key triple DES, E(K1, D(K2, E(K1, x))): K1 from key bytes 0-7, K2 from bytes 8-15. */
typedef struct Des3KeySchedule {
    DesKeySchedule keys[2];
} Des3KeySchedule;
/* Three-key triple DES, E(K3, D(K2, E(K1, x))): from a 24-byte key, K1 first. */
typedef struct Des3_3KeySchedule {
    DesKeySchedule keys[3];
} Des3_3KeySchedule;

/* The schedule functions return 1. */
VC_API int32_t E_DES_KeySchedule(DesKeySchedule *schedule, const uint8_t *key);
VC_API int32_t E_DES3_KeySchedule(Des3KeySchedule *schedule, const uint8_t *key);
VC_API int32_t E_DES3_3Key_Schedule(Des3_3KeySchedule *schedule, const uint8_t *key);

VC_API void E_DES_Encrypt(uint8_t *block, const DesKeySchedule *schedule);
VC_API void E_DES_Decrypt(uint8_t *block, const DesKeySchedule *schedule);
VC_API void E_DES3_Encrypt(uint8_t *block, const Des3KeySchedule *schedule);
VC_API void E_DES3_Decrypt(uint8_t *block, const Des3KeySchedule *schedule);
VC_API void E_DES3_3Key_Encrypt(uint8_t *block, const Des3_3KeySchedule *schedule);
VC_API void E_DES3_3Key_Decrypt(uint8_t *block, const Des3_3KeySchedule *schedule);

/* Modes as for SEED with an 8-byte block; CFB and OFB take numbits 1 to 64. */
VC_API void E_DES_ECB_Encrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    uint32_t length);
VC_API void E_DES_ECB_Decrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    uint32_t length);
VC_API void E_DES_CBC_Encrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES_CBC_Decrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES_CBC_Encrypt_NO_PAD(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES_CBC_Decrypt_NO_PAD(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES_CFB_Encrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES_CFB_Decrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES_OFB_Encrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES_OFB_Decrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES3_ECB_Encrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    uint32_t length);
VC_API void E_DES3_ECB_Decrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    uint32_t length);
VC_API void E_DES3_CBC_Encrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES3_CBC_Decrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES3_CBC_Encrypt_NO_PAD(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES3_CBC_Decrypt_NO_PAD(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    uint32_t length, const uint8_t *iv);
VC_API void E_DES3_CFB_Encrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES3_CFB_Decrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES3_OFB_Encrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES3_OFB_Decrypt(const uint8_t *input, uint8_t *output, const Des3KeySchedule *schedule,
    int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES3_3Key_CBC_Encrypt(const uint8_t *input, uint8_t *output,
    const Des3_3KeySchedule *schedule, uint32_t length, const uint8_t *iv);
VC_API void E_DES3_3Key_CBC_Decrypt(const uint8_t *input, uint8_t *output,
    const Des3_3KeySchedule *schedule, uint32_t length, const uint8_t *iv);


/* ---- IDEA ---- */


/* ---- RC2 ---- */


/* ---- RC5 ---- */


/* ---- Blowfish ---- */


/* ---- RC4 ---- */


VC_END_DECLS

#endif
