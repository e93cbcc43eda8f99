// RSA key generation: plain and safe primes, the ANSI X9.31 construction, and the completion of
// the private key from e, p and q.
#include <vorelcrypto/prime.h>
#include <vorelcrypto/random.h>
#include <vorelcrypto/rsa.h>

#include <cstdio>

#include "bignum/bn_internal.h"
#include "primes/prime_internal.h"
#include "common/wipe.h"
#include "pubkey/rsa_internal.h"

using vc::bignum::Temp;

namespace {

bool isOne(const ENUM *a) { return a->length == 1 && a->words[0] == 1; }

// gcd(x, e) = 1.
bool coprime(const ENUM *x, const ENUM *e) {
    Temp g;
    EN_GCD(g.get(), x, e);
    vc::bignum::trim(g.get());
    return isOne(g.get());
}

// x - 1 into r.
void minusOne(ENUM *r, const ENUM *x) {
    EN_SubU32(r, x, 1);
    vc::bignum::trim(r);
}

// Exchanges the values of p and q (and whatever travels with them) so that p > q. The values
// move, not the storage pointers, so that each number stays in its own area of the record.
void orderPrimes(RsaKey *key, ENUM *pAux = nullptr, ENUM *qAux = nullptr) {
    if (EN_Comp(&key->q, &key->p) <= 0) return;
    Temp t;
    vc::bignum::loadTemp(t, &key->p);
    EN_Copy(&key->p, &key->q);
    EN_Copy(&key->q, t.get());
    vc::secure_wipe(t.w, sizeof t.w);
    for (int i = 0; pAux != nullptr && i < 2; i++) {
        Temp a;
        vc::bignum::loadTemp(a, &pAux[i]);
        EN_Copy(&pAux[i], &qAux[i]);
        EN_Copy(&qAux[i], a.get());
    }
}

void multiplyOut(RsaKey *key) {
    EN_Mul(&key->n, &key->p, &key->q);
    vc::bignum::trim(&key->n);
    E_RSA_GenerateD(key);
}

using PrimeGen = int32_t (*)(ENUM *, uint32_t);

void generate(RsaKey *key, uint32_t bits, uint32_t e, PrimeGen prime) {
    const uint32_t pbits = bits / 2, qbits = bits - pbits;
    EN_U32ToENUM(&key->e, e);
    Temp t;
    do {
        prime(&key->p, pbits);
        minusOne(t.get(), &key->p);
    } while (!coprime(t.get(), &key->e));
    do {
        prime(&key->q, qbits);
        minusOne(t.get(), &key->q);
    } while (!coprime(t.get(), &key->e) || EN_Comp(&key->q, &key->p) == 0);
    orderPrimes(key);
    multiplyOut(key);
}

// The X9.31 prime from X and its auxiliary primes a1 | Y - 1 and a2 | Y + 1:
// R = (a2^-1 mod a1) a2 - (a1^-1 mod a2) a1, Y = X + ((R - X) mod a1 a2), then Y steps by a1 a2
// (twice that for an even e) until gcd(Y - 1, e) = 1 (gcd((Y - 1) / 2, e) for an even e) and Y
// passes the probable-prime test.
void x931Prime(ENUM *y, const ENUM *x, const ENUM *a1, const ENUM *a2, const ENUM *e, bool strong) {
    Temp inv, r, s, prod, diff, step, t;
    EN_Mod_Inv(inv.get(), a2, a1);
    EN_Mul(r.get(), inv.get(), a2);
    EN_Mod_Inv(inv.get(), a1, a2);
    EN_Mul(s.get(), inv.get(), a1);
    EN_Sub(t.get(), r.get(), s.get());  // R
    EN_Mul(prod.get(), a1, a2);
    EN_Sub(diff.get(), t.get(), x);
    EN_Mod(r.get(), diff.get(), prod.get());
    if (r->sign != 0 && !vc::bignum::isZero(r.get())) {  // the non-negative residue
        EN_Add(s.get(), r.get(), prod.get());
        EN_Copy(r.get(), s.get());
    }
    r->sign = 0;
    EN_Add(t.get(), x, r.get());
    vc::bignum::trim(t.get());
    EN_Copy(y, t.get());
    const bool evenE = (e->words[0] & 1) == 0;
    if (evenE)
        EN_LShift1(step.get(), prod.get());
    else
        EN_Copy(step.get(), prod.get());
    for (;;) {
        minusOne(t.get(), y);
        if (evenE) EN_RShift1(t.get(), t.get());
        vc::bignum::trim(t.get());
        // A safe-prime test cannot pass here ((Y - 1) / 2 is a multiple of a1), so the strong
        // variant tests Y with the X9.31 witnesses instead.
        if (coprime(t.get(), e) && (strong ? vc::prime::isProbablePrimeX9(y, 5) : EN_IsPrime(y)) == 1)
            return;
        EN_Add(t.get(), y, step.get());
        vc::bignum::trim(t.get());
        EN_Copy(y, t.get());
    }
}

// |Xp - Xq| must reach 2^(pbits - 100), as X9.31 asks.
bool farApart(const ENUM *xp, const ENUM *xq, uint32_t pbits) {
    Temp d;
    EN_Sub(d.get(), xp, xq);
    vc::bignum::trim(d.get());
    return vc::bignum::bitLength(d.get()) > pbits - 100;
}

void checkLine(const char *name, const ENUM *prime, uint32_t plusOne, const ENUM *aux) {
    Temp t, q, r;
    EN_Copy(t.get(), prime);
    if (plusOne) {
        Temp one, s;
        EN_U32ToENUM(one.get(), 1);
        EN_Add(s.get(), t.get(), one.get());
        EN_Copy(t.get(), s.get());
    } else {
        minusOne(t.get(), prime);
    }
    EN_Div(q.get(), r.get(), t.get(), aux);
    std::printf("%s %s\n", name, vc::bignum::isZero(r.get()) ? "OK" : "Fail");
}

}  // namespace

void vc::rsa::generateX931(RsaKey *key, uint32_t bits, uint32_t e, uint8_t *out[4], bool strong, bool speak) {
    const uint32_t pbits = bits / 2, qbits = bits - pbits;
    EN_U32ToENUM(&key->e, e);
    Temp xp, xq;
    do {
        EN_X9_31Random(xp.get(), pbits, 1, 1);
        EN_X9_31Random(xq.get(), qbits, 1, 1);
    } while (!farApart(xp.get(), xq.get(), pbits));
    Temp aux[4];  // p1, p2, q1, q2
    ENUM pAux[2], qAux[2];
    for (int i = 0; i < 4; i++) {
        (strong ? EN_GenerateStrongX9Prime : EN_GenerateX9Prime)(aux[i].get(), 101);
        (i < 2 ? pAux[i] : qAux[i - 2]) = aux[i].n;
    }
    x931Prime(&key->p, xp.get(), &pAux[0], &pAux[1], &key->e, strong);
    x931Prime(&key->q, xq.get(), &qAux[0], &qAux[1], &key->e, strong);
    orderPrimes(key, pAux, qAux);
    multiplyOut(key);
    const ENUM *all[4] = {&pAux[0], &pAux[1], &qAux[0], &qAux[1]};
    for (int i = 0; i < 4; i++) EN_ENUMToBytes(all[i], out[i]);
    vc::secure_wipe(xp.w, sizeof xp.w);
    vc::secure_wipe(xq.w, sizeof xq.w);
    if (!speak) return;
    checkLine("p1", &key->p, 0, &pAux[0]);
    checkLine("p2", &key->p, 1, &pAux[1]);
    checkLine("q1", &key->q, 0, &qAux[0]);
    checkLine("q2", &key->q, 1, &qAux[1]);
    Temp pm, qm, g;
    minusOne(pm.get(), &key->p);
    minusOne(qm.get(), &key->q);
    EN_GCD(g.get(), pm.get(), qm.get());
    vc::bignum::trim(g.get());
    std::printf("len = %d\n", g->length);
    std::fflush(stdout);
    vc::secure_wipe(pm.w, sizeof pm.w);
    vc::secure_wipe(qm.w, sizeof qm.w);
}

extern "C" {

void E_RSA_GenerateKey(RsaKey *key, uint32_t bits, uint32_t e) {
    generate(key, bits, e, EN_GeneratePrimeRSA);
}

void E_RSA_GenerateStrongKey(RsaKey *key, uint32_t bits, uint32_t e) {
    generate(key, bits, e, EN_GeneratePrimeStrongRSA);
}

void E_RSA_GenerateX9Key(RsaKey *key, uint32_t bits, uint32_t e, uint8_t *p1Out, uint8_t *p2Out,
                         uint8_t *q1Out, uint8_t *q2Out) {
    uint8_t *out[4] = {p1Out, p2Out, q1Out, q2Out};
    vc::rsa::generateX931(key, bits, e, out, false, true);
}

void E_RSA_GenerateStrongX9Key(RsaKey *key, uint32_t bits, uint32_t e, uint8_t *p1Out, uint8_t *p2Out,
                               uint8_t *q1Out, uint8_t *q2Out) {
    uint8_t *out[4] = {p1Out, p2Out, q1Out, q2Out};
    vc::rsa::generateX931(key, bits, e, out, true, true);
}

void E_RSA_GenerateD(RsaKey *key) {
    Temp pm, qm, lambda;
    minusOne(pm.get(), &key->p);
    minusOne(qm.get(), &key->q);
    EN_LCM(lambda.get(), pm.get(), qm.get());
    vc::bignum::trim(lambda.get());
    EN_Mod_Inv(&key->d, &key->e, lambda.get());
    vc::bignum::trim(&key->d);
    EN_Mod(&key->dP, &key->d, pm.get());
    EN_Mod(&key->dQ, &key->d, qm.get());
    EN_Mod_Inv(&key->qInv, &key->q, &key->p);
    vc::bignum::trim(&key->qInv);
    vc::secure_wipe(pm.w, sizeof pm.w);
    vc::secure_wipe(qm.w, sizeof qm.w);
    vc::secure_wipe(lambda.w, sizeof lambda.w);
}

}  // extern "C"
