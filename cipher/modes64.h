// The exported mode wrappers of the 64-bit-block ciphers (IDEA, RC2, RC5, Blowfish) on top of
// the shared mode template, with the OFB stream position (`num`) that their OFB functions add.
#pragma once

#include "cipher/modes.h"

namespace vc::cipher {

// OFB that may stop and resume at any byte. The template runs whole steps of n bytes; the
// register it leaves ends with the keystream of the last step (for byte widths the shift is a
// byte shift), so the unused bytes of a step are read back from the iv on the next call.
template <class C>
void ofbStream(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks, int32_t numbits,
               uint32_t length, uint8_t *iv, int32_t *num) {
    constexpr uint32_t B = 4 * C::kWords;
    if (num == nullptr || numbits < 1 || numbits > int32_t(8 * B) || numbits % 8 != 0) {
        ofb<C>(in, out, ks, numbits, length, iv);
        return;
    }
    const uint32_t n = uint32_t(numbits) / 8;
    uint32_t used = *num > 0 ? uint32_t(*num) % n : 0;
    if (used != 0) {
        const uint8_t *rest = iv + B - n;  // the current step's keystream
        for (; used < n && length > 0; ++used, --length) *out++ = *in++ ^ rest[used];
        if (used < n) {
            *num = int32_t(used);
            return;
        }
    }
    const uint32_t tail = length % n;
    ofb<C>(in, out, ks, numbits, length - tail, iv);
    if (tail != 0) {  // one more step, of which the first `tail` bytes are used
        uint8_t step[B] = {};
        std::memcpy(step, in + length - tail, tail);
        ofb<C>(step, step, ks, numbits, n, iv);
        std::memcpy(out + length - tail, step, tail);
    }
    *num = int32_t(tail);
}

}  // namespace vc::cipher

// Defines the single-block functions and the ECB, CBC, CFB and OFB wrappers E_<P>_... of a
// cipher described by the traits struct `Traits` (see modes.h). `ofbUnit` is the number of
// length units per byte of the OFB functions (1, or 8 where the OFB length counts bits).
#define VC_DEFINE_MODES_64(P, Traits, ofbUnit)                                                  \
    using Traits##Schedule = Traits::Schedule;                                                  \
    void E_##P##_Encrypt(uint8_t *block, const Traits##Schedule *ks) {                          \
        vc::cipher::encryptBlock<Traits>(block, ks);                                            \
    }                                                                                           \
    void E_##P##_Decrypt(uint8_t *block, const Traits##Schedule *ks) {                          \
        vc::cipher::decryptBlock<Traits>(block, ks);                                            \
    }                                                                                           \
    void E_##P##_ECB_Encrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             uint32_t length) {                                                 \
        vc::cipher::ecbEncrypt<Traits>(in, out, ks, length);                                    \
    }                                                                                           \
    void E_##P##_ECB_Decrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             uint32_t length) {                                                 \
        vc::cipher::ecbDecrypt<Traits>(in, out, ks, length);                                    \
    }                                                                                           \
    void E_##P##_CBC_Encrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             uint32_t length, const uint8_t *iv) {                              \
        vc::cipher::cbcEncrypt<Traits>(in, out, ks, length, iv);                                \
    }                                                                                           \
    void E_##P##_CBC_Decrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             uint32_t length, const uint8_t *iv) {                              \
        vc::cipher::cbcDecrypt<Traits>(in, out, ks, length, iv);                                \
    }                                                                                           \
    void E_##P##_CFB_Encrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                   \
        vc::cipher::cfbEncrypt<Traits>(in, out, ks, numbits, length, iv);                       \
    }                                                                                           \
    void E_##P##_CFB_Decrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             int32_t numbits, uint32_t length, uint8_t *iv) {                   \
        vc::cipher::cfbDecrypt<Traits>(in, out, ks, numbits, length, iv);                       \
    }                                                                                           \
    void E_##P##_OFB_Encrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num) {     \
        vc::cipher::ofbStream<Traits>(in, out, ks, numbits, length / (ofbUnit), iv, num);       \
    }                                                                                           \
    void E_##P##_OFB_Decrypt(const uint8_t *in, uint8_t *out, const Traits##Schedule *ks,       \
                             int32_t numbits, uint32_t length, uint8_t *iv, int32_t *num) {     \
        E_##P##_OFB_Encrypt(in, out, ks, numbits, length, iv, num);                             \
    }
