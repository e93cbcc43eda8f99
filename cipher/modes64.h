// The exported mode wrappers of the 64-bit-block ciphers (IDEA, RC2, RC5, Blowfish) on top of
// the shared mode template, with the OFB stream position (`num`) that their OFB functions add.
#pragma once

#include "cipher/modes.h"

namespace vc::cipher {

// Reverses the bit order inside each byte of a word.
inline uint32_t reverseByteBits(uint32_t x) {
    x = (x >> 1 & 0x55555555u) | (x & 0x55555555u) << 1;
    x = (x >> 2 & 0x33333333u) | (x & 0x33333333u) << 2;
    return (x >> 4 & 0x0F0F0F0Fu) | (x & 0x0F0F0F0Fu) << 4;
}
inline void reverseByteBits(uint8_t *p, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) p[i] = uint8_t(reverseByteBits(p[i]));
}

// A cipher seen through bytes of reversed bit order: the template's little-endian bit
// arithmetic on such bytes is the most-significant-bit-first arithmetic on the real ones.
template <class C>
struct BitReversed {
    using Schedule = typename C::Schedule;
    static constexpr unsigned kWords = C::kWords;
    static constexpr WordOrder kOrder = WordOrder::Little;
    template <class Op>
    static void through(Block<kWords> &b, Op op) {
        for (auto &w : b) {
            w = reverseByteBits(w);
            if constexpr (C::kOrder == WordOrder::Big) w = byteSwap32(w);
        }
        op(b);
        for (auto &w : b) {
            if constexpr (C::kOrder == WordOrder::Big) w = byteSwap32(w);
            w = reverseByteBits(w);
        }
    }
    static void encrypt(Block<kWords> &b, const Schedule *ks) {
        through(b, [ks](Block<kWords> &x) { C::encrypt(x, ks); });
    }
    static void decrypt(Block<kWords> &b, const Schedule *ks) {
        through(b, [ks](Block<kWords> &x) { C::decrypt(x, ks); });
    }
};

// CFB and OFB of a cipher with big-endian words (Blowfish, IDEA). Widths of whole bytes are the
// byte-wise modes, which the template gives directly. Other widths take the register and data
// as one big-endian bit string, most significant bit first (the CFB-k and OFB-k of NIST
// SP 800-38A on n-byte steps): the data runs bit-reversed through the template, in pieces of
// whole steps, with the iv bit-reversed around it.
template <class C, Feedback F>
void feedbackBigEndian(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks,
                       int32_t numbits, uint32_t length, uint8_t *iv) {
    constexpr uint32_t B = 4 * C::kWords;
    if (numbits < 1 || numbits > int32_t(8 * B) || numbits % 8 == 0) {
        feedbackMode<C, F>(in, out, ks, numbits, length, iv);
        return;
    }
    const uint32_t n = (uint32_t(numbits) + 7) / 8, piece = n * (256 / n);
    uint8_t buffer[256];
    length -= length % n;
    reverseByteBits(iv, B);
    for (uint32_t done = 0; done < length; done += piece) {
        uint32_t count = length - done < piece ? length - done : piece;
        std::memcpy(buffer, in + done, count);
        reverseByteBits(buffer, count);
        feedbackMode<BitReversed<C>, F>(buffer, buffer, ks, numbits, count, iv);
        reverseByteBits(buffer, count);
        std::memcpy(out + done, buffer, count);
    }
    reverseByteBits(iv, B);
}

// The feedback modes in the cipher's own bit order: big-endian ciphers most significant bit
// first, little-endian ones (RC2, RC5) by the template's little-endian rule.
template <class C, Feedback F>
void feedback64(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks, int32_t numbits,
                uint32_t length, uint8_t *iv) {
    if constexpr (C::kOrder == WordOrder::Big)
        feedbackBigEndian<C, F>(in, out, ks, numbits, length, iv);
    else
        feedbackMode<C, F>(in, out, ks, numbits, length, iv);
}

// OFB that may stop and resume at any byte. The template runs whole steps of n bytes; the
// register it leaves ends with the keystream of the last step (for byte widths the shift is a
// byte shift), so the unused bytes of a step are read back from the iv on the next call.
template <class C>
void ofbStream(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks, int32_t numbits,
               uint32_t length, uint8_t *iv, int32_t *num) {
    constexpr uint32_t B = 4 * C::kWords;
    if (num == nullptr || numbits < 1 || numbits > int32_t(8 * B) || numbits % 8 != 0) {
        feedback64<C, Feedback::Ofb>(in, out, ks, numbits, length, iv);
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
