// The one generator of every block cipher's exported mode functions E_<P>_...: each piece
// below defines a group of extern "C" wrappers that forward to the mode templates (modes.h,
// modes64.h). A cipher's source names the groups it exports, for example
//
//   VC_EXPORT_BLOCK(SEED, SeedCipher)
//   VC_EXPORT_ECB(SEED, SeedCipher)
//   VC_EXPORT_CBC(SEED, SeedCipher)
//
// The names must be spelled out for the C ABI, which is why a macro writes them; the work is
// in the templates. Each wrapper's declaration is in include/vorelcrypto/cipher.h.
#pragma once

#include "cipher/modes64.h"

// E_<P>_Encrypt and E_<P>_Decrypt: one block in place.
#define VC_EXPORT_BLOCK(P, C)                                                                 \
    void E_##P##_Encrypt(uint8_t *block, const C::Schedule *ks) {                            \
        vc::cipher::encryptBlock<C>(block, ks);                                               \
    }                                                                                         \
    void E_##P##_Decrypt(uint8_t *block, const C::Schedule *ks) {                            \
        vc::cipher::decryptBlock<C>(block, ks);                                               \
    }

// ECB with a zero-filled tail.
#define VC_EXPORT_ECB(P, C)                                                                   \
    void E_##P##_ECB_Encrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             uint32_t length) {                                               \
        vc::cipher::ecbEncrypt<C>(in, out, ks, length);                                       \
    }                                                                                         \
    void E_##P##_ECB_Decrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             uint32_t length) {                                               \
        vc::cipher::ecbDecrypt<C>(in, out, ks, length);                                       \
    }

// CBC with a zero-filled tail.
#define VC_EXPORT_CBC(P, C)                                                                   \
    void E_##P##_CBC_Encrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             uint32_t length, const uint8_t *iv) {                            \
        vc::cipher::cbcEncrypt<C>(in, out, ks, length, iv);                                   \
    }                                                                                         \
    void E_##P##_CBC_Decrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             uint32_t length, const uint8_t *iv) {                            \
        vc::cipher::cbcDecrypt<C>(in, out, ks, length, iv);                                   \
    }

// CBC without expansion: the tail is XORed with the encrypted chaining block.
#define VC_EXPORT_CBC_NO_PAD(P, C)                                                            \
    void E_##P##_CBC_Encrypt_NO_PAD(const uint8_t *in, uint8_t *out, const C::Schedule *ks,  \
                                    uint32_t length, const uint8_t *iv) {                     \
        vc::cipher::cbcEncryptNoPad<C>(in, out, ks, length, iv);                              \
    }                                                                                         \
    void E_##P##_CBC_Decrypt_NO_PAD(const uint8_t *in, uint8_t *out, const C::Schedule *ks,  \
                                    uint32_t length, const uint8_t *iv) {                     \
        vc::cipher::cbcDecryptNoPad<C>(in, out, ks, length, iv);                              \
    }

// CFB and OFB by the template's little-endian bit rule, with no stream position (DES, triple
// DES, SEED); OFB decryption is the same operation.
#define VC_EXPORT_CFB_OFB(P, C)                                                               \
    void E_##P##_CFB_Encrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                 \
        vc::cipher::cfbEncrypt<C>(in, out, ks, numbits, length, iv);                          \
    }                                                                                         \
    void E_##P##_CFB_Decrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                 \
        vc::cipher::cfbDecrypt<C>(in, out, ks, numbits, length, iv);                          \
    }                                                                                         \
    void E_##P##_OFB_Encrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                 \
        vc::cipher::ofb<C>(in, out, ks, numbits, length, iv);                                 \
    }                                                                                         \
    void E_##P##_OFB_Decrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                 \
        vc::cipher::ofb<C>(in, out, ks, numbits, length, iv);                                 \
    }

// CFB and OFB in the cipher's own bit order, with the OFB stream position `num` (IDEA, RC2,
// RC5, Blowfish). `ofbUnit` is the number of length units per byte of the OFB functions (1, or
// 8 where the OFB length counts bits).
#define VC_EXPORT_CFB_OFB_STREAM(P, C, ofbUnit)                                               \
    void E_##P##_CFB_Encrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                 \
        vc::cipher::feedback64<C, vc::cipher::Feedback::CfbEncrypt>(in, out, ks, numbits,     \
                                                                    length, iv);              \
    }                                                                                         \
    void E_##P##_CFB_Decrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                 \
        vc::cipher::feedback64<C, vc::cipher::Feedback::CfbDecrypt>(in, out, ks, numbits,     \
                                                                    length, iv);              \
    }                                                                                         \
    void E_##P##_OFB_Encrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num) {   \
        vc::cipher::ofbStream<C>(in, out, ks, numbits, length / (ofbUnit), iv, num);          \
    }                                                                                         \
    void E_##P##_OFB_Decrypt(const uint8_t *in, uint8_t *out, const C::Schedule *ks,         \
                             int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num) {   \
        E_##P##_OFB_Encrypt(in, out, ks, numbits, length, iv, num);                           \
    }

// Everything the 64-bit-block ciphers IDEA, RC2, RC5 and Blowfish export.
#define VC_DEFINE_MODES_64(P, C, ofbUnit)                                                     \
    VC_EXPORT_BLOCK(P, C)                                                                     \
    VC_EXPORT_ECB(P, C)                                                                       \
    VC_EXPORT_CBC(P, C)                                                                       \
    VC_EXPORT_CFB_OFB_STREAM(P, C, ofbUnit)
