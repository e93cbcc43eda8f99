// The modes of operation shared by every block cipher: ECB and CBC with zero fill of a short
// tail, CBC without expansion (_NO_PAD), and CFB and OFB with any feedback width in bits.
//
// How a cipher plugs in: describe it with a traits struct and forward its exported wrappers to
// the templates below, for example
//
//   struct SeedCipher {
//       using Schedule = SeedKeySchedule;              // the caller-owned key record
//       static constexpr unsigned kWords = 4;          // block size in 32-bit words (2 or 4)
//       static constexpr WordOrder kOrder = WordOrder::Big;  // how the rounds read block bytes
//       static void encrypt(Block<4> &b, const Schedule *s);  // one block, in place
//       static void decrypt(Block<4> &b, const Schedule *s);
//   };
//   void E_SEED_CBC_Encrypt(const uint8_t *in, uint8_t *out, const SeedKeySchedule *ks,
//                           uint32_t length, const uint8_t *iv) {
//       vc::cipher::cbcEncrypt<SeedCipher>(in, out, ks, length, iv);
//   }
//
// The block functions get the block already loaded as words in the cipher's own order, so no
// byte shuffling happens per block beyond one load and one store. Define them in the cipher's
// source; every mode entry point is flattened, so each mode's loop compiles into one piece with
// the block function and the words stay in registers.
//
// Byte streams are the same whatever the word order. The order matters only for the CFB and
// OFB bit arithmetic on widths that are not whole bytes: there the register and data are
// staged as little-endian words and taken as one little-endian number of words, word 0 least
// significant. Ciphers that want most-significant-bit-first widths adapt around this
// (modes64.h).
#pragma once

#include "common/bytes.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

namespace vc::cipher {

enum class WordOrder { Little, Big };

template <size_t N>
using Block = std::array<uint32_t, N>;

template <WordOrder O>
inline uint32_t loadWord(const uint8_t *p) {
    return O == WordOrder::Big ? load32be(p) : load32le(p);
}
template <WordOrder O>
inline void storeWord(uint8_t *p, uint32_t v) {
    O == WordOrder::Big ? store32be(p, v) : store32le(p, v);
}

template <WordOrder O, size_t N>
inline Block<N> load(const uint8_t *p) {
    Block<N> b;
    for (unsigned i = 0; i < N; ++i) b[i] = loadWord<O>(p + 4 * i);
    return b;
}
template <WordOrder O, size_t N>
inline void store(uint8_t *p, const Block<N> &b) {
    for (unsigned i = 0; i < N; ++i) storeWord<O>(p + 4 * i, b[i]);
}
// Reads `count` (< block size) bytes into a zeroed block.
template <WordOrder O, size_t N>
inline Block<N> loadPartial(const uint8_t *p, uint32_t count) {
    uint8_t tmp[4 * N] = {};
    std::memcpy(tmp, p, count);
    return load<O, N>(tmp);
}
// Writes the first `count` bytes of a block.
template <WordOrder O, size_t N>
inline void storePartial(uint8_t *p, const Block<N> &b, uint32_t count) {
    uint8_t tmp[4 * N];
    store<O, N>(tmp, b);
    std::memcpy(p, tmp, count);
}
template <size_t N>
inline void xorInto(Block<N> &a, const Block<N> &b) {
    for (unsigned i = 0; i < N; ++i) a[i] ^= b[i];
}

// One out-of-line copy of each block function serves the work done once per call (tails,
// single blocks) and the narrow CFB/OFB steps; only the whole-block loops inline the rounds.
// This keeps each mode's code to one copy of the rounds per loop.
template <class C>
[[gnu::noinline]] void encryptCold(Block<C::kWords> &b, const typename C::Schedule *ks) {
    C::encrypt(b, ks);
}
template <class C>
[[gnu::noinline]] void decryptCold(Block<C::kWords> &b, const typename C::Schedule *ks) {
    C::decrypt(b, ks);
}

// Calls f(integral_constant<unsigned, 0>) .. f(integral_constant<unsigned, Count - 1>) with no
// loop left in the code: the round sequences of the ciphers are written once and unrolled here.
template <unsigned Count, class F>
inline void unroll(F &&f) {
    [&]<unsigned... I>(std::integer_sequence<unsigned, I...>) {
        (f(std::integral_constant<unsigned, I>{}), ...);
    }
    (std::make_integer_sequence<unsigned, Count>{});
}

// ---- ECB ----

template <class C>
[[gnu::flatten]] void ecbEncrypt(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks,
                                 uint32_t length) {
    constexpr unsigned N = C::kWords, B = 4 * N;
    for (; length >= B; length -= B, in += B, out += B) {
        auto b = load<C::kOrder, N>(in);
        C::encrypt(b, ks);
        store<C::kOrder, N>(out, b);
    }
    if (length) {  // zero-filled tail; a whole block is written
        auto b = loadPartial<C::kOrder, N>(in, length);
        encryptCold<C>(b, ks);
        store<C::kOrder, N>(out, b);
    }
}

template <class C>
[[gnu::flatten]] void ecbDecrypt(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks,
                                 uint32_t length) {
    constexpr unsigned N = C::kWords, B = 4 * N;
    for (; length >= B; length -= B, in += B, out += B) {
        auto b = load<C::kOrder, N>(in);
        C::decrypt(b, ks);
        store<C::kOrder, N>(out, b);
    }
    if (length) {  // the tail's whole block is read, only `length` bytes are written
        auto b = load<C::kOrder, N>(in);
        decryptCold<C>(b, ks);
        storePartial<C::kOrder, N>(out, b, length);
    }
}

// ---- CBC ----

// Whole blocks of CBC encryption; returns the chaining block after them.
template <class C>
[[gnu::always_inline]] inline Block<C::kWords> cbcEncryptBlocks(const uint8_t *&in, uint8_t *&out,
                                                                const typename C::Schedule *ks,
                                                                uint32_t &length,
                                                                const uint8_t *iv) {
    constexpr unsigned N = C::kWords, B = 4 * N;
    auto chain = load<C::kOrder, N>(iv);
    for (; length >= B; length -= B, in += B, out += B) {
        xorInto(chain, load<C::kOrder, N>(in));
        C::encrypt(chain, ks);
        store<C::kOrder, N>(out, chain);
    }
    return chain;
}

template <class C>
[[gnu::always_inline]] inline Block<C::kWords> cbcDecryptBlocks(const uint8_t *&in, uint8_t *&out,
                                                                const typename C::Schedule *ks,
                                                                uint32_t &length,
                                                                const uint8_t *iv) {
    constexpr unsigned N = C::kWords, B = 4 * N;
    auto chain = load<C::kOrder, N>(iv);
    for (; length >= B; length -= B, in += B, out += B) {
        auto c = load<C::kOrder, N>(in);  // kept before the write: input and output may alias
        auto b = c;
        C::decrypt(b, ks);
        xorInto(b, chain);
        store<C::kOrder, N>(out, b);
        chain = c;
    }
    return chain;
}

// The caller's iv is only read; a zero-filled tail becomes one more whole output block.
template <class C>
[[gnu::flatten]] void cbcEncrypt(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks,
                                 uint32_t length, const uint8_t *iv) {
    auto chain = cbcEncryptBlocks<C>(in, out, ks, length, iv);
    if (length) {
        xorInto(chain, loadPartial<C::kOrder, C::kWords>(in, length));
        encryptCold<C>(chain, ks);
        store<C::kOrder, C::kWords>(out, chain);
    }
}

// A tail reads a whole block and writes `length` bytes: the plaintext that was zero-filled.
template <class C>
[[gnu::flatten]] void cbcDecrypt(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks,
                                 uint32_t length, const uint8_t *iv) {
    auto chain = cbcDecryptBlocks<C>(in, out, ks, length, iv);
    if (length) {
        auto b = load<C::kOrder, C::kWords>(in);
        decryptCold<C>(b, ks);
        xorInto(b, chain);
        storePartial<C::kOrder, C::kWords>(out, b, length);
    }
}

// _NO_PAD: the tail is XORed with the forward encryption of the chaining block in both
// directions. Encryption writes a whole block (the tail's ciphertext followed by keystream
// bytes); decryption writes exactly the tail. Callers rely on both shapes, so both are kept.
template <class C>
[[gnu::flatten]] void cbcEncryptNoPad(const uint8_t *in, uint8_t *out,
                                      const typename C::Schedule *ks, uint32_t length,
                                      const uint8_t *iv) {
    auto chain = cbcEncryptBlocks<C>(in, out, ks, length, iv);
    if (length) {
        encryptCold<C>(chain, ks);
        xorInto(chain, loadPartial<C::kOrder, C::kWords>(in, length));
        store<C::kOrder, C::kWords>(out, chain);
    }
}

template <class C>
[[gnu::flatten]] void cbcDecryptNoPad(const uint8_t *in, uint8_t *out,
                                      const typename C::Schedule *ks, uint32_t length,
                                      const uint8_t *iv) {
    auto chain = cbcDecryptBlocks<C>(in, out, ks, length, iv);
    if (length) {  // only the tail's own bytes are read
        encryptCold<C>(chain, ks);
        xorInto(chain, loadPartial<C::kOrder, C::kWords>(in, length));
        storePartial<C::kOrder, C::kWords>(out, chain, length);
    }
}

// ---- CFB and OFB ----

enum class Feedback { CfbEncrypt, CfbDecrypt, Ofb };

// Encrypts the register (held as little-endian staged words) with the forward cipher.
template <class C, WordOrder S, bool Cold = false>
inline Block<C::kWords> keystream(Block<C::kWords> reg, const typename C::Schedule *ks) {
    if constexpr (S != C::kOrder)
        for (auto &w : reg) w = byteSwap32(w);
    if constexpr (Cold)
        encryptCold<C>(reg, ks);
    else
        C::encrypt(reg, ks);
    if constexpr (S != C::kOrder)
        for (auto &w : reg) w = byteSwap32(w);
    return reg;
}

// The register after shifting in `numbits` (1 .. block bits) bits of `in`: bits numbits ..
// numbits + block bits - 1 of the number reg | in << block bits.
template <size_t N>
inline Block<N> shiftIn(const Block<N> &reg, const Block<N> &in, unsigned numbits) {
    uint32_t all[2 * N];
    for (unsigned i = 0; i < N; ++i) all[i] = reg[i], all[N + i] = in[i];
    const unsigned q = numbits / 32, s = numbits % 32;
    Block<N> out;
    for (unsigned i = 0; i < N; ++i)
        out[i] = s == 0 ? all[q + i] : (all[q + i] >> s) | (all[q + i + 1] << (32 - s));
    return out;
}

// One routine for CFB in both directions and for OFB. Widths outside 1 .. block bits return at
// once without writing anything, the iv included. Leftover bytes (fewer than a step) are not
// processed; the final register goes back into the iv.
template <class C, Feedback F>
[[gnu::flatten]] void feedbackMode(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks,
                                   int32_t numbits, uint32_t length, uint8_t *iv) {
    constexpr unsigned N = C::kWords, B = 4 * N;
    constexpr WordOrder S = WordOrder::Little;
    if (numbits < 1 || numbits > int32_t(8 * B)) return;
    const unsigned bits = unsigned(numbits), n = (bits + 7) / 8;

    Block<N> mask;  // the low `bits` bits of the staged block
    for (unsigned i = 0; i < N; ++i)
        mask[i] = bits >= 32 * (i + 1) ? 0xFFFFFFFFu
                  : bits <= 32 * i     ? 0
                                       : (1u << (bits - 32 * i)) - 1;

    auto reg = load<S, N>(iv);
    if (bits == 8 * B) {  // whole-block feedback: no partial loads, the register is replaced
        for (; length >= B; length -= B, in += B, out += B) {
            auto k = keystream<C, S>(reg, ks);
            auto d = load<S, N>(in);
            auto o = d;
            xorInto(o, k);
            store<S, N>(out, o);
            reg = F == Feedback::CfbEncrypt ? o : F == Feedback::CfbDecrypt ? d : k;
        }
    } else {
        for (; length >= n; length -= n, in += n, out += n) {
            auto k = keystream<C, S, true>(reg, ks);
            auto d = loadPartial<S, N>(in, n);
            auto o = d;
            xorInto(o, k);
            for (unsigned i = 0; i < N; ++i) o[i] &= mask[i];
            storePartial<S, N>(out, o, n);
            reg = shiftIn(reg,
                          F == Feedback::CfbEncrypt   ? o
                          : F == Feedback::CfbDecrypt ? d
                                                      : k,
                          bits);
        }
    }
    store<S, N>(iv, reg);
}

template <class C>
void cfbEncrypt(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks, int32_t numbits,
                uint32_t length, uint8_t *iv) {
    feedbackMode<C, Feedback::CfbEncrypt>(in, out, ks, numbits, length, iv);
}
template <class C>
void cfbDecrypt(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks, int32_t numbits,
                uint32_t length, uint8_t *iv) {
    feedbackMode<C, Feedback::CfbDecrypt>(in, out, ks, numbits, length, iv);
}
// OFB decryption is the same operation: both directions call this.
template <class C>
void ofb(const uint8_t *in, uint8_t *out, const typename C::Schedule *ks, int32_t numbits,
         uint32_t length, uint8_t *iv) {
    feedbackMode<C, Feedback::Ofb>(in, out, ks, numbits, length, iv);
}

// Single-block exports: the block is loaded in the cipher's order, processed and stored back.
template <class C>
[[gnu::flatten]] void encryptBlock(uint8_t *block, const typename C::Schedule *ks) {
    auto b = load<C::kOrder, C::kWords>(block);
    encryptCold<C>(b, ks);
    store<C::kOrder, C::kWords>(block, b);
}
template <class C>
[[gnu::flatten]] void decryptBlock(uint8_t *block, const typename C::Schedule *ks) {
    auto b = load<C::kOrder, C::kWords>(block);
    decryptCold<C>(b, ks);
    store<C::kOrder, C::kWords>(block, b);
}

}  // namespace vc::cipher
