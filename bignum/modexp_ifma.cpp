// Almost-Montgomery multiplication in radix 2^52: for each digit b_i, the low halves of a b_i and
// q m (q chosen to clear the lowest digit) go into 64-bit lanes, the accumulator moves down one
// digit, and the high halves follow. Lanes are left unnormalised inside the loop (40 rounds of at
// most four 52-bit terms stay below 2^60) and the carries are propagated once at the end.
#include "bignum/modexp_ifma.h"

#include <immintrin.h>

#include <atomic>

#include "common/cpu.h"
#include "common/wipe.h"

// GCC 12 reports its own intrinsics' deliberately undefined pass-through operands
// (_mm_undefined_si128 and kin) as possibly uninitialised once they are inlined here.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

namespace vc::bignum::ifma {

namespace {

#define VC_IFMA __attribute__((target("avx512f,avx512vl,avx512ifma")))

std::atomic<bool> allowed{true};
constexpr u64 kMask = (u64(1) << 52) - 1;
using i64 = long long;

struct Job {
    u64 *r;
    const u64 *a, *b;
    const Mont *mt;
};

// (x y) mod 2^52 and (x y) >> 52 for digits x, y: the two halves IFMA adds.
inline u64 lo52(u64 x, u64 y) { return (x * y) & kMask; }
inline u64 hi52(u64 x, u64 y) { return u64((u128(x) * y) >> 52); }

// The L products of jobs side by side, each modulus V vectors wide; r may be a or b.
//
// Each round adds the low halves, moves the lanes down one digit (the lowest one, now a
// multiple of 2^52, passes its carry on) and adds the high halves. q of the next round depends
// only on the new lowest lane, which is also worked out in scalar registers from lane 1 at the
// start of the round; the vector lanes then stay off the serial path from one q to the next.
template <int V, int L>
VC_IFMA inline void amm(const Job *jobs, int k) {
    __m512i A[L][V], M[L][V], R[L][V];
    const __m512i zero = _mm512_setzero_si512();
    u64 a0[L], a1[L], m0[L], m1[L], k0[L], low[L];
    for (int l = 0; l < L; l++) {
        for (int j = 0; j < V; j++) {
            A[l][j] = _mm512_loadu_si512(jobs[l].a + 8 * j);
            M[l][j] = _mm512_load_si512(jobs[l].mt->m + 8 * j);
            R[l][j] = zero;
        }
        a0[l] = jobs[l].a[0], a1[l] = jobs[l].a[1];
        m0[l] = jobs[l].mt->m[0], m1[l] = jobs[l].mt->m[1];
        k0[l] = jobs[l].mt->k0;
        low[l] = 0;  // lane 0 of R
    }
    for (int i = 0; i < k; i++) {
        for (int l = 0; l < L; l++) {
            const u64 bi = jobs[l].b[i];
            const u64 lane1 = u64(_mm_extract_epi64(_mm512_castsi512_si128(R[l][0]), 1));
            const u64 t = low[l] + lo52(a0[l], bi);
            const u64 q = (t * k0[l]) & kMask;
            const u64 carry = (t + lo52(m0[l], q)) >> 52;
            low[l] = lane1 + lo52(a1[l], bi) + lo52(m1[l], q) + carry + hi52(a0[l], bi) + hi52(m0[l], q);
            const __m512i B = _mm512_set1_epi64(i64(bi)), Q = _mm512_set1_epi64(i64(q));
            for (int j = 0; j < V; j++) {
                R[l][j] = _mm512_madd52lo_epu64(R[l][j], A[l][j], B);
                R[l][j] = _mm512_madd52lo_epu64(R[l][j], M[l][j], Q);
            }
            for (int j = 0; j < V - 1; j++) R[l][j] = _mm512_alignr_epi64(R[l][j + 1], R[l][j], 1);
            R[l][V - 1] = _mm512_alignr_epi64(zero, R[l][V - 1], 1);
            R[l][0] = _mm512_mask_add_epi64(R[l][0], 1, R[l][0], _mm512_set1_epi64(i64(carry)));
            for (int j = 0; j < V; j++) {
                R[l][j] = _mm512_madd52hi_epu64(R[l][j], A[l][j], B);
                R[l][j] = _mm512_madd52hi_epu64(R[l][j], M[l][j], Q);
            }
        }
    }
    for (int l = 0; l < L; l++) {
        alignas(64) u64 t[8 * V];
        for (int j = 0; j < V; j++) _mm512_store_si512(t + 8 * j, R[l][j]);
        u64 c = 0;
        for (int d = 0; d < 8 * V; d++) {
            const u64 v = t[d] + c;
            jobs[l].r[d] = v & kMask;
            c = v >> 52;
        }
    }
}

template <int V>
VC_IFMA void mulV(u64 *r, const u64 *a, const u64 *b, const Mont &mt) {
    const Job job{r, a, b, &mt};
    amm<V, 1>(&job, mt.k);
}

template <int V>
VC_IFMA void mul2V(const Job *jobs, int k) {
    amm<V, 2>(jobs, k);
}

// Digits of 52 bits from n limbs, zero-padded to kWords.
void toDigits(u64 *d, const u64 *x, int n) {
    for (int i = 0; i < kWords; i++) {
        const int pos = 52 * i, w = pos / 64, off = pos % 64;
        u64 v = w < n ? x[w] >> off : 0;
        if (off > 12 && w + 1 < n) v |= x[w + 1] << (64 - off);
        d[i] = v & kMask;
    }
}

// n limbs from k digits of a value below 2^(64 n).
void fromDigits(u64 *x, const u64 *d, int k, int n) {
    for (int i = 0; i < n; i++) x[i] = 0;
    for (int i = 0; i < k; i++) {
        const int pos = 52 * i, w = pos / 64, off = pos % 64;
        if (w < n) x[w] |= d[i] << off;
        if (off > 12 && w + 1 < n) x[w + 1] |= d[i] >> (64 - off);
    }
}

}  // namespace

bool usable(int limbs) {
    return limbs <= kMaxLimbs && cpuFeatures().avx512ifma && allowed.load(std::memory_order_relaxed);
}

void allow(bool on) { allowed.store(on, std::memory_order_relaxed); }

Mont::Mont(const u64 *mod, int limbs, u64 n0) : n(limbs), mLimbs(mod), k0(n0 & kMask) {
    k = (64 * n + 2 + 51) / 52;
    vectors = (k + 7) / 8;
    toDigits(m, mod, n);
    static constexpr void (*kMul[])(u64 *, const u64 *, const u64 *, const Mont &) = {
        mulV<1>, mulV<2>, mulV<3>, mulV<4>, mulV<5>};
    mulFn = kMul[vectors - 1];
}

void Mont::start(u64 *one, u64 *x, const u64 *base, const ENUM *mod) const {
    // R^2 = R 2^(52 k): write 52 k = s 2^t with s odd, divide only for R 2^s (a quotient of a
    // few dozen bits), then square t times, each product taking R 2^u to R 2^(2u).
    const int t = __builtin_ctz(unsigned(52 * k)), s = (52 * k) >> t, bit = 52 * k + s;
    Temp big, q, rem;
    big->length = bit / 32 + 1;
    big->words[bit / 32] = uint32_t(1) << (bit % 32);
    EN_Div(q.get(), rem.get(), big.get(), mod);
    u64 limbs[kMaxLimbs] = {};
    toLimbs(limbs, rem->words, rem->length, n);
    alignas(64) u64 rr[kWords], unit[kWords] = {1};
    toDigits(rr, limbs, n);
    for (int i = 0; i < t; i++) mul(rr, rr, rr);
    mul(one, rr, unit);
    toDigits(x, base, n);
    mul(x, x, rr);
    // R^2 mod m would give away a secret modulus (the factors of an RSA key).
    secure_wipe(rr, sizeof rr);
    secure_wipe(limbs, sizeof limbs);
    secure_wipe(q.w, sizeof q.w);
    secure_wipe(rem.w, sizeof rem.w);
}

void Mont::finish(u64 *limbs, const u64 *x) const {
    alignas(64) u64 y[kWords], unit[kWords] = {1};
    mul(y, x, unit);  // x / R < 2m / R + m, so at most m
    fromDigits(limbs, y, k, n);
}

VC_IFMA void Mont::select(u64 *pick, const u64 (*table)[kWords], int entries, u64 index) const {
    __m512i acc[kMaxVectors];
    for (int v = 0; v < vectors; v++) acc[v] = _mm512_setzero_si512();
    for (int j = 0; j < entries; j++) {
        const u64 d = u64(j) ^ index;
        const __m512i mask = _mm512_set1_epi64(i64(((d | (u64(0) - d)) >> 63) - 1));
        for (int v = 0; v < vectors; v++)
            acc[v] = _mm512_or_si512(acc[v], _mm512_and_si512(_mm512_loadu_si512(table[j] + 8 * v), mask));
    }
    for (int v = 0; v < vectors; v++) _mm512_storeu_si512(pick + 8 * v, acc[v]);
}

void mul2(u64 *r1, const u64 *a1, const u64 *b1, const Mont &m1, u64 *r2, const u64 *a2, const u64 *b2,
          const Mont &m2) {
    assert(m1.k == m2.k);
    const Job jobs[2] = {{r1, a1, b1, &m1}, {r2, a2, b2, &m2}};
    static constexpr void (*kMul2[])(const Job *, int) = {mul2V<1>, mul2V<2>, mul2V<3>, mul2V<4>, mul2V<5>};
    kMul2[m1.vectors - 1](jobs, m1.k);
}

}  // namespace vc::bignum::ifma
