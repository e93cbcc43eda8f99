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
                               const SeedKeySchedule *roundKeys, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_SEED_CFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_SEED_OFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_SEED_OFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const SeedKeySchedule *roundKeys, int32_t numbits, uint32_t length,
                               uint8_t *iv);


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
VC_API void E_DES_CBC_Encrypt_NO_PAD(const uint8_t *input, uint8_t *output,
                                     const DesKeySchedule *schedule, uint32_t length,
                                     const uint8_t *iv);
VC_API void E_DES_CBC_Decrypt_NO_PAD(const uint8_t *input, uint8_t *output,
                                     const DesKeySchedule *schedule, uint32_t length,
                                     const uint8_t *iv);
VC_API void E_DES_CFB_Encrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES_CFB_Decrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES_OFB_Encrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES_OFB_Decrypt(const uint8_t *input, uint8_t *output, const DesKeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_DES3_ECB_Encrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, uint32_t length);
VC_API void E_DES3_ECB_Decrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, uint32_t length);
VC_API void E_DES3_CBC_Encrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, uint32_t length, const uint8_t *iv);
VC_API void E_DES3_CBC_Decrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, uint32_t length, const uint8_t *iv);
VC_API void E_DES3_CBC_Encrypt_NO_PAD(const uint8_t *input, uint8_t *output,
                                      const Des3KeySchedule *schedule, uint32_t length,
                                      const uint8_t *iv);
VC_API void E_DES3_CBC_Decrypt_NO_PAD(const uint8_t *input, uint8_t *output,
                                      const Des3KeySchedule *schedule, uint32_t length,
                                      const uint8_t *iv);
VC_API void E_DES3_CFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_DES3_CFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_DES3_OFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_DES3_OFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const Des3KeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_DES3_3Key_CBC_Encrypt(const uint8_t *input, uint8_t *output,
                                    const Des3_3KeySchedule *schedule, uint32_t length,
                                    const uint8_t *iv);
VC_API void E_DES3_3Key_CBC_Decrypt(const uint8_t *input, uint8_t *output,
                                    const Des3_3KeySchedule *schedule, uint32_t length,
                                    const uint8_t *iv);


/* ---- IDEA ---- */

/* IDEA, RC2, RC5 and Blowfish share the shapes above with an 8-byte block and CFB/OFB numbits
 * 1 to 64 (a larger value writes nothing). Single-block functions take 8 bytes in stream order.
 * CFB/OFB widths that are not whole bytes follow each cipher's word order: IDEA and Blowfish
 * take register and data as one big-endian bit string (first bits most significant, as in
 * NIST SP 800-38A), RC2 and RC5 as one little-endian number (first bits least significant).
 * Their OFB functions take a seventh argument, `num`: null, or a pointer to the count of
 * keystream bytes already used from the current step, which lets a stream be split across calls
 * at any byte (see the OFB note under IDEA). */

/* Block and key words are big-endian 16-bit halves, as IDEA defines them. The schedule holds the
 * 52 encryption subkeys and the 52 decryption subkeys (inverses), both set by the key schedule. */
typedef struct IdeaKeySchedule {
    uint32_t encrypt[52];
    uint32_t decrypt[52];
} IdeaKeySchedule;

/* key: 16 bytes. */
VC_API void E_IDEA_KeySchedule(IdeaKeySchedule *schedule, const uint8_t *key);
VC_API void E_IDEA_Encrypt(uint8_t *block, const IdeaKeySchedule *schedule);
VC_API void E_IDEA_Decrypt(uint8_t *block, const IdeaKeySchedule *schedule);
VC_API void E_IDEA_ECB_Encrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, uint32_t length);
VC_API void E_IDEA_ECB_Decrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, uint32_t length);
VC_API void E_IDEA_CBC_Encrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, uint32_t length, const uint8_t *iv);
VC_API void E_IDEA_CBC_Decrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, uint32_t length, const uint8_t *iv);
VC_API void E_IDEA_CFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv);
VC_API void E_IDEA_CFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv);
/* OFB and its seventh argument, for IDEA, RC2, RC5 and Blowfish alike. With num null the call
 * behaves as the other OFB wrappers: whole steps of n = (numbits + 7) / 8 bytes, a shorter tail
 * is neither processed nor written, and iv receives the final register. With num non-null and
 * numbits a multiple of 8, the stream may be cut anywhere: on entry *num (0 to n - 1; larger
 * values are taken modulo n, negative ones as 0) counts the keystream bytes of the current step
 * already used by the previous call; those left are used first, whole steps follow, and a
 * shorter tail is XORed with the first bytes of one more step, *num receiving how many were
 * used. With numbits 64 this is the common "ofb64" stream with its `num` counter. For numbits
 * not a multiple of 8 num is ignored and left unchanged. */
VC_API void E_IDEA_OFB_Encrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv, int32_t *num);
VC_API void E_IDEA_OFB_Decrypt(const uint8_t *input, uint8_t *output,
                               const IdeaKeySchedule *schedule, int32_t numbits, uint32_t length,
                               uint8_t *iv, int32_t *num);

/* ---- RC2 ---- */

/* RC2 as in RFC 2268: block words little-endian 16-bit. The schedule is the expanded key K[0..63]. */
typedef struct Rc2KeySchedule {
    uint16_t K[64];
} Rc2KeySchedule;

/* keyLength: 1 to 128 bytes, longer keys are cut to 128. effectiveBits: 1 to 1024; any other
 * value (0, negative, above 1024) is taken as 1024. */
VC_API void E_RC2_KeySchedule(Rc2KeySchedule *schedule, const uint8_t *key, uint32_t keyLength,
                              int32_t effectiveBits);
VC_API void E_RC2_Encrypt(uint8_t *block, const Rc2KeySchedule *schedule);
VC_API void E_RC2_Decrypt(uint8_t *block, const Rc2KeySchedule *schedule);
VC_API void E_RC2_ECB_Encrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              uint32_t length);
VC_API void E_RC2_ECB_Decrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              uint32_t length);
VC_API void E_RC2_CBC_Encrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              uint32_t length, const uint8_t *iv);
VC_API void E_RC2_CBC_Decrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              uint32_t length, const uint8_t *iv);
VC_API void E_RC2_CFB_Encrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_RC2_CFB_Decrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_RC2_OFB_Encrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num);
VC_API void E_RC2_OFB_Decrypt(const uint8_t *input, uint8_t *output, const Rc2KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num);

/* ---- RC5 ---- */

/* RC5-32 as in RFC 2040: block words little-endian 32-bit. S[0 .. 2r+1] is the expanded table
 * (room for 16 rounds) and `rounds` the round count r. */
typedef struct Rc5KeySchedule {
    uint32_t S[34];
    int32_t rounds;
} Rc5KeySchedule;

/* Any key length (0 included, as RFC 2040 allows). rounds: 0 to 16; any other value is taken as
 * 16. Keys longer than 256 bytes take a temporary heap buffer, freed before return; should that
 * allocation fail the schedule is computed from the first 256 key bytes. */
VC_API void E_RC5_KeySchedule(Rc5KeySchedule *schedule, const uint8_t *key, uint32_t keyLength,
                              int32_t rounds);
VC_API void E_RC5_Encrypt(uint8_t *block, const Rc5KeySchedule *schedule);
VC_API void E_RC5_Decrypt(uint8_t *block, const Rc5KeySchedule *schedule);
VC_API void E_RC5_ECB_Encrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              uint32_t length);
VC_API void E_RC5_ECB_Decrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              uint32_t length);
VC_API void E_RC5_CBC_Encrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              uint32_t length, const uint8_t *iv);
VC_API void E_RC5_CBC_Decrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              uint32_t length, const uint8_t *iv);
VC_API void E_RC5_CFB_Encrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_RC5_CFB_Decrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv);
VC_API void E_RC5_OFB_Encrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num);
VC_API void E_RC5_OFB_Decrypt(const uint8_t *input, uint8_t *output, const Rc5KeySchedule *schedule,
                              int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num);

/* ---- Blowfish ---- */

/* Blowfish: block words big-endian. The P-array followed by the four S-boxes. */
typedef struct BlowfishKeySchedule {
    uint32_t P[18];
    uint32_t S[4][256];
} BlowfishKeySchedule;

/* keyLength: 1 to 72 bytes; longer keys are cut to 72. Key bytes are taken cyclically. A length
 * of 0 leaves the P-array unmixed with key bytes (the schedule is still well defined). */
VC_API void E_BF_KeySchedule(BlowfishKeySchedule *schedule, const uint8_t *key, uint32_t keyLength);
VC_API void E_BF_Encrypt(uint8_t *block, const BlowfishKeySchedule *schedule);
VC_API void E_BF_Decrypt(uint8_t *block, const BlowfishKeySchedule *schedule);
VC_API void E_BF_ECB_Encrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, uint32_t length);
VC_API void E_BF_ECB_Decrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, uint32_t length);
VC_API void E_BF_CBC_Encrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, uint32_t length,
                             const uint8_t *iv);
VC_API void E_BF_CBC_Decrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, uint32_t length,
                             const uint8_t *iv);
VC_API void E_BF_CFB_Encrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, int32_t numbits, uint32_t length,
                             uint8_t *iv);
VC_API void E_BF_CFB_Decrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, int32_t numbits, uint32_t length,
                             uint8_t *iv);
/* Blowfish OFB: `length` counts BITS, not bytes (length / 8 bytes are processed, lower three bits
 * ignored); existing callers pass bit counts. Everything else, num included, as under IDEA. */
VC_API void E_BF_OFB_Encrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, int32_t numbits, uint32_t length,
                             uint8_t *iv, int32_t *num);
VC_API void E_BF_OFB_Decrypt(const uint8_t *input, uint8_t *output,
                             const BlowfishKeySchedule *schedule, int32_t numbits, uint32_t length,
                             uint8_t *iv, int32_t *num);

/* ---- RC4 ---- */

/* The indices i and j and the 256-entry permutation, one entry per 32-bit word. */
typedef struct Rc4State {
    uint32_t i, j;
    uint32_t S[256];
} Rc4State;

/* keyLength: 1 to 256 bytes (bytes beyond 256 are never read; 0 keys with no key bytes). */
VC_API void E_RC4_KeySchedule(Rc4State *state, const uint8_t *key, uint32_t keyLength);
/* output = input XOR keystream, advancing the state; Decrypt is the same operation. A length of 0
 * does nothing. input and output may be the same buffer. */
VC_API void E_RC4_Encrypt(const uint8_t *input, uint8_t *output, Rc4State *state,
                          uint32_t length);
VC_API void E_RC4_Decrypt(const uint8_t *input, uint8_t *output, Rc4State *state,
                          uint32_t length);

VC_END_DECLS

#endif
