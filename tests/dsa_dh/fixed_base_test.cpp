// The signers' fixed-base exponentiation against GMP's mpz_powm: moduli of 1 to 75 words, bases
// below and above p, exponents of every word count up to the table limit and past it (0, 1, all
// ones, random, with zero top words), more domains than the cache keeps (hits, misses,
// evictions, tables grown for longer exponents, two domains sharing p), from two threads at once;
// and the verifiers' two-base product, whose bases come from such tables once met again.
#include "pubkey/dlog_internal.h"

#include "bignum/bn_test_util.h"

#include <string>
#include <thread>

namespace {

using bntest::Mpz;
using bntest::Num;

struct Domain {
    Num p, g;
};

std::vector<Domain> domains() {
    vctest::Rng rng(29);
    std::vector<Domain> out;
    const int pWords[] = {1, 3, 16, 32, 45, 64, 75, 32};
    for (int i = 0; i < 8; i++) {
        Domain d;
        d.p = i == 7 ? out[3].p : bntest::randomNum(rng, pWords[i]);  // same p, another g
        d.p.store[0] |= 1;
        d.p.store[size_t(pWords[i]) - 1] |= 0x80000000u;
        d.g = bntest::randomNum(rng, i == 2 ? 2 * pWords[i] : pWords[i]);  // g above p once
        if (i == 1) d.g = bntest::fromWords({2});
        out.push_back(d);
    }
    return out;
}

// The exponent of a step: its word count cycles through 1 .. 17 (17 is past the table limit),
// with 0, 1, all ones and zero top words among the random ones.
Num exponent(vctest::Rng &rng, int step) {
    const int words = step % 17 + 1;
    Num e = bntest::randomNum(rng, words);
    switch (step % 5) {
        case 0:
            for (int i = 0; i < words; i++) e.store[size_t(i)] = 0;
            if (step % 2 == 1) e.e.length = 0;
            break;
        case 1:
            for (int i = 0; i < words; i++) e.store[size_t(i)] = i == 0;
            break;
        case 2:
            for (int i = 0; i < words; i++) e.store[size_t(i)] = 0xFFFFFFFFu;
            break;
        case 3:
            e.store[size_t(words) - 1] = 0;
            break;
        default:
            break;
    }
    return e;
}

// Runs the steps over every domain in turn; returns the first mismatch, or "".
std::string run(uint64_t seed, int steps) {
    const std::vector<Domain> ds = domains();
    vctest::Rng rng(seed);
    for (int step = 0; step < steps; step++) {
        for (size_t i = 0; i < ds.size(); i++) {
            const Num e = exponent(rng, step + int(i));
            Num r;
            vc::dlog::powFixedBase(r.p(), ds[i].g.p(), e.p(), ds[i].p.p());
            Mpz zg, ze, zp, want, got;
            toMpz(zg, ds[i].g.p()), toMpz(ze, e.p()), toMpz(zp, ds[i].p.p());
            mpz_powm(want, zg, ze, zp);
            toMpz(got, r.p());
            const bool normalised = r.e.sign == 0 && (r.e.length == 0 || r.store[size_t(r.e.length) - 1] != 0);
            if (mpz_cmp(got, want) != 0 || !normalised)
                return "domain " + std::to_string(i) + ", step " + std::to_string(step) + ", exponent words " +
                       std::to_string(e.e.length);
            // The verifiers' g^e y^f, twice in a row: the second call may take both bases from
            // tables (built for a pair asked for again).
            const Num &y = ds[(i + 1) % ds.size()].g, f = exponent(rng, step + 3);
            Mpz zy, zf, other;
            toMpz(zy, y.p()), toMpz(zf, f.p());
            mpz_powm(other, zy, zf, zp);
            mpz_mul(want, want, other), mpz_mod(want, want, zp);
            for (int round = 0; round < 2; round++) {
                vc::dlog::powPublic2(r.p(), ds[i].g.p(), e.p(), y.p(), f.p(), ds[i].p.p());
                toMpz(got, r.p());
                if (mpz_cmp(got, want) != 0)
                    return "two bases, domain " + std::to_string(i) + ", step " + std::to_string(step) +
                           ", round " + std::to_string(round);
            }
        }
    }
    return "";
}

TEST(FixedBase, AgreesWithGmp) { EXPECT_EQ(run(1, 24 / bntest::kScale), ""); }

TEST(FixedBase, AgreesWithGmpFromTwoThreads) {
    std::string first, second;
    std::thread a([&] { first = run(2, 12 / bntest::kScale); });
    std::thread b([&] { second = run(3, 12 / bntest::kScale); });
    a.join(), b.join();
    EXPECT_EQ(first, "");
    EXPECT_EQ(second, "");
}

}  // namespace
