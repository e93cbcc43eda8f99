// The built-in curves as the curve layer sees them: identifiers, sizes and the constants of the
// prime curve (the binary curves' constants live with their arithmetic, binary_curve.h).
#pragma once

#include <vorelcrypto/ecc.h>

#include <cstdint>

namespace vc::ecc {

inline constexpr int kPrimeCurveId = 7;

// secp160r1, big-endian.
struct PrimeCurveConstants {
    const char *name;
    uint8_t p[20], a[20], b[20], seed[20], gx[20], gy[20], n[21];
    uint8_t h;
};
extern const PrimeCurveConstants kSecp160r1;

// Whether the id names a built-in curve (3, 5, 7, 11, 21, 22).
bool isBuiltInCurve(int curveId);
// Octets of one coordinate: 20 on curve 7, else 21 (also for unknown ids).
inline uint32_t coordinateBytes(int curveId) { return curveId == kPrimeCurveId ? 20 : 21; }
// Octets of an uncompressed point: 41 on curve 7, else 43.
inline uint32_t pointBytes(int curveId) { return 1 + 2 * coordinateBytes(curveId); }

// Octet i of the string, zero past its end (a short string reads as if zero-padded).
inline uint8_t octetAt(const Opaque8 *s, uint32_t i) {
    return s != nullptr && s->data != nullptr && i < s->length ? s->data[i] : 0;
}

// The low 24 octets of a big-endian string as six little-endian words; returns the bit count
// they span (8 * octets, at most 192).
uint32_t lowOctetsToWords(const uint8_t *octets, uint32_t length, uint32_t words[6]);
inline uint32_t memberWords(const Opaque8 &member, uint32_t words[6]) {
    return lowOctetsToWords(member.data, member.length, words);
}

}  // namespace vc::ecc
