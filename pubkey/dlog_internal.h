// Shared by the discrete-logarithm engines (KCDSA, DSA, Diffie-Hellman): size limits, the
// parameter search, the signers' nonce and retry rule, and the one exponentiation they all use.
#pragma once

#include "bignum/bn_internal.h"

#include <vorelcrypto/pubkey_records.h>

namespace vc::dlog {

using bignum::Temp;

// Longest ready hash value the signers take.
inline constexpr uint32_t kMaxHashBytes = 50;
// Largest modulus the exponentiation handles, and the largest random draw into a number.
inline constexpr uint32_t kMaxModulusBits = 32 * bignum::kMaxModWords;
// Smallest prime the prime search makes.
inline constexpr uint32_t kMinPrimeBits = 16;

// ceil(bits / 8).
uint32_t byteLength(const ENUM *a);
bool isOne(const ENUM *a);

// The ready-value signers' limits: 1 <= hLen <= min(byte length of q, 50).
bool hashLengthFits(uint32_t hLen, const ENUM *q);
// A key's p and q can be worked with: p odd, above 1 and within the modulus limit, q non-zero.
// Anything else is refused before any arithmetic.
bool domainUsable(const ENUM *p, const ENUM *q);
// The sizes the parameter search accepts.
bool paramSizesFit(uint32_t pBits, uint32_t qBits);

// r = a^e mod p for an odd p, exact and normalised; every exponentiation of these engines goes
// through one of these. powSecret runs in constant time for private keys and nonces.
void powSecret(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *p);
void powPublic(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *p);
// r = g^e mod p, the same value as powSecret and as constant-time, for a g used again and again
// (the signers' generator): the first call for a (p, g) builds a table of g's powers, kept in a
// small cache shared by all threads, and later calls need no squarings.
void powFixedBase(ENUM *r, const ENUM *g, const ENUM *e, const ENUM *p);
// r = a^e1 * b^e2 mod p with public exponents (verification).
void powPublic2(ENUM *r, const ENUM *a, const ENUM *e1, const ENUM *b, const ENUM *e2, const ENUM *p);

// EN_IsPrime after a screen by the small primes (numbers above 2048).
bool probablePrime(const ENUM *n);

// Domain parameters: q a qBits-bit prime, p a pBits-bit prime with p = 1 (mod 2q), g of order q.
// A failed p candidate draws a fresh q as well; every number needs 150 words.
void generateParams(ENUM *p, ENUM *q, ENUM *g, uint32_t pBits, uint32_t qBits);

// The signers' nonce draw: 32 x (words of q) bits with the two top bits set, not reduced.
void drawNonce(ENUM *k, const ENUM *q);

// The signers' retry rule: a signature is kept when gcd(p - 1, s) = 1 (this also rules out
// s = 0).
bool coprimeToPMinus1(const ENUM *p, const ENUM *s);

}  // namespace vc::dlog
