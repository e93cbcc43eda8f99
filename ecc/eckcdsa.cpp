// EC-KCDSA with HAS-160 on the built-in curves: key pairs (Q = d^-1 G), signing and
// verification, the 47-octet DER form, and the variants that print their intermediate values.
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/random.h>

#include <cstdio>
#include <cstring>

#include "common/wipe.h"
#include "ecc/protocol_internal.h"
#include "ecc/scalar_mul.h"

namespace vc::ecc::proto {
namespace {

constexpr int kRefused = -4;
constexpr int kMalformed = 2;
constexpr uint32_t kRBytes = 20;
constexpr uint32_t kDerBytes = 47;

// The private key of the TEST key-pair variants (below every built-in n).
constexpr char kTestPrivateKeyHex[] = "00A3F1C85E27D94B6C0E1F2A3B4C5D6E7F80919AB3";

// x is hashed over 21 octets on curves 3 and 5 and over its first 20 on all others; stored
// signatures on curves 11, 21 and 22 depend on the shorter width.
uint32_t hashWidth(int curveId) { return curveId == 3 || curveId == 5 ? 21 : 20; }

void trace(bool on, const char *label, const uint8_t *bytes, uint32_t length) {
    if (!on) return;
    std::fputs(label, stdout);
    for (uint32_t i = 0; i < length; i++) std::printf("%02X", bytes[i]);
}

void traceEnd(bool on) {
    if (on) std::fputs("\n", stdout);
}

// HAS-160(z || M): z = the key's octets after the first, at most 64, in a zero-filled 64-octet
// block that is always hashed whole.
void messageHash(const uint8_t *key, uint32_t keyLength, const uint8_t *msg, uint32_t msgLen, uint8_t h[20]) {
    uint8_t z[64] = {};
    const uint32_t n = keyLength - 1 < 64 ? keyLength - 1 : 64;
    std::memcpy(z, key + 1, n);
    Has160Context ctx;
    E_HAS160_Init(&ctx);
    E_HAS160_Update(&ctx, z, 64);
    E_HAS160_Update(&ctx, msg, msgLen);
    E_HAS160_Final(&ctx, h);
}

// e = (r XOR h) mod n.
Fe challenge(const Order &o, const uint8_t r[kRBytes], const uint8_t h[20]) {
    uint8_t x[kRBytes];
    for (uint32_t i = 0; i < kRBytes; i++) x[i] = r[i] ^ h[i];
    Fe e;
    toOrder(o, x, kRBytes, e);
    return e;
}

// The public key's octets for z: as given when uncompressed, else the decompressed point.
struct KeyOctets {
    const uint8_t *data;
    uint32_t length;
    uint8_t point[kMaxPointBytes];
};
bool keyOctets(int curveId, const Opaque8 *key, KeyOctets &out) {
    if (!loadPublicPoint(curveId, key, out.point)) return false;
    const bool given = key->data[0] == 0x04;
    out.data = given ? key->data : out.point;
    out.length = given ? key->length : pointBytes(curveId);
    return true;
}

// Nonce k as 21 octets: the caller's (1 <= k < n) or a drawn one.
bool nonce(int curveId, const Order &o, const Opaque8 *given, uint8_t k[kOrderBytes]) {
    std::memset(k, 0, kOrderBytes);
    if (given == nullptr) {
        uint8_t drawn[kOrderBytes];
        uint32_t length = 0;
        E_GenerateRandom_ECKCDSA(uint32_t(curveId), drawn, &length, nullptr, 0, o.n, kOrderBytes);
        std::memcpy(k + kOrderBytes - length, drawn, length);
        secure_wipe(drawn, sizeof drawn);
        return true;
    }
    if (!present(given)) return false;
    const uint32_t skip = leadingZeros(given->data, given->length);
    if (skip == given->length || compareNumbers(given->data, given->length, o.n, kOrderBytes) >= 0) return false;
    std::memcpy(k + kOrderBytes - (given->length - skip), given->data + skip, given->length - skip);
    return true;
}

int sign(int curveId, const Opaque8 *privateKey, const Opaque8 *publicKey, const Opaque8 *givenK,
         const uint8_t *msg, uint32_t msgLen, Opaque8 *r, Opaque8 *s, bool print) {
    if (!isBuiltInCurve(curveId) || !present(privateKey) || r == nullptr || r->data == nullptr || s == nullptr ||
        s->data == nullptr)
        return kRefused;
    const Order &o = curveOrder(curveId);
    Fe d;
    if (!toOrder(o, privateKey->data, privateKey->length, d) || fieldIsZero(d)) return kRefused;
    KeyOctets key{};
    if (present(publicKey)) {
        if (!keyOctets(curveId, publicKey, key)) return kRefused;
    } else {  // no public key given: Q = d^-1 G
        Fe u;
        uint8_t ub[kOrderBytes];
        fieldInv(o.f, u, d);
        fromOrder(o, u, ub);
        scalarMulBase(curveId, ub, kOrderBytes, key.point, true);
        key.data = key.point;
        key.length = pointBytes(curveId);
        secure_wipe(ub, sizeof ub);
        secure_wipe(&u, sizeof u);
    }
    uint8_t h[20], k[kOrderBytes], point[kMaxPointBytes], rb[kRBytes], sb[kOrderBytes];
    messageHash(key.data, key.length, msg, msgLen, h);
    trace(print, "\n v : ", h, 20);
    int result = 0;
    for (;;) {
        if (!nonce(curveId, o, givenK, k)) {
            result = kRefused;
            break;
        }
        scalarMulBase(curveId, k, kOrderBytes, point, true);
        E_HAS160(rb, point + 1, hashWidth(curveId));
        const Fe e = challenge(o, rb, h);
        Fe fk, t;
        toOrder(o, k, kOrderBytes, fk);
        fieldSub(o.f, t, fk, e);
        fieldMul(o.f, t, d, t);  // s = d (k - e)
        const bool zero = fieldIsZero(t);
        fromOrder(o, t, sb);
        uint8_t eb[kOrderBytes];
        fromOrder(o, e, eb);
        trace(print, "\nx1 : ", point + 1, coordinateBytes(curveId));
        trace(print, "\n r : ", rb, kRBytes);
        trace(print, "\n e : ", eb, kOrderBytes);
        trace(print, "\n s : ", sb, kOrderBytes);
        secure_wipe(&fk, sizeof fk);
        secure_wipe(&t, sizeof t);
        if (!zero) break;
        if (givenK != nullptr) {
            result = kRefused;
            break;
        }
    }
    traceEnd(print);
    if (result == 0) {
        std::memcpy(r->data, rb, kRBytes);
        r->length = kRBytes;
        std::memcpy(s->data, sb, kOrderBytes);  // right-aligned, leading zero octets included
        s->length = kOrderBytes;
    }
    secure_wipe(&d, sizeof d);
    secure_wipe(k, sizeof k);
    secure_wipe(point, sizeof point);
    secure_wipe(sb, sizeof sb);
    return result;
}

int verify(int curveId, const Opaque8 *publicKey, const uint8_t *msg, uint32_t msgLen, const Opaque8 *s,
           const Opaque8 *r, bool print) {
    if (!isBuiltInCurve(curveId)) return kRefused;
    const Order &o = curveOrder(curveId);
    if (s == nullptr || r == nullptr || s->data == nullptr || r->data == nullptr || s->length != kOrderBytes ||
        r->length != kRBytes || compareNumbers(s->data, s->length, o.n, kOrderBytes) > 0 ||
        leadingZeros(s->data, s->length) == s->length)
        return kMalformed;
    KeyOctets key{};
    if (!keyOctets(curveId, publicKey, key)) return kRefused;
    uint8_t h[20], eb[kOrderBytes], w[kMaxPointBytes], digest[20];
    messageHash(key.data, key.length, msg, msgLen, h);
    const Fe e = challenge(o, r->data, h);
    fromOrder(o, e, eb);
    trace(print, "\n v' : ", h, 20);
    trace(print, "\n e' : ", eb, kOrderBytes);
    uint8_t sb[kOrderBytes] = {};
    std::memcpy(sb, s->data, kOrderBytes);
    if (jointMul(curveId, eb, sb, key.point, w) != 0) {
        traceEnd(print);
        return kRefused;
    }
    E_HAS160(digest, w + 1, hashWidth(curveId));
    trace(print, "\n x2 : ", w + 1, coordinateBytes(curveId));
    trace(print, "\nH(x2) : ", digest, 20);
    traceEnd(print);
    return std::memcmp(digest, r->data, kRBytes) == 0 ? 1 : 0;
}

int keyPair(int curveId, Opaque8 *publicKey, Opaque8 *privateKey, bool fixed, bool print) {
    if (!isBuiltInCurve(curveId) || publicKey == nullptr || publicKey->data == nullptr || privateKey == nullptr ||
        privateKey->data == nullptr)
        return kRefused;
    const Order &o = curveOrder(curveId);
    uint32_t length = 0;
    if (fixed) {
        for (uint32_t i = 0; i < kOrderBytes; i++) {
            unsigned byte = 0;
            std::sscanf(kTestPrivateKeyHex + 2 * i, "%2x", &byte);
            privateKey->data[i] = uint8_t(byte);
        }
        length = kOrderBytes;
    } else {
        E_GenerateRandom_ECKCDSA(uint32_t(curveId), privateKey->data, &length, nullptr, 0, o.n, kOrderBytes);
    }
    privateKey->length = length;
    Fe d, u;
    uint8_t ub[kOrderBytes];
    toOrder(o, privateKey->data, length, d);
    fieldInv(o.f, u, d);
    fromOrder(o, u, ub);
    trace(print, "\ndInv = ", ub, kOrderBytes);
    traceEnd(print);
    scalarMulBase(curveId, ub, kOrderBytes, publicKey->data, true);
    publicKey->length = pointBytes(curveId);
    secure_wipe(&d, sizeof d);
    secure_wipe(&u, sizeof u);
    secure_wipe(ub, sizeof ub);
    return 0;
}

int signDer(int curveId, const Opaque8 *msg, Opaque8 *signature, const Opaque8 *privateKey,
            const Opaque8 *publicKey, const Opaque8 *givenK, bool print) {
    if (msg == nullptr || signature == nullptr || signature->data == nullptr) return kRefused;
    uint8_t *out = signature->data;
    Opaque8 r{0, out + 4}, s{0, out + 26};
    const int result = sign(curveId, privateKey, publicKey, givenK, msg->data, msg->length, &r, &s, print);
    if (result != 0) return result;
    const uint8_t head[4] = {0x30, 0x2D, 0x04, 0x14};
    std::memcpy(out, head, 4);
    out[24] = 0x04;
    out[25] = 0x15;
    signature->length = kDerBytes;
    return 0;
}

int verifyDer(int curveId, const Opaque8 *msg, const Opaque8 *signature, const Opaque8 *publicKey, bool print) {
    static const uint8_t head[4] = {0x30, 0x2D, 0x04, 0x14};
    if (publicKey == nullptr || publicKey->data == nullptr || publicKey->length == 0) return -1;
    const uint8_t first = publicKey->data[0];
    if (first != 0x04 && first != 0x02 && first != 0x03) return -1;
    if (signature == nullptr || signature->data == nullptr || signature->length != kDerBytes ||
        std::memcmp(signature->data, head, 4) != 0 || signature->data[24] != 0x04 || signature->data[25] != 0x15)
        return -1;
    const Opaque8 r{kRBytes, signature->data + 4}, s{kOrderBytes, signature->data + 26};
    if (msg == nullptr) return kMalformed;
    return verify(curveId, publicKey, msg->data, msg->length, &s, &r, print);
}

}  // namespace
}  // namespace vc::ecc::proto

using namespace vc::ecc::proto;

extern "C" {

int32_t ZENOR_V1_ECC_KeyPairGeneration_ECKCDSA(int32_t curveId, const EcParams *, Opaque8 *publicKey,
                                               Opaque8 *privateKey) {
    return keyPair(curveId, publicKey, privateKey, false, false);
}

int32_t E_ECC_GenerateKeyPair_ECKCDSA(int32_t curveId, const EcParams *, Opaque8 *publicKey, Opaque8 *privateKey) {
    return keyPair(curveId, publicKey, privateKey, false, false);
}

int32_t ZENOR_V1_ECC_KeyPairGeneration_ECKCDSA_TEST(int32_t curveId, const EcParams *, Opaque8 *publicKey,
                                                    Opaque8 *privateKey) {
    return keyPair(curveId, publicKey, privateKey, true, true);
}

int32_t E_ECC_GenerateKeyPair_ECKCDSA_TEST(int32_t curveId, const EcParams *, Opaque8 *publicKey,
                                           Opaque8 *privateKey) {
    return keyPair(curveId, publicKey, privateKey, true, true);
}

int32_t ZENOR_V1_ECC_SignatureGeneration_ECKCDSA(int32_t curveId, const EcParams *, const Opaque8 *privateKey,
                                                 const Opaque8 *publicKey, const uint8_t *msg, uint32_t msgLen,
                                                 Opaque8 *r, Opaque8 *s) {
    return sign(curveId, privateKey, publicKey, nullptr, msg, msgLen, r, s, false);
}

int32_t ZENOR_V1_ECC_SignatureGeneration_ECKCDSA_givenK(int32_t curveId, const EcParams *,
                                                        const Opaque8 *privateKey, const Opaque8 *publicKey,
                                                        const Opaque8 *k, const uint8_t *msg, uint32_t msgLen,
                                                        Opaque8 *r, Opaque8 *s) {
    if (k == nullptr) return -4;
    return sign(curveId, privateKey, publicKey, k, msg, msgLen, r, s, true);
}

int32_t ZENOR_V1_ECC_SignatureVerification_ECKCDSA(int32_t curveId, const EcParams *, const Opaque8 *publicKey,
                                                   const uint8_t *msg, uint32_t msgLen, const Opaque8 *s,
                                                   const Opaque8 *r) {
    return verify(curveId, publicKey, msg, msgLen, s, r, false);
}

int32_t ZENOR_V1_ECC_SignatureVerification_ECKCDSA_test(int32_t curveId, const EcParams *,
                                                        const Opaque8 *publicKey, const uint8_t *msg,
                                                        uint32_t msgLen, const Opaque8 *s, const Opaque8 *r) {
    return verify(curveId, publicKey, msg, msgLen, s, r, true);
}

int32_t E_ECKCDSA_Sign(int32_t curveId, const EcParams *, const Opaque8 *msg, Opaque8 *signature,
                       const Opaque8 *privateKey, const Opaque8 *publicKey) {
    return signDer(curveId, msg, signature, privateKey, publicKey, nullptr, false);
}

int32_t E_ECKCDSA_Sign_givenK(int32_t curveId, const EcParams *, const Opaque8 *msg, Opaque8 *signature,
                              const Opaque8 *privateKey, const Opaque8 *publicKey, const Opaque8 *k) {
    if (k == nullptr) return -4;
    return signDer(curveId, msg, signature, privateKey, publicKey, k, true);
}

int32_t E_ECKCDSA_Verify(int32_t curveId, const EcParams *, const Opaque8 *msg, const Opaque8 *signature,
                         const Opaque8 *publicKey) {
    return verifyDer(curveId, msg, signature, publicKey, false);
}

int32_t E_ECKCDSA_Verify_TEST(int32_t curveId, const EcParams *, const Opaque8 *msg, const Opaque8 *signature,
                              const Opaque8 *publicKey) {
    return verifyDer(curveId, msg, signature, publicKey, true);
}

}  // extern "C"
