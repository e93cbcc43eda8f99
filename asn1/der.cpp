// DER primitives: SEQUENCEs of INTEGERs from numbers and 32-bit values, and the bounded reader
// that every decoder stands on.
#include "asn1/der.h"

#include <vorelcrypto/asn1.h>

#include "bignum/bn_internal.h"

namespace vc::asn1 {

uint32_t magnitudeBits(const ENUM *a) {
    if (a->length <= 0) return 0;
    ENUM t = *a;
    bignum::trim(&t);
    return bignum::bitLength(&t);
}

uint8_t *putLength(uint8_t *out, uint64_t length) {
    if (length < 128) {
        *out++ = uint8_t(length);
        return out;
    }
    const uint32_t n = lengthOctets(length) - 1;
    *out++ = uint8_t(0x80 | n);
    for (uint32_t i = n; i-- > 0;) *out++ = uint8_t(length >> (8 * i));
    return out;
}

uint8_t *putInteger(uint8_t *out, const ENUM *a, uint8_t *scratch) {
    const uint32_t n = magnitudeBits(a) != 0 ? EN_ENUMToBytes(a, scratch) : 0;
    const bool pad = n == 0 || (scratch[0] & 0x80) != 0;  // zero is the single octet 00
    *out++ = kInteger;
    out = putLength(out, n + pad);
    if (pad) *out++ = 0;
    std::memcpy(out, scratch, n);
    return out + n;
}

bool open(const uint8_t *const *position, const uint32_t *remaining, Input &in) {
    // A zero length does not mean "unbounded": with nothing to read there is nothing to accept.
    if (position == nullptr || *position == nullptr || remaining == nullptr || *remaining == 0) return false;
    in = {*position, *remaining};
    return true;
}

int32_t commit(const Input &in, const uint8_t **position, uint32_t *remaining) {
    *position = in.p;
    *remaining = in.n;
    return 1;
}

bool take(Input &in, uint8_t tag, Input &content) {
    if (in.n < 2 || in.p[0] != tag) return false;
    uint32_t length = in.p[1], used = 2;
    if (length & 0x80) {
        const uint32_t octets = length & 0x7F;  // 0 is the indefinite form, 0x7F reserved
        if (octets == 0 || octets > 4 || in.n - used < octets) return false;
        length = 0;
        for (uint32_t i = 0; i < octets; i++) length = length << 8 | in.p[used + i];
        used += octets;
    }
    if (length > in.n - used) return false;
    content = {in.p + used, length};
    in.p += used + length;
    in.n -= used + length;
    return true;
}

// Big-endian octets (the first one non-zero, or none) into a number: four octets per word,
// since a stored key's numbers are read on every use of the key.
void loadMagnitude(ENUM *a, const uint8_t *in, uint32_t length) {
    const uint32_t words = (length + 3) / 4;
    for (uint32_t i = 0; i + 1 < words; i++) {
        uint32_t w;
        std::memcpy(&w, in + length - 4 * (i + 1), 4);
        a->words[i] = __builtin_bswap32(w);
    }
    if (words > 0) {
        uint32_t top = 0;
        for (uint32_t k = 0; k < length - 4 * (words - 1); k++) top = top << 8 | in[k];
        a->words[words - 1] = top;
    }
    a->sign = 0;
    a->length = int32_t(words);
}

bool takeInteger(Input &in, const Field &field) {
    Input c;
    if (field.number == nullptr || field.number->words == nullptr) return false;
    if (!take(in, kInteger, c) || c.n == 0) return false;
    while (c.n > 0 && *c.p == 0) c.p++, c.n--;
    if (c.n > 4 * field.words) return false;
    loadMagnitude(field.number, c.p, c.n);
    return true;
}

bool takeVersion0(Input &in) {
    Input c;
    if (!take(in, kInteger, c) || c.n == 0) return false;
    for (uint32_t i = 0; i < c.n; i++)
        if (c.p[i] != 0) return false;
    return true;
}

}  // namespace vc::asn1

using namespace vc::asn1;

extern "C" {

int32_t E_ASN1_PutENUM(const ENUM *numbers, int32_t count, uint8_t *out) {
    if (numbers == nullptr || count < 0) return 0;
    return putIntegers([numbers](uint32_t i) { return &numbers[i]; }, uint32_t(count), false, Sizing::Predicted, out);
}

int32_t E_ASN1_GetENUMBytes(const ENUM *numbers, int32_t count) {
    return E_ASN1_PutENUM(numbers, count, nullptr);
}

int32_t E_ASN1_GetENUM(ENUM *const *numbers, int32_t count, const uint8_t **position, uint32_t *remaining) {
    if (numbers == nullptr || count < 0) return 0;
    for (int32_t i = 0; i < count; i++)
        if (numbers[i] == nullptr) return 0;
    return getIntegers([numbers](uint32_t i) { return Field{numbers[i], kNumberWords}; }, uint32_t(count), false,
                       position, remaining);
}

int32_t E_ASN1_PutU32(uint32_t value, int32_t, uint8_t *out) {
    uint32_t word = value;
    const ENUM number{0, 1, &word};
    return E_ASN1_PutENUM(&number, 1, out);
}

int32_t E_ASN1_GetU32Bytes(uint32_t value) {
    return E_ASN1_PutU32(value, 0, nullptr);
}

int32_t E_ASN1_GetU32(uint32_t *value, const uint8_t **position, uint32_t *remaining) {
    if (value == nullptr) return 0;
    uint32_t word = 0;
    ENUM number{0, 0, &word};
    if (getIntegers([&number](uint32_t) { return Field{&number, 1}; }, 1, false, position, remaining) == 0) return 0;
    *value = word;
    return 1;
}

}  // extern "C"
