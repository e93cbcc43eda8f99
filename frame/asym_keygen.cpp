// Key-pair services: V_GenAssymetricKey and its parameters form dispatch on the algorithm id;
// V_GenerateRSAKey drives the provider's CSP_GenerateKeyPair, the KCDSA services its internal
// pair generators, V_GenerateECCKeyPair the curve engines.
#include <vorelcrypto/asym_services.h>
#include <vorelcrypto/common.h>
#include <vorelcrypto/csp_pubkey.h>
#include <vorelcrypto/ec_protocols.h>
#include <vorelcrypto/frame.h>

#include <cstring>
#include <initializer_list>
#include <utility>

#include "common/wipe.h"
#include "csp/pubkey.h"
#include "frame/provider_records.h"

namespace {

using vc::frame::ContextHolder;

constexpr uint32_t kKeyBufferSize = 5000;
constexpr uint32_t kAnnouncedKeyData = 2000;
constexpr uint32_t kExponentBufferSize = 16;
constexpr uint8_t kExponent65537[3] = {0x01, 0x00, 0x01};
constexpr uint32_t kPublicUsage = 9, kPrivateUsage = 6, kKeyAttributes = 0x20000000;
// Header fields the RSA service sets on both records: blob type, format, key class (unknown
// until the generator writes it).
constexpr uint32_t kBlobType = 2, kFormat = 0;
constexpr uint32_t kEcPrivateBuffer = 30, kEcPublicBuffer = 50;

uint8_t *allocate(LibContext *ctx, uint32_t size) { return static_cast<uint8_t *>(V_calloc(ctx, 1, size)); }

// The key records and buffers of one key-pair call, wiped and freed on every path.
struct PairCall {
    explicit PairCall(LibContext *c) : ctx(c) {}
    PairCall(const PairCall &) = delete;
    PairCall &operator=(const PairCall &) = delete;
    ~PairCall() {
        for (CspKeyRecord *record : {publicKey, privateKey}) {
            if (record == nullptr) continue;
            vc::secure_wipe(record->keyData.Data, kKeyBufferSize);
            V_free(ctx, record->keyData.Data);
            V_free(ctx, record);
        }
        if (params != nullptr) V_free(ctx, params->Data);
        V_free(ctx, params);
        V_free(ctx, exponent.Data);
        vc::frame::freeContextHolder(ctx, keygen);
    }
    // Two key records (20006) with a 5,000-byte data buffer each (30001). 0 or the code.
    int32_t makeRecords() {
        publicKey = static_cast<CspKeyRecord *>(V_calloc(ctx, 1, sizeof(CspKeyRecord)));
        privateKey = static_cast<CspKeyRecord *>(V_calloc(ctx, 1, sizeof(CspKeyRecord)));
        if (publicKey == nullptr || privateKey == nullptr) return VC_ERR_ALLOC;
        for (CspKeyRecord *record : {publicKey, privateKey}) {
            record->keyData = {kKeyBufferSize, allocate(ctx, kKeyBufferSize)};
            if (record->keyData.Data == nullptr) return VC_ERR_RESULT_ALLOC;
        }
        return VC_OK;
    }
    LibContext *ctx;
    ContextHolder *keygen = nullptr;
    CspKeyRecord *publicKey = nullptr, *privateKey = nullptr;
    DataBlob *params = nullptr;
    DataBlob exponent{0, nullptr};
};

// Copies each source into a new output; on a failed allocation frees those already made and
// leaves every output {0, null}. 0 or 20006.
int32_t copyOutputs(LibContext *ctx, std::initializer_list<std::pair<DataBlob *, const DataBlob *>> pairs) {
    for (const auto &[out, from] : pairs) *out = {0, nullptr};
    for (const auto &[out, from] : pairs) {
        uint8_t *data = allocate(ctx, from->Length);
        if (data == nullptr) {
            for (const auto &[done, unused] : pairs) {
                V_free(ctx, done->Data);
                *done = {0, nullptr};
            }
            return VC_ERR_ALLOC;
        }
        std::memcpy(data, from->Data, from->Length);
        *out = {from->Length, data};
    }
    return VC_OK;
}

int32_t store(LibContext *ctx, int32_t code) {
    ctx->error = code;
    return code;
}

// Modulus bytes for a size in bits; 0 for a size the service does not make.
uint32_t modulusBytes(int32_t bits) {
    switch (bits) {
    case 512: return 64;
    case 1024: return 128;
    case 2048: return 256;
    default: return 0;
    }
}

// The KCDSA services; `params` null for the pair on the built-in parameters.
int32_t kcdsaPair(LibContext *ctx, DataBlob *publicKey, DataBlob *privateKey, DataBlob *params) {
    if (ctx == nullptr) return -1;
    if (ctx->state == nullptr) return store(ctx, VC_ERR_NOT_READY);
    PairCall call(ctx);
    int32_t code = call.makeRecords();
    if (code == VC_OK && params != nullptr) {
        call.params = static_cast<DataBlob *>(V_calloc(ctx, 1, sizeof(DataBlob)));
        if (call.params == nullptr || (call.params->Data = allocate(ctx, kKeyBufferSize)) == nullptr)
            code = VC_ERR_RESULT_ALLOC;
        else
            call.params->Length = kKeyBufferSize;
    }
    if (code != VC_OK) return store(ctx, code);
    const int32_t generated =
        params == nullptr ? vc::csp::generateKcdsaKeyPair(call.publicKey, call.privateKey)
                          : vc::csp::generateKcdsaKeyPairAndParams(call.publicKey, call.privateKey, call.params);
    if (generated != 0) return store(ctx, VC_ERR_KEYPAIR);
    if (params == nullptr)
        return store(ctx, copyOutputs(ctx, {{publicKey, &call.publicKey->keyData},
                                            {privateKey, &call.privateKey->keyData}}));
    return store(ctx, copyOutputs(ctx, {{publicKey, &call.publicKey->keyData},
                                        {privateKey, &call.privateKey->keyData},
                                        {params, call.params}}));
}

}  // namespace

extern "C" {

int32_t V_GenerateRSAKey(LibContext *ctx, int32_t size, DataBlob *publicKey, DataBlob *privateKey) {
    if (ctx == nullptr) return -1;
    if (ctx->state == nullptr) return store(ctx, VC_ERR_NOT_READY);
    const uint32_t bytes = modulusBytes(size);
    if (bytes == 0) return store(ctx, VC_ERR_KEYPAIR);
    PairCall call(ctx);
    call.keygen = vc::frame::newContextHolder(ctx, CSP_CLASS_KEYGEN);
    if (call.keygen == nullptr) return store(ctx, VC_ERR_ALLOC);
    if (int32_t code = call.makeRecords()) return store(ctx, code);
    call.exponent.Data = allocate(ctx, kExponentBufferSize);
    if (call.exponent.Data == nullptr) return store(ctx, VC_ERR_RESULT_ALLOC);
    for (CspKeyRecord *record : {call.publicKey, call.privateKey}) {
        record->header.blobType = kBlobType;
        record->header.format = kFormat;
        record->header.keyClass = CSP_KEYCLASS_UNKNOWN;
        record->keyData.Length = kAnnouncedKeyData;
    }
    CspContextRecord *record = call.keygen->record;
    record->algorithm = CSP_ALG_RSA;
    vc::frame::addUint32Attribute(call.keygen, CSP_ATTR_KEY_LENGTH, CSP_RSA_KEYGEN_TAG);
    vc::frame::addUint32Attribute(call.keygen, CSP_ATTR_MODULUS_BYTES, bytes);
    std::memcpy(call.exponent.Data, kExponent65537, sizeof kExponent65537);
    call.exponent.Length = sizeof kExponent65537;
    if (CSP_GenerateKeyPair(CSP_MODULE_HANDLE, record, nullptr, kPublicUsage, kKeyAttributes, &call.exponent,
                            call.publicKey, kPrivateUsage, kKeyAttributes, nullptr, call.privateKey) != 0)
        return store(ctx, VC_ERR_KEYPAIR);
    return store(ctx, copyOutputs(ctx, {{publicKey, &call.publicKey->keyData},
                                        {privateKey, &call.privateKey->keyData}}));
}

int32_t V_GenerateKCDSAKeyPair(LibContext *ctx, int32_t, DataBlob *publicKey, DataBlob *privateKey) {
    return kcdsaPair(ctx, publicKey, privateKey, nullptr);
}

int32_t V_GenerateKCDSAKeyPair_Params(LibContext *ctx, int32_t, DataBlob *publicKey, DataBlob *privateKey,
                                      DataBlob *params) {
    if (params == nullptr) return ctx == nullptr ? -1 : store(ctx, VC_ERR_NOT_READY);
    return kcdsaPair(ctx, publicKey, privateKey, params);
}

int32_t V_GenerateECCKeyPair(LibContext *ctx, int32_t kind, int32_t curve, DataBlob *publicKey,
                             DataBlob *privateKey) {
    auto report = [ctx](int32_t code) {
        if (ctx != nullptr) ctx->error = code;
        return code;
    };
    uint8_t *privateBuffer = allocate(ctx, kEcPrivateBuffer);
    uint8_t *publicBuffer = allocate(ctx, kEcPublicBuffer);
    auto release = [&] {
        vc::secure_wipe(privateBuffer, kEcPrivateBuffer);
        V_free(ctx, privateBuffer);
        V_free(ctx, publicBuffer);
    };
    if (privateBuffer == nullptr || publicBuffer == nullptr) {
        release();
        report(VC_ERR_ALLOC);
        return -1;
    }
    EcParams params;
    Opaque8 priv{0, privateBuffer}, pub{0, publicBuffer};
    int32_t result = E_ECParams_Init(curve, &params);
    if (result == 0 && kind == V_ASYM_ECDSA) result = E_ECC_GenerateKeyPair(curve, &params, &pub, &priv);
    else if (result == 0 && kind == V_ASYM_ECKCDSA) result = E_ECC_GenerateKeyPair_ECKCDSA(curve, &params, &pub, &priv);
    else result = -1;
    int32_t code = result == 0 && pub.length != 0 && priv.length != 0 ? VC_OK : VC_ERR_KEYPAIR;
    if (code == VC_OK) {
        const DataBlob pubBlob{pub.length, pub.data}, privBlob{priv.length, priv.data};
        code = copyOutputs(ctx, {{publicKey, &pubBlob}, {privateKey, &privBlob}});
    }
    release();
    if (code == VC_ERR_ALLOC) {
        report(code);
        return -1;
    }
    return report(code);
}

int32_t V_GenAssymetricKey(LibContext *ctx, uint32_t algorithm, int32_t size, DataBlob *publicKey,
                           DataBlob *privateKey) {
    switch (algorithm) {
    case 0: case 1: case 2: return V_GenerateRSAKey(ctx, size, publicKey, privateKey);
    case 4: case 5: return V_GenerateKCDSAKeyPair(ctx, size, publicKey, privateKey);
    case 15: case 16: return V_GenerateECCKeyPair(ctx, int32_t(algorithm), size, publicKey, privateKey);
    default: return -1;
    }
}

int32_t V_GenAssymetricKeyAndParams(LibContext *ctx, uint32_t algorithm, int32_t size, DataBlob *publicKey,
                                    DataBlob *privateKey, DataBlob *params) {
    if (algorithm == 4 || algorithm == 5) return V_GenerateKCDSAKeyPair_Params(ctx, size, publicKey, privateKey, params);
    return V_GenAssymetricKey(ctx, algorithm, size, publicKey, privateKey);
}

}  // extern "C"
