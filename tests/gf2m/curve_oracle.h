// OpenSSL's view of the binary curves for the tests: its built-in groups, conversions between
// its numbers and our words, and an affine double-and-add over its GF(2^m) arithmetic
// (BN_GF2m_*) that models our multiplication on any point and any pentanomial.
#pragma once

#include <openssl/bn.h>
#include <openssl/ec.h>

#include <array>
#include <memory>

#include "ecc/binary_curve.h"
#include "support/test_util.h"

namespace gf2mtest {

using Words6 = std::array<uint32_t, 6>;
using Words12 = std::array<uint32_t, 12>;

struct BnFree {
    void operator()(BIGNUM *b) const { BN_free(b); }
};
using Bn = std::unique_ptr<BIGNUM, BnFree>;
struct GroupFree {
    void operator()(EC_GROUP *g) const { EC_GROUP_free(g); }
};
using Group = std::unique_ptr<EC_GROUP, GroupFree>;

Bn bnOf(const uint32_t w[6]);
Bn bnOfBytes(const uint8_t *b, size_t n);
Words6 wordsOf(const BIGNUM *b);
Words6 wordsOfBytes(const uint8_t b[21]);

// The OpenSSL group of a built-in id (3, 5, 11), or null.
Group groupOf(int curveId);

// k * P by OpenSSL's EC_POINT_mul; infinity as all-zero words.
Words12 opensslMul(const EC_GROUP *g, const Words12 &p, const Words6 &k);

// The affine double-and-add with the b-free formulas in GF(2^m) reduced by `field`.
Words12 modelMul(const vc::ecc::BinaryField &field, const Words6 &a, const Words12 &p, const Words6 &k);

}  // namespace gf2mtest
