// V_GenMac, V_VerifyMac and V_GenRandom: clients of the provider's MAC and random families.
#include <vorelcrypto/common.h>
#include <vorelcrypto/csp.h>
#include <vorelcrypto/frame.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "common/wipe.h"
#include "frame/provider_records.h"

namespace {

using vc::frame::ContextHolder;

// MAC id -> provider MAC algorithm; the same id picks the key set-up row of the symmetric table.
constexpr uint32_t kMacAlgorithm[] = {CSP_ALG_DES, CSP_ALG_3DES_2KEY, CSP_ALG_MD5};

// Generator id -> provider random algorithm.
constexpr uint32_t kRandomAlgorithm[] = {CSP_ALG_RANDOM_DES, CSP_ALG_RANDOM_MD5};

constexpr uint32_t kMacBufferSize = 1000;
constexpr uint32_t kMessageSlack = 16;  // V_GenMac's message copy is this much longer
constexpr uint32_t kRandomBufferSize = 1000;

uint8_t *allocate(LibContext *ctx, uint32_t size) {
    return static_cast<uint8_t *>(V_calloc(ctx, 1, size));
}

// The temporaries of one MAC call, freed on every path when the call returns.
struct MacCall {
    explicit MacCall(LibContext *c) : ctx(c) {}
    MacCall(const MacCall &) = delete;
    MacCall &operator=(const MacCall &) = delete;
    ~MacCall() {
        // The key record holds the key schedule; the blocks may be handed out again.
        vc::secure_wipe(keyRecord.Data, CSP_KEY_RECORD_MAX);
        V_free(ctx, keyRecord.Data);
        V_free(ctx, mac.Data);
        V_free(ctx, message.Data);
        vc::frame::freeContextHolder(ctx, macContext);
        vc::frame::freeContextHolder(ctx, keygen);
    }
    CspContextRecord *record() const { return macContext->record; }

    LibContext *ctx;
    ContextHolder *keygen = nullptr, *macContext = nullptr;
    DataBlob message{0, nullptr};   // the caller's message, copied
    DataBlob mac{0, nullptr};       // V_GenMac: room for the result; V_VerifyMac: the MAC to check
    DataBlob keyRecord{0, nullptr};
};

// Copies `length` bytes of `from` (may be null when length is 0) into a fresh buffer of
// length + slack bytes.
bool copyInto(LibContext *ctx, DataBlob &to, const uint8_t *from, uint32_t length, uint32_t slack) {
    if (length > UINT32_MAX - slack) return false;
    to.Data = allocate(ctx, length + slack);
    if (to.Data == nullptr) return false;
    if (length > 0) std::memcpy(to.Data, from, length);
    to.Length = length;
    return true;
}

// Holders, copies, key buffer, provider key and MAC context, in that order. `macIn` is the MAC
// to check, or null for room of kMacBufferSize bytes. Returns 0 or the code to store.
int32_t prepare(MacCall &call, int32_t macId, const DataBlob &key, const DataBlob &message,
                uint32_t messageSlack, const DataBlob *macIn) {
    LibContext *ctx = call.ctx;
    call.keygen = vc::frame::newContextHolder(ctx, CSP_CLASS_KEYGEN);
    if (call.keygen == nullptr) return VC_ERR_ALLOC;
    call.macContext = vc::frame::newContextHolder(ctx, CSP_CLASS_MAC);
    if (call.macContext == nullptr) return VC_ERR_ALLOC;
    if (!copyInto(ctx, call.message, message.Data, message.Length, messageSlack)) return VC_ERR_ALLOC;
    const bool copied = macIn != nullptr ? copyInto(ctx, call.mac, macIn->Data, macIn->Length, 0)
                                         : copyInto(ctx, call.mac, nullptr, 0, kMacBufferSize);
    if (!copied) return VC_ERR_ALLOC;
    if (macIn == nullptr) call.mac.Length = kMacBufferSize;
    call.keyRecord.Data = allocate(ctx, CSP_KEY_RECORD_MAX);
    if (call.keyRecord.Data == nullptr) return VC_ERR_ALLOC;

    // An unknown id sets up no key and leaves the MAC algorithm at 0: the provider refuses the
    // start.
    const bool known = macId >= 0 && size_t(macId) < std::size(kMacAlgorithm);
    if (known) {
        const vc::frame::CipherRow *row = vc::frame::findCipherRow(uint32_t(macId));
        // The provider takes the row's fixed number of key bytes; a shorter blob is refused
        // rather than read past its end.
        if (key.Data == nullptr || key.Length < row->keyBytes ||
            vc::frame::importProviderKey(call.keygen, row, key.Data, &call.keyRecord) != 0)
            return VC_ERR_KEY_IMPORT;
        call.record()->algorithm = kMacAlgorithm[macId];
    }
    vc::frame::addBlobAttribute(call.macContext, CSP_ATTR_KEY, &call.keyRecord);
    return VC_OK;
}

// A context without its crypto state, or a missing message or MAC blob: 30000.
bool missingInput(const LibContext *ctx, const DataBlob *key, const DataBlob *message, const DataBlob *mac) {
    return ctx->state == nullptr || key == nullptr || message == nullptr || mac == nullptr ||
           (message->Data == nullptr && message->Length != 0) ||
           (mac->Data == nullptr && mac->Length != 0);
}

}  // namespace

extern "C" uint32_t V_GenMac(LibContext *ctx, int32_t macId, const DataBlob *key, const DataBlob *message,
                             DataBlob *mac) {
    if (ctx == nullptr) return uint32_t(-1);
    if (missingInput(ctx, key, message, mac)) return uint32_t(ctx->error = VC_ERR_NOT_READY);
    MacCall call(ctx);
    int32_t code = prepare(call, macId, *key, *message, kMessageSlack, nullptr);
    if (code == VC_OK && CSP_GenerateMacInit(CSP_MODULE_HANDLE, call.record(), nullptr) != 0)
        code = VC_ERR_MAC_INIT;
    if (code == VC_OK && (CSP_GenerateMacUpdate(CSP_MODULE_HANDLE, call.record(), &call.message, 1) != 0 ||
                          CSP_GenerateMacFinal(CSP_MODULE_HANDLE, call.record(), &call.mac) != 0))
        code = VC_ERR_MAC_UPDATE;
    if (code == VC_OK) {
        uint8_t *result = allocate(ctx, call.mac.Length);
        if (result == nullptr) {
            code = VC_ERR_ALLOC;
        } else {
            std::memcpy(result, call.mac.Data, call.mac.Length);
            *mac = {call.mac.Length, result};
        }
    }
    ctx->error = code;
    return uint32_t(code);
}

extern "C" uint32_t V_VerifyMac(LibContext *ctx, int32_t macId, const DataBlob *key,
                                const DataBlob *message, const DataBlob *mac) {
    if (ctx == nullptr) return uint32_t(-1);
    if (missingInput(ctx, key, message, mac)) return uint32_t(ctx->error = VC_ERR_NOT_READY);
    MacCall call(ctx);
    int32_t code = prepare(call, macId, *key, *message, 0, mac);
    if (code != VC_OK) return uint32_t(ctx->error = code);
    if (CSP_VerifyMacInit(CSP_MODULE_HANDLE, call.record(), nullptr) != 0 ||
        CSP_VerifyMacUpdate(CSP_MODULE_HANDLE, call.record(), &call.message, 1) != 0)
        return uint32_t(ctx->error = -1);
    // Success and mismatch both leave the error field as it was.
    if (CSP_VerifyMacFinal(CSP_MODULE_HANDLE, call.record(), &call.mac) != 0) return VC_ERR_MAC_MISMATCH;
    return VC_OK;
}

extern "C" uint32_t V_GenRandom(LibContext *ctx, int32_t generatorId, uint32_t length, uint8_t **result) {
    if (ctx == nullptr || result == nullptr) return uint32_t(-1);
    if (ctx->state == nullptr) return uint32_t(ctx->error = VC_ERR_NOT_READY);
    ContextHolder *holder = vc::frame::newContextHolder(ctx, CSP_CLASS_RANDOM);
    if (holder == nullptr) return uint32_t(ctx->error = VC_ERR_ALLOC);
    // The work buffer grows with requests above its usual 1,000 bytes.
    DataBlob work{length, allocate(ctx, std::max(length, kRandomBufferSize))};
    int32_t code = VC_OK;
    if (work.Data == nullptr) {
        code = ctx->error = VC_ERR_ALLOC;
    } else {
        const bool known = generatorId >= 0 && size_t(generatorId) < std::size(kRandomAlgorithm);
        holder->record->algorithm = known ? kRandomAlgorithm[generatorId] : 0;
        vc::frame::addUint32Attribute(holder, CSP_ATTR_OUTPUT_SIZE, length);
        // A refused request stores nothing.
        if (CSP_GenerateRandom(CSP_MODULE_HANDLE, holder->record, nullptr, &work) != 0) {
            code = -1;
        } else if (uint8_t *out = allocate(ctx, length); out == nullptr) {
            code = ctx->error = VC_ERR_ALLOC;
        } else {
            if (length > 0) std::memcpy(out, work.Data, length);
            *result = out;
        }
        vc::secure_wipe(work.Data, std::max(length, kRandomBufferSize));
    }
    V_free(ctx, work.Data);
    vc::frame::freeContextHolder(ctx, holder);
    return uint32_t(code);
}
