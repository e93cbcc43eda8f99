// Montgomery context, multiplication and reduction.
#include "bignum/bn_internal.h"

using namespace vc::bignum;

extern "C" {

void EN_MontSet(EN_MontCtx *ctx, const ENUM *m) {
    const uint32_t ri = bitLength(m);
    ctx->ri = ri;
    EN_Copy(&ctx->N, m);
    Temp one, r1;
    EN_U32ToENUM(one.get(), 1);
    EN_LShift(r1.get(), one.get(), 32);
    ENUM w{m->sign, 1, m->words};  // m's low word alone
    // Ni = (2^32 * (2^32)^-1 mod w - 1) / w, whose low word is -w^-1 mod 2^32.
    EN_Mod_Inv(&ctx->Ni, r1.get(), &w);
    EN_LShift(&ctx->Ni, &ctx->Ni, 32);
    EN_SubU32(&ctx->Ni, &ctx->Ni, 1);
    EN_Div(&ctx->Ni, nullptr, &ctx->Ni, &w);
    ctx->nprime = ctx->Ni.words[0];
    Temp big;
    if (2 * ri < uint32_t(kTempWords) * 32) {
        EN_LShift(big.get(), one.get(), int32_t(2 * ri));
        EN_Mod(&ctx->RR, big.get(), m);
    } else {  // 2^(2ri) itself would not fit a temporary: the same value as (2^ri mod m)^2 mod m
        EN_LShift(big.get(), one.get(), int32_t(ri));
        EN_Mod(&ctx->RR, big.get(), m);
        EN_Mod_Sqr(&ctx->RR, &ctx->RR, m);
    }
}

void EN_MontMul(ENUM *r, const ENUM *a, const ENUM *b, const EN_MontCtx *ctx) {
    Temp t;
    if (a == b)
        EN_Sqr(t.get(), a);
    else
        EN_Mul(t.get(), a, b);
    EN_MontReduce(r, t.get(), ctx);
}

void EN_MontReduce(ENUM *r, const ENUM *t, const EN_MontCtx *ctx) {
    const ENUM *n = &ctx->N;
    Temp T, L;
    loadTemp(T, t);
    loadTemp(L, t);
    EN_MaskBit(L.get(), int32_t(ctx->ri));
    // One iteration per word of the cut low part (not per word of N): zero top words there
    // shorten the loop, and an empty low part leaves r as it was. Callers rely on it as is.
    const int32_t al = L->length, nl = n->length;
    if (al == 0 || nl == 0) return;
    assert(al + nl + 1 <= kTempStorage);
    T->sign ^= n->sign;
    for (int32_t i = T->length; i < al + nl + 1; i++) T.w[i] = 0;
    T->length = al + nl + 1;
    for (int32_t i = 0; i < al; i++) {
        const uint32_t q = T.w[i] * ctx->nprime;
        uint32_t c = mulAddWord(T.w + i, n->words, nl, q);
        for (int32_t k = i + nl; c != 0 && k < kTempStorage; k++) {
            T.w[k] += c;
            c = T.w[k] < c;
        }
    }
    trim(T.get());
    EN_RShift(r, T.get(), int32_t(ctx->ri));
    if (EN_UComp(r, n) >= 0) uSub(r, r, n);
}

}  // extern "C"
