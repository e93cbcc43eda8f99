// ECDSA (ANSI X9.62) with SHA-1 over the whole message on the built-in curves, its DER form,
// and the ECDSA key pairs.
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/random.h>

#include <cstring>
#include <initializer_list>

#include "common/wipe.h"
#include "ecc/protocol_internal.h"
#include "ecc/scalar_mul.h"

namespace vc::ecc::proto {
namespace {

constexpr int kRefused = -4;
constexpr uint32_t kDerMax = 50;  // 30 L 02 22 (00 r) 02 22 (00 s)

// d as a Montgomery value modulo n; false when missing, too long or zero modulo n.
bool loadPrivate(const Order &o, const Opaque8 *d, Fe &out) {
    return present(d) && toOrder(o, d->data, d->length, out) && !fieldIsZero(out);
}

// One signature with the nonce k (21 octets, 1 <= k < n). False when r or s is zero.
bool signWithNonce(int curveId, const Order &o, const Fe &d, const Fe &e, const uint8_t k[kOrderBytes],
                   uint8_t r[kOrderBytes], uint8_t s[kOrderBytes]) {
    uint8_t point[kMaxPointBytes];
    scalarMulBase(curveId, k, kOrderBytes, point, true);
    Fe fr, fk, t;
    toOrder(o, point + 1, coordinateBytes(curveId), fr);  // r = x mod n
    toOrder(o, k, kOrderBytes, fk);
    fieldInv(o.f, fk, fk);
    fieldMul(o.f, t, d, fr);
    fieldAdd(o.f, t, t, e);
    fieldMul(o.f, t, fk, t);  // s = k^-1 (e + d r)
    fromOrder(o, fr, r);
    fromOrder(o, t, s);
    // Curve 7's n exceeds 2^160 by about 2^97, and verification takes r and s of at most 20
    // octets there: the rare s of 21 octets is drawn again.
    const bool ok = !fieldIsZero(fr) && !fieldIsZero(t) && (curveId != kPrimeCurveId || s[0] == 0);
    secure_wipe(&fk, sizeof fk);
    secure_wipe(&t, sizeof t);
    return ok;
}

Fe messageDigest(const Order &o, const uint8_t *msg, uint32_t msgLen) {
    uint8_t digest[20];
    E_SHA1(digest, msg, msgLen);
    Fe e;
    toOrder(o, digest, 20, e);
    return e;
}

// Signs with the given nonce, or with drawn ones when k is null.
int sign(int curveId, const Opaque8 *privateKey, const Opaque8 *k, const uint8_t *msg, uint32_t msgLen,
         Opaque8 *r, Opaque8 *s) {
    if (!isBuiltInCurve(curveId) || r == nullptr || s == nullptr) return kRefused;
    const Order &o = curveOrder(curveId);
    Fe d;
    if (!loadPrivate(o, privateKey, d)) return kRefused;
    const Fe e = messageDigest(o, msg, msgLen);
    uint8_t nonce[kOrderBytes], rb[kOrderBytes], sb[kOrderBytes];
    bool ok;
    if (k != nullptr) {
        ok = present(k) && compareNumbers(k->data, k->length, o.n, kOrderBytes) < 0 &&
             leadingZeros(k->data, k->length) < k->length;
        if (ok) {
            const uint32_t skip = leadingZeros(k->data, k->length);
            std::memset(nonce, 0, sizeof nonce);
            std::memcpy(nonce + kOrderBytes - (k->length - skip), k->data + skip, k->length - skip);
            ok = signWithNonce(curveId, o, d, e, nonce, rb, sb);
        }
    } else {
        do {
            uint8_t drawn[kOrderBytes];
            uint32_t length = 0;
            E_GenerateRandom_X962(uint32_t(curveId), drawn, &length, o.n, kOrderBytes);
            std::memset(nonce, 0, sizeof nonce);
            std::memcpy(nonce + kOrderBytes - length, drawn, length);
            secure_wipe(drawn, sizeof drawn);
            ok = signWithNonce(curveId, o, d, e, nonce, rb, sb);
        } while (!ok);
    }
    if (ok) {
        putMinimal(rb, r);
        putMinimal(sb, s);
    }
    secure_wipe(&d, sizeof d);
    secure_wipe(nonce, sizeof nonce);
    return ok ? 0 : kRefused;
}

// An INTEGER of the DER form: 02 L v with 1 <= L < 0x80, v non-negative and minimal. Advances
// pos; false on anything else.
bool readInteger(const uint8_t *der, uint32_t end, uint32_t &pos, Opaque8 &value) {
    if (end - pos < 2 || der[pos] != 0x02) return false;
    const uint32_t length = der[pos + 1];
    pos += 2;
    if (length == 0 || length >= 0x80 || length > end - pos) return false;
    const uint8_t *v = der + pos;
    if (v[0] & 0x80) return false;                                // negative
    if (length > 1 && v[0] == 0 && (v[1] & 0x80) == 0) return false;  // not minimal
    const uint32_t pad = v[0] == 0 && length > 1 ? 1 : 0;
    value.data = const_cast<uint8_t *>(v + pad);
    value.length = length - pad;
    pos += length;
    return true;
}

void putInteger(const Opaque8 &value, uint8_t *out, uint32_t &pos) {
    const uint32_t pad = value.length != 0 && (value.data[0] & 0x80) ? 1 : 0;
    out[pos++] = 0x02;
    out[pos++] = uint8_t(value.length + pad);
    if (pad) out[pos++] = 0x00;
    std::memcpy(out + pos, value.data, value.length);
    pos += value.length;
}

}  // namespace

int ecdsaVerifyDigest(int curveId, const Opaque8 *publicKey, const uint8_t *digest, uint32_t digestLength,
                      const Opaque8 *s, const Opaque8 *r) {
    constexpr int kMalformed = 2;
    if (!isBuiltInCurve(curveId)) return kRefused;
    const uint32_t maxLength = coordinateBytes(curveId);
    for (const Opaque8 *v : {r, s})
        if (!present(v) || v->length > maxLength || leadingZeros(v->data, v->length) == v->length) return kMalformed;
    const Order &o = curveOrder(curveId);
    if (compareNumbers(s->data, s->length, o.n, kOrderBytes) >= 0) return 0;
    uint8_t q[kMaxPointBytes];
    if (!loadPublicPoint(curveId, publicKey, q)) return kRefused;
    Fe fr, fs, w, u1, u2;
    toOrder(o, r->data, r->length, fr);
    toOrder(o, s->data, s->length, fs);
    Fe e;
    toOrder(o, digest, digestLength, e);
    invPublic(o.f, w, fs);
    fieldMul(o.f, u1, e, w);
    fieldMul(o.f, u2, fr, w);
    uint8_t b1[kOrderBytes], b2[kOrderBytes], sum[kMaxPointBytes];
    fromOrder(o, u1, b1);
    fromOrder(o, u2, b2);
    if (jointMul(curveId, b1, b2, q, sum) != 0) return kRefused;
    uint8_t x[21] = {};
    std::memcpy(x + 21 - maxLength, sum + 1, maxLength);
    if (leadingZeros(x, 21) == 21) return kMalformed;
    Fe v;
    uint8_t vb[kOrderBytes];
    toOrder(o, x, 21, v);
    fromOrder(o, v, vb);
    return compareNumbers(vb, kOrderBytes, r->data, r->length) == 0 ? 1 : 0;
}

bool ecdsaDecode(const Opaque8 *signature, Opaque8 &r, Opaque8 &s) {
    if (!present(signature) || signature->length < 2) return false;
    const uint8_t *der = signature->data;
    const uint32_t end = signature->length;
    if (der[0] != 0x30 || der[1] >= 0x80 || der[1] != end - 2) return false;
    uint32_t pos = 2;
    return readInteger(der, end, pos, r) && readInteger(der, end, pos, s) && pos == end;
}

namespace {

int ecdsaVerify(int curveId, const Opaque8 *publicKey, const uint8_t *msg, uint32_t msgLen, const Opaque8 *s,
                const Opaque8 *r) {
    uint8_t digest[20];
    E_SHA1(digest, msg, msgLen);
    return ecdsaVerifyDigest(curveId, publicKey, digest, sizeof digest, s, r);
}

int ecdsaEncode(const Opaque8 &r, const Opaque8 &s, Opaque8 *signature) {
    uint8_t der[kDerMax];
    uint32_t pos = 2;
    putInteger(r, der, pos);
    putInteger(s, der, pos);
    der[0] = 0x30;
    der[1] = uint8_t(pos - 2);
    std::memcpy(signature->data, der, pos);
    signature->length = pos;
    return 0;
}

}  // namespace
}  // namespace vc::ecc::proto

using namespace vc::ecc;
using namespace vc::ecc::proto;

extern "C" {

int32_t ZENOR_V1_ECC_SignatureGeneration_X917(int32_t curveId, const EcParams *, const Opaque8 *privateKey,
                                              const uint8_t *msg, uint32_t msgLen, Opaque8 *r, Opaque8 *s) {
    return sign(curveId, privateKey, nullptr, msg, msgLen, r, s);
}

int32_t ZENOR_V1_ECC_SignatureGeneration_from_givenK(int32_t curveId, const EcParams *, const Opaque8 *privateKey,
                                                     const Opaque8 *k, const uint8_t *msg, uint32_t msgLen,
                                                     Opaque8 *r, Opaque8 *s) {
    if (k == nullptr) return -4;
    return sign(curveId, privateKey, k, msg, msgLen, r, s);
}

int32_t ZENOR_V1_ECC_SignatureVerification(int32_t curveId, const EcParams *, const Opaque8 *publicKey,
                                           const uint8_t *msg, uint32_t msgLen, const Opaque8 *s, const Opaque8 *r) {
    return ecdsaVerify(curveId, publicKey, msg, msgLen, s, r);
}

int32_t ZENOR_V1_ECC_KeyPairGeneration_X962(int32_t curveId, const EcParams *, Opaque8 *publicKey,
                                            const Opaque8 *privateKey) {
    if (!isBuiltInCurve(curveId) || publicKey == nullptr || publicKey->data == nullptr || privateKey == nullptr ||
        privateKey->data == nullptr || privateKey->length == 0)
        return -4;
    const Order &o = curveOrder(curveId);
    Fe d;
    if (!toOrder(o, privateKey->data, privateKey->length, d) || fieldIsZero(d)) return -4;
    uint8_t db[kOrderBytes];
    fromOrder(o, d, db);  // d mod n
    scalarMulBase(curveId, db, kOrderBytes, publicKey->data, true);
    publicKey->length = pointBytes(curveId);
    vc::secure_wipe(db, sizeof db);
    vc::secure_wipe(&d, sizeof d);
    return 0;
}

int32_t E_ECC_GenerateKeyPair(int32_t curveId, const EcParams *params, Opaque8 *publicKey, Opaque8 *privateKey) {
    if (!isBuiltInCurve(curveId) || privateKey == nullptr || privateKey->data == nullptr) return -1;
    uint32_t length = 0;
    E_GenerateRandom_X962(uint32_t(curveId), privateKey->data, &length, curveOrder(curveId).n, kOrderBytes);
    privateKey->length = length;
    return ZENOR_V1_ECC_KeyPairGeneration_X962(curveId, params, publicKey, privateKey) == 0 ? 0 : -1;
}

int32_t E_ECDSA_Sign(int32_t curveId, const EcParams *, const Opaque8 *msg, Opaque8 *signature,
                     const Opaque8 *privateKey) {
    if (msg == nullptr || signature == nullptr || signature->data == nullptr) return -4;
    uint8_t rb[kOrderBytes], sb[kOrderBytes];
    Opaque8 r{0, rb}, s{0, sb};
    const int result = sign(curveId, privateKey, nullptr, msg->data, msg->length, &r, &s);
    if (result == 0) ecdsaEncode(r, s, signature);
    return result;
}

int32_t E_ECDSA_Verify(int32_t curveId, const EcParams *, const Opaque8 *msg, const Opaque8 *signature,
                       const Opaque8 *publicKey) {
    Opaque8 r{}, s{};
    if (msg == nullptr || !ecdsaDecode(signature, r, s)) return 2;
    return ecdsaVerify(curveId, publicKey, msg->data, msg->length, &s, &r);
}

}  // extern "C"
