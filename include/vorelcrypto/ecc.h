/* VorelCrypto elliptic-curve arithmetic: the six built-in curves, point encodings and
 * validation, projective arithmetic over GF(p) and scalar multiplication.
 *
 * Curves are named by identifier:
 *    3  sect163k1 (NIST K-163)       GF(2^163), x^163 + x^7 + x^6 + x^3 + 1
 *    5  c2pnb163v1                   GF(2^163), x^163 + x^8 + x^2 + x + 1
 *    7  secp160r1                    GF(p), p = 2^160 - 2^31 - 1
 *   11  sect163r2 (NIST B-163)       GF(2^163), x^163 + x^7 + x^6 + x^3 + 1
 *   21  c2pnb163v2 constants         GF(2^163), x^163 + x^7 + x^6 + x^3 + 1
 *   22  c2pnb163v3 constants         GF(2^163), x^163 + x^7 + x^6 + x^3 + 1
 * Curves 21 and 22 keep the c2pnb163v2/v3 constants with the polynomial of curve 3, which
 * stored keys depend on; their base points do not lie on the curve that polynomial defines.
 *
 * Points cross the interface as octet strings (Opaque8): 0x04 || X || Y with X and Y of 21
 * octets on the binary curves (43 octets) and 20 octets on curve 7 (41 octets); the point at
 * infinity has all-zero coordinates. Inside the arithmetic a field element is six 32-bit
 * words, least significant first; an affine point is twelve words (x in 0-5, y in 6-11), a
 * projective point eighteen (X, Y, Z), and the prime curve's "curve words" are a in 0-5,
 * b in 6-11 and p in 12-17. Curve 7 uses five words of each six.
 *
 * Results: 0 (or 1 where stated) for success, -1 to -4 for refused input. Nothing here
 * allocates memory. */
#ifndef VORELCRYPTO_ECC_H
#define VORELCRYPTO_ECC_H

#include <vorelcrypto/bignum.h>

VC_BEGIN_DECLS

/* An octet string: its length and its bytes. As an output, `data` must point at enough room
 * (43 octets for any point) and `length` receives the count written. */
typedef struct Opaque8 {
    uint32_t length;
    uint8_t *data;
} Opaque8;

/* Size of each storage area of an EcParams record. */
#define EC_PARAMS_AREA_BYTES 150

/* Curve parameters, filled by E_ECParams_Init. The record holds its own storage: each
 * octet-string member points into `area` (p: 0, a: 1, b: 2, seed: 3, G: 4, n: 5, h: 6; area 7
 * holds the text form of the binary field's polynomial, "163;7;6;3;0", empty for curve 7).
 * A copied record must be given to E_ECParams_Init again, since its pointers still aim at the
 * record it was copied from. */
typedef struct EcParams {
    uint32_t fieldType; /* 0 = GF(p), 1 = GF(2^m) */
    union {
        Opaque8 p; /* GF(p): the prime, big-endian */
        struct {   /* GF(2^m): x^m + x^k3 + x^k2 + x^k1 + 1 */
            uint16_t m, basis, k3, k2, k1;
        } binary;
    } field;
    Opaque8 a, b; /* coefficients, big-endian, field-element width (21 or 20 octets) */
    Opaque8 seed; /* generation seed; binary curves carry one trailing zero octet; none for 3 */
    Opaque8 G;    /* base point, uncompressed */
    Opaque8 n;    /* order of G, 21 octets */
    Opaque8 h;    /* cofactor, one octet */
    uint8_t area[8][EC_PARAMS_AREA_BYTES];
} EcParams;

/* ---- curve records and point encodings ---- */

/* Fills params for curve 3, 5, 7, 11, 21 or 22 and returns 0. Any other id returns -1 with the
 * pointers set but nothing else filled. */
VC_API int32_t E_ECParams_Init(int32_t curveId, EcParams *params);

/* Big-endian octets of words[0..nWords-1] (least significant word first) into out. The length
 * is 4 * nWords, shortened when 4 * nWords >= 21 and the top word is below 2^24: by 1 when its
 * bits 16-23 are not all zero, else by 2 when bits 8-15 are not all zero, else by 3 (six words
 * of a 163-bit value always give 21 octets). Returns 1, or -1 when nWords < 1. */
VC_API int32_t ZENOR_V1_LongsToopaque8(int32_t nWords, const uint32_t *words, Opaque8 *out);
/* The big-endian octets of in into (in->length + 3) / 4 little-endian words, the top word
 * zero-extended. Every mode reads the same way (the library passes 1). Returns 1. */
VC_API int32_t ZENOR_V1_opaque8ToLongs(int32_t mode, const Opaque8 *in, uint32_t *words);
/* Form 1 writes 0x04 || X || Y (43 octets, or 41 for curve 7) and returns 1; form 2
 * (compressed) returns -1, form 3 (hybrid) -2, any other form -3. An unknown curve writes
 * nothing and returns 1. */
VC_API int32_t ZENOR_V1_ECPointsToopaque8(int32_t curveId, int32_t form, const uint32_t point[12],
                                          Opaque8 *out);
/* Reads an uncompressed point into the twelve words of point and returns 1; a first octet 0x02
 * returns -1, 0x06 returns -2, anything else but 0x04 returns -3 (point untouched). Octets
 * past in->length count as zero: a short string is read as if zero-padded, never past its
 * end. */
VC_API int32_t ZENOR_V1_opaque8ToECPoints(int32_t curveId, const Opaque8 *in, uint32_t point[12]);
/* Public-key validation: 1 valid; -1 empty or the point at infinity; -2 longer than the
 * curve's point, or a coordinate out of range (a coordinate equal to p passes this step);
 * -3 not on the curve; -4 n times the point is not infinity. An unknown curve returns -2.
 * The first octet is not examined; octets past point->length count as zero. */
VC_API int32_t ZENOR_V1_IsValidPoint(int32_t curveId, const EcParams *params, const Opaque8 *point);

/* ---- projective arithmetic over GF(p) ----
 * Jacobian coordinates with Y carried doubled: (X, Y, Z), Z != 0, is the affine point
 * (X / Z^2, Y / (2 Z^3)). Any Z = 0 is the point at infinity; results give it as (1, 2, 0).
 * Results go to a point distinct from the inputs. Coordinates are copied as 21 octets (values
 * up to 168 bits). */

/* X = x, Y = 2y mod p, Z = 1. */
VC_API void ZENOR_V1_AffineToProjectiveGFp(const uint32_t affine[12], uint32_t projective[18],
                                           const uint32_t curve[18]);
/* x = X / Z^2, y = Y / (2 Z^3) mod p; Z must not be zero. */
VC_API void ZENOR_V1_ProjectiveToAffineGFp(const uint32_t projective[18], uint32_t affine[12],
                                           const uint32_t curve[18]);
/* 2P; (1, 2, 0) when Y or Z is zero. */
VC_API void ZENOR_V1_DoublingProjective(const uint32_t point[18], uint32_t out[18],
                                        const uint32_t curve[18]);
/* P0 + P1 for P0 != +-P1: (1, 2, 0) for P0 = -P1 and (0, 0, 0) for P0 = P1. */
VC_API void ZENOR_V1_AdditionProjective(const uint32_t p0[18], const uint32_t p1[18],
                                        uint32_t out[18], const uint32_t curve[18]);
/* P0 + P1 in every case. */
VC_API void ZENOR_V1_FullAdditionProjective(const uint32_t p0[18], const uint32_t p1[18],
                                            uint32_t out[18], const uint32_t curve[18]);
/* (X, p - Y, Z), not reduced: Y = 0 gives p. */
VC_API void ZENOR_V1_negativeProjective(const uint32_t point[18], uint32_t out[18],
                                        const uint32_t curve[18]);
/* P0 - P1 through the complete addition. */
VC_API void ZENOR_V1_SubtractionProjective(const uint32_t p0[18], const uint32_t p1[18],
                                           uint32_t out[18], const uint32_t curve[18]);
/* scalar * P, signed binary from the right; scalar 0 gives the all-zero point. */
VC_API void ZENOR_V1_psmulProjective(const uint32_t point[18], const uint32_t scalar[6],
                                     uint32_t out[18], const uint32_t curve[18]);

/* Writes the 168-bit value of number[0..5] as 21 octets of upper-case hex and a newline on
 * standard output. */
VC_API void PrintBigNumber(const uint32_t number[6]);
/* "x : ", "y : ", "z : " each followed by the coordinate as PrintBigNumber writes it. */
VC_API void PrintECPointProjective(const uint32_t point[18]);

/* ---- scalar multiplication ---- */

/* result = scalar * point on the curve, both octet strings; scalars longer than 24 octets are
 * taken modulo 2^192. Returns 0, or -2 for an unknown curve (result untouched). A point that
 * is not uncompressed is taken as infinity. On the binary curves a non-zero methodFlag
 * multiplies the curve's built-in base point (from built-in tables) instead of `point`;
 * curve 7 ignores it. result->data needs 43 octets (41 for curve 7). */
VC_API int32_t ZENOR_V1_ScalarMultiplicationOnEllipticCurves(int32_t curveId, int32_t methodFlag,
                                                              const EcParams *params,
                                                              const Opaque8 *scalar,
                                                              const Opaque8 *point,
                                                              Opaque8 *result);
/* result = scalar * point in affine coordinates over GF(p) (curve words a and p; p an odd
 * prime below 2^160), signed binary from the right. The all-zero point is infinity. The
 * selector is ignored. */
VC_API void ZENOR_V1_psmul(int32_t selector, const uint32_t point[12], const uint32_t scalar[6],
                           uint32_t result[12], const uint32_t curve[18]);
/* scalar * P, binary from the left with the complete addition. */
VC_API void ZENOR_V1_ScalarMultiplicationProjective(const uint32_t point[18],
                                                    const uint32_t scalar[6], uint32_t result[18],
                                                    const uint32_t curve[18]);

/* Words of the fixed-base comb table: 4 rows of 256 projective points. */
#define EC_COMB_TABLE_WORDS (4 * 256 * 18)
/* Fills table (EC_COMB_TABLE_WORDS words) for the base point G: 8 teeth, 4 rows. */
VC_API void ZENOR_V1_precompute_G_Array(uint32_t *table, const uint32_t G[18],
                                        const uint32_t curve[18]);
/* result = scalar * G from the comb table of G (Lim-Lee). */
VC_API void fixedBased_Comb_MethodProjective(const uint32_t *table, const uint32_t scalar[6],
                                             uint32_t result[18], const uint32_t curve[18]);

/* Builds the built-in fixed-base tables of the curve's base point now instead of on first use.
 * Returns 0, or -2 for an unknown curve. */
VC_API int32_t ZENOR_V1_PreComputationForFastScalarMultiplicationOnEllipticCurves(int32_t curveId);
/* The window methods build their per-point tables inside each multiplication, so there is
 * nothing to prepare: returns 0, or -2 for an unknown curve. */
VC_API int32_t ZENOR_V1_PreComputationForWindowsScalarMultiplicationOnEllipticCurves(int32_t curveId);

/* Self-test of the curve's record and arithmetic: n * G must be infinity, (n - 1) * G = -G and
 * (n + 1) * G = G. Returns 1 when all hold, 0 when one fails (always for curves 21 and 22),
 * -2 for an unknown curve. */
VC_API int32_t ECC_BaseOrderExpTest(int32_t curveId);

VC_END_DECLS

#endif
