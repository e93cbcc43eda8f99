// Numbers for the big-number tests: owned word storage, conversion to and from GMP, random
// operands.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <vorelcrypto/bignum.h>

#include <string>
#include <vector>

#include "support/test_util.h"

namespace bntest {

// An ENUM with its own zeroed storage (roomy enough for any result of the tests).
struct Num {
    std::vector<uint32_t> store;
    ENUM e;
    explicit Num(size_t capacity = 320) : store(capacity + 2, 0), e{0, 0, store.data()} {}
    Num(const Num &o) : store(o.store), e{o.e.sign, o.e.length, store.data()} {}
    Num &operator=(const Num &o) {
        store = o.store;
        e = {o.e.sign, o.e.length, store.data()};
        return *this;
    }
    ENUM *p() { return &e; }
    const ENUM *p() const { return &e; }
    std::vector<uint32_t> words() const { return {store.begin(), store.begin() + e.length}; }
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

inline Num fromMpz(mpz_srcptr z, size_t capacity = 320) {
    Num n(capacity);
    size_t count = 0;
    mpz_export(n.store.data(), &count, -1, 4, 0, 0, z);
    n.e.length = int32_t(count);
    n.e.sign = mpz_sgn(z) < 0;
    return n;
}

inline Num fromWords(std::vector<uint32_t> w, uint32_t sign = 0) {
    Num n(std::max<size_t>(w.size(), 320));
    std::copy(w.begin(), w.end(), n.store.begin());
    n.e.length = int32_t(w.size());
    n.e.sign = sign;
    return n;
}

inline std::string str(const ENUM *a) {
    Mpz z;
    toMpz(z, a);
    char *s = mpz_get_str(nullptr, 16, z);
    std::string out = std::string(a->sign && mpz_sgn(z.z) == 0 ? "-" : "") + s + " (len " + std::to_string(a->length) + ")";
    free(s);
    return out;
}

// True when a holds exactly the value z in normal form (sign 0 for zero unless `negZero`).
inline ::testing::AssertionResult equals(const ENUM *a, mpz_srcptr z) {
    Mpz v;
    toMpz(v, a);
    const bool normal = a->length == 0 || a->words[a->length - 1] != 0;
    if (mpz_cmp(v, z) == 0 && normal && (mpz_sgn(z) != 0 || a->sign == 0)) return ::testing::AssertionSuccess();
    char *s = mpz_get_str(nullptr, 16, z);
    auto r = ::testing::AssertionFailure() << "got " << str(a) << " want " << s;
    free(s);
    return r;
}

// A normalised random number of exactly `words` words (top word non-zero).
inline Num randomNum(vctest::Rng &rng, int words, uint32_t sign = 0) {
    std::vector<uint32_t> w(static_cast<size_t>(words));
    for (auto &x : w) x = rng.word();
    if (words > 0)
        while (w.back() == 0) w.back() = rng.word();
    return fromWords(w, sign);
}

inline Num randomBelow(vctest::Rng &rng, const Num &m) {
    Mpz mz, x;
    toMpz(mz, m.p());
    Num r = randomNum(rng, m.e.length + 1);
    toMpz(x, r.p());
    mpz_mod(x, x, mz);
    return fromMpz(x);
}

// Fewer iterations under the sanitizers, which slow the loops down several times.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr int kScale = 4;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr int kScale = 4;
#else
inline constexpr int kScale = 1;
#endif
#else
inline constexpr int kScale = 1;
#endif

}  // namespace bntest
