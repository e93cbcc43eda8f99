// Modular exponentiation for the public-key engines: Montgomery arithmetic on 64-bit limbs.
//
// Both routines return the exact value a^|e| mod m, normalised (sign 0, trimmed), for an odd
// modulus m of at most 75 words and a base of any size up to 150 words (its magnitude is
// reduced first); e = 0 gives 1, or 0 when m is 1. For every input on which EN_Mod_Exp computes
// the exact power they give the same words. An even modulus is handed to EN_Mod_ExpA.
//
// r needs m->length words and may be the same record as a, never as e.
#pragma once

#include <vorelcrypto/bignum.h>

namespace vc::bignum {

// For secret exponents (private keys, nonces): fixed windows over every word of e, each table
// entry read at every window and picked by masks, so neither the branches nor the memory
// addresses depend on the exponent's bits. Secret temporaries are wiped before returning.
void modExpSecret(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m);

// r1 = a1^e1 mod m1 and r2 = a2^e2 mod m2 with the guarantees of modExpSecret; when both moduli
// have the same limb count the two run interleaved (the halves of an RSA private operation).
// r1 and r2 are distinct records and r1 is not a2.
void modExpSecret2(ENUM *r1, const ENUM *a1, const ENUM *e1, const ENUM *m1, ENUM *r2, const ENUM *a2,
                   const ENUM *e2, const ENUM *m2);

// For public exponents (e = 65537, verification): sliding windows over the exponent's bits,
// faster for short exponents and not constant-time.
void modExpPublic(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m);

// The processors with AVX-512 IFMA take 52-bit digit kernels for moduli up to 2048 bits; false
// sends every call to the 64-bit limb kernels (tests compare both).
void allowIfma(bool on);

}  // namespace vc::bignum
