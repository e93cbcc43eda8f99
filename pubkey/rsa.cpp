// RSA key record, the public and private operations, and the PKCS #1 v1.5 block formats.
#include <vorelcrypto/random.h>
#include <vorelcrypto/rsa.h>

#include <cstdio>
#include <cstring>

#include "bignum/bn_internal.h"
#include "bignum/modexp_fast.h"
#include "common/wipe.h"
#include "pubkey/rsa_internal.h"

namespace vc::rsa {

using bignum::Temp;

namespace {

// r = a + b exactly (the library's EN_Add drops a carry into an all-ones word, which would
// corrupt a CRT recombination).
void addExact(ENUM *r, const ENUM *a, const ENUM *b) {
    const ENUM *lo = a->length < b->length ? a : b, *hi = lo == a ? b : a;
    uint64_t carry = 0;
    for (int32_t i = 0; i < hi->length; i++) {
        carry += uint64_t(hi->words[i]) + (i < lo->length ? lo->words[i] : 0);
        r->words[i] = uint32_t(carry);
        carry >>= 32;
    }
    r->words[hi->length] = uint32_t(carry);
    r->sign = 0;
    r->length = hi->length + 1;
    bignum::trim(r);
}

// m = m2 + q * ((m1 - m2) mod p * qInv mod p), the Garner recombination.
void garner(ENUM *m, const ENUM *m1, const ENUM *m2, const RsaKey *key) {
    Temp diff, t, h, quotient;
    if (EN_UComp(m1, m2) >= 0) {
        bignum::uSub(diff.get(), m1, m2);
    } else {  // m1 + p - m2 = p - (m2 - m1)
        bignum::uSub(t.get(), m2, m1);
        bignum::uSub(diff.get(), &key->p, t.get());
    }
    EN_Mul(t.get(), diff.get(), &key->qInv);
    EN_Div(quotient.get(), h.get(), t.get(), &key->p);
    bignum::trim(h.get());
    EN_Mul(t.get(), h.get(), &key->q);
    bignum::trim(t.get());
    addExact(m, t.get(), m2);
    secure_wipe(diff.w, sizeof diff.w);
    secure_wipe(t.w, sizeof t.w);
    secure_wipe(h.w, sizeof h.w);
    secure_wipe(quotient.w, sizeof quotient.w);
}

bool usable(const ENUM *x) { return x->length > 0 && x->length <= bignum::kMaxModWords; }

// The low word of q * qInv mod p must be 1.
bool qInvConsistent(const RsaKey *key) {
    Temp t, quotient, r;
    EN_Mul(t.get(), &key->q, &key->qInv);
    EN_Div(quotient.get(), r.get(), t.get(), &key->p);
    return r->length > 0 && r->words[0] == 1;
}

}  // namespace

uint32_t modulusBytes(const RsaKey *key) {
    Temp n;
    if (key->n.length > bignum::kMaxModWords || key->n.length < 0) return 0;
    bignum::loadTemp(n, &key->n);
    bignum::trim(n.get());
    return (bignum::bitLength(n.get()) + 7) / 8;
}

void publicOp(ENUM *r, const ENUM *c, const RsaKey *key) {
    if (bignum::isZero(c)) {
        // Zero takes the library's exponentiation, whose Montgomery path gives 1 here: cipher
        // texts of an all-zero block depend on it.
        EN_Mod_Exp(r, c, &key->e, &key->n);
        return;
    }
    bignum::modExpPublic(r, c, &key->e, &key->n);
}

bool privateOp(ENUM *r, const ENUM *c, const RsaKey *key, Crt mode) {
    const bool crtShape = usable(&key->p) && usable(&key->q) && !bignum::isZero(&key->qInv);
    const bool crt = mode == Crt::kChecked ? key->qInv.length >= 16 : crtShape;
    if (!crt || !crtShape) {
        bignum::modExpSecret(r, c, &key->d, &key->n);
        return true;
    }
    if (mode == Crt::kChecked && !qInvConsistent(key)) return false;
    Temp m1, m2;
    bignum::modExpSecret2(m1.get(), c, &key->dP, &key->p, m2.get(), c, &key->dQ, &key->q);
    garner(r, m1.get(), m2.get(), key);
    secure_wipe(m1.w, sizeof m1.w);
    secure_wipe(m2.w, sizeof m2.w);
    return true;
}

void toFixed(uint8_t *out, const ENUM *x, uint32_t width) {
    uint8_t bytes[2 * kMaxBytes];
    const uint32_t len = EN_ENUMToBytes(x, bytes);
    memset(out, 0, width - len);
    memcpy(out + (width - len), bytes, len);
    secure_wipe(bytes, len);
}

bool verifyPkcs1Strict(RsaKey *key, const uint8_t *expected, uint32_t expectedLen, const uint8_t *sig,
                       uint32_t sigLen) {
    const uint32_t k = modulusBytes(key);
    if (k == 0 || sigLen != k || k < 11 || expectedLen > k - 11) return false;
    Temp s, m;
    EN_BytesToENUM(s.get(), sig, sigLen);
    if (EN_UComp(s.get(), &key->n) >= 0) return false;
    publicOp(m.get(), s.get(), key);
    uint8_t block[kMaxBytes], want[kMaxBytes];
    toFixed(block, m.get(), k);
    want[0] = 0;
    want[1] = 1;
    memset(want + 2, 0xFF, k - 3 - expectedLen);
    want[k - 1 - expectedLen] = 0;
    memcpy(want + k - expectedLen, orEmpty(expected), expectedLen);
    return memcmp(block, want, k) == 0;
}

void wipeKey(RsaKey *key) { secure_wipe_object(*key); }

void say(bool speak, const char *text) {
    if (!speak) return;
    std::fputs(text, stdout);
    std::fflush(stdout);
}

}  // namespace vc::rsa

using namespace vc::rsa;
using vc::bignum::Temp;

namespace {

// Builds 00 || type || padding || 00 || message (k bytes); type 2 draws non-zero padding.
void padBlock(uint8_t *block, uint32_t k, uint8_t type, const uint8_t *in, uint32_t inLen) {
    const uint32_t pad = k - 3 - inLen;
    block[0] = 0;
    block[1] = type;
    if (type == 1) {
        memset(block + 2, 0xFF, pad);
    } else {
        RAND_Bytes(block + 2, int32_t(pad));
        for (uint32_t i = 0; i < pad; i++)
            while (block[2 + i] == 0) RAND_Bytes(block + 2 + i, 1);
    }
    block[2 + pad] = 0;
    memcpy(block + 3 + pad, orEmpty(in), inLen);
}

// Opens a decrypted block held as minimal bytes at the start of a zero-filled k-byte buffer:
// the type byte, then at most k - 2 bytes scanned for the zero separator (type 1: only 0xFF
// may come before it), at least 8 padding bytes. Returns the message offset and length, or -1.
int32_t openBlock(const uint8_t *block, uint32_t k, uint8_t type, uint32_t &offset) {
    if (k < 3 || block[0] != type) return -1;
    uint32_t i = 1;
    for (; i <= k - 2; i++) {
        if (block[i] == 0) break;
        if (type == 1 && block[i] != 0xFF) return -1;
    }
    if (i > k - 2) return -1;
    const uint32_t padding = i - 1;
    if (padding < 8) return -1;
    offset = i + 1;
    return int32_t((k - 2) - (padding + 1));
}

// Public (type 1) or private (type 2) opening of a k-byte input into out.
int32_t decryptBlock(uint8_t *out, const uint8_t *in, uint32_t inLen, RsaKey *key, bool isPrivate) {
    const uint32_t k = modulusBytes(key);
    if (k == 0 || inLen != k) return -1;
    Temp c, m;
    EN_BytesToENUM(c.get(), in, inLen);
    if (isPrivate) {
        if (!privateOp(m.get(), c.get(), key, Crt::kChecked)) return 0;
    } else {
        publicOp(m.get(), c.get(), key);
    }
    uint8_t block[kMaxBytes + 8] = {};
    EN_ENUMToBytes(m.get(), block);
    uint32_t offset = 0;
    const int32_t len = openBlock(block, k, isPrivate ? 2 : 1, offset);
    if (len > 0) memcpy(out, block + offset, uint32_t(len));
    if (isPrivate) {
        vc::secure_wipe(block, sizeof block);
        vc::secure_wipe(m.w, sizeof m.w);
    }
    return len;
}

int32_t encryptBlock(uint8_t *out, const uint8_t *in, int32_t inLen, RsaKey *key, bool isPrivate) {
    const uint32_t k = modulusBytes(key);
    if (k == 0 || inLen < 0 || k < 11 || uint32_t(inLen) > k - 11) return -1;
    uint8_t block[kMaxBytes];
    padBlock(block, k, isPrivate ? 1 : 2, in, uint32_t(inLen));
    Temp m, c;
    EN_BytesToENUM(m.get(), block, k);
    vc::secure_wipe(block, k);
    if (isPrivate) {
        if (!privateOp(c.get(), m.get(), key, Crt::kChecked)) return 0;
    } else {
        publicOp(c.get(), m.get(), key);
    }
    vc::secure_wipe(m.w, sizeof m.w);
    toFixed(out, c.get(), k);
    return int32_t(k);
}

}  // namespace

extern "C" {

void E_RSA_Init(RsaKey *key) {
    ENUM *numbers[] = {&key->n, &key->e, &key->d, &key->p, &key->q, &key->dP, &key->dQ, &key->qInv};
    uint32_t *storage[] = {key->nWords, key->eWords,  key->dWords,  key->pWords,
                           key->qWords, key->dPWords, key->dQWords, key->qInvWords};
    for (int i = 0; i < 8; i++) {
        numbers[i]->words = storage[i];
        numbers[i]->sign = 0;
    }
}

int32_t E_RSA_Public_Encrypt(uint8_t *out, const uint8_t *in, int32_t inLen, RsaKey *key) {
    return encryptBlock(out, in, inLen, key, false);
}

int32_t E_RSA_Private_Encrypt(uint8_t *out, const uint8_t *in, int32_t inLen, RsaKey *key) {
    return encryptBlock(out, in, inLen, key, true);
}

int32_t E_RSA_Public_Decrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, RsaKey *key) {
    return decryptBlock(out, in, inLen, key, false);
}

int32_t E_RSA_Private_Decrypt(uint8_t *out, const uint8_t *in, uint32_t inLen, RsaKey *key) {
    return decryptBlock(out, in, inLen, key, true);
}

int32_t E_RSA_Sign(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t *sigLen, RsaKey *key) {
    *sigLen = E_RSA_Private_Encrypt(out, in, inLen, key);
    return 1;
}

int32_t E_RSA_Verify(const uint8_t *msg, int32_t msgLen, const uint8_t *sig, uint32_t sigLen, RsaKey *key) {
    // Only the first msgLen recovered bytes are compared; the recovered length bounds them, so
    // a failed opening or a message longer than what was recovered never matches.
    uint8_t recovered[kMaxBytes] = {};
    const int32_t len = E_RSA_Public_Decrypt(recovered, sig, sigLen, key);
    if (msgLen < 0 || len < 0 || msgLen > len) return 0;
    return memcmp(recovered, msg, size_t(msgLen)) == 0 ? 1 : 0;
}

}  // extern "C"
