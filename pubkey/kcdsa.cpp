// KCDSA signing and verification: the ready-value functions (HAS-160, DER INTEGER r) and the
// message functions (SHA-1 or HAS-160, BIT STRING r).
#include "common/wipe.h"
#include "pubkey/dlog_internal.h"

#include <vorelcrypto/asn1.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/kcdsa.h>

#include <cstring>

using vc::dlog::Temp;
namespace bn = vc::bignum;
namespace dl = vc::dlog;

namespace {

constexpr uint32_t kDigestBytes = 20;
// The ready-value functions hash W from a work buffer of this size, zero-filled once per call.
constexpr uint32_t kWorkBytes = 600;
// z is the low 512 bits of y.
constexpr int32_t kZBits = 512;

// W's minimal bytes at the start of `work`, then HAS-160 of the buffer's first 4 x (words of W)
// bytes over its first 20: when W's top word starts with zero bytes, the bytes after W's own
// in the buffer are hashed too. Stored signatures depend on it.
void hashWork(uint8_t *work, const ENUM *W) {
    EN_ENUMToBytes(W, work);
    const uint32_t words = (bn::bitLength(W) + 31) / 32;
    uint8_t digest[kDigestBytes];
    E_HAS160(digest, work, 4 * words);
    std::memcpy(work, digest, kDigestBytes);
}

// e = (first hLen bytes of v XOR h) mod q.
void hashXor(ENUM *e, const uint8_t *v, const uint8_t *h, uint32_t hLen, const ENUM *q) {
    uint8_t x[dl::kMaxHashBytes];
    for (uint32_t i = 0; i < hLen; i++) x[i] = uint8_t(v[i] ^ h[i]);
    EN_BytesToENUM(e, x, hLen);
    EN_Mod(e, e, q);
}

// The ready-value functions' limits on hLen, and a usable key.
bool readyFits(uint32_t hLen, const KcdsaKey *key) {
    return dl::domainUsable(&key->p, &key->q) && dl::hashLengthFits(hLen, &key->q);
}

// The core of the ready-value signers: r (hLen bytes), s and the k of the pass that was kept.
// `magnitude` takes k - e as a plain magnitude difference, right only when k >= e.
void signReady(const uint8_t *h, uint32_t hLen, const KcdsaKey *key, bool magnitude, uint8_t *r,
               ENUM *s, ENUM *k) {
    uint8_t work[kWorkBytes] = {};
    Temp W, e, d;
    do {
        dl::drawNonce(k, &key->q);
        EN_Mod(k, k, &key->q);
        dl::powFixedBase(W.get(), &key->g, k, &key->p);
        hashWork(work, W.get());
        std::memcpy(r, work, hLen);
        for (uint32_t i = 0; i < hLen; i++) work[i] ^= h[i];
        EN_BytesToENUM(e.get(), work, hLen);
        EN_Mod(e.get(), e.get(), &key->q);
        if (magnitude)
            bn::uSub(d.get(), k, e.get());
        else
            EN_Mod_Sub(d.get(), k, e.get(), &key->q);
        EN_Mod_Mul(s, &key->x, d.get(), &key->q);
        bn::trim(s);
    } while (!dl::coprimeToPMinus1(&key->p, s));
    vc::secure_wipe(work, sizeof work);
    vc::secure_wipe_object(d.w);
}

// E_KCDSA_Sign and E_KCDSA_Sign2: SEQUENCE { INTEGER r, INTEGER s }.
int32_t signDer(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen, const KcdsaKey *key,
                uint8_t *kOut, uint32_t *kLen) {
    if (!readyFits(hLen, key)) return 0;
    uint8_t r[dl::kMaxHashBytes];
    Temp rs[2], k;
    signReady(h, hLen, key, false, r, rs[1].get(), k.get());
    if (kOut != nullptr) *kLen = EN_ENUMToBytes(k.get(), kOut);
    vc::secure_wipe_object(k.w);
    EN_BytesToENUM(rs[0].get(), r, hLen);
    const ENUM numbers[2] = {rs[0].n, rs[1].n};
    const int32_t n = E_ASN1_PutENUM(numbers, 2, sig);
    if (n <= 0) return 0;
    *sigLen = uint32_t(n);
    return 1;
}

// The ready-value verifiers once r and s are known: r holds at least hLen bytes.
int32_t verifyReady(const uint8_t *h, uint32_t hLen, const uint8_t *r, const ENUM *s, const KcdsaKey *key) {
    if (!readyFits(hLen, key)) return 0;
    Temp e, W;
    hashXor(e.get(), r, h, hLen, &key->q);
    dl::powPublic2(W.get(), &key->y, s, &key->g, e.get(), &key->p);
    uint8_t work[kWorkBytes] = {};
    hashWork(work, W.get());
    return std::memcmp(work, r, hLen) == 0 ? 1 : 0;
}

// The message hash of the _New functions by hash id; false (out untouched) for other ids.
bool messageHash(uint32_t id, const uint8_t *a, uint32_t aLen, const uint8_t *b, uint32_t bLen,
                 uint8_t *out) {
    if (id == E_KCDSA_HASH_SHA1) {
        ShaContext c;
        E_SHA1_Init(&c);
        E_SHA1_Update(&c, a, aLen);
        if (bLen != 0) E_SHA1_Update(&c, b, bLen);
        E_SHA1_Final(&c, out);
        return true;
    }
    if (id == E_KCDSA_HASH_HAS160) {
        Has160Context c;
        E_HAS160_Init(&c);
        E_HAS160_Update(&c, a, aLen);
        if (bLen != 0) E_HAS160_Update(&c, b, bLen);
        E_HAS160_Final(&c, out);
        return true;
    }
    return false;
}

// y = g^(x^-1 mod q) mod p.
void publicFromPrivate(ENUM *y, const KcdsaKey *key) {
    Temp u;
    EN_Mod_Inv(u.get(), &key->x, &key->q);
    dl::powFixedBase(y, &key->g, u.get(), &key->p);
    vc::secure_wipe_object(u.w);
}

// hv = Hash(z || msg), z the minimal bytes of y's low 512 bits (not padded to 64 bytes: existing
// signatures hash the short z). hv stays zero for an unknown hash id.
void messageValue(uint32_t id, const ENUM *y, const uint8_t *msg, uint32_t msgLen, uint8_t *hv) {
    Temp low;
    bn::loadTemp(low, y);
    EN_MaskBit(low.get(), kZBits);
    uint8_t z[kZBits / 8];
    const uint32_t zLen = EN_ENUMToBytes(low.get(), z);
    std::memset(hv, 0, kDigestBytes);
    messageHash(id, z, zLen, msg, msgLen, hv);
}

// r = Hash(W) and e = (r XOR hv) mod q for the _New functions.
void newHashes(uint32_t id, const ENUM *W, const uint8_t *hv, const ENUM *q, uint8_t *r, ENUM *e) {
    uint8_t w[kWorkBytes];
    const uint32_t wLen = EN_ENUMToBytes(W, w);
    std::memset(r, 0, kDigestBytes);
    messageHash(id, w, wLen, nullptr, 0, r);
    hashXor(e, r, hv, kDigestBytes, q);
}

bool known(uint32_t id) { return id == E_KCDSA_HASH_SHA1 || id == E_KCDSA_HASH_HAS160; }

}  // namespace

extern "C" {

void E_KCDSA_Init(KcdsaKey *key) {
    ENUM *numbers[5] = {&key->x, &key->y, &key->p, &key->q, &key->g};
    uint32_t *areas[5] = {key->xWords, key->yWords, key->pWords, key->qWords, key->gWords};
    for (int i = 0; i < 5; i++) {
        numbers[i]->words = areas[i];
        numbers[i]->sign = 0;
    }
}

int32_t E_KCDSA_Sign(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen, const KcdsaKey *key) {
    return signDer(h, hLen, sig, sigLen, key, nullptr, nullptr);
}

int32_t E_KCDSA_Sign2(const uint8_t *h, uint32_t hLen, uint8_t *sig, uint32_t *sigLen, const KcdsaKey *key,
                      uint8_t *k, uint32_t *kLen) {
    return signDer(h, hLen, sig, sigLen, key, k, kLen);
}

int32_t E_KCDSA_Sign2RS(const uint8_t *h, uint32_t hLen, uint8_t *r, uint32_t *rLen, uint8_t *s,
                        uint32_t *sLen, const KcdsaKey *key, uint8_t *k, uint32_t *kLen) {
    if (!readyFits(hLen, key)) return 0;
    Temp S, K;
    signReady(h, hLen, key, true, r, S.get(), K.get());
    *rLen = hLen;
    *sLen = EN_ENUMToBytes(S.get(), s);
    *kLen = EN_ENUMToBytes(K.get(), k);
    vc::secure_wipe_object(K.w);
    return 1;
}

int32_t E_KCDSA_Sign_New(uint32_t hashAlg, const uint8_t *msg, uint32_t msgLen, uint8_t *sig,
                         uint32_t *sigLen, const KcdsaKey *key) {
    if (!dl::domainUsable(&key->p, &key->q)) return 0;
    Temp y, k, W, e, d, s;
    if (key->y.words != nullptr && key->y.length >= 32)
        bn::loadTemp(y, &key->y);
    else
        publicFromPrivate(y.get(), key);
    uint8_t hv[kDigestBytes], r[kDigestBytes];
    messageValue(hashAlg, y.get(), msg, msgLen, hv);
    do {
        dl::drawNonce(k.get(), &key->q);
        EN_Mod(k.get(), k.get(), &key->q);
        dl::powFixedBase(W.get(), &key->g, k.get(), &key->p);
        newHashes(hashAlg, W.get(), hv, &key->q, r, e.get());
        EN_Mod_Sub(d.get(), k.get(), e.get(), &key->q);
        EN_Mod_Mul(s.get(), &key->x, d.get(), &key->q);
        bn::trim(s.get());
    } while (bn::isZero(s.get()));
    vc::secure_wipe_object(k.w);
    vc::secure_wipe_object(d.w);

    // 30 L 03 15 00 r[20] 02 sl [00] s: the lengths are single bytes.
    uint8_t sBytes[kWorkBytes];
    const uint32_t n = EN_ENUMToBytes(s.get(), sBytes);
    const uint32_t pad = sBytes[0] > 0x7F ? 1 : 0;
    const uint32_t sl = n + pad, total = 25 + sl;
    uint8_t *o = sig;
    *o++ = 0x30;
    *o++ = uint8_t(total);
    *o++ = 0x03;
    *o++ = kDigestBytes + 1;
    *o++ = 0x00;
    std::memcpy(o, r, kDigestBytes);
    o += kDigestBytes;
    *o++ = 0x02;
    *o++ = uint8_t(sl);
    if (pad) *o++ = 0x00;
    std::memcpy(o, sBytes, n);
    *sigLen = total + 2;
    return 1;
}

int32_t E_KCDSA_Verify(const uint8_t *h, uint32_t hLen, const uint8_t *sig, uint32_t sigLen,
                       const KcdsaKey *key) {
    Temp r, s;
    ENUM *const numbers[2] = {r.get(), s.get()};
    const uint8_t *pos = sig;
    uint32_t remaining = sigLen;
    if (E_ASN1_GetENUM(numbers, 2, &pos, &remaining) != 1 || remaining != 0) return 0;
    // r is read back as its INTEGER's value in hLen bytes: the signer writes it as a number, so
    // its leading zero bytes are gone and a 0x00 stands in front of a top bit.
    if (hLen > dl::kMaxHashBytes || dl::byteLength(r.get()) > hLen) return 0;
    uint8_t rBytes[dl::kMaxHashBytes] = {};
    const uint32_t n = dl::byteLength(r.get());
    EN_ENUMToBytes(r.get(), rBytes + hLen - n);
    return verifyReady(h, hLen, rBytes, s.get(), key);
}

int32_t E_KCDSA_Verify_withParams(const uint8_t *h, uint32_t hLen, const uint8_t *r, uint32_t rLen,
                                  const uint8_t *s, uint32_t sLen, const KcdsaKey *key) {
    if (rLen < hLen || sLen > kWorkBytes) return 0;
    Temp S;
    EN_BytesToENUM(S.get(), s, sLen);
    return verifyReady(h, hLen, r, S.get(), key);
}

int32_t E_KCDSA_Verify_New(uint32_t hashAlg, const uint8_t *msg, uint32_t msgLen, const uint8_t *sig,
                           uint32_t sigLen, const KcdsaKey *key) {
    // With an unknown hash id both hash values would stay zero and every signature with a zero
    // r would verify: such signatures are refused.
    if (!known(hashAlg) || !dl::domainUsable(&key->p, &key->q)) return 0;
    uint8_t r[64];
    uint32_t rLen = sizeof r;
    Temp s, e, W;
    const uint8_t *pos = sig;
    uint32_t remaining = sigLen;
    if (E_ASN1_GetSignRS_KCDSA(r, &rLen, s.get(), &pos, &remaining) != 1 || remaining != 0 ||
        rLen < kDigestBytes)
        return 0;
    uint8_t hv[kDigestBytes], digest[kDigestBytes];
    messageValue(hashAlg, &key->y, msg, msgLen, hv);
    hashXor(e.get(), r, hv, kDigestBytes, &key->q);
    dl::powPublic2(W.get(), &key->y, s.get(), &key->g, e.get(), &key->p);
    uint8_t w[kWorkBytes];
    messageHash(hashAlg, w, EN_ENUMToBytes(W.get(), w), nullptr, 0, digest);
    return std::memcmp(digest, r, kDigestBytes) == 0 ? 1 : 0;
}

}  // extern "C"
