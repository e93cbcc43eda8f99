// Sliding-window modular exponentiation, in Montgomery form or with division.
//
// The Montgomery path has a second implementation on 64-bit limbs (FastMont). It runs only when
// its steps provably produce the words that the 32-bit reference steps produce: an even number
// of modulus words, a non-negative reduced base, a correct nprime; each product that would take
// a shortened reduction (fewer than nl words) is handed to EN_MontReduce itself, and squares
// re-apply the squaring carry rule (bignum/bn_internal.h) that existing results depend on.
#include "bignum/bn_internal.h"

using namespace vc::bignum;

namespace {

struct Window {
    int bits;     // w
    int entries;  // odd powers a^1, a^3, ... a^(2*entries-1)
};

Window windowFor(uint32_t expBits) {
    if (expBits >= 256) return {5, 16};
    if (expBits >= 128) return {4, 8};
    if (expBits >= 18) return {3, 4};
    return {1, 1};
}

// Scans e from bit `bits - 1` down: squares between windows, one multiplication by the odd
// power a^v (table entry v / 2) per window. Squares are skipped until the first multiplication.
template <class Sqr, class Mul>
void windowLoop(const ENUM *e, uint32_t bits, int w, Sqr sqr, Mul mul) {
    bool start = true;
    int32_t p = int32_t(bits) - 1;
    for (;;) {
        if (!EN_IsBitSet(e, p)) {
            if (!start) sqr();
            if (p == 0) break;
            p--;
            continue;
        }
        uint32_t v = 1;
        int k = 0;
        for (int i = 1; i < w; i++) {
            if (p - i < 0) break;
            if (EN_IsBitSet(e, p - i)) {
                v = (v << (i - k)) | 1;
                k = i;
            }
        }
        if (!start)
            for (int j = 0; j <= k; j++) sqr();
        mul(int(v / 2));
        p -= k + 1;
        start = false;
        if (p < 0) break;
    }
}

// Table, accumulator and loop over any representation; `mm(r, x, y)` is the modular product
// (a square when x and y are the same object), `base` the first table entry already formed.
template <class V, class MM>
void exponentiate(V *table, V &d, V &acc, const ENUM *e, uint32_t bits, Window win, MM mm) {
    if (win.entries > 1) {
        mm(d, table[0], table[0]);
        for (int i = 1; i < win.entries; i++) mm(table[i], table[i - 1], d);
    }
    windowLoop(e, bits, win.bits, [&] { mm(acc, acc, acc); }, [&](int i) { mm(acc, acc, table[i]); });
}

// A stack Montgomery context: four 150-word records.
struct MontCtx {
    Temp rr, ni, n, spare;
    EN_MontCtx ctx{0, rr.n, ni.n, n.n, spare.n, 0};
    explicit MontCtx(const ENUM *m) { EN_MontSet(&ctx, m); }
};

// A three-limb column accumulator for product scanning: each column's products are summed
// before one store, which keeps the carry chains short.
struct Column {
    u128 lo = 0;
    u64 hi = 0;
    void add(u128 p) { hi += __builtin_add_overflow(lo, p, &lo); }
    void mulAdd(u64 x, u64 y) { add(u128(x) * y); }
    u64 take() {  // the low limb out, the rest shifted down
        const u64 out = u64(lo);
        lo = (lo >> 64) | (u128(hi) << 64);
        hi = 0;
        return out;
    }
};

// acc += x[0]*y[0] + x[1]*y[-1] + ... (count terms), unrolled: the inner loop of every column.
inline void dot(Column &acc, const u64 *x, const u64 *y, int count) {
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        acc.mulAdd(x[i], y[-i]);
        acc.mulAdd(x[i + 1], y[-i - 1]);
        acc.mulAdd(x[i + 2], y[-i - 2]);
        acc.mulAdd(x[i + 3], y[-i - 3]);
    }
    for (; i < count; i++) acc.mulAdd(x[i], y[-i]);
}

// t[0..2n-1] = a * b by columns.
void combaMul(u64 *t, const u64 *a, const u64 *b, int n) {
    Column acc;
    for (int k = 0; k < 2 * n - 1; k++) {
        const int lo = k < n ? 0 : k - n + 1, hi = k < n ? k : n - 1;
        dot(acc, a + lo, b + (k - lo), hi - lo + 1);
        t[k] = acc.take();
    }
    t[2 * n - 1] = acc.take();
}

// t[0..2n-1] = a^2 by columns: the cross products of a column doubled, then its diagonal square.
void combaSqr(u64 *t, const u64 *a, int n) {
    Column acc;
    for (int k = 0; k < 2 * n - 1; k++) {
        const int lo = k < n ? 0 : k - n + 1;
        Column cross;
        dot(cross, a + lo, a + (k - lo), (k + 1) / 2 - lo);
        acc.add(cross.lo);
        acc.add(cross.lo);
        acc.hi += 2 * cross.hi;
        if (k % 2 == 0) acc.mulAdd(a[k / 2], a[k / 2]);
        t[k] = acc.take();
    }
    t[2 * n - 1] = acc.take();
}

// Montgomery arithmetic on n 64-bit limbs, equal word for word to EN_MontMul.
struct FastMont {
    static constexpr int kLimbs = kMaxModWords / 2;
    using Value = u64[kLimbs];
    const EN_MontCtx *ctx;
    int n = 0;       // limbs
    int32_t nl = 0;  // 32-bit words of N
    u64 nn[kLimbs] = {};
    u64 n0 = 0;      // -N^-1 mod 2^64

    // False when the fast path cannot be shown equal to the 32-bit reference path.
    bool init(const EN_MontCtx *c) {
        ctx = c;
        const ENUM &N = c->N;
        nl = N.length;
        if (N.sign != 0 || nl == 0 || nl % 2 != 0 || nl > kMaxModWords) return false;
        if (uint32_t(N.words[0] * c->nprime) != 0xFFFFFFFFu) return false;
        n = nl / 2;
        toLimbs(nn, N.words, nl, n);
        u64 inv = 1;  // Newton: inv = N^-1 mod 2^64
        for (int i = 0; i < 6; i++) inv *= 2 - nn[0] * inv;
        n0 = u64(0) - inv;
        return true;
    }

    void load(u64 *v, const ENUM *x) const { toLimbs(v, x->words, x->length, n); }

    void mont(u64 *r, const u64 *x, const u64 *y) const {
        u64 t[2 * kLimbs + 1];
        if (x == y) {
            combaSqr(t, x, n);
            sqrCarryRule(t, x, nl);
        } else {
            combaMul(t, x, y, n);
        }
        // The reference reduction runs nl times unless t is shorter than nl words.
        bool full = (t[n - 1] >> 32) != 0;
        for (int i = 2 * n - 1; !full && i >= n; i--) full = t[i] != 0;
        if (full)
            redc(r, t);
        else
            literal(r, t);
    }

    // t + m*N with m = -t/N mod 2^(64n), by columns; the upper half (and a top bit) into t[n..2n].
    void redc(u64 *r, u64 *t) const {
        u64 m[kLimbs];
        Column acc;
        for (int k = 0; k < n; k++) {
            acc.add(t[k]);
            dot(acc, m, nn + k, k);
            m[k] = u64(acc.lo) * n0;
            acc.mulAdd(m[k], nn[0]);
            acc.take();
        }
        for (int k = n; k < 2 * n; k++) {
            acc.add(t[k]);
            dot(acc, m + (k - n + 1), nn + (n - 1), 2 * n - 1 - k);
            t[k] = acc.take();
        }
        const u64 extra = acc.take();
        u64 *u = t + n;
        bool ge = extra != 0;
        if (!ge) {
            ge = true;  // equal counts as greater or equal
            for (int i = n - 1; i >= 0; i--)
                if (u[i] != nn[i]) {
                    ge = u[i] > nn[i];
                    break;
                }
        }
        u64 borrow = 0;
        for (int i = 0; i < n; i++) {
            const u64 sub = ge ? nn[i] : 0;
            const u128 dd = u128(u[i]) - sub - borrow;
            r[i] = u64(dd);
            borrow = u64(dd >> 64) & 1;
        }
    }

    // A short product: the reference reduction word by word on the 32-bit records.
    void literal(u64 *r, const u64 *t) const {
        Temp T, R;
        fromLimbs(T.w, t, 2 * nl);
        T->length = 2 * nl;
        trim(T.get());
        fromLimbs(R.w, r, nl);
        R->length = nl;
        trim(R.get());
        EN_MontReduce(R.get(), T.get(), ctx);
        assert(R->sign == 0 && R->length <= nl);
        toLimbs(r, R.w, R->length, n);
    }
};

bool montgomeryModulus(const ENUM *m) {
    return m->length > 0 && (m->words[0] & 1) && (m->words[m->length - 1] >> 31);
}

void expMontgomery(ENUM *r, const ENUM *a, const ENUM *e, uint32_t bits, Window win, const ENUM *m, bool allowFast) {
    MontCtx mc(m);
    const EN_MontCtx *ctx = &mc.ctx;
    Temp one;
    EN_U32ToENUM(one.get(), 1);
    FastMont fm;
    const bool reduced = a->sign == 0 && (a->length == 0 || a->words[a->length - 1] != 0) &&
                         EN_UComp(a, &ctx->N) < 0;
    if (allowFast && reduced && fm.init(ctx)) {
        FastMont::Value table[16] = {}, d = {}, acc = {}, x = {}, rr = {}, o = {};
        fm.load(x, a);
        fm.load(rr, &ctx->RR);
        fm.load(o, one.get());
        fm.mont(table[0], x, rr);
        fm.mont(acc, o, rr);
        exponentiate(table, d, acc, e, bits, win, [&fm](u64 *z, const u64 *p, const u64 *q) { fm.mont(z, p, q); });
        Temp A;
        fromLimbs(A.w, acc, fm.nl);
        A->length = fm.nl;
        trim(A.get());
        EN_MontReduce(r, A.get(), ctx);
        return;
    }
    Temp table[16], d, acc;
    EN_MontMul(table[0].get(), a, &ctx->RR, ctx);
    EN_MontMul(acc.get(), one.get(), &ctx->RR, ctx);
    using P = Temp;
    exponentiate(table, d, acc, e, bits, win,
                 [ctx](P &z, P &p, P &q) { EN_MontMul(z.get(), p.get(), q.get(), ctx); });
    EN_MontReduce(r, acc.get(), ctx);
}

void expPlain(ENUM *r, const ENUM *a, const ENUM *e, uint32_t bits, Window win, const ENUM *m) {
    Temp table[16], d, acc;
    EN_Mod(table[0].get(), a, m);
    EN_U32ToENUM(acc.get(), 1);
    exponentiate(table, d, acc, e, bits, win, [m](Temp &z, Temp &p, Temp &q) { EN_Mod_Mul(z.get(), p.get(), q.get(), m); });
    EN_Copy(r, acc.get());
}

void modExp(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m, bool allowFast) {
    assert(m->length <= kMaxModWords);
    if (isZero(e)) {
        EN_U32ToENUM(r, m->length == 1 && m->words[0] == 1 ? 0 : 1);
        return;
    }
    const uint32_t bits = bitLength(e);
    const Window win = windowFor(bits);
    if (montgomeryModulus(m))
        expMontgomery(r, a, e, bits, win, m, allowFast);
    else
        expPlain(r, a, e, bits, win, m);
}

}  // namespace

void vc::bignum::modExpLiteral(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m) { modExp(r, a, e, m, false); }

extern "C" {

void EN_Mod_Exp(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m) { modExp(r, a, e, m, true); }

void EN_Mod_ExpA(ENUM *r, const ENUM *a, const ENUM *e, const ENUM *m) {
    Temp q, A;
    EN_Div(q.get(), A.get(), a, m);
    EN_Mod_Exp(r, A.get(), e, m);
}

}  // extern "C"
