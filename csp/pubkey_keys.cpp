// Public-key key records: decoding their DER, CSP_GenerateKeyPair, the internal KCDSA pair
// generators, CSP_GenerateAlgorithmParams and CSP_QueryKeySizeInBits.
#include "csp/pubkey.h"

#include <vorelcrypto/asn1.h>
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/kcdsa.h>
#include <vorelcrypto/random.h>
#include <vorelcrypto/rsa.h>

#include <cstdlib>
#include <initializer_list>
#include <cstring>

#include "common/wipe.h"
#include "csp/attributes.h"
#include "csp/provider_error.h"

namespace vc::csp {
namespace {

// Callers reserve at least the record's size with 32-bit pointers.
static_assert(sizeof(CspKeyRecord) >= 84 && sizeof(CspKeyHeader) == 76);

constexpr uint32_t kDefaultExponent = 65537;
constexpr uint32_t kMinModulusBytes = 64, kMaxModulusBytes = 300;
constexpr uint32_t kMinPrimeBits = 512, kMaxPrimeBits = 2048;
constexpr uint32_t kMinDhBits = 64;
constexpr uint32_t kDefaultDhGenerator = 2;

// ---- the elliptic-curve key SEQUENCE (all lengths below 128: short form only) ----

constexpr uint8_t kSequence = 0x30, kInteger = 0x02, kOctetString = 0x04;

// Reads tag, one-octet length and contents at *p (within end); false when it does not fit.
bool readShort(const uint8_t *&p, const uint8_t *end, uint8_t tag, const uint8_t **content,
               uint32_t *length) {
    if (end - p < 2 || p[0] != tag || p[1] >= 0x80 || end - p - 2 < p[1]) return false;
    *content = p + 2;
    *length = p[1];
    p += 2 + p[1];
    return true;
}

int32_t decodeEc(const uint8_t *der, uint32_t length, EcKey *key) {
    const uint8_t *p = der, *end = der + length, *body = nullptr, *v = nullptr;
    uint32_t n = 0;
    if (!readShort(p, end, kSequence, &body, &n) || p != end) return CSP_ERR_INVALID_KEY;
    p = body;
    end = body + n;
    if (!readShort(p, end, kInteger, &v, &n) || n != 1) return CSP_ERR_INVALID_KEY;
    key->curve = v[0];
    const uint8_t *first = nullptr, *second = nullptr;
    uint32_t firstLength = 0, secondLength = 0;
    if (!readShort(p, end, kOctetString, &first, &firstLength)) return CSP_ERR_INVALID_KEY;
    const bool isPrivate = p != end;
    if (isPrivate && (!readShort(p, end, kOctetString, &second, &secondLength) || p != end))
        return CSP_ERR_INVALID_KEY;
    const uint8_t *point = isPrivate ? second : first;
    const uint32_t pointLength = isPrivate ? secondLength : firstLength;
    if (pointLength == 0 || pointLength > sizeof key->point || (isPrivate && (firstLength == 0 || firstLength > sizeof key->d)))
        return CSP_ERR_INVALID_KEY;
    key->dLength = isPrivate ? firstLength : 0;
    if (isPrivate) std::memcpy(key->d, first, firstLength);
    key->pointLength = pointLength;
    std::memcpy(key->point, point, pointLength);
    return 0;
}

// Numbers of a DH key data SEQUENCE: p, g, y and (private) x, read with 150-word scratch.
int32_t decodeDh(const uint8_t *der, uint32_t length, DhKey *dh, bool *isPrivate) {
    uint32_t words[4][150];
    ENUM n[4];
    ENUM *targets[4];
    for (int i = 0; i < 4; ++i) n[i] = {0, 0, words[i]}, targets[i] = &n[i];
    int count = 0;
    for (int c : {4, 3}) {
        const uint8_t *p = der;
        uint32_t left = length;
        if (E_ASN1_GetENUM(targets, c, &p, &left) == 1 && left == 0) {
            count = c;
            break;
        }
    }
    if (count == 0 || n[1].length > 1 || n[0].length > 150) return CSP_ERR_INVALID_KEY;
    E_DH_Init(dh);
    EN_Copy(&dh->p, &n[0]);
    EN_Copy(&dh->g, &n[1]);
    EN_Copy(&dh->publicValue, &n[2]);
    if (count == 4) EN_Copy(&dh->privateValue, &n[3]);
    *isPrivate = count == 4;
    vc::secure_wipe(words[3], sizeof words[3]);
    return 0;
}

template <class Record, class Get>
bool readWhole(Record *record, Get get, const uint8_t *der, uint32_t length) {
    const uint8_t *p = der;
    uint32_t left = length;
    return get(record, &p, &left) == 1 && left == 0;
}

bool isEcAlgorithm(uint32_t algorithm) {
    return algorithm == CSP_ALG_ECDSA || algorithm == CSP_ALG_ECKCDSA || algorithm == CSP_ALG_ECDH;
}

uint32_t bitLength(const uint8_t *bytes, uint32_t length) {
    while (length > 0 && *bytes == 0) ++bytes, --length;
    if (length == 0) return 0;
    return 8 * (length - 1) + uint32_t(32 - __builtin_clz(*bytes));
}

// ---- writing generated keys ----

// Writes a DER record of `size` bytes by `put` into the record's data buffer; 0 or a reason.
template <class Put>
int32_t writeKey(CspKeyRecord *record, int32_t size, Put put) {
    if (size <= 0) return CSP_ERR_ENGINE;
    if (record->keyData.Length < uint32_t(size)) return CSP_ERR_KEY_DATA_SHORT;
    const int32_t written = put(record->keyData.Data);
    if (written <= 0) return CSP_ERR_ENGINE;
    record->keyData.Length = uint32_t(written);
    return 0;
}

void setHeader(CspKeyRecord *record, uint32_t keyClass, uint32_t algorithm, uint32_t bits,
               uint32_t usage, uint32_t attributes) {
    record->header.keyClass = keyClass;
    record->header.algorithm = algorithm;
    record->header.logicalBits = bits;
    record->header.keyUsage = usage;
    record->header.keyAttributes = attributes;
}

struct PairRequest {
    const CspContextRecord *context;
    const DataBlob *exponent;
    CspKeyRecord *publicKey, *privateKey;
};

int32_t generateRsa(const PairRequest &r, uint32_t *bits) {
    uint32_t tag = 0, modulusBytes = 0;
    if (!findUint32(r.context, CSP_ATTR_KEY_LENGTH, &tag) ||
        !findUint32(r.context, CSP_ATTR_MODULUS_BYTES, &modulusBytes))
        return CSP_ERR_MISSING_ATTRIBUTE;
    if (modulusBytes < kMinModulusBytes || modulusBytes > kMaxModulusBytes) return CSP_ERR_KEY_SIZE;
    uint32_t e = kDefaultExponent;
    if (r.exponent != nullptr && r.exponent->Length != 0) {
        if (r.exponent->Data == nullptr) return CSP_ERR_NULL_DATA;
        if (r.exponent->Length > 4) return CSP_ERR_KEY_SIZE;
        e = 0;
        for (uint32_t i = 0; i < r.exponent->Length; ++i) e = e << 8 | r.exponent->Data[i];
        if (e < 3 || e % 2 == 0) return CSP_ERR_KEY_SIZE;
    }
    RsaKey key{};
    E_RSA_Init(&key);
    E_RSA_GenerateKey(&key, 8 * modulusBytes, e);
    *bits = EN_GetFilledBitNum(&key.n);
    int32_t reason = writeKey(r.publicKey, E_ASN1_GetRSAPublicKeyBytes(&key),
                              [&](uint8_t *out) { return E_ASN1_PutRSAPublicKey(&key, out); });
    if (reason == 0)
        reason = writeKey(r.privateKey, E_ASN1_GetRSAPrivateKeyBytes(&key),
                          [&](uint8_t *out) { return E_ASN1_PutRSAPrivateKey(&key, out); });
    vc::secure_wipe_object(key);
    return reason;
}

// q's size for a p of `bits` bits.
uint32_t subprimeBits(uint32_t bits) { return bits >= 2048 ? 256 : 160; }

// p bits from the context's key length; 0 or a reason.
int32_t primeBits(const CspContextRecord *context, uint32_t *bits) {
    if (!findUint32(context, CSP_ATTR_KEY_LENGTH, bits)) return CSP_ERR_MISSING_ATTRIBUTE;
    return *bits < kMinPrimeBits || *bits > kMaxPrimeBits ? CSP_ERR_KEY_SIZE : 0;
}

// x uniformly below q (not zero) from EN_Random with 64 extra bits.
void drawBelow(ENUM *x, const ENUM *q) {
    ENUM *t = EN_Create(150);
    do {
        EN_Random(t, EN_GetFilledBitNum(const_cast<ENUM *>(q)) + 64, 0, 0);
        EN_Mod(x, t, q);
    } while (x->length == 0);
    vc::secure_wipe(t->words, 150 * sizeof(uint32_t));
    EN_Destroy(t);
}

int32_t generateKcdsa(const PairRequest &r, uint32_t *bits) {
    DecodedKey k{};
    KcdsaKey &key = k.kcdsa;
    E_KCDSA_Init(&key);
    const DataBlob *params = nullptr;
    uint32_t pBits = 0;
    int32_t ok = 0;
    if (findBlob(r.context, CSP_ATTR_ALG_PARAMS, &params)) {
        if (int32_t reason = decodeParams(CSP_ALG_KCDSA, params, &k)) return reason;
        ok = E_KCDSA_GenerateXY(&key, 0, EN_GetFilledBitNum(&key.q));
    } else if (findUint32(r.context, CSP_ATTR_KEY_LENGTH, &pBits)) {
        if (pBits < kMinPrimeBits || pBits > kMaxPrimeBits) return CSP_ERR_KEY_SIZE;
        ok = E_KCDSA_GenerateKey(&key, pBits, subprimeBits(pBits));
    } else {
        ok = E_KCDSA_GenerateKey_fixParam(&key, 0, 160);
    }
    int32_t reason = ok == 1 ? 0 : CSP_ERR_ENGINE;
    *bits = EN_GetFilledBitNum(&key.p);
    if (reason == 0)
        reason = writeKey(r.publicKey, E_ASN1_GetKCDSAPublicKeyBytes(&key),
                          [&](uint8_t *out) { return E_ASN1_PutKCDSAPublicKey1(&key, out); });
    if (reason == 0)
        reason = writeKey(r.privateKey, E_ASN1_GetKCDSAPrivateKeyBytes(&key),
                          [&](uint8_t *out) { return E_ASN1_PutKCDSAPrivateKey(&key, out); });
    vc::secure_wipe_object(k);
    return reason;
}

int32_t generateDsa(const PairRequest &r, uint32_t *bits) {
    DecodedKey k{};
    DsaKey &key = k.dsa;
    E_DSA_Init(&key);
    const DataBlob *params = nullptr;
    int32_t reason = 0;
    if (findBlob(r.context, CSP_ATTR_ALG_PARAMS, &params)) {
        reason = decodeParams(CSP_ALG_DSA, params, &k);
        if (reason == 0) {
            drawBelow(&key.x, &key.q);
            EN_Mod_Exp(&key.y, &key.g, &key.x, &key.p);
        }
    } else {
        uint32_t pBits = 0;
        reason = primeBits(r.context, &pBits);
        if (reason == 0 && E_DSA_GenerateKey(&key, pBits, subprimeBits(pBits)) != 1) reason = CSP_ERR_ENGINE;
    }
    *bits = EN_GetFilledBitNum(&key.p);
    if (reason == 0)
        reason = writeKey(r.publicKey, E_ASN1_GetDSAPublicKeyBytes(&key),
                          [&](uint8_t *out) { return E_ASN1_PutDSAPublicKey(&key, out); });
    if (reason == 0)
        reason = writeKey(r.privateKey, E_ASN1_GetDSAPrivateKeyBytes(&key),
                          [&](uint8_t *out) { return E_ASN1_PutDSAPrivateKey(&key, out); });
    vc::secure_wipe_object(k);
    return reason;
}

int32_t generateDh(const PairRequest &r, uint32_t *bits) {
    const DataBlob *params = nullptr;
    if (!findBlob(r.context, CSP_ATTR_ALG_PARAMS, &params)) return CSP_ERR_MISSING_ATTRIBUTE;
    DecodedKey k{};
    DhKey &dh = k.dh;
    int32_t reason = decodeParams(CSP_ALG_DH, params, &k);
    if (reason == 0 && E_DH_GenerateKey(&dh, 0) != 1) reason = CSP_ERR_ENGINE;
    *bits = EN_GetFilledBitNum(&dh.p);
    const ENUM all[4] = {dh.p, dh.g, dh.publicValue, dh.privateValue};
    if (reason == 0)
        reason = writeKey(r.publicKey, E_ASN1_GetENUMBytes(all, 3),
                          [&](uint8_t *out) { return E_ASN1_PutENUM(all, 3, out); });
    if (reason == 0)
        reason = writeKey(r.privateKey, E_ASN1_GetENUMBytes(all, 4),
                          [&](uint8_t *out) { return E_ASN1_PutENUM(all, 4, out); });
    vc::secure_wipe_object(k);
    return reason;
}

int32_t generateEc(const PairRequest &r, uint32_t algorithm, uint32_t *bits) {
    uint32_t curve = 0;
    if (!findUint32(r.context, CSP_ATTR_CURVE, &curve)) return CSP_ERR_MISSING_ATTRIBUTE;
    EcParams params;
    if (curve > 255 || E_ECParams_Init(int32_t(curve), &params) != 0) return CSP_ERR_KEY_SIZE;
    EcKey key{};
    key.curve = int32_t(curve);
    Opaque8 pub{0, key.point}, priv{0, key.d};
    const int32_t result = algorithm == CSP_ALG_ECKCDSA
                               ? E_ECC_GenerateKeyPair_ECKCDSA(key.curve, &params, &pub, &priv)
                               : E_ECC_GenerateKeyPair(key.curve, &params, &pub, &priv);
    int32_t reason = result == 0 && pub.length != 0 && priv.length != 0 ? 0 : CSP_ERR_ENGINE;
    key.pointLength = pub.length;
    key.dLength = priv.length;
    *bits = bitLength(params.n.data, params.n.length);
    EcKey publicOnly = key;
    publicOnly.dLength = 0;
    if (reason == 0)
        reason = writeKey(r.publicKey, 1, [&](uint8_t *out) {
            return int32_t(encodeEcKey(publicOnly, out, r.publicKey->keyData.Length));
        });
    if (reason == 0)
        reason = writeKey(r.privateKey, 1, [&](uint8_t *out) {
            return int32_t(encodeEcKey(key, out, r.privateKey->keyData.Length));
        });
    vc::secure_wipe_object(key);
    return reason;
}

bool usableRecord(const CspKeyRecord *record) { return record != nullptr; }

}  // namespace

uint32_t encodeEcKey(const EcKey &key, uint8_t *out, uint32_t capacity) {
    const uint32_t body = 3 + (key.dLength != 0 ? 2 + key.dLength : 0) + 2 + key.pointLength;
    if (body >= 0x80 || body + 2 > capacity) return 0;
    uint8_t *p = out;
    *p++ = kSequence, *p++ = uint8_t(body);
    *p++ = kInteger, *p++ = 1, *p++ = uint8_t(key.curve);
    if (key.dLength != 0) {
        *p++ = kOctetString, *p++ = uint8_t(key.dLength);
        std::memcpy(p, key.d, key.dLength);
        p += key.dLength;
    }
    *p++ = kOctetString, *p++ = uint8_t(key.pointLength);
    std::memcpy(p, key.point, key.pointLength);
    return body + 2;
}

int32_t decodeKey(uint32_t algorithm, const uint8_t *der, uint32_t length, DecodedKey *key) {
    if (der == nullptr || length == 0) return CSP_ERR_INVALID_KEY;
    key->algorithm = algorithm;
    bool ok = false;
    switch (algorithm) {
    case CSP_ALG_RSA:
        E_RSA_Init(&key->rsa);
        key->isPrivate = readWhole(&key->rsa, E_ASN1_GetRSAPrivateKey, der, length);
        ok = key->isPrivate || readWhole(&key->rsa, E_ASN1_GetRSAPublicKey, der, length);
        break;
    case CSP_ALG_KCDSA:
        E_KCDSA_Init(&key->kcdsa);
        ok = readWhole(&key->kcdsa, E_ASN1_GetKey_KCDSA, der, length);
        key->isPrivate = ok && key->kcdsa.x.length != 0;
        break;
    case CSP_ALG_DSA:
        E_DSA_Init(&key->dsa);
        key->isPrivate = readWhole(&key->dsa, E_ASN1_GetDSAPrivateKey, der, length);
        ok = key->isPrivate || readWhole(&key->dsa, E_ASN1_GetDSAPublicKey, der, length);
        break;
    case CSP_ALG_DH:
        ok = decodeDh(der, length, &key->dh, &key->isPrivate) == 0;
        break;
    default:
        if (!isEcAlgorithm(algorithm)) return CSP_ERR_INVALID_KEY;
        ok = decodeEc(der, length, &key->ec) == 0;
        key->isPrivate = ok && key->ec.dLength != 0;
    }
    return ok ? 0 : CSP_ERR_INVALID_KEY;
}

int32_t openKey(const CspKeyRecord *record, DecodedKey *key) {
    if (record == nullptr) return CSP_ERR_INVALID_KEY;
    return decodeKey(record->header.algorithm, record->keyData.Data, record->keyData.Length, key);
}

const CspKeyRecord *keyAttribute(const CspContextRecord *record) {
    const CspAttribute *a = findAttribute(record, CSP_ATTR_KEY);
    return a == nullptr ? nullptr : static_cast<const CspKeyRecord *>(a->value.pointer);
}

int32_t decodeParams(uint32_t algorithm, const DataBlob *params, DecodedKey *key) {
    if (params == nullptr || params->Data == nullptr || params->Length == 0) return CSP_ERR_PARAMS;
    bool ok = false;
    key->algorithm = algorithm;
    key->isPrivate = false;
    switch (algorithm) {
    case CSP_ALG_KCDSA:
        E_KCDSA_Init(&key->kcdsa);
        ok = readWhole(&key->kcdsa, E_ASN1_GetParameters_KCDSA, params->Data, params->Length);
        break;
    case CSP_ALG_DSA:
        E_DSA_Init(&key->dsa);
        ok = readWhole(&key->dsa, E_ASN1_GetDSAParams, params->Data, params->Length);
        break;
    case CSP_ALG_DH:
        E_DH_Init(&key->dh);
        ok = readWhole(&key->dh, E_ASN1_GetDHParams, params->Data, params->Length);
        break;
    default: break;
    }
    return ok ? 0 : CSP_ERR_PARAMS;
}

int32_t prepareResult(DataBlob *result, uint32_t length) {
    if (result == nullptr) return CSP_ERR_NULL_BLOB;
    if (result->Data == nullptr && result->Length != 0) return CSP_ERR_NULL_DATA;
    if (result->Data != nullptr && result->Length < length) return CSP_ERR_OUTPUT_SHORT;
    if (result->Data == nullptr && (result->Data = static_cast<uint8_t *>(std::malloc(length ? length : 1))) == nullptr)
        return CSP_ERR_ALLOC;
    return 0;
}

int32_t generateKcdsaKeyPair(CspKeyRecord *publicKey, CspKeyRecord *privateKey) {
    CspContextRecord context{};
    const PairRequest request{&context, nullptr, publicKey, privateKey};
    uint32_t bits = 0;
    if (publicKey == nullptr || privateKey == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (int32_t reason = generateKcdsa(request, &bits)) return SetProviderError(reason);
    setHeader(publicKey, CSP_KEYCLASS_PUBLIC, CSP_ALG_KCDSA, bits, 0, 0);
    setHeader(privateKey, CSP_KEYCLASS_PRIVATE, CSP_ALG_KCDSA, bits, 0, 0);
    return 0;
}

int32_t generateKcdsaKeyPairAndParams(CspKeyRecord *publicKey, CspKeyRecord *privateKey,
                                      DataBlob *params) {
    if (publicKey == nullptr || privateKey == nullptr || params == nullptr || params->Data == nullptr)
        return SetProviderError(CSP_ERR_NULL_BLOB);
    constexpr uint32_t kBits = 1024;
    KcdsaKey key{};
    E_KCDSA_Init(&key);
    if (E_KCDSA_GenerateKey(&key, kBits, subprimeBits(kBits)) != 1) return SetProviderError(CSP_ERR_ENGINE);
    const int32_t size = E_ASN1_GetKCDSAParamsBytes(&key);
    int32_t reason = size <= 0 || params->Length < uint32_t(size) ? CSP_ERR_KEY_DATA_SHORT : 0;
    if (reason == 0) params->Length = uint32_t(E_ASN1_PutKCDSAParams(&key, params->Data));
    // The pair is then made on the parameters just written, as any caller holding them would.
    CspAttribute attribute{CSP_ATTR_ALG_PARAMS, sizeof(DataBlob *), {}};
    attribute.value.data = params;
    CspContextRecord context{};
    context.attributeCount = 1;
    context.attributes = &attribute;
    uint32_t bits = 0;
    if (reason == 0) reason = generateKcdsa({&context, nullptr, publicKey, privateKey}, &bits);
    vc::secure_wipe_object(key);
    if (reason != 0) return SetProviderError(reason);
    setHeader(publicKey, CSP_KEYCLASS_PUBLIC, CSP_ALG_KCDSA, bits, 0, 0);
    setHeader(privateKey, CSP_KEYCLASS_PRIVATE, CSP_ALG_KCDSA, bits, 0, 0);
    return 0;
}

}  // namespace vc::csp

using vc::csp::SetProviderError;

extern "C" {

int32_t CSP_GenerateKeyPair(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                            uint32_t publicUsage, uint32_t publicAttributes,
                            const DataBlob *publicExponent, CspKeyRecord *publicKey,
                            uint32_t privateUsage, uint32_t privateAttributes, const void *,
                            CspKeyRecord *privateKey) {
    using namespace vc::csp;
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_KEYGEN) return SetProviderError(CSP_ERR_CLASS);
    if (!usableRecord(publicKey) || !usableRecord(privateKey)) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (publicKey->keyData.Data == nullptr || privateKey->keyData.Data == nullptr)
        return SetProviderError(CSP_ERR_NULL_DATA);
    const PairRequest request{record, publicExponent, publicKey, privateKey};
    const uint32_t algorithm = record->algorithm;
    uint32_t bits = 0;
    int32_t reason = 0;
    switch (algorithm) {
    case CSP_ALG_RSA: reason = generateRsa(request, &bits); break;
    case CSP_ALG_KCDSA: reason = generateKcdsa(request, &bits); break;
    case CSP_ALG_DSA: reason = generateDsa(request, &bits); break;
    case CSP_ALG_DH: reason = generateDh(request, &bits); break;
    case CSP_ALG_ECDSA:
    case CSP_ALG_ECKCDSA:
    case CSP_ALG_ECDH: reason = generateEc(request, algorithm, &bits); break;
    default: reason = CSP_ERR_ALGORITHM;
    }
    if (reason != 0) return SetProviderError(reason);
    setHeader(publicKey, CSP_KEYCLASS_PUBLIC, algorithm, bits, publicUsage, publicAttributes);
    setHeader(privateKey, CSP_KEYCLASS_PRIVATE, algorithm, bits, privateUsage, privateAttributes);
    return 0;
}

int32_t CSP_GenerateAlgorithmParams(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                                    uint32_t bits, DataBlob *params) {
    using namespace vc::csp;
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_KEYGEN) return SetProviderError(CSP_ERR_CLASS);
    const uint32_t algorithm = record->algorithm;
    if (algorithm != CSP_ALG_KCDSA && algorithm != CSP_ALG_DSA && algorithm != CSP_ALG_DH)
        return SetProviderError(CSP_ERR_ALGORITHM);
    if (params == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (params->Data == nullptr && params->Length != 0) return SetProviderError(CSP_ERR_NULL_DATA);
    const uint32_t minBits = algorithm == CSP_ALG_DH ? kMinDhBits : kMinPrimeBits;
    if (bits < minBits || bits > kMaxPrimeBits) return SetProviderError(CSP_ERR_KEY_SIZE);
    DecodedKey k{};
    int32_t ok = 0, size = 0;
    auto put = [&](uint8_t *out) {
        switch (algorithm) {
        case CSP_ALG_KCDSA: return E_ASN1_PutKCDSAParams(&k.kcdsa, out);
        case CSP_ALG_DSA: return E_ASN1_PutDSAParams(&k.dsa, out);
        default: return E_ASN1_PutDHParams(&k.dh, out);
        }
    };
    if (algorithm == CSP_ALG_KCDSA) {
        E_KCDSA_Init(&k.kcdsa);
        ok = E_KCDSA_GenerateKey(&k.kcdsa, bits, subprimeBits(bits));
    } else if (algorithm == CSP_ALG_DSA) {
        E_DSA_Init(&k.dsa);
        ok = E_DSA_GenerateKey(&k.dsa, bits, subprimeBits(bits));
    } else {
        uint32_t generator = kDefaultDhGenerator;
        findUint32(record, CSP_ATTR_GENERATOR, &generator);
        E_DH_Init(&k.dh);
        ok = E_DH_GenerateParameters(&k.dh, bits, generator);
    }
    int32_t reason = ok == 1 ? 0 : CSP_ERR_KEY_SIZE;
    if (reason == 0) {
        size = put(nullptr);
        reason = size > 0 ? prepareResult(params, uint32_t(size)) : CSP_ERR_ENGINE;
    }
    if (reason == 0) params->Length = uint32_t(put(params->Data));
    vc::secure_wipe_object(k);
    return reason == 0 ? 0 : SetProviderError(reason);
}

int32_t CSP_QueryKeySizeInBits(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                               const CspKeyRecord *key, CspKeySize *size) {
    using namespace vc::csp;
    if (size == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (key == nullptr) {
        const CspContextRecord *record = context != nullptr ? context : handle;
        if (record == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
        if (findAttribute(record, CSP_ATTR_KEY) == nullptr) return SetProviderError(CSP_ERR_MISSING_ATTRIBUTE);
        key = keyAttribute(record);
    }
    DecodedKey k{};
    if (int32_t reason = openKey(key, &k)) return SetProviderError(reason);
    uint32_t bits = 0;
    switch (k.algorithm) {
    case CSP_ALG_RSA: bits = EN_GetFilledBitNum(&k.rsa.n); break;
    case CSP_ALG_KCDSA: bits = EN_GetFilledBitNum(&k.kcdsa.p); break;
    case CSP_ALG_DSA: bits = EN_GetFilledBitNum(&k.dsa.p); break;
    case CSP_ALG_DH: bits = EN_GetFilledBitNum(&k.dh.p); break;
    default: {
        EcParams params;
        if (E_ECParams_Init(k.ec.curve, &params) == 0) bits = bitLength(params.n.data, params.n.length);
    }
    }
    vc::secure_wipe_object(k);
    if (bits == 0) return SetProviderError(CSP_ERR_INVALID_KEY);
    size->logicalBits = size->effectiveBits = bits;
    return 0;
}

}  // extern "C"
