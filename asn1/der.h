// The DER building blocks behind every E_ASN1_ function: size prediction, the SEQUENCE-of-
// INTEGERs writer, and a bounded reader of tag-length-value elements.
#pragma once

#include <vorelcrypto/bignum.h>
#include <vorelcrypto/common.h>

#include <cstdint>
#include <cstring>

#include "common/wipe.h"

namespace vc::asn1 {

inline constexpr uint8_t kInteger = 0x02;
inline constexpr uint8_t kBitString = 0x03;
inline constexpr uint8_t kOctetString = 0x04;
inline constexpr uint8_t kSequence = 0x30;

// Storage of a number that no record narrows: the library's 150-word numbers.
inline constexpr uint32_t kNumberWords = 150;

// ---------------------------------------------------------------- writing

// Predicted sizes keep the two quirks that stored encodings and size queries depend on (a zero
// counted without its content octet, a negative number counted with a three-octet tag); exact
// sizes describe the bytes as written.
enum class Sizing { Predicted, Exact };

// Bit length of |a| ignoring leading zero words; 0 for zero and for a non-positive length.
uint32_t magnitudeBits(const ENUM *a);

// Octets of a definite length: one below 128, else 0x80 + n and the n octets of the value.
inline uint32_t lengthOctets(uint64_t length) {
    if (length < 128) return 1;
    uint32_t n = 1;
    for (; length != 0; length >>= 8) n++;
    return n;
}

// Size of the INTEGER that holds a, predicted or exact.
inline uint64_t integerSize(const ENUM *a, Sizing sizing) {
    const uint32_t bits = magnitudeBits(a);
    const uint64_t content = bits != 0 ? bits / 8 + 1 : (sizing == Sizing::Exact ? 1 : 0);
    const uint64_t tag = (sizing == Sizing::Predicted && a->sign == 1) ? 3 : 1;
    return tag + lengthOctets(content) + content;
}

uint8_t *putLength(uint8_t *out, uint64_t length);
// Writes a as a non-negative INTEGER, its bytes formed in scratch; returns the end.
uint8_t *putInteger(uint8_t *out, const ENUM *a, uint8_t *scratch);

// The version INTEGER 0 that leads the private-key shapes.
inline constexpr uint8_t kVersion0[] = {kInteger, 1, 0};

// SEQUENCE { [version 0,] at(0), ..., at(count - 1) }: the encoded size (0 when it does not fit
// a signed 32-bit result), with out null only the size; -1 when the scratch buffer for one
// number's bytes cannot be allocated.
template <typename At>
int32_t putIntegers(At at, uint32_t count, bool version, Sizing sizing, uint8_t *out) {
    uint64_t content = version ? sizeof kVersion0 : 0;
    uint32_t widest = 0;
    for (uint32_t i = 0; i < count; i++) {
        content += integerSize(at(i), sizing);
        const uint32_t bytes = magnitudeBits(at(i)) / 8 + 1;
        if (bytes > widest) widest = bytes;
    }
    const uint64_t total = 1 + lengthOctets(content) + content;
    if (total > INT32_MAX) return 0;
    if (out == nullptr) return int32_t(total);

    const uint32_t scratchSize = widest + 5;
    auto *scratch = static_cast<uint8_t *>(V_calloc(nullptr, 1, scratchSize));
    if (scratch == nullptr) return -1;
    *out++ = kSequence;
    out = putLength(out, content);
    if (version) out = static_cast<uint8_t *>(std::memcpy(out, kVersion0, sizeof kVersion0)) + sizeof kVersion0;
    for (uint32_t i = 0; i < count; i++) out = putInteger(out, at(i), scratch);
    secure_wipe(scratch, scratchSize);  // private exponents pass through it
    V_free(nullptr, scratch);
    return int32_t(total);
}

// ---------------------------------------------------------------- reading

// The unread part of the caller's input.
struct Input {
    const uint8_t *p;
    uint32_t n;
};

// A destination number and the words its storage holds.
struct Field {
    ENUM *number;
    uint32_t words;
};

// The caller's position as an Input: false for null arguments or nothing to read.
bool open(const uint8_t *const *position, const uint32_t *remaining, Input &in);
// Moves the caller's position to what is left of in; returns 1.
int32_t commit(const Input &in, const uint8_t **position, uint32_t *remaining);

// Takes the element with this tag from the front of in (definite length of at most four
// octets, within in); content receives its content octets.
bool take(Input &in, uint8_t tag, Input &content);
// Takes an INTEGER into the field: unsigned magnitude, at most the field's storage.
bool takeInteger(Input &in, const Field &field);
// Takes an INTEGER whose value is 0.
bool takeVersion0(Input &in);

// Reads SEQUENCE { [version 0,] INTEGER into at(0), ..., at(count - 1) } that ends exactly
// after its last item; 1 and the position advanced, or 0.
template <typename At>
int32_t getIntegers(At at, uint32_t count, bool version, const uint8_t **position, uint32_t *remaining) {
    Input in, seq;
    if (!open(position, remaining, in) || !take(in, kSequence, seq)) return 0;
    if (version && !takeVersion0(seq)) return 0;
    for (uint32_t i = 0; i < count; i++)
        if (!takeInteger(seq, at(i))) return 0;
    if (seq.n != 0) return 0;
    return commit(in, position, remaining);
}

// Words of a record's storage array.
template <size_t N>
constexpr uint32_t wordsOf(const uint32_t (&)[N]) {
    return uint32_t(N);
}

}  // namespace vc::asn1
