// CSP_WrapKey / CSP_UnwrapKey: a symmetric key record carried under an RSA public key (OAEP) or
// under a symmetric key (the encryption family). The wrapped string names the algorithm and the
// effective bits so that unwrapping rebuilds the same record.
#include <cstdlib>
#include <cstring>

#include "common/wipe.h"
#include "csp/attributes.h"
#include "csp/key_record.h"
#include "csp/provider_error.h"
#include "csp/pubkey.h"

namespace vc::csp {
namespace {

constexpr uint32_t kHeaderBytes = 8;       // algorithm, effective bits
constexpr uint32_t kMaxRawKey = 256;       // RC4's longest key
constexpr uint32_t kMaxWrapped = 1024;     // an RSA block, or the padded plain string

void putBig32(uint8_t *p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (24 - 8 * i));
}
uint32_t getBig32(const uint8_t *p) {
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

// Runs the symmetric one-shot encryption or decryption of the context over in; 0 or a reason
// (the provider error is already set by the family).
int32_t symmetric(CspContextRecord *record, bool encrypt, const uint8_t *in, uint32_t inLength,
                  uint8_t *out, uint32_t *outLength) {
    DataBlob input{inLength, const_cast<uint8_t *>(in)}, output{kMaxWrapped - 16, out};
    DataBlob remaining{16, out + kMaxWrapped - 16};
    uint32_t processed = 0;
    const int32_t r = encrypt ? CSP_EncryptData(0, record, nullptr, &input, 1, &output, 1, &processed, &remaining)
                              : CSP_DecryptData(0, record, nullptr, &input, 1, &output, 1, &processed, &remaining);
    if (r != 0) return -1;
    std::memmove(out + processed, remaining.Data, remaining.Length);
    *outLength = processed + remaining.Length;
    return 0;
}

// 0 or a reason; -1 when a family below has set the provider error already.
int32_t wrap(CspContextRecord *record, const CspContextRecord *context, const DataBlob *key, DataBlob *wrapped) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    adoptContext(record, context);
    if (key == nullptr || wrapped == nullptr) return CSP_ERR_NULL_BLOB;
    KeyView view;
    if (openKeyRecord(key, &view) != 0) return CSP_ERR_INVALID_KEY;
    uint8_t plain[kHeaderBytes + kMaxRawKey];
    putBig32(plain, view.header->algorithm);
    putBig32(plain + 4, view.header->effectiveBits);
    std::memcpy(plain + kHeaderBytes, view.key, view.header->keyBytes);
    const uint32_t plainLength = kHeaderBytes + view.header->keyBytes;
    uint8_t out[kMaxWrapped];
    uint32_t outLength = 0;
    int32_t reason = 0;
    if (record->contextClass == CSP_CLASS_ASYMMETRIC) {
        if (record->algorithm != CSP_ALG_RSA) reason = CSP_ERR_ALGORITHM;
        else if (findAttribute(record, CSP_ATTR_KEY) == nullptr) reason = CSP_ERR_MISSING_ATTRIBUTE;
        else if (rsaOperation(RsaOperation::OaepEncrypt, keyAttribute(record), plain, plainLength, nullptr, 0,
                              out, &outLength) != 0)
            reason = -1;
    } else if (record->contextClass == CSP_CLASS_SYMMETRIC) {
        reason = symmetric(record, true, plain, plainLength, out, &outLength);
    } else {
        reason = CSP_ERR_CLASS;
    }
    vc::secure_wipe(plain, sizeof plain);
    if (reason == 0) reason = prepareResult(wrapped, outLength);
    if (reason == 0) {
        std::memcpy(wrapped->Data, out, outLength);
        wrapped->Length = outLength;
    }
    vc::secure_wipe(out, sizeof out);
    return reason;
}

int32_t unwrap(CspContextRecord *record, const CspContextRecord *context, const DataBlob *wrapped, DataBlob *key) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    adoptContext(record, context);
    if (key == nullptr || wrapped == nullptr) return CSP_ERR_NULL_BLOB;
    if (wrapped->Data == nullptr || (key->Data == nullptr && key->Length != 0)) return CSP_ERR_NULL_DATA;
    if (wrapped->Length > kMaxWrapped - 16) return CSP_ERR_INVALID_KEY;
    uint8_t plain[kMaxWrapped];
    uint32_t plainLength = 0;
    int32_t reason = 0;
    if (record->contextClass == CSP_CLASS_ASYMMETRIC) {
        if (record->algorithm != CSP_ALG_RSA) reason = CSP_ERR_ALGORITHM;
        else if (findAttribute(record, CSP_ATTR_KEY) == nullptr) reason = CSP_ERR_MISSING_ATTRIBUTE;
        else if (rsaOperation(RsaOperation::OaepDecrypt, keyAttribute(record), wrapped->Data, wrapped->Length,
                              nullptr, 0, plain, &plainLength) != 0)
            reason = -1;
    } else if (record->contextClass == CSP_CLASS_SYMMETRIC) {
        reason = symmetric(record, false, wrapped->Data, wrapped->Length, plain, &plainLength);
    } else {
        reason = CSP_ERR_CLASS;
    }
    if (reason == 0 && (plainLength < kHeaderBytes || plainLength > kHeaderBytes + kMaxRawKey))
        reason = CSP_ERR_INVALID_KEY;
    if (reason == 0) {
        const uint32_t rawBytes = plainLength - kHeaderBytes;
        CspAttribute attributes[2] = {{CSP_ATTR_KEY_LENGTH, 4, {}}, {CSP_ATTR_EFFECTIVE_BITS, 4, {}}};
        attributes[0].value.uint32 = 8 * rawBytes;
        attributes[1].value.uint32 = getBig32(plain + 4);
        CspContextRecord keygen{};
        keygen.contextClass = CSP_CLASS_KEYGEN;
        keygen.algorithm = getBig32(plain);
        keygen.attributes = attributes;
        keygen.attributeCount = keygen.algorithm == CSP_ALG_RC2 ? 2 : 1;
        DataBlob material{rawBytes, plain + kHeaderBytes};
        const bool allocated = key->Data == nullptr;
        if (allocated) {
            key->Data = static_cast<uint8_t *>(std::malloc(CSP_KEY_RECORD_MAX));
            key->Length = CSP_KEY_RECORD_MAX;
        }
        if (key->Data == nullptr) {
            key->Length = 0;
            reason = CSP_ERR_ALLOC;
        } else if (CSP_GenerateKey(0, &keygen, nullptr, 0, 0, &material, key) != 0) {
            reason = CSP_ERR_INVALID_KEY;
            if (allocated) {
                std::free(key->Data);
                *key = {0, nullptr};
            }
        }
        vc::secure_wipe_object(keygen);
    }
    vc::secure_wipe(plain, sizeof plain);
    return reason;
}

int32_t report(int32_t reason) {
    if (reason == 0) return 0;
    return reason == -1 ? -1 : SetProviderError(reason);
}

}  // namespace
}  // namespace vc::csp

extern "C" {

int32_t CSP_WrapKey(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                    const DataBlob *key, DataBlob *wrapped) {
    return vc::csp::report(vc::csp::wrap(handle, context, key, wrapped));
}

int32_t CSP_UnwrapKey(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                      const DataBlob *wrapped, DataBlob *key) {
    return vc::csp::report(vc::csp::unwrap(handle, context, wrapped, key));
}

}  // extern "C"
