// DSA over a ready hash value: key generation, signing and verification with DER signatures
// SEQUENCE { INTEGER r, INTEGER s }.
#include "common/wipe.h"
#include "pubkey/dlog_internal.h"

#include <vorelcrypto/asn1.h>
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/random.h>

#include <cstring>

using vc::dlog::Temp;
namespace bn = vc::bignum;
namespace dl = vc::dlog;

namespace {

// 1 <= v <= q - 1.
bool inRange(const ENUM *v, const ENUM *q) { return !bn::isZero(v) && EN_UComp(v, q) < 0; }

// The signature is exactly the DER of its two numbers: the reader also takes BER forms (long or
// padded lengths, padded INTEGERs), which would let one signature be written many ways.
bool canonical(const ENUM *r, const ENUM *s, const uint8_t *sig, uint32_t sigLen) {
    const ENUM numbers[2] = {*r, *s};
    uint8_t der[2 * (4 * bn::kMaxModWords + 8) + 8];
    if (E_ASN1_GetENUMBytes(numbers, 2) != int32_t(sigLen) || sigLen > sizeof der) return false;
    return E_ASN1_PutENUM(numbers, 2, der) == int32_t(sigLen) && std::memcmp(der, sig, sigLen) == 0;
}

}  // namespace

extern "C" {

void E_DSA_Init(DsaKey *key) {
    key->x.words = key->xWords;
    key->y.words = key->yWords;
    key->p.words = key->pWords;
    key->q.words = key->qWords;
    key->g.words = key->gWords;
}

int32_t E_DSA_GenerateKey(DsaKey *key, uint32_t pBits, uint32_t qBits) {
    if (!dl::paramSizesFit(pBits, qBits)) return 0;
    dl::generateParams(&key->p, &key->q, &key->g, pBits, qBits);
    Temp R;
    EN_Random(R.get(), qBits, 1, 1);
    EN_Mod(&key->x, R.get(), &key->q);
    dl::powSecret(&key->y, &key->g, &key->x, &key->p);
    vc::secure_wipe_object(R.w);
    return 1;
}

int32_t E_DSA_Sign(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen, const DsaKey *key) {
    if (!dl::domainUsable(&key->p, &key->q) || !dl::hashLengthFits(hLen, &key->q)) return 0;
    Temp m, k, W, t, xr, kInv, rs[2];
    ENUM *r = rs[0].get(), *s = rs[1].get();
    EN_BytesToENUM(m.get(), h, hLen);
    do {
        // k is used as drawn, not reduced: g has order q, so g^k and k^-1 mod q only see k mod q.
        dl::drawNonce(k.get(), &key->q);
        dl::powFixedBase(W.get(), &key->g, k.get(), &key->p);
        EN_Mod(r, W.get(), &key->q);
        EN_Mul(xr.get(), &key->x, r);
        EN_Add(t.get(), xr.get(), m.get());
        EN_Mod_Inv(kInv.get(), k.get(), &key->q);
        EN_Mod_Mul(s, t.get(), kInv.get(), &key->q);
        bn::trim(s);
    } while (!dl::coprimeToPMinus1(&key->p, s));
    vc::secure_wipe_object(k.w);
    vc::secure_wipe_object(kInv.w);
    vc::secure_wipe_object(xr.w);
    vc::secure_wipe_object(t.w);
    const ENUM numbers[2] = {*r, *s};
    const int32_t n = E_ASN1_PutENUM(numbers, 2, sig);
    if (n <= 0) return 0;
    *sigLen = uint32_t(n);
    return 1;
}

int32_t E_DSA_Verify(const uint8_t *h, uint32_t hLen, const uint8_t *sig, uint32_t sigLen,
                     const DsaKey *key) {
    if (!dl::domainUsable(&key->p, &key->q) || !dl::hashLengthFits(hLen, &key->q)) return 0;
    Temp r, s, m, w, u1, u2, v, W;
    ENUM *const numbers[2] = {r.get(), s.get()};
    const uint8_t *pos = sig;
    uint32_t remaining = sigLen;
    if (E_ASN1_GetENUM(numbers, 2, &pos, &remaining) != 1 || remaining != 0) return 0;
    // r = 1 with s = 0 would otherwise verify for every h (the inverse of 0 comes back as 0).
    if (!inRange(r.get(), &key->q) || !inRange(s.get(), &key->q)) return 0;
    if (!canonical(r.get(), s.get(), sig, sigLen)) return 0;
    EN_BytesToENUM(m.get(), h, hLen);
    EN_Mod_Inv(w.get(), s.get(), &key->q);
    EN_Mod_Mul(u1.get(), m.get(), w.get(), &key->q);
    EN_Mod_Mul(u2.get(), r.get(), w.get(), &key->q);
    dl::powPublic2(W.get(), &key->g, u1.get(), &key->y, u2.get(), &key->p);
    EN_Mod(v.get(), W.get(), &key->q);
    return EN_UComp(v.get(), r.get()) == 0 ? 1 : 0;
}

}  // extern "C"
