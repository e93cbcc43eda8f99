// The X9.31 generator's front ends: every call of E_X9_31RandomBytes draws its own 160-bit prime
// q, so these sit above both the random generators and the prime search, which keeps the
// dependency one-way (primes use random, random never uses primes).
#include "bignum/bn_internal.h"
#include "random/random_internal.h"

#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>

namespace {

void poolSeed(ENUM *xseed, void *) { EN_Random(xseed, 160, 1, 1); }

}  // namespace

extern "C" {

void E_X9_31RandomBytes(uint8_t *out, uint32_t len) {
    vc::bignum::Temp xkey, q;
    EN_Random(xkey.get(), 160, 1, 1);
    EN_GeneratePrimeRSA(q.get(), 160);
    vc::random::x931Loop(out, len, xkey.get(), q.get(), poolSeed, nullptr);
}

void EN_X9_31Random(ENUM *a, uint32_t bits, uint32_t top, uint32_t odd) {
    vc::random::randomNumber(a, bits, top, odd, E_X9_31RandomBytes);
}

}  // extern "C"
