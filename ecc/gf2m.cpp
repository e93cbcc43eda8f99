// GF(2^m) arithmetic: carry-less products, pentanomial reduction, squaring, Itoh-Tsujii
// inversion, trace and half-trace. Every routine runs in time independent of the element
// values except the generic reduction, whose number of folding passes depends on the operand
// (it serves only polynomials that no built-in curve uses).
#include "ecc/gf2m.h"

#include <immintrin.h>

namespace vc::ecc::gf2m {

namespace {

// ---------------------------------------------------------------- products

// 32 x 32 -> 64-bit carry-less product with integer multiplications: each operand is split
// into four combs of every fourth bit, so that every partial sum within a product stays below
// 16 and cannot carry into the next comb tooth. No table, no branch.
inline uint64_t clmul32(uint32_t x, uint32_t y) {
    const uint64_t x0 = x & 0x11111111u, x1 = x & 0x22222222u, x2 = x & 0x44444444u, x3 = x & 0x88888888u;
    const uint64_t y0 = y & 0x11111111u, y1 = y & 0x22222222u, y2 = y & 0x44444444u, y3 = y & 0x88888888u;
    uint64_t z0 = (x0 * y0) ^ (x1 * y3) ^ (x2 * y2) ^ (x3 * y1);
    uint64_t z1 = (x0 * y1) ^ (x1 * y0) ^ (x2 * y3) ^ (x3 * y2);
    uint64_t z2 = (x0 * y2) ^ (x1 * y1) ^ (x2 * y0) ^ (x3 * y3);
    uint64_t z3 = (x0 * y3) ^ (x1 * y2) ^ (x2 * y1) ^ (x3 * y0);
    z0 &= 0x1111111111111111u, z1 &= 0x2222222222222222u;
    z2 &= 0x4444444444444444u, z3 &= 0x8888888888888888u;
    return z0 | z1 | z2 | z3;
}

// 64 x 64 -> 128 by one Karatsuba step over clmul32.
inline void clmul64(uint64_t a, uint64_t b, uint64_t &lo, uint64_t &hi) {
    const uint64_t l = clmul32(uint32_t(a), uint32_t(b));
    const uint64_t h = clmul32(uint32_t(a >> 32), uint32_t(b >> 32));
    const uint64_t m = clmul32(uint32_t(a ^ (a >> 32)), uint32_t(b ^ (b >> 32))) ^ l ^ h;
    lo = l ^ (m << 32);
    hi = h ^ (m >> 32);
}

// 192 x 192 -> 384 by three-term Karatsuba (six 64-bit products).
inline void productPortableInline(uint64_t c[6], const Fe &a, const Fe &b) {
    uint64_t p0[2], p1[2], p2[2], p01[2], p02[2], p12[2];
    clmul64(a.w[0], b.w[0], p0[0], p0[1]);
    clmul64(a.w[1], b.w[1], p1[0], p1[1]);
    clmul64(a.w[2], b.w[2], p2[0], p2[1]);
    clmul64(a.w[0] ^ a.w[1], b.w[0] ^ b.w[1], p01[0], p01[1]);
    clmul64(a.w[0] ^ a.w[2], b.w[0] ^ b.w[2], p02[0], p02[1]);
    clmul64(a.w[1] ^ a.w[2], b.w[1] ^ b.w[2], p12[0], p12[1]);
    uint64_t m1[2], m2[2], m3[2];
    for (int i = 0; i < 2; i++) {
        m1[i] = p01[i] ^ p0[i] ^ p1[i];
        m2[i] = p02[i] ^ p0[i] ^ p2[i] ^ p1[i];
        m3[i] = p12[i] ^ p1[i] ^ p2[i];
    }
    c[0] = p0[0];
    c[1] = p0[1] ^ m1[0];
    c[2] = m1[1] ^ m2[0];
    c[3] = m2[1] ^ m3[0];
    c[4] = m3[1] ^ p2[0];
    c[5] = p2[1];
}

// Squaring is linear: spread each bit to twice its position.
inline uint64_t spread32(uint32_t x) {
    uint64_t v = x;
    v = (v | (v << 16)) & 0x0000FFFF0000FFFFu;
    v = (v | (v << 8)) & 0x00FF00FF00FF00FFu;
    v = (v | (v << 4)) & 0x0F0F0F0F0F0F0F0Fu;
    v = (v | (v << 2)) & 0x3333333333333333u;
    v = (v | (v << 1)) & 0x5555555555555555u;
    return v;
}

inline void squarePortable(uint64_t c[6], const Fe &a) {
    for (int i = 0; i < 3; i++) {
        c[2 * i] = spread32(uint32_t(a.w[i]));
        c[2 * i + 1] = spread32(uint32_t(a.w[i] >> 32));
    }
}

#define VC_CLMUL __attribute__((target("pclmul,sse4.1")))

// Lanes to words through registers: a 128-bit store read back as two 64-bit loads would stall
// on store forwarding in every squaring of an inversion.
VC_CLMUL inline void store(uint64_t c[6], __m128i lo, __m128i mid, __m128i hi) {
    c[0] = uint64_t(_mm_cvtsi128_si64(lo));
    c[1] = uint64_t(_mm_extract_epi64(lo, 1));
    c[2] = uint64_t(_mm_cvtsi128_si64(mid));
    c[3] = uint64_t(_mm_extract_epi64(mid, 1));
    c[4] = uint64_t(_mm_cvtsi128_si64(hi));
    c[5] = uint64_t(_mm_extract_epi64(hi, 1));
}

// Limbs 0 and 1 as one vector from two 64-bit loads: elements are written limb by limb, and a
// 128-bit load of two separate 64-bit stores cannot take them from the store buffer, which
// would stall every product on the one before it.
VC_CLMUL inline __m128i load01(const Fe &a) {
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(a.w)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i *>(a.w + 1)));
}

VC_CLMUL inline void productClmulInline(uint64_t c[6], const Fe &a, const Fe &b) {
    const __m128i a01 = load01(a), b01 = load01(b);
    const __m128i a2 = _mm_cvtsi64_si128(int64_t(a.w[2]));
    const __m128i b2 = _mm_cvtsi64_si128(int64_t(b.w[2]));
    const __m128i p00 = _mm_clmulepi64_si128(a01, b01, 0x00);
    const __m128i p11 = _mm_clmulepi64_si128(a01, b01, 0x11);
    const __m128i p01 = _mm_xor_si128(_mm_clmulepi64_si128(a01, b01, 0x10), _mm_clmulepi64_si128(a01, b01, 0x01));
    const __m128i p22 = _mm_clmulepi64_si128(a2, b2, 0x00);
    const __m128i p02 = _mm_xor_si128(_mm_clmulepi64_si128(a01, b2, 0x00), _mm_clmulepi64_si128(a2, b01, 0x00));
    const __m128i p12 = _mm_xor_si128(_mm_clmulepi64_si128(a01, b2, 0x01), _mm_clmulepi64_si128(a2, b01, 0x10));
    // c = p00 + p01 x^64 + (p02 + p11) x^128 + p12 x^192 + p22 x^256
    const __m128i lo = _mm_xor_si128(p00, _mm_slli_si128(p01, 8));
    const __m128i mid = _mm_xor_si128(_mm_xor_si128(p02, p11), _mm_xor_si128(_mm_srli_si128(p01, 8), _mm_slli_si128(p12, 8)));
    const __m128i hi = _mm_xor_si128(p22, _mm_srli_si128(p12, 8));
    store(c, lo, mid, hi);
}

VC_CLMUL inline void squareClmul(uint64_t c[6], const Fe &a) {
    const __m128i a01 = load01(a);
    const __m128i a2 = _mm_cvtsi64_si128(int64_t(a.w[2]));
    store(c, _mm_clmulepi64_si128(a01, a01, 0x00), _mm_clmulepi64_si128(a01, a01, 0x11),
          _mm_clmulepi64_si128(a2, a2, 0x00));
}

// ---------------------------------------------------------------- reduction

// c ^= t * x^pos for pos + 63 < 384.
inline void foldAt(uint64_t c[6], uint64_t t, unsigned pos) {
    const unsigned w = pos / 64, s = pos % 64;
    c[w] ^= t << s;
    if (s != 0) c[w + 1] ^= t >> (64 - s);
}

// x^163 + x^K3 + x^K2 + x^K1 + 1 with K3 <= 28: words 5..3 fold into words 0..3 in one pass
// each (word 5 lands partly in word 3, folded after it), then the 29 bits above x^163 in
// word 2 fold into word 0 without spilling.
template <unsigned K3, unsigned K2, unsigned K1>
inline void reduce163(uint64_t c[6]) {
    static_assert(K3 <= 28 && K2 < K3 && K1 < K2);
    for (unsigned i = 5; i >= 3; i--) {
        const uint64_t t = c[i];
        c[i] = 0;
        foldAt(c, t, 64 * i - 163);
        foldAt(c, t, 64 * i - 163 + K1);
        foldAt(c, t, 64 * i - 163 + K2);
        foldAt(c, t, 64 * i - 163 + K3);
    }
    const uint64_t t = c[2] >> 35;
    c[2] &= (uint64_t(1) << 35) - 1;
    c[0] ^= t ^ (t << K1) ^ (t << K2) ^ (t << K3);
}

// Any pentanomial with m <= 192: whole words above x^m fold down from the top, repeating while
// a fold lands back in the word being cleared (k3 close to m), then the bits above x^m in the
// top partial word.
inline void reduceGeneric(const BinaryField &f, uint64_t c[6]) {
    const unsigned words = (f.m + 63) / 64, r = f.m % 64;
    const unsigned ks[4] = {0, f.k1, f.k2, f.k3};
    for (unsigned i = 5; i >= words; i--) {
        while (uint64_t t = c[i]) {
            c[i] = 0;
            for (unsigned k : ks) foldAt(c, t, 64 * i - f.m + k);
        }
    }
    if (r == 0) return;
    const uint64_t mask = (uint64_t(1) << r) - 1;
    while (uint64_t t = c[words - 1] >> r) {
        c[words - 1] &= mask;
        for (unsigned k : ks) foldAt(c, t, k);
    }
}

// a -> a^(2^k) is linear over GF(2): column i of its matrix is (x^i)^(2^k). Applying it reads
// every column under a mask made from the bit of a, so the time does not depend on a; for the
// long runs of squarings in an inversion it is several times faster than squaring k times.
struct SquareMap {
    Fe col[163];
};

inline void applyMap(const SquareMap &map, Fe &r, const Fe &a) {
    uint64_t acc[3] = {0, 0, 0};
    for (unsigned i = 0; i < 163; i++) {
        const uint64_t mask = 0 - ((a.w[i / 64] >> (i % 64)) & 1);
        for (int j = 0; j < 3; j++) acc[j] ^= map.col[i].w[j] & mask;
    }
    r = Fe{{acc[0], acc[1], acc[2]}};
}

// The maps for the three longest runs of Itoh-Tsujii for m = 163 (m - 1 = 162 builds
// exponents 1, 2, 4, 5, 10, 20, 40, 80, 81, 162).
struct SquareMaps {
    SquareMap m20, m40, m81;
    const SquareMap *find(unsigned k) const {
        return k == 20 ? &m20 : k == 40 ? &m40 : k == 81 ? &m81 : nullptr;
    }
};

template <void Reduce(uint64_t *)>
SquareMaps buildMaps() {
    SquareMaps maps;
    for (unsigned i = 0; i < 163; i++) {
        Fe t = feZero();
        t.w[i / 64] = uint64_t(1) << (i % 64);
        for (unsigned k = 1; k <= 81; k++) {
            uint64_t c[6];
            squarePortable(c, t);
            Reduce(c);
            t = Fe{{c[0], c[1], c[2]}};
            if (k == 20) maps.m20.col[i] = t;
            if (k == 40) maps.m40.col[i] = t;
            if (k == 81) maps.m81.col[i] = t;
        }
    }
    return maps;
}

void reduce163a(uint64_t *c) { reduce163<7, 6, 3>(c); }
void reduce163b(uint64_t *c) { reduce163<8, 2, 1>(c); }

struct Reduce163a {
    static void run(const Field &, uint64_t c[6]) { reduce163<7, 6, 3>(c); }
    static const SquareMaps *maps() {
        static const SquareMaps built = buildMaps<reduce163a>();
        return &built;
    }
};
struct Reduce163b {
    static void run(const Field &, uint64_t c[6]) { reduce163<8, 2, 1>(c); }
    static const SquareMaps *maps() {
        static const SquareMaps built = buildMaps<reduce163b>();
        return &built;
    }
};
struct ReduceGeneric {
    static void run(const Field &f, uint64_t c[6]) { reduceGeneric(f.params(), c); }
    static const SquareMaps *maps() { return nullptr; }
};

inline Fe low3(const uint64_t c[6]) { return Fe{{c[0], c[1], c[2]}}; }

// a^-1 = (a^(2^(m-1) - 1))^2, building b_k = a^(2^k - 1) along the bits of m - 1 with
// b_2k = b_k^(2^k) b_k and b_(k+1) = b_k^2 a.
template <class K>
inline void itohTsujii(const Field &f, const SquareMaps *maps, Fe &r, const Fe &a) {
    const unsigned e = f.params().m - 1;
    int top = 31;
    while (!((e >> top) & 1)) top--;
    Fe b = a, t;
    unsigned k = 1;
    for (int i = top - 1; i >= 0; i--) {
        const SquareMap *map = maps != nullptr ? maps->find(k) : nullptr;
        if (map != nullptr) applyMap(*map, t, b);
        else K::sqrn(f, t, b, k);
        K::mul(f, b, t, b);
        k *= 2;
        if ((e >> i) & 1) {
            K::sqrn(f, t, b, 1);
            K::mul(f, b, t, a);
            k++;
        }
    }
    K::sqrn(f, r, b, 1);
}

template <class R>
struct Portable {
    static void mul(const Field &f, Fe &r, const Fe &a, const Fe &b) {
        uint64_t c[6];
        productPortableInline(c, a, b);
        R::run(f, c);
        r = low3(c);
    }
    static void sqrn(const Field &f, Fe &r, const Fe &a, unsigned n) {
        Fe t = a;
        uint64_t c[6];
        for (unsigned i = 0; i < n; i++) {
            squarePortable(c, t);
            R::run(f, c);
            t = low3(c);
        }
        r = t;
    }
    static void inv(const Field &f, Fe &r, const Fe &a) { itohTsujii<Portable>(f, R::maps(), r, a); }
    static void reduce(const Field &f, Fe &r, uint64_t *c) {
        R::run(f, c);
        r = low3(c);
    }
};

// The same shapes over the PCLMUL products. They stay a separate template because the target
// attribute that lets the products inline must sit on these functions themselves.
template <class R>
struct Clmul {
    VC_CLMUL static void mul(const Field &f, Fe &r, const Fe &a, const Fe &b) {
        uint64_t c[6];
        productClmulInline(c, a, b);
        R::run(f, c);
        r = low3(c);
    }
    VC_CLMUL static void sqrn(const Field &f, Fe &r, const Fe &a, unsigned n) {
        Fe t = a;
        uint64_t c[6];
        for (unsigned i = 0; i < n; i++) {
            squareClmul(c, t);
            R::run(f, c);
            t = low3(c);
        }
        r = t;
    }
    VC_CLMUL static void inv(const Field &f, Fe &r, const Fe &a) { itohTsujii<Clmul>(f, R::maps(), r, a); }
    static void reduce(const Field &f, Fe &r, uint64_t *c) {
        R::run(f, c);
        r = low3(c);
    }
};

template <template <class> class K, class R>
constexpr Field::Ops opsOf() {
    return Field::Ops{&K<R>::mul, &K<R>::sqrn, &K<R>::inv, &K<R>::reduce};
}

constexpr Field::Ops kOps[2][3] = {
    {opsOf<Portable, Reduce163a>(), opsOf<Portable, Reduce163b>(), opsOf<Portable, ReduceGeneric>()},
    {opsOf<Clmul, Reduce163a>(), opsOf<Clmul, Reduce163b>(), opsOf<Clmul, ReduceGeneric>()},
};

}  // namespace

bool clmulAvailable() {
    static const bool available = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
    return available;
}

void productPortable(uint64_t c[6], const Fe &a, const Fe &b) { productPortableInline(c, a, b); }

VC_CLMUL void productClmul(uint64_t c[6], const Fe &a, const Fe &b) { productClmulInline(c, a, b); }

Fe fromWords(const uint32_t w[6]) {
    Fe a;
    for (int i = 0; i < 3; i++) a.w[i] = uint64_t(w[2 * i]) | uint64_t(w[2 * i + 1]) << 32;
    return a;
}

void toWords(const Fe &a, uint32_t w[6]) {
    for (int i = 0; i < 3; i++) {
        w[2 * i] = uint32_t(a.w[i]);
        w[2 * i + 1] = uint32_t(a.w[i] >> 32);
    }
}

Field::Field(const BinaryField &f, Kernel kernel) : f_(f) {
    const bool clmul = kernel == Kernel::best && clmulAvailable();
    int poly = 2;
    if (f.m == 163 && f.k3 == 7 && f.k2 == 6 && f.k1 == 3) poly = 0;
    if (f.m == 163 && f.k3 == 8 && f.k2 == 2 && f.k1 == 1) poly = 1;
    ops_ = &kOps[clmul ? 1 : 0][poly];
}

Fe Field::reduced(const Fe &a) const {
    uint64_t c[6] = {a.w[0], a.w[1], a.w[2], 0, 0, 0};
    Fe r;
    reduce(r, c);
    return r;
}

unsigned Field::trace(const Fe &c) const {
    Fe t = reduced(c), s = t;
    for (unsigned i = 1; i < f_.m; i++) {
        sqr(t, t);
        s += t;
    }
    return unsigned(s.w[0] & 1);
}

// H(c) = sum of c^(4^i) for i = 0 .. (m-1)/2; H(c)^2 + H(c) = c + Tr(c).
Fe Field::halfTrace(const Fe &c) const {
    Fe t = reduced(c), h = t;
    for (unsigned i = 1; i <= (f_.m - 1) / 2; i++) {
        sqrn(t, t, 2);
        h += t;
    }
    return h;
}

}  // namespace vc::ecc::gf2m
