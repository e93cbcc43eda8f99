// DER forms of the integer public-key records (RSA, DSA, Diffie-Hellman, KCDSA) and the KCDSA
// forms that certificates, PKCS #8 and the KCDSA signer use.
#include <vorelcrypto/asn1.h>

#include <array>

#include "asn1/der.h"

using namespace vc::asn1;

namespace {

// Each shape lists its record's fields in encoding order with their storage. Encoders read the
// same list through a const record: one listing keeps writer and reader in step.
std::array<Field, 8> rsaPrivate(RsaKey *k) {
    return {{{&k->n, wordsOf(k->nWords)}, {&k->e, wordsOf(k->eWords)}, {&k->d, wordsOf(k->dWords)},
             {&k->p, wordsOf(k->pWords)}, {&k->q, wordsOf(k->qWords)}, {&k->dP, wordsOf(k->dPWords)},
             {&k->dQ, wordsOf(k->dQWords)}, {&k->qInv, wordsOf(k->qInvWords)}}};
}
std::array<Field, 2> rsaPublic(RsaKey *k) {
    return {{{&k->n, wordsOf(k->nWords)}, {&k->e, wordsOf(k->eWords)}}};
}
// DsaKey and KcdsaKey share one layout and one set of shapes.
template <typename Key>
std::array<Field, 3> params(Key *k) {
    return {{{&k->p, wordsOf(k->pWords)}, {&k->q, wordsOf(k->qWords)}, {&k->g, wordsOf(k->gWords)}}};
}
template <typename Key>
std::array<Field, 5> privateKey(Key *k) {
    return {{{&k->p, wordsOf(k->pWords)}, {&k->q, wordsOf(k->qWords)}, {&k->g, wordsOf(k->gWords)},
             {&k->y, wordsOf(k->yWords)}, {&k->x, wordsOf(k->xWords)}}};
}
template <typename Key>
std::array<Field, 4> publicKey(Key *k) {
    return {{{&k->y, wordsOf(k->yWords)}, {&k->p, wordsOf(k->pWords)}, {&k->q, wordsOf(k->qWords)},
             {&k->g, wordsOf(k->gWords)}}};
}
std::array<Field, 2> dhParams(DhKey *k) {
    return {{{&k->p, wordsOf(k->pWords)}, {&k->g, wordsOf(k->gWords)}}};
}

template <size_t N>
int32_t putShape(const std::array<Field, N> &fields, bool version, uint8_t *out, Sizing sizing = Sizing::Predicted) {
    return putIntegers([&fields](uint32_t i) -> const ENUM * { return fields[i].number; }, N, version, sizing, out);
}
template <size_t N>
int32_t getShape(const std::array<Field, N> &fields, bool version, const uint8_t **position, uint32_t *remaining) {
    return getIntegers([&fields](uint32_t i) { return fields[i]; }, N, version, position, remaining);
}

// Takes an element with this tag whose content is exactly one INTEGER (after an unused-bits
// octet of 0 for a BIT STRING) into the field.
bool takeWrappedInteger(Input &in, uint8_t tag, const Field &field) {
    Input c;
    if (!take(in, tag, c)) return false;
    if (tag == kBitString) {
        if (c.n == 0 || c.p[0] != 0) return false;
        c.p++, c.n--;
    }
    return takeInteger(c, field) && c.n == 0;
}

// SEQUENCE { BIT STRING seed, INTEGER counter }: checked, not stored.
bool takeValidationParms(Input &in) {
    Input v, seed, counter;
    if (!take(in, kSequence, v) || !take(v, kBitString, seed) || !take(v, kInteger, counter)) return false;
    const bool seedOk = seed.n > 0 && seed.p[0] <= 7 && (seed.n > 1 || seed.p[0] == 0);
    return seedOk && counter.n > 0 && v.n == 0;
}

}  // namespace

// The three functions of one record shape: encoder, size query and decoder.
#define VC_DER_SHAPE(Put, Bytes, Get, Record, shape, version)                                    \
    int32_t Put(const Record *k, uint8_t *out) {                                                 \
        return k != nullptr ? putShape(shape(const_cast<Record *>(k)), version, out) : 0;        \
    }                                                                                            \
    int32_t Bytes(const Record *k) { return Put(k, nullptr); }                                   \
    int32_t Get(Record *k, const uint8_t **position, uint32_t *remaining) {                      \
        return k != nullptr ? getShape(shape(k), version, position, remaining) : 0;              \
    }

extern "C" {

VC_DER_SHAPE(E_ASN1_PutRSAPrivateKey, E_ASN1_GetRSAPrivateKeyBytes, E_ASN1_GetRSAPrivateKey, RsaKey, rsaPrivate, true)
VC_DER_SHAPE(E_ASN1_PutRSAPublicKey, E_ASN1_GetRSAPublicKeyBytes, E_ASN1_GetRSAPublicKey, RsaKey, rsaPublic, false)
VC_DER_SHAPE(E_ASN1_PutDSAParams, E_ASN1_GetDSAParamsBytes, E_ASN1_GetDSAParams, DsaKey, params, false)
VC_DER_SHAPE(E_ASN1_PutDSAPrivateKey, E_ASN1_GetDSAPrivateKeyBytes, E_ASN1_GetDSAPrivateKey, DsaKey, privateKey, true)
VC_DER_SHAPE(E_ASN1_PutDSAPublicKey, E_ASN1_GetDSAPublicKeyBytes, E_ASN1_GetDSAPublicKey, DsaKey, publicKey, false)
VC_DER_SHAPE(E_ASN1_PutDHParams, E_ASN1_GetDHParamsBytes, E_ASN1_GetDHParams, DhKey, dhParams, false)
VC_DER_SHAPE(E_ASN1_PutKCDSAParams, E_ASN1_GetKCDSAParamsBytes, E_ASN1_GetKCDSAParams1, KcdsaKey, params, false)
VC_DER_SHAPE(E_ASN1_PutKCDSAPrivateKey, E_ASN1_GetKCDSAPrivateKeyBytes, E_ASN1_GetKCDSAPrivateKey, KcdsaKey, privateKey, true)
VC_DER_SHAPE(E_ASN1_PutKCDSAPublicKey1, E_ASN1_GetKCDSAPublicKeyBytes, E_ASN1_GetKCDSAPublicKey1, KcdsaKey, publicKey, false)

int32_t E_ASN1_PutParameters_KCDSA(const KcdsaKey *key, uint8_t *out) {
    return key != nullptr ? putShape(params(const_cast<KcdsaKey *>(key)), false, out, Sizing::Exact) : 0;
}

int32_t E_ASN1_GetParameters_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining) {
    Input in, seq, j;
    if (key == nullptr || !open(position, remaining, in) || !take(in, kSequence, seq)) return 0;
    for (const Field &f : params(key))
        if (!takeInteger(seq, f)) return 0;
    if (seq.n > 0 && seq.p[0] == kInteger && !(take(seq, kInteger, j) && j.n > 0)) return 0;
    if (seq.n > 0 && !takeValidationParms(seq)) return 0;
    if (seq.n != 0) return 0;
    return commit(in, position, remaining);
}

int32_t E_ASN1_GetKey_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining) {
    Input in, seq, item;
    if (key == nullptr || !open(position, remaining, in) || !take(in, kSequence, seq)) return 0;
    uint32_t integers = 0;
    while (seq.n > 0 && take(seq, kInteger, item)) integers++;
    if (seq.n != 0) return 0;
    if (integers == 6) return getShape(privateKey(key), true, position, remaining);
    if (integers != 4 || getShape(publicKey(key), false, position, remaining) == 0) return 0;
    key->x.sign = 0;
    key->x.length = 0;
    return 1;
}

int32_t E_ASN1_GetEncPublicKey_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining) {
    Input in;
    if (key == nullptr || !open(position, remaining, in)) return 0;
    if (!takeWrappedInteger(in, kBitString, {&key->y, wordsOf(key->yWords)})) return 0;
    return commit(in, position, remaining);
}

int32_t E_ASN1_GetEncPrivateKey_KCDSA(KcdsaKey *key, const uint8_t **position, uint32_t *remaining) {
    Input in;
    if (key == nullptr || !open(position, remaining, in)) return 0;
    if (!takeWrappedInteger(in, kOctetString, {&key->x, wordsOf(key->xWords)})) return 0;
    return commit(in, position, remaining);
}

int32_t E_ASN1_GetSignRS_KCDSA(uint8_t *r, uint32_t *rLength, ENUM *s, const uint8_t **position,
                               uint32_t *remaining) {
    Input in, seq, bits;
    if (r == nullptr || rLength == nullptr || s == nullptr || !open(position, remaining, in)) return 0;
    if (!take(in, kSequence, seq) || !take(seq, kBitString, bits)) return 0;
    if (bits.n == 0 || bits.p[0] != 0 || bits.n - 1 > *rLength) return 0;
    if (!takeInteger(seq, {s, kNumberWords}) || seq.n != 0) return 0;
    std::memcpy(r, bits.p + 1, bits.n - 1);
    *rLength = bits.n - 1;
    return commit(in, position, remaining);
}

}  // extern "C"
