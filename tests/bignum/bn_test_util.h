// Numbers for the big-number tests: owned word storage, conversion to and from GMP, random
// operands.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <vorelcrypto/bignum.h>

#include <vector>

#include "support/test_util.h"

namespace bntest {

using Words = std::vector<uint32_t>;

// An ENUM with its own storage (roomy enough for any result of the tests).
struct Num {
    Words store;
    ENUM e;
    explicit Num(size_t capacity = 330) : store(capacity + 2, 0), e{0, 0, store.data()} {}
    Num(const Num &o) : store(o.store), e{o.e.sign, o.e.length, store.data()} {}
    Num &operator=(const Num &o) { return store = o.store, e = {o.e.sign, o.e.length, store.data()}, *this; }
    ENUM *p() { return &e; }
    const ENUM *p() const { return &e; }
    Words words() const { return {store.begin(), store.begin() + e.length}; }
};

struct Mpz {
    mpz_t z;
    Mpz() { mpz_init(z); }
    ~Mpz() { mpz_clear(z); }
    Mpz(const Mpz &) = delete;
    operator mpz_ptr() { return z; }
    operator mpz_srcptr() const { return z; }
};

inline void toMpz(mpz_ptr out, const ENUM *a) {
    mpz_import(out, size_t(a->length), -1, 4, 0, 0, a->words);
    if (a->sign) mpz_neg(out, out);
}

inline Num fromWords(const Words &w, uint32_t sign = 0) {
    Num n(std::max<size_t>(w.size(), 330));
    std::copy(w.begin(), w.end(), n.store.begin());
    n.e.length = int32_t(w.size());
    n.e.sign = sign;
    return n;
}

inline Num fromMpz(mpz_srcptr z) {
    Words w(mpz_size(z) * 2 + 1);
    size_t count = 0;
    mpz_export(w.data(), &count, -1, 4, 0, 0, z);
    w.resize(count);
    return fromWords(w, mpz_sgn(z) < 0);
}

// A normalised random number of exactly `words` words (top word non-zero).
inline Num randomNum(vctest::Rng &rng, int words, uint32_t sign = 0) {
    Words w(static_cast<size_t>(words));
    for (auto &x : w) x = rng.word();
    while (w.back() == 0) w.back() = rng.word();
    return fromWords(w, sign);
}

// Fewer iterations under the sanitizers, which slow the loops down several times.
#ifndef __has_feature
#define __has_feature(x) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr int kScale = 4;
#else
inline constexpr int kScale = 1;
#endif

}  // namespace bntest
