// An independent model of KCDSA as this library computes it, on GMP: the ready-value signers'
// work buffer (W's minimal bytes, zeros after them, HAS-160 over 4 x words of W, r continuing
// with the buffer's bytes past the digest) and the message functions' unpadded z. SHA-1 comes
// from OpenSSL; HAS-160 from the library's engine, which its own tests pin to published vectors.
#pragma once

#include <vorelcrypto/hash.h>
#include <vorelcrypto/kcdsa.h>

#include "kcdsa/dlog_test_util.h"
#include "support/oracles.h"

namespace kcdsatest {

using dltest::Mpz;
using vctest::Bytes;

inline Bytes has160(const Bytes &m) {
    Bytes d(20);
    E_HAS160(d.data(), m.data(), uint32_t(m.size()));
    return d;
}

// Hash id 2 (SHA-1) or 5 (HAS-160); nothing (20 zero bytes) for others.
inline Bytes hashById(uint32_t id, const Bytes &m) {
    if (id == E_KCDSA_HASH_SHA1) return vctest::digest("SHA1", m);
    if (id == E_KCDSA_HASH_HAS160) return has160(m);
    return Bytes(20, 0);
}

// A key on a domain, in a record and in GMP.
struct Key {
    dltest::Domain d;
    Mpz x, y;
    KcdsaKey rec;
    Key() {
        std::memset(&rec, 0, sizeof rec);
        E_KCDSA_Init(&rec);
    }
    // x given (or random), y = g^(x^-1 mod q) mod p.
    void setPrivate(mpz_srcptr xv = nullptr) {
        if (xv != nullptr)
            mpz_set(x, xv);
        else
            dltest::randomBelow(x, d.q);
        Mpz u;
        mpz_invert(u, x, d.q);
        mpz_powm(y, d.g, u, d.p);
        load();
    }
    void load() {
        dltest::setNum(&rec.p, d.p);
        dltest::setNum(&rec.q, d.q);
        dltest::setNum(&rec.g, d.g);
        dltest::setNum(&rec.x, x);
        dltest::setNum(&rec.y, y);
    }
};

// e = (a XOR b) mod q.
inline void xorMod(const Bytes &a, const Bytes &b, mpz_srcptr q, mpz_ptr e) {
    Bytes v = a;
    for (size_t i = 0; i < v.size(); i++) v[i] ^= b[i];
    dltest::fromBytes(e, v);
    mpz_mod(e, e, q);
}

struct Signature {
    Bytes r;
    Mpz s;
};

// The ready-value signers for the nonce k: r of hLen bytes from a fresh work buffer, e, and
// s = x (k - e) mod q.
inline Signature readySign(const Key &key, const Bytes &h, mpz_srcptr k, mpz_ptr e) {
    Mpz W, t;
    mpz_powm(W, key.d.g, k, key.d.p);
    Bytes work(600, 0);
    const Bytes w = dltest::bytesOf(W);
    std::copy(w.begin(), w.end(), work.begin());
    const size_t words = (mpz_sizeinbase(W, 2) + 31) / 32;
    const Bytes digest = has160(Bytes(work.begin(), work.begin() + 4 * words));
    std::copy(digest.begin(), digest.end(), work.begin());
    Signature sig;
    sig.r.assign(work.begin(), work.begin() + h.size());
    xorMod(sig.r, h, key.d.q, e);
    mpz_sub(t, k, e);
    mpz_mul(sig.s, key.x, t);
    mpz_mod(sig.s, sig.s, key.d.q);
    return sig;
}

// z: the minimal bytes of y's low 512 bits.
inline Bytes zOf(mpz_srcptr y) {
    Mpz low;
    mpz_fdiv_r_2exp(low, y, 512);
    return dltest::bytesOf(low);
}

inline Bytes concat(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}


// E_KCDSA_Sign_New for the nonce k; `z` defaults to the unpadded z of the key's y.
inline Signature newSign(const Key &key, uint32_t id, const Bytes &msg, mpz_srcptr k) {
    Mpz W, e;
    const Bytes hv = hashById(id, concat(zOf(key.y), msg));
    mpz_powm(W, key.d.g, k, key.d.p);
    Signature sig;
    sig.r = hashById(id, dltest::bytesOf(W));
    xorMod(sig.r, hv, key.d.q, e);
    mpz_sub(sig.s, k, e);
    mpz_mul(sig.s, sig.s, key.x);
    mpz_mod(sig.s, sig.s, key.d.q);
    return sig;
}

// Verification of the message functions with z given.
inline bool newVerify(const Key &key, uint32_t id, const Bytes &z, const Bytes &msg, const Signature &sig) {
    Mpz W, e, a, b;
    const Bytes hv = hashById(id, concat(z, msg));
    xorMod(sig.r, hv, key.d.q, e);
    mpz_powm(a, key.y, sig.s, key.d.p);
    mpz_powm(b, key.d.g, e, key.d.p);
    mpz_mul(W, a, b);
    mpz_mod(W, W, key.d.p);
    return hashById(id, dltest::bytesOf(W)) == sig.r;
}

// Splits E_KCDSA_Sign_New's bytes: 30 L 03 15 00 r[20] 02 sl [00] s, every length one byte.
inline bool splitNew(const Bytes &sig, Signature &out) {
    if (sig.size() < 28 || sig[0] != 0x30 || sig[1] != sig.size() - 2 || sig[2] != 0x03 ||
        sig[3] != 0x15 || sig[4] != 0x00 || sig[25] != 0x02 || sig[26] != sig.size() - 27)
        return false;
    out.r.assign(sig.begin() + 5, sig.begin() + 25);
    if (sig[27] == 0x00 ? sig.size() < 29 || sig[28] < 0x80 : sig[27] > 0x7F) return false;  // the pad exactly when needed
    dltest::fromBytes(out.s, sig.data() + 27, sig.size() - 27);
    return true;
}

}  // namespace kcdsatest
