// Context holders and provider keys for the V_ services.
#include "frame/provider_records.h"

#include <iterator>

namespace vc::frame {

ContextHolder *newContextHolder(LibContext *ctx, uint32_t contextClass) {
    auto *holder = static_cast<ContextHolder *>(V_calloc(ctx, 1, kHolderSize));
    if (holder == nullptr) return nullptr;
    holder->record = static_cast<CspContextRecord *>(V_calloc(ctx, 1, sizeof(CspContextRecord)));
    if (holder->record == nullptr) {
        V_free(ctx, holder);
        return nullptr;
    }
    holder->record->contextClass = contextClass;
    holder->record->attributes = holder->attributes;
    return holder;
}

void freeContextHolder(LibContext *ctx, ContextHolder *holder) {
    if (holder == nullptr) return;
    V_free(ctx, holder->record);
    V_free(ctx, holder);
}

namespace {
CspAttribute *nextAttribute(ContextHolder *holder, uint32_t type) {
    CspContextRecord *r = holder->record;
    CspAttribute *a = &holder->attributes[r->attributeCount++];
    a->type = type;
    return a;
}
}  // namespace

void addUint32Attribute(ContextHolder *holder, uint32_t type, uint32_t value) {
    CspAttribute *a = nextAttribute(holder, type);
    a->length = sizeof(uint32_t);
    a->value.uint32 = value;
}

void addBlobAttribute(ContextHolder *holder, uint32_t type, DataBlob *blob) {
    CspAttribute *a = nextAttribute(holder, type);
    a->length = sizeof(DataBlob);
    a->value.data = blob;
}

const CipherRow *findCipherRow(uint32_t algorithm) {
    // Indexed by service id. The key lengths are fixed per algorithm whatever the caller's key
    // record says; the 26 bytes of RC5 and the 5 bytes of id 11 are what existing cipher texts
    // were made with.
    static constexpr CipherRow kRows[] = {
        {CSP_ALG_DES, 8, 128, 8},         // 0 DES
        {CSP_ALG_3DES_2KEY, 16, 256, 8},  // 1 triple DES (two keys on this path)
        {CSP_ALG_RC2, 8, 128, 8},         // 2 RC2
        {CSP_ALG_RC4, 8, 1032, 0},        // 3 RC4
        {CSP_ALG_RC5, 26, 136, 8},        // 4 RC5
        {CSP_ALG_IDEA, 16, 432, 8},       // 5 IDEA
        {CSP_ALG_BLOWFISH, 8, 4168, 8},   // 6 Blowfish
        {}, {}, {}, {},                   // 7 to 10: none (SEED runs on its engine)
        {CSP_ALG_RC2, 5, 40, 8},          // 11 RC2 with a 40-bit key
    };
    if (algorithm >= std::size(kRows) || kRows[algorithm].providerAlgorithm == 0) return nullptr;
    return &kRows[algorithm];
}

int32_t importProviderKey(ContextHolder *keygen, const CipherRow *row, const uint8_t *keyBytes,
                          DataBlob *keyRecord) {
    if (row == nullptr) return -1;
    keygen->record->algorithm = row->providerAlgorithm;
    addUint32Attribute(keygen, CSP_ATTR_KEY_LENGTH, 8 * row->keyBytes);
    // The material blob's length is the table's, whatever the caller's key length says.
    const DataBlob material{row->keyBytes, const_cast<uint8_t *>(keyBytes)};
    keyRecord->Length = CSP_KEY_RECORD_MAX;
    return CSP_GenerateKey(CSP_MODULE_HANDLE, keygen->record, nullptr, 3, 0x20000000, &material,
                           keyRecord);
}

}  // namespace vc::frame
