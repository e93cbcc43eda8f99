// Pieces shared by the EC protocols (ECDSA, EC-KCDSA, ECDH, key derivation, EC encryption):
// arithmetic modulo the order n of a built-in curve, public-key loading with decompression,
// the affine addition of two points, and the ECDH value.
//
// Everything here names its curve by identifier and uses the built-in constants of that curve;
// points are uncompressed octet strings of pointBytes(curveId) octets with the point at
// infinity as all-zero coordinates, exactly as scalarMul and scalarMulBase write them.
#pragma once

#include <vorelcrypto/ecc.h>

#include <cstdint>

#include "ecc/curves.h"
#include "ecc/gfp.h"

namespace vc::ecc::proto {

inline constexpr uint32_t kOrderBytes = 21;  // every built-in n is stored in 21 octets
inline constexpr uint32_t kMaxPointBytes = 43;

// Whether an input octet string is given and not empty.
inline bool present(const Opaque8 *s) { return s != nullptr && s->data != nullptr && s->length != 0; }

// Arithmetic modulo the order n of a built-in curve's base point (Montgomery form, fully
// reduced, constant time: the same code serves private scalars).
struct Order {
    Field f;
    uint8_t n[kOrderBytes];  // big-endian
};
// The order of a built-in curve; curveId must be built in.
const Order &curveOrder(int curveId);

// Big-endian octets (any count; leading zero octets skipped) to Montgomery form modulo n.
// False when more than 24 octets are significant.
bool toOrder(const Order &o, const uint8_t *bytes, uint32_t length, Fe &out);
// r = a^-1 in Montgomery form (0 for 0) by the binary extended Euclidean algorithm: variable
// time, for public values only (verification).
void invPublic(const Field &f, Fe &r, const Fe &a);
// A Montgomery value back to 21 big-endian octets (fully reduced).
void fromOrder(const Order &o, const Fe &a, uint8_t out[kOrderBytes]);

// Offset of the first non-zero octet (length for all zero).
uint32_t leadingZeros(const uint8_t *bytes, uint32_t length);
// Compares big-endian numbers of any lengths: <0, 0, >0.
int compareNumbers(const uint8_t *a, uint32_t aLength, const uint8_t *b, uint32_t bLength);

// Writes the minimal big-endian octets of the 21-octet value into out->data (room for 21)
// and their count into out->length.
void putMinimal(const uint8_t value[kOrderBytes], Opaque8 *out);

// A public key as the uncompressed point of the curve: 0x04 || X || Y is taken as it is
// (octets past key->length read as zero, octets past the point ignored), 0x02 / 0x03 || X of
// exactly 1 + coordinateBytes octets is decompressed. False for any other first octet, a
// compressed X that is no point's x-coordinate, or an empty key.
bool loadPublicPoint(int curveId, const Opaque8 *key, uint8_t point[kMaxPointBytes]);

// Whether the uncompressed point lies on the curve through the curve's base point (the curve
// the b-free arithmetic keeps every multiple of G on; for curves 3, 5, 7 and 11 that is the
// published curve).
bool onCurve(int curveId, const uint8_t *point);

// out = p + q (affine, any operands including infinity and p = +-q); variable time, public
// points only.
void addPoints(int curveId, const uint8_t *p, const uint8_t *q, uint8_t *out);

// out = u1 G + u2 q for public scalars of 21 octets (variable time): the curve layer's
// fixed-base and variable-base multiplications joined by the affine addition. Returns 0, or -4 for an
// unknown curve or a q the curve layer refuses.
int jointMul(int curveId, const uint8_t u1[kOrderBytes], const uint8_t u2[kOrderBytes], const uint8_t *q,
             uint8_t *out);

// Whether the point's coordinates are all zero (the point at infinity).
bool isInfinity(int curveId, const uint8_t *point);

// The ECDH value: the x-coordinate octets of d * peer (20 on curve 7, 21 otherwise) into z.
// Returns 0, or -4 when the peer point is not an uncompressed point on the curve, d is empty,
// or the product is the point at infinity.
int ecdhValue(int curveId, const Opaque8 *peer, const Opaque8 *d, uint8_t z[21], uint32_t *zLength);

// ECDSA verification of a message digest (at most 24 octets, taken modulo n): the results of
// ZENOR_V1_ECC_SignatureVerification, which calls it with SHA-1 of the message.
int ecdsaVerifyDigest(int curveId, const Opaque8 *publicKey, const uint8_t *digest, uint32_t digestLength,
                      const Opaque8 *s, const Opaque8 *r);
// The strict reader of the ECDSA DER form: r and s point into the signature, minimal octets
// without the sign pad. False for anything but 30 L 02 Lr r 02 Ls s with single-octet lengths
// that match exactly and minimal non-negative INTEGERs.
bool ecdsaDecode(const Opaque8 *signature, Opaque8 &r, Opaque8 &s);

// Key stream or X9.63 key data: SHA-1(z || 00 00 00 c || info) for c = 1, 2, ... (c taken
// modulo 256, the counter's only filled octet), `length` octets XORed into out when `xorInto`,
// else written to it (whole 20-octet blocks are not required of out here).
void sha1CounterStream(const uint8_t *z, uint32_t zLength, const uint8_t *info, uint32_t infoLength,
                       uint8_t *out, uint64_t length, bool xorInto);

}  // namespace vc::ecc::proto
