// CSP_SignData* and CSP_VerifyData*: RSA, DSA, KCDSA, ECDSA and EC-KCDSA signatures. The staged
// forms collect the data in a growing buffer (KCDSA hashes the public key ahead of the message,
// so nothing can be hashed before Final) and sign or verify it at Final.
#include <vorelcrypto/dsa_dh.h>
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/hash.h>
#include <vorelcrypto/kcdsa.h>
#include <vorelcrypto/rsa.h>

#include <cstdlib>
#include <cstring>

#include "common/wipe.h"
#include "csp/attributes.h"
#include "csp/provider_error.h"
#include "csp/pubkey.h"

namespace vc::csp {
namespace {

constexpr uint32_t kSigning = 0x5349474E;    // "SIGN"
constexpr uint32_t kVerifying = 0x56524659;  // "VRFY"
constexpr uint32_t kMaxSignature = 600;

// DigestInfo of SHA-1 ahead of the 20-byte hash (RSASSA-PKCS1-v1_5).
constexpr uint8_t kSha1DigestInfo[15] = {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E,
                                         0x03, 0x02, 0x1A, 0x05, 0x00, 0x04, 0x14};

struct SignState {
    uint32_t magic;
    uint32_t hash;             // KCDSA hash id
    const CspKeyRecord *key;
    uint8_t *data;             // collected data (malloc)
    uint32_t length, capacity;
};
static_assert(sizeof(SignState) <= sizeof(CspContextRecord::work));

SignState *stateOf(CspContextRecord *record, uint32_t direction) {
    auto *s = reinterpret_cast<SignState *>(record->work);
    return s->magic == direction ? s : nullptr;
}

void endOperation(CspContextRecord *record) {
    auto *s = reinterpret_cast<SignState *>(record->work);
    if (s->magic == kSigning || s->magic == kVerifying) {
        vc::secure_wipe(s->data, s->length);
        std::free(s->data);
    }
    std::memset(s, 0, sizeof *s);
}

bool isSignatureAlgorithm(uint32_t a) {
    return a == CSP_ALG_RSA || a == CSP_ALG_DSA || a == CSP_ALG_KCDSA || a == CSP_ALG_ECDSA ||
           a == CSP_ALG_ECKCDSA;
}

int32_t start(CspContextRecord *record, const CspContextRecord *context, uint32_t direction) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_SIGNATURE) return CSP_ERR_CLASS;
    if (!isSignatureAlgorithm(record->algorithm)) return CSP_ERR_ALGORITHM;
    if (findAttribute(record, CSP_ATTR_KEY) == nullptr) return CSP_ERR_MISSING_ATTRIBUTE;
    const CspKeyRecord *key = keyAttribute(record);
    if (key == nullptr || key->header.algorithm != record->algorithm) return CSP_ERR_INVALID_KEY;
    uint32_t hash = E_KCDSA_HASH_SHA1;
    findUint32(record, CSP_ATTR_HASH, &hash);
    endOperation(record);
    auto *s = reinterpret_cast<SignState *>(record->work);
    s->magic = direction;
    s->hash = hash;
    s->key = key;
    return 0;
}

int32_t update(CspContextRecord *record, uint32_t direction, const DataBlob *data, uint32_t count) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    SignState *s = stateOf(record, direction);
    if (s == nullptr) return CSP_ERR_STATE;
    if (data == nullptr) return CSP_ERR_NULL_BLOB;
    if (count == 0) return CSP_ERR_BLOB_COUNT;
    uint64_t total = s->length;
    for (uint32_t i = 0; i < count; ++i) {
        if (data[i].Data == nullptr && data[i].Length != 0) return CSP_ERR_NULL_DATA;
        total += data[i].Length;
    }
    if (total > UINT32_MAX / 2) return CSP_ERR_ALLOC;
    if (total > s->capacity) {
        const uint32_t capacity = uint32_t(total < 2 * uint64_t(s->capacity) ? 2 * s->capacity : total);
        auto *grown = static_cast<uint8_t *>(std::malloc(capacity));
        if (grown == nullptr) return CSP_ERR_ALLOC;
        if (s->length != 0) std::memcpy(grown, s->data, s->length);
        vc::secure_wipe(s->data, s->length);
        std::free(s->data);
        s->data = grown;
        s->capacity = capacity;
    }
    for (uint32_t i = 0; i < count; ++i) {
        if (data[i].Length != 0) std::memcpy(s->data + s->length, data[i].Data, data[i].Length);
        s->length += data[i].Length;
    }
    return 0;
}

void sha1(uint8_t digest[20], const SignState &s) { E_SHA1(digest, s.data, s.length); }

// The DSA hash value: SHA-1 cut to the byte length of q.
uint32_t dsaHash(uint8_t digest[20], const SignState &s, const DsaKey &key) {
    sha1(digest, s);
    const uint32_t qBytes = (EN_GetFilledBitNum(const_cast<ENUM *>(&key.q)) + 7) / 8;
    return qBytes < 20 ? qBytes : 20;
}

// Signs the collected data into sig (kMaxSignature bytes). 0 or a reason.
int32_t sign(const SignState &s, DecodedKey &k, uint8_t *sig, uint32_t *sigLength) {
    if (!k.isPrivate) return CSP_ERR_INVALID_KEY;
    uint8_t block[35];
    std::memcpy(block, kSha1DigestInfo, sizeof kSha1DigestInfo);
    switch (k.algorithm) {
    case CSP_ALG_RSA: {
        sha1(block + sizeof kSha1DigestInfo, s);
        const int32_t n = E_RSA_Private_Encrypt(sig, block, sizeof block, &k.rsa);
        if (n <= 0) return CSP_ERR_ENGINE;
        *sigLength = uint32_t(n);
        return 0;
    }
    case CSP_ALG_DSA: {
        const uint32_t hLength = dsaHash(block, s, k.dsa);
        return E_DSA_Sign(block, hLength, sig, sigLength, &k.dsa) == 1 ? 0 : CSP_ERR_ENGINE;
    }
    case CSP_ALG_KCDSA:
        if (EN_GetFilledBitNum(&k.kcdsa.q) > 8 * (kMaxSignature - 28)) return CSP_ERR_INVALID_KEY;
        return E_KCDSA_Sign_New(s.hash, s.data, s.length, sig, sigLength, &k.kcdsa) == 1 ? 0 : CSP_ERR_ENGINE;
    default: {
        EcParams params;
        if (E_ECParams_Init(k.ec.curve, &params) != 0) return CSP_ERR_INVALID_KEY;
        const Opaque8 msg{s.length, s.data}, priv{k.ec.dLength, k.ec.d}, pub{k.ec.pointLength, k.ec.point};
        Opaque8 out{0, sig};
        const int32_t r = k.algorithm == CSP_ALG_ECDSA
                              ? E_ECDSA_Sign(k.ec.curve, &params, &msg, &out, &priv)
                              : E_ECKCDSA_Sign(k.ec.curve, &params, &msg, &out, &priv, &pub);
        if (r != 0 || out.length == 0) return CSP_ERR_ENGINE;
        *sigLength = out.length;
        return 0;
    }
    }
}

// 0 when `signature` verifies, CSP_ERR_VERIFY when it does not.
int32_t verify(const SignState &s, DecodedKey &k, const DataBlob &signature) {
    uint8_t block[35];
    bool valid = false;
    switch (k.algorithm) {
    case CSP_ALG_RSA: {
        uint8_t opened[kMaxSignature];
        const uint32_t modulusBytes = (EN_GetFilledBitNum(&k.rsa.n) + 7) / 8;
        if (modulusBytes > sizeof opened || signature.Length != modulusBytes) break;
        std::memcpy(block, kSha1DigestInfo, sizeof kSha1DigestInfo);
        sha1(block + sizeof kSha1DigestInfo, s);
        const int32_t n = E_RSA_Public_Decrypt(opened, signature.Data, signature.Length, &k.rsa);
        valid = n == int32_t(sizeof block) && std::memcmp(opened, block, sizeof block) == 0;
        break;
    }
    case CSP_ALG_DSA: {
        const uint32_t hLength = dsaHash(block, s, k.dsa);
        valid = E_DSA_Verify(block, hLength, signature.Data, signature.Length, &k.dsa) == 1;
        break;
    }
    case CSP_ALG_KCDSA:
        valid = E_KCDSA_Verify_New(s.hash, s.data, s.length, signature.Data, signature.Length, &k.kcdsa) == 1;
        break;
    default: {
        EcParams params;
        if (E_ECParams_Init(k.ec.curve, &params) != 0) return CSP_ERR_INVALID_KEY;
        const Opaque8 msg{s.length, s.data}, sig{signature.Length, signature.Data},
            pub{k.ec.pointLength, k.ec.point};
        valid = (k.algorithm == CSP_ALG_ECDSA ? E_ECDSA_Verify(k.ec.curve, &params, &msg, &sig, &pub)
                                              : E_ECKCDSA_Verify(k.ec.curve, &params, &msg, &sig, &pub)) == 1;
    }
    }
    return valid ? 0 : CSP_ERR_VERIFY;
}

int32_t signFinal(CspContextRecord *record, DataBlob *signature) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    SignState *s = stateOf(record, kSigning);
    if (s == nullptr) return CSP_ERR_STATE;
    if (signature == nullptr) return CSP_ERR_NULL_BLOB;
    if (signature->Data == nullptr && signature->Length != 0) return CSP_ERR_NULL_DATA;
    DecodedKey k;
    int32_t reason = openKey(s->key, &k);
    uint8_t sig[kMaxSignature];
    uint32_t sigLength = 0;
    if (reason == 0) reason = sign(*s, k, sig, &sigLength);
    vc::secure_wipe_object(k);
    if (reason == 0) reason = prepareResult(signature, sigLength);
    if (reason == 0) {
        std::memcpy(signature->Data, sig, sigLength);
        signature->Length = sigLength;
    }
    // A result buffer that is too short leaves the operation running, as Final of the MAC does.
    if (reason != CSP_ERR_OUTPUT_SHORT) endOperation(record);
    return reason;
}

int32_t verifyFinal(CspContextRecord *record, const DataBlob *signature) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    SignState *s = stateOf(record, kVerifying);
    if (s == nullptr) return CSP_ERR_STATE;
    if (signature == nullptr) return CSP_ERR_NULL_BLOB;
    if (signature->Data == nullptr) return CSP_ERR_NULL_DATA;
    DecodedKey k;
    int32_t reason = openKey(s->key, &k);
    if (reason == 0) reason = verify(*s, k, *signature);
    vc::secure_wipe_object(k);
    endOperation(record);
    return reason;
}

int32_t report(int32_t reason) { return reason == 0 ? 0 : SetProviderError(reason); }

}  // namespace
}  // namespace vc::csp

using namespace vc::csp;

extern "C" {

int32_t CSP_SignDataInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    return report(start(handle, context, kSigning));
}
int32_t CSP_SignDataUpdate(uint32_t, CspContextHandle handle, const DataBlob *data, uint32_t count) {
    return report(update(handle, kSigning, data, count));
}
int32_t CSP_SignDataFinal(uint32_t, CspContextHandle handle, DataBlob *signature) {
    return report(signFinal(handle, signature));
}
int32_t CSP_SignData(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                     const DataBlob *data, uint32_t count, DataBlob *signature) {
    int32_t reason = start(handle, context, kSigning);
    if (reason == 0) reason = update(handle, kSigning, data, count);
    if (reason == 0) reason = signFinal(handle, signature);
    if (reason != 0 && handle != nullptr) endOperation(handle);
    return report(reason);
}

int32_t CSP_VerifyDataInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    return report(start(handle, context, kVerifying));
}
int32_t CSP_VerifyDataUpdate(uint32_t, CspContextHandle handle, const DataBlob *data, uint32_t count) {
    return report(update(handle, kVerifying, data, count));
}
int32_t CSP_VerifyDataFinal(uint32_t, CspContextHandle handle, const DataBlob *signature) {
    return report(verifyFinal(handle, signature));
}
int32_t CSP_VerifyData(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                       const DataBlob *data, uint32_t count, const DataBlob *signature) {
    int32_t reason = start(handle, context, kVerifying);
    if (reason == 0) reason = update(handle, kVerifying, data, count);
    if (reason == 0) reason = verifyFinal(handle, signature);
    if (reason != 0 && handle != nullptr) endOperation(handle);
    return report(reason);
}

}  // extern "C"
