// Key generation for the provider's ciphers: CSP_GenerateKey, CSP_FreeKey, CSP_QuerySizeInBits.
//
// CSP_GenerateKey takes no random bytes: it turns the caller's key material into a key record
// (header, raw key bytes, key schedule) inside the caller's key buffer, so that every later
// Init only points at the schedule instead of recomputing it.
#include "common/wipe.h"
#include "csp/key_record.h"

#include <vorelcrypto/cipher.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "csp/attributes.h"
#include "csp/provider_error.h"

namespace vc::csp {
namespace {

using vc::cipher::BlockModes;

// How each cipher's key is checked, sized and scheduled.
struct KeyAlgorithm {
    uint32_t algorithm;
    uint32_t minBytes, maxBytes;
    uint32_t reservedSize;  // the record size callers reserve for the key (a minimum)
    uint32_t scheduleSize;
    uint32_t fixedEffectiveBits;  // 0: 8 * key bytes (or RC2's attribute)
    uint32_t rounds;
    const BlockModes *modes;
    void (*schedule)(void *ks, const uint8_t *key, uint32_t length, uint32_t effectiveBits);
};

constexpr uint32_t kRc5Rounds = 12;

constexpr KeyAlgorithm kAlgorithms[] = {
    {CSP_ALG_DES, 8, 8, 128, sizeof(DesKeySchedule), 56, 0, &vc::cipher::kDesModes,
     [](void *ks, const uint8_t *k, uint32_t, uint32_t) {
         E_DES_KeySchedule(static_cast<DesKeySchedule *>(ks), k);
     }},
    {CSP_ALG_3DES_2KEY, 16, 16, 256, sizeof(Des3KeySchedule), 112, 0, &vc::cipher::kDes3Modes,
     [](void *ks, const uint8_t *k, uint32_t, uint32_t) {
         E_DES3_KeySchedule(static_cast<Des3KeySchedule *>(ks), k);
     }},
    {CSP_ALG_IDEA, 16, 16, 432, sizeof(IdeaKeySchedule), 0, 0, &vc::cipher::kIdeaModes,
     [](void *ks, const uint8_t *k, uint32_t, uint32_t) {
         E_IDEA_KeySchedule(static_cast<IdeaKeySchedule *>(ks), k);
     }},
    // Callers reserve 128 bytes for the usual 8-byte key and 40 for the 5-byte key of the
    // 40-bit service row. The larger of that and the real layout is used.
    {CSP_ALG_RC2, 1, 128, 128, sizeof(Rc2KeySchedule), 0, 0, &vc::cipher::kRc2Modes,
     [](void *ks, const uint8_t *k, uint32_t n, uint32_t bits) {
         E_RC2_KeySchedule(static_cast<Rc2KeySchedule *>(ks), k, n, int32_t(bits));
     }},
    {CSP_ALG_RC5, 0, 255, 136, sizeof(Rc5KeySchedule), 0, kRc5Rounds, &vc::cipher::kRc5Modes,
     [](void *ks, const uint8_t *k, uint32_t n, uint32_t) {
         E_RC5_KeySchedule(static_cast<Rc5KeySchedule *>(ks), k, n, kRc5Rounds);
     }},
    {CSP_ALG_RC4, 1, 256, 1032, sizeof(Rc4State), 0, 0, nullptr,
     [](void *ks, const uint8_t *k, uint32_t n, uint32_t) {
         E_RC4_KeySchedule(static_cast<Rc4State *>(ks), k, n);
     }},
    // Blowfish keys of 32 to 448 bits, as the cipher is defined.
    {CSP_ALG_BLOWFISH, 4, 56, 4168, sizeof(BlowfishKeySchedule), 0, 0, &vc::cipher::kBlowfishModes,
     [](void *ks, const uint8_t *k, uint32_t n, uint32_t) {
         E_BF_KeySchedule(static_cast<BlowfishKeySchedule *>(ks), k, n);
     }},
};

const KeyAlgorithm *findAlgorithm(uint32_t algorithm) {
    for (const KeyAlgorithm &a : kAlgorithms)
        if (a.algorithm == algorithm) return &a;
    return nullptr;
}

// The schedules are word arrays; the key buffer must be aligned for them.
constexpr size_t kRecordAlignment = alignof(KeyRecordHeader);
static_assert(alignof(DesKeySchedule) <= kRecordAlignment && alignof(Rc5KeySchedule) <= kRecordAlignment &&
              alignof(BlowfishKeySchedule) <= kRecordAlignment && alignof(Rc4State) <= kRecordAlignment &&
              alignof(Rc2KeySchedule) <= kRecordAlignment && alignof(IdeaKeySchedule) <= kRecordAlignment);

constexpr uint32_t scheduleOffset(uint32_t keyBytes) {
    return uint32_t(sizeof(KeyRecordHeader)) + (keyBytes + 7) / 8 * 8;
}
constexpr uint32_t recordSize(const KeyAlgorithm &a, uint32_t keyBytes) {
    return std::max(a.reservedSize, scheduleOffset(keyBytes) + a.scheduleSize);
}
static_assert(recordSize(kAlgorithms[6], 56) <= CSP_KEY_RECORD_MAX &&
              recordSize(kAlgorithms[5], 256) <= CSP_KEY_RECORD_MAX &&
              recordSize(kAlgorithms[4], 255) <= CSP_KEY_RECORD_MAX);

bool aligned(const void *p) { return reinterpret_cast<uintptr_t>(p) % kRecordAlignment == 0; }

// Checks what the key-generation context and the material say; fills the key length and the
// effective bits. Returns 0 or a reason.
int32_t checkMaterial(const CspContextRecord *record, const KeyAlgorithm &a,
                      const DataBlob *material, uint32_t *keyBytes, uint32_t *effectiveBits) {
    uint32_t bits = 0;
    if (!findUint32(record, CSP_ATTR_KEY_LENGTH, &bits)) return CSP_ERR_MISSING_ATTRIBUTE;
    if (bits % 8 != 0) return CSP_ERR_INVALID_KEY;
    const uint32_t n = bits / 8;
    if (material->Length < n || (n != 0 && material->Data == nullptr)) return CSP_ERR_NULL_DATA;
    if (n < a.minBytes || n > a.maxBytes) return CSP_ERR_INVALID_KEY;
    uint32_t effective = a.fixedEffectiveBits != 0 ? a.fixedEffectiveBits : bits;
    if (a.algorithm == CSP_ALG_RC2 && findUint32(record, CSP_ATTR_EFFECTIVE_BITS, &effective) &&
        (effective < 1 || effective > 1024))
        return CSP_ERR_INVALID_KEY;
    *keyBytes = n;
    *effectiveBits = effective;
    return 0;
}

}  // namespace

bool isCipherAlgorithm(uint32_t algorithm) { return findAlgorithm(algorithm) != nullptr; }

int32_t openKeyRecord(const DataBlob *blob, KeyView *view) {
    if (blob == nullptr || blob->Data == nullptr || !aligned(blob->Data) ||
        blob->Length < sizeof(KeyRecordHeader))
        return CSP_ERR_INVALID_KEY;
    const auto *h = reinterpret_cast<const KeyRecordHeader *>(blob->Data);
    const KeyAlgorithm *a = findAlgorithm(h->algorithm);
    if (h->magic != kKeyRecordMagic || a == nullptr || h->keyBytes < a->minBytes ||
        h->keyBytes > a->maxBytes || h->scheduleOffset != scheduleOffset(h->keyBytes) ||
        h->recordSize != recordSize(*a, h->keyBytes) || h->recordSize > blob->Length)
        return CSP_ERR_INVALID_KEY;
    view->header = h;
    view->key = blob->Data + sizeof(KeyRecordHeader);
    view->schedule = blob->Data + h->scheduleOffset;
    view->modes = a->modes;
    return 0;
}

}  // namespace vc::csp

using vc::csp::SetProviderError;

extern "C" {

int32_t CSP_GenerateKey(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                        uint32_t keyUsage, uint32_t keyAttributes, const DataBlob *keyMaterial,
                        DataBlob *key) {
    using namespace vc::csp;
    CspContextRecord *record = handle;
    if (record == nullptr) return SetProviderError(CSP_ERR_NO_CONTEXT);
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_KEYGEN) return SetProviderError(CSP_ERR_CLASS);
    const KeyAlgorithm *a = findAlgorithm(record->algorithm);
    if (a == nullptr) return SetProviderError(CSP_ERR_ALGORITHM);
    if (keyMaterial == nullptr || key == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    uint32_t keyBytes = 0, effectiveBits = 0;
    if (int32_t reason = checkMaterial(record, *a, keyMaterial, &keyBytes, &effectiveBits))
        return SetProviderError(reason);
    if (key->Data == nullptr) return SetProviderError(CSP_ERR_NULL_DATA);
    const uint32_t size = recordSize(*a, keyBytes);
    if (key->Length < size) return SetProviderError(CSP_ERR_OUTPUT_SHORT);
    if (!aligned(key->Data)) return SetProviderError(CSP_ERR_INVALID_KEY);

    std::memset(key->Data, 0, size);
    KeyRecordHeader h{};
    h.magic = kKeyRecordMagic;
    h.algorithm = a->algorithm;
    h.keyBytes = keyBytes;
    h.effectiveBits = effectiveBits;
    h.rounds = a->rounds;
    h.recordSize = size;
    h.scheduleOffset = scheduleOffset(keyBytes);
    h.keyUsage = keyUsage;
    h.keyAttributes = keyAttributes;
    std::memcpy(key->Data, &h, sizeof h);
    if (keyBytes != 0) std::memcpy(key->Data + sizeof h, keyMaterial->Data, keyBytes);
    a->schedule(key->Data + h.scheduleOffset, key->Data + sizeof h, keyBytes, effectiveBits);
    key->Length = size;
    return 0;
}

int32_t CSP_FreeKey(uint32_t, DataBlob *key) {
    if (key == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    if (key->Data == nullptr && key->Length != 0) return SetProviderError(CSP_ERR_NULL_DATA);
    if (key->Data != nullptr) vc::secure_wipe(key->Data, key->Length);
    key->Length = 0;
    return 0;
}

int32_t CSP_QuerySizeInBits(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                            const DataBlob *key, CspKeySize *size) {
    using namespace vc::csp;
    if (size == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
    // Without a key blob, the key attribute of the given context (or of the handle's record).
    if (key == nullptr) {
        const CspContextRecord *record = context != nullptr ? context : handle;
        if (record == nullptr) return SetProviderError(CSP_ERR_NULL_BLOB);
        if (!findBlob(record, CSP_ATTR_KEY, &key)) return SetProviderError(CSP_ERR_MISSING_ATTRIBUTE);
    }
    KeyView view;
    if (int32_t reason = openKeyRecord(key, &view)) return SetProviderError(reason);
    size->logicalBits = 8 * view.header->keyBytes;
    size->effectiveBits = view.header->effectiveBits;
    return 0;
}

}  // extern "C"
