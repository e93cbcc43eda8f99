// Montgomery exponentiation on 64-bit limbs with R = 2^(64 n), n = the modulus's limb count.
// Products and their reduction are summed column by column (no data-dependent carry loops), and
// the final subtraction of m is selected by a mask.
#include "bignum/modexp_fast.h"

#include "bignum/bn_internal.h"
#include "bignum/modexp_ifma.h"

#include <algorithm>
#include "common/wipe.h"

namespace vc::bignum {

namespace {

constexpr int kMaxLimbs = (kMaxModWords + 1) / 2;

// All ones when x == y, else zero, without a branch.
inline u64 equalMask(u64 x, u64 y) {
    const u64 d = x ^ y;
    return u64(0) - (((d | (u64(0) - d)) >> 63) ^ 1);
}

// A three-limb accumulator for product scanning.
struct Acc {
    u64 t0 = 0, t1 = 0, t2 = 0;
    inline void mac(u64 x, u64 y) {
#if defined(__x86_64__)
        // One multiply and a three-word add chain: the compiler's own code for the 128-bit form
        // tests the carry separately and runs about twice as long.
        __asm__("mulq %[y]\n\taddq %%rax, %[t0]\n\tadcq %%rdx, %[t1]\n\tadcq $0, %[t2]"
                : [t0] "+r"(t0), [t1] "+r"(t1), [t2] "+r"(t2), "+a"(x)
                : [y] "rm"(y)
                : "rdx", "cc");
#else
        const u128 p = u128(x) * y;
        const u128 s = ((u128(t1) << 64) | t0) + p;
        t2 += s < p;
        t0 = u64(s);
        t1 = u64(s >> 64);
#endif
    }
    inline void add(const Acc &o) {
        const u128 s = ((u128(t1) << 64) | t0) + ((u128(o.t1) << 64) | o.t0);
        t2 += o.t2 + (s < ((u128(o.t1) << 64) | o.t0));
        t0 = u64(s);
        t1 = u64(s >> 64);
    }
    inline u64 shift() {
        const u64 out = t0;
        t0 = t1, t1 = t2, t2 = 0;
        return out;
    }
};

// r = x - m when carry:x >= m, else x (x < 2m, n limbs); r may be x.
inline void subtractIfAtLeast(u64 *r, const u64 *x, u64 carry, const u64 *m, int n) {
    u64 d[kMaxLimbs];
    u64 borrow = 0;
    for (int i = 0; i < n; i++) {
        const u128 s = u128(x[i]) - m[i] - borrow;
        d[i] = u64(s);
        borrow = u64(s >> 64) & 1;
    }
    const u64 keep = u64(0) - (borrow & (carry ^ 1));  // x < m: keep x
    for (int i = 0; i < n; i++) r[i] = (x[i] & keep) | (d[i] & ~keep);
}

// Montgomery product by interleaved product scanning: column k of a*b (or of a^2) and of q*m
// are summed, q[k] chosen so that column k's low limb vanishes. The two sums of a column run in
// separate accumulators so that their carry chains overlap. Fully unrolled for the primes of
// 1024 and 2048-bit RSA keys (N = 8 and 16 limbs); wider moduli gain nothing from unrolling.
// r may be a or b.
template <int N, bool kSquare>
void montMul(u64 *r, const u64 *a, const u64 *b, const u64 *m, u64 n0, int) {
    constexpr int n = N;
    u64 q[kMaxLimbs], out[kMaxLimbs];
    Acc acc;
    // Adds column k of the product, j from lo to hi, to acc.
    auto column = [&](int k, int lo, int hi) {
        Acc side;
        if (kSquare) {
            const int mid = (k + 1) / 2;  // cross terms a[j] a[k - j], j < k - j, doubled
            _Pragma("GCC unroll 40") for (int j = lo; j < mid && j <= hi; j++) side.mac(a[j], a[k - j]);
            side.t2 = (side.t2 << 1) | (side.t1 >> 63);
            side.t1 = (side.t1 << 1) | (side.t0 >> 63);
            side.t0 <<= 1;
            if (k % 2 == 0) side.mac(a[k / 2], a[k / 2]);
        } else {
            _Pragma("GCC unroll 40") for (int j = lo; j <= hi; j++) side.mac(a[j], b[k - j]);
        }
        acc.add(side);
    };
    _Pragma("GCC unroll 40") for (int k = 0; k < n; k++) {
        _Pragma("GCC unroll 40") for (int j = 0; j < k; j++) acc.mac(q[j], m[k - j]);
        column(k, 0, k);
        q[k] = acc.t0 * n0;
        acc.mac(q[k], m[0]);
        acc.shift();
    }
    _Pragma("GCC unroll 80") for (int k = n; k < 2 * n - 1; k++) {
        _Pragma("GCC unroll 40") for (int j = k - n + 1; j < n; j++) acc.mac(q[j], m[k - j]);
        column(k, k - n + 1, n - 1);
        out[k - n] = acc.shift();
    }
    out[n - 1] = acc.shift();
    subtractIfAtLeast(r, out, acc.t0, m, n);
}

// Other sizes: the exact product or square of the big-number kernels, then the reduction row by
// row with the carries gathered in a running word.
// r = t R^-1 mod m for t < m R (2n limbs, destroyed), row by row.
void reduceRows(u64 *r, u64 *t, const u64 *m, u64 n0, int n) {
    u64 carry = 0;
    for (int i = 0; i < n; i++) {
        const u64 c = mulAddRow(t + i, m, n, t[i] * n0);
        const u128 s = u128(t[i + n]) + c + carry;
        t[i + n] = u64(s);
        carry = u64(s >> 64);
    }
    subtractIfAtLeast(r, t + n, carry, m, n);
}

template <bool kSquare>
void montRows(u64 *r, const u64 *a, const u64 *b, const u64 *m, u64 n0, int n) {
    u64 t[2 * kMaxLimbs];
    if (kSquare)
        sqr64(t, a, n);
    else
        mul64(t, a, n, b, n);
    reduceRows(r, t, m, n0, n);
}

using Kernel = void (*)(u64 *, const u64 *, const u64 *, const u64 *, u64, int);

template <int N>
struct Kernels {
    static constexpr Kernel mul = montMul<N, false>, sqr = montMul<N, true>;
};
template <>
struct Kernels<0> {
    static constexpr Kernel mul = montRows<false>, sqr = montRows<true>;
};

struct Mont {
    int n = 0;  // limbs
    u64 m[kMaxLimbs] = {};
    u64 n0 = 0;  // -m^-1 mod 2^64
    Kernel mulKernel, sqrKernel;

    explicit Mont(const ENUM *mod) {
        n = (mod->length + 1) / 2;
        auto pick = [this](auto kernels) {
            mulKernel = kernels.mul;
            sqrKernel = kernels.sqr;
        };
        if (n == 8)
            pick(Kernels<8>());
        else if (n == 16)
            pick(Kernels<16>());
        else
            pick(Kernels<0>());
        toLimbs(m, mod->words, mod->length, n);
        u64 inv = 1;  // Newton's iteration doubles the correct low bits: 1, 2, 4 ... 64
        for (int i = 0; i < 6; i++) inv *= 2 - m[0] * inv;
        n0 = u64(0) - inv;
    }

    // r = a b R^-1 mod m; r may be a or b.
    void mul(u64 *r, const u64 *a, const u64 *b) const { mulKernel(r, a, b, m, n0, n); }
    void sqr(u64 *r, const u64 *a) const { sqrKernel(r, a, a, m, n0, n); }

    // r = x R^-1 mod m: out of Montgomery form.
    void fromMont(u64 *r, const u64 *x) const {
        u64 t[2 * kMaxLimbs] = {};
        for (int i = 0; i < n; i++) t[i] = x[i];
        reduceRows(r, t, m, n0, n);
    }

    // r = 2 x mod m for x < m.
    void dbl(u64 *r, const u64 *x) const {
        u64 s[kMaxLimbs];
        u64 top = 0;
        for (int i = 0; i < n; i++) {
            s[i] = (x[i] << 1) | top;
            top = x[i] >> 63;
        }
        subtractIfAtLeast(r, s, top, m, n);
    }

    // one = R mod m, rr = R^2 mod m: each by one division, or, when R^2 is too wide for a
    // temporary, R * 2^k mod m for k up to 64 n by squaring (k -> 2k) and doubling (k -> k + 1)
    // along the bits of 64 n.
    void constants(u64 *one, u64 *rr, const ENUM *mod) const {
        Temp big, q, rem;
        big->length = 2 * n + 1;
        big->words[2 * n] = 1;
        EN_Div(q.get(), rem.get(), big.get(), mod);
        toLimbs(one, rem->words, rem->length, n);
        secure_wipe(rem.w, sizeof rem.w);
        if (4 * n + 1 <= kTempWords) {  // R^2 itself fits a temporary: one division
            big->words[2 * n] = 0;
            big->length = 4 * n + 1;
            big->words[4 * n] = 1;
            EN_Div(q.get(), rem.get(), big.get(), mod);
            toLimbs(rr, rem->words, rem->length, n);
            secure_wipe(rem.w, sizeof rem.w);
            return;
        }
        const uint32_t target = uint32_t(64 * n);
        int top = 31 - __builtin_clz(target);
        for (int i = 0; i < n; i++) rr[i] = one[i];
        dbl(rr, rr);  // k = 1, the top bit of target
        for (int b = top - 1; b >= 0; b--) {
            mul(rr, rr, rr);
            if ((target >> b) & 1) dbl(rr, rr);
        }
    }
};

// Copies the limbs of a value below m into r (normalised, sign 0).
void store(ENUM *r, const u64 *x, const ENUM *mod) {
    fromLimbs(r->words, x, mod->length);
    r->sign = 0;
    r->length = mod->length;
    trim(r);
}

// Shared start: handles e = 0 and an even m; otherwise loads a mod m into `base` (limbs) and
// returns true.
bool prepare(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *mod, u64 *base, int n, bool secret) {
    if (isZero(e)) {
        EN_U32ToENUM(r, mod->length == 1 && mod->words[0] == 1 ? 0 : 1);
        return false;
    }
    ENUM magnitude{0, a->length, a->words};
    if ((mod->words[0] & 1) == 0) {
        EN_Mod_ExpA(r, &magnitude, e, mod);
        return false;
    }
    Temp x;
    if (EN_UComp(&magnitude, mod) < 0) {
        loadTemp(x, &magnitude);
    } else {
        Temp q;
        EN_Div(q.get(), x.get(), &magnitude, mod);
    }
    trim(x.get());
    toLimbs(base, x->words, x->length, n);
    if (secret) secure_wipe(x.w, sizeof x.w);
    return true;
}


// Elements of either engine: 64-bit limbs (up to 38) or 52-bit digit vectors (40 words).
constexpr int kElem = ifma::kWords > kMaxLimbs ? ifma::kWords : kMaxLimbs;
using Elem = u64[kElem];

// The 64-bit limb engine in the shape of ifma::Mont.
struct LimbMont : Mont {
    using Mont::Mont;
    void start(u64 *one, u64 *x, const u64 *base, const ENUM *mod) const {
        u64 rr[kMaxLimbs];
        constants(one, rr, mod);
        mul(x, base, rr);
        secure_wipe(rr, sizeof rr);  // with R, a multiple of a secret modulus
    }
    void finish(u64 *limbs, const u64 *x) const { fromMont(limbs, x); }
    const u64 *limbs() const { return m; }
    void select(u64 *pick, const Elem *table, int entries, u64 index) const {
        for (int i = 0; i < n; i++) pick[i] = 0;
        for (int j = 0; j < entries; j++) {
            const u64 mask = equalMask(u64(j), index);
            for (int i = 0; i < n; i++) pick[i] |= table[j][i] & mask;
        }
    }
};

// Fixed windows for L exponentiations at once (L = 2: the halves of an RSA private operation),
// mulAll(r, a, b) doing the L products r[l] = a[l] b[l]. out[l] = base[l]^e[l] as limbs below
// m[l]. Every lane runs the windows of the longest exponent (zero windows pick a^0).
template <int L, class Engine, class MulAll>
void fixedWindows(u64 (*out)[kMaxLimbs], const Engine *eng, u64 (*base)[kMaxLimbs], const ENUM *const *e,
                  const ENUM *const *m, MulAll mulAll) {
    uint32_t bits = 0;
    for (int l = 0; l < L; l++) bits = std::max(bits, uint32_t(e[l]->length) * 32);
    const int w = bits >= 512 ? 5 : bits >= 128 ? 4 : bits >= 32 ? 3 : 2;
    const int entries = 1 << w;
    // table[l][i] = a^i in Montgomery form.
    alignas(64) Elem table[L][32];
    alignas(64) Elem acc[L], pick[L];
    u64 *accP[L], *pickP[L], *t1[L];
    for (int l = 0; l < L; l++) {
        eng[l].start(table[l][0], table[l][1], base[l], m[l]);
        accP[l] = acc[l], pickP[l] = pick[l], t1[l] = table[l][1];
    }
    for (int i = 2; i < entries; i++) {
        u64 *ti[L], *prev[L];
        for (int l = 0; l < L; l++) ti[l] = table[l][i], prev[l] = table[l][i - 1];
        mulAll(ti, prev, t1);
    }
    auto window = [&e](int l, uint32_t pos, int width) {  // bits pos .. pos + width - 1 of e[l]
        uint32_t v = 0;
        for (int i = width - 1; i >= 0; i--) {
            const uint32_t b = pos + uint32_t(i);
            v = (v << 1) | (b < uint32_t(e[l]->length) * 32 ? (e[l]->words[b / 32] >> (b % 32)) & 1 : 0);
        }
        return v;
    };
    // Windows from the top; the first one may be narrower.
    uint32_t pos = bits - bits % uint32_t(w);
    if (pos == bits) pos -= uint32_t(w);
    for (int l = 0; l < L; l++) eng[l].select(acc[l], table[l], entries, window(l, pos, int(bits - pos)));
    while (pos > 0) {
        pos -= uint32_t(w);
        for (int k = 0; k < w; k++) mulAll(accP, accP, accP);
        for (int l = 0; l < L; l++) eng[l].select(pick[l], table[l], entries, window(l, pos, w));
        mulAll(accP, accP, pickP);
    }
    for (int l = 0; l < L; l++) {
        eng[l].finish(out[l], acc[l]);
        subtractIfAtLeast(out[l], out[l], 0, eng[l].limbs(), eng[l].n);
    }
    secure_wipe(table, sizeof table);
    secure_wipe(acc, sizeof acc);
    secure_wipe(pick, sizeof pick);
}

template <class Engine>
void secretOne(u64 *out, const Engine &eng, u64 *base, const ENUM *e, const ENUM *m) {
    fixedWindows<1>(reinterpret_cast<u64(*)[kMaxLimbs]>(out), &eng, reinterpret_cast<u64(*)[kMaxLimbs]>(base), &e,
                    &m, [&eng](u64 *const *r, u64 *const *a, u64 *const *b) { eng.mul(r[0], a[0], b[0]); });
}

// Sliding windows over the bits of e; out = base^e as limbs below m.
template <class Engine>
void slidingWindows(u64 *out, const Engine &eng, const u64 *base, const ENUM *e, const ENUM *m) {
    const int32_t bits = int32_t(bitLength(e));
    const int w = bits >= 256 ? 5 : bits >= 128 ? 4 : bits >= 18 ? 3 : 1;
    // odd[i] = a^(2i + 1) in Montgomery form.
    alignas(64) Elem odd[16], sq, acc = {};
    eng.start(acc, odd[0], base, m);
    eng.sqr(sq, odd[0]);
    for (int i = 1; i < (1 << (w - 1)); i++) eng.mul(odd[i], odd[i - 1], sq);

    bool started = false;  // the first window sets acc instead of multiplying into it
    for (int32_t p = bits - 1; p >= 0;) {
        if (!EN_IsBitSet(e, p)) {
            eng.sqr(acc, acc);
            p--;
            continue;
        }
        // The longest window p .. low (at most w bits) that ends in a set bit.
        int32_t low = p - w + 1 < 0 ? 0 : p - w + 1;
        while (!EN_IsBitSet(e, low)) low++;
        uint32_t v = 0;
        for (int32_t i = p; i >= low; i--) {
            if (started) eng.sqr(acc, acc);
            v = (v << 1) | uint32_t(EN_IsBitSet(e, i));
        }
        if (started) {
            eng.mul(acc, acc, odd[v / 2]);
        } else {
            for (int i = 0; i < kElem; i++) acc[i] = odd[v / 2][i];
            started = true;
        }
        p = low - 1;
    }
    eng.finish(out, acc);
    subtractIfAtLeast(out, out, 0, eng.limbs(), eng.n);
}

}  // namespace

void allowIfma(bool on) { ifma::allow(on); }

void modExpSecret(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m) {
    assert(m->length > 0 && m->length <= kMaxModWords);
    LimbMont mt(m);
    u64 base[kMaxLimbs], out[kMaxLimbs];
    if (!prepare(r, a, e, m, base, mt.n, true)) return;
    if (ifma::usable(mt.n)) {
        ifma::Mont im(mt.m, mt.n, mt.n0);
        secretOne(out, im, base, e, m);
        secure_wipe(&im, sizeof im);
    } else {
        secretOne(out, mt, base, e, m);
    }
    store(r, out, m);
    secure_wipe(out, sizeof out);
    secure_wipe(base, sizeof base);
    secure_wipe(&mt, sizeof mt);
}

void modExpSecret2(ENUM *r1, const ENUM *a1, const ENUM *e1, const ENUM *m1, ENUM *r2, const ENUM *a2,
                   const ENUM *e2, const ENUM *m2) {
    assert(m1->length > 0 && m1->length <= kMaxModWords && m2->length > 0 && m2->length <= kMaxModWords);
    LimbMont lm[2] = {LimbMont(m1), LimbMont(m2)};
    if (lm[0].n != lm[1].n || !ifma::usable(lm[0].n) || isZero(e1) || isZero(e2) || (m1->words[0] & 1) == 0 ||
        (m2->words[0] & 1) == 0) {
        modExpSecret(r1, a1, e1, m1);
        modExpSecret(r2, a2, e2, m2);
        return;
    }
    const int n = lm[0].n;
    u64 base[2][kMaxLimbs], out[2][kMaxLimbs];
    prepare(r1, a1, e1, m1, base[0], n, true);
    prepare(r2, a2, e2, m2, base[1], n, true);
    ifma::Mont im[2] = {ifma::Mont(lm[0].m, n, lm[0].n0), ifma::Mont(lm[1].m, n, lm[1].n0)};
    const ENUM *e[2] = {e1, e2}, *m[2] = {m1, m2};
    fixedWindows<2>(out, im, base, e, m, [&im](u64 *const *r, u64 *const *a, u64 *const *b) {
        ifma::mul2(r[0], a[0], b[0], im[0], r[1], a[1], b[1], im[1]);
    });
    store(r1, out[0], m1);
    store(r2, out[1], m2);
    secure_wipe(out, sizeof out);
    secure_wipe(base, sizeof base);
    secure_wipe(im, sizeof im);
    secure_wipe(lm, sizeof lm);
}

void modExpPublic(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m) {
    assert(m->length > 0 && m->length <= kMaxModWords);
    const LimbMont mt(m);
    u64 base[kMaxLimbs], out[kMaxLimbs];
    if (!prepare(r, a, e, m, base, mt.n, false)) return;
    if (ifma::usable(mt.n))
        slidingWindows(out, ifma::Mont(mt.m, mt.n, mt.n0), base, e, m);
    else
        slidingWindows(out, mt, base, e, m);
    store(r, out, m);
}

}  // namespace vc::bignum
