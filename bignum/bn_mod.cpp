// Reduction, modular addition, subtraction, multiplication, squaring, inversion and the word
// remainder.
#include "bignum/bn_internal.h"

#include <utility>

using namespace vc::bignum;

namespace {

// r = product mod m, the product formed in a stack record (a square when the operands are one
// record).
void productMod(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) {
    assert(m->length <= kMaxModWords);
    Temp t, q;
    if (a == b)
        EN_Sqr(t.get(), a);
    else
        EN_Mul(t.get(), a, b);
    EN_Div(q.get(), r, t.get(), m);
}

}  // namespace

extern "C" {

void EN_Mod(ENUM *r, const ENUM *a, const ENUM *m) {
    Temp q;
    EN_Div(q.get(), r, a, m);
    trim(r);
}

void EN_Mod_Add(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) {
    Temp q;
    EN_Add(r, a, b);
    EN_Div(q.get(), r, r, m);
}

void EN_Mod_Sub(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) {
    if (EN_Comp(a, b) < 0) {
        EN_Sub(r, b, a);
        EN_Sub(r, m, r);
    } else {
        EN_Sub(r, a, b);
    }
}

void EN_Mod_Mul(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) { productMod(r, a, b, m); }

void EN_Mod_MulA(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) {
    Temp A;
    EN_Mod(A.get(), a, m);
    productMod(r, A.get(), a == b ? A.get() : b, m);
}

void EN_Mod_MulB(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) {
    Temp B;
    EN_Mod(B.get(), b, m);
    productMod(r, a == b ? B.get() : a, B.get(), m);
}

void EN_Mod_MulAB(ENUM *r, const ENUM *a, const ENUM *b, const ENUM *m) {
    Temp A, B;
    EN_Mod(A.get(), a, m);
    if (a == b) {
        productMod(r, A.get(), A.get(), m);
        return;
    }
    EN_Mod(B.get(), b, m);
    productMod(r, A.get(), B.get(), m);
}

void EN_Mod_Sqr(ENUM *r, const ENUM *a, const ENUM *m) { productMod(r, a, a, m); }

void EN_Mod_SqrA(ENUM *r, const ENUM *a, const ENUM *m) {
    Temp A;
    EN_Mod(A.get(), a, m);
    productMod(r, A.get(), A.get(), m);
}

// Extended Euclid keeping only the cofactor of a, with its sign tracked by parity.
void EN_Mod_Inv(ENUM *r, const ENUM *a, const ENUM *m) {
    if (a->sign == 1 || m->sign == 1) return;
    Temp A, B, X, Y, D, M, T;
    loadTemp(A, a);
    loadTemp(B, m);
    EN_U32ToENUM(Y.get(), 1);
    ENUM *pa = A.get(), *pb = B.get(), *px = X.get(), *py = Y.get(), *pm = M.get(), *pt = T.get();
    int negative = 0;
    while (pb->sign == 0 && !isZero(pb)) {
        EN_Div(D.get(), pm, pa, pb);
        std::swap(pa, pb);  // A = B
        std::swap(pb, pm);  // B = M
        Temp P;
        EN_Mul(P.get(), D.get(), px);
        EN_Add(pt, P.get(), py);
        std::swap(py, px);  // Y = X
        std::swap(px, pt);  // X = T
        negative ^= 1;
    }
    if (negative) EN_Sub(py, m, py);
    if (pa->length == 1 && pa->words[0] == 1)
        EN_Mod(r, py, m);
    else
        setWordZero(r);
}

uint32_t EN_ModWord(const ENUM *a, uint32_t w) {
    uint32_t c = 0;
    for (int32_t i = a->length - 1; i >= 0; i--) {
        const uint32_t x = a->words[i];
        c = ((c << 16) + (x >> 16)) % w;
        c = ((c << 16) + (x & 0xFFFFu)) % w;
    }
    return c;
}

}  // extern "C"
