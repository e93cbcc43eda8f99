// The provider's MAC family: CSP_GenerateMac* and CSP_VerifyMac*.
//
// Algorithms 14 and 18 are the CBC-MAC of ISO/IEC 9797-1 MAC algorithm 1 under DES or two-key
// triple DES: zero IV, the message zero-padded to whole blocks (not at all when already whole,
// an empty message being one zero block), the MAC the last cipher block. Algorithm 7 is
// HMAC-MD5 (RFC 2104) under the raw key bytes of any cipher's key record; the MAC service sets
// its key up as an RC2 key.
#include <vorelcrypto/csp.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "common/wipe.h"
#include "csp/attributes.h"
#include "csp/key_record.h"
#include "csp/provider_error.h"
#include "csp/sizes.h"
#include "hash/md5.h"

namespace vc::csp {
namespace {

using vc::cipher::BlockModes;
using vc::hash::Md5Context;

constexpr uint32_t kBlock = 8, kMd5Block = 64;
constexpr uint32_t kGenerating = 0x4D414347, kVerifying = 0x4D414356;
constexpr uint32_t kMaxMac = 16;

struct CbcMacPart {
    const void *schedule;
    BlockModes::Run run;  // CBC encryption
    uint8_t chain[kBlock];
    uint8_t pending[kBlock];
    uint32_t pendingLength;
    bool empty;  // nothing absorbed yet
};
struct HmacPart {
    Md5Context inner, outer;
};
struct MacState {
    uint32_t magic;  // kGenerating or kVerifying while a MAC is in progress
    uint32_t algorithm;
    union {
        CbcMacPart cbc;
        HmacPart hmac;
    };
};
static_assert(sizeof(MacState) <= sizeof(CspContextRecord::work), "state fits the work area");
static_assert(offsetof(CspContextRecord, work) % alignof(MacState) == 0, "work area aligned");

MacState *stateOf(CspContextRecord *record, uint32_t direction) {
    uint32_t magic;
    std::memcpy(&magic, record->work, sizeof magic);
    if (magic != direction) return nullptr;
    return std::launder(reinterpret_cast<MacState *>(record->work));
}
void endMac(CspContextRecord *record) { vc::secure_wipe(record->work, sizeof(MacState)); }

void hmacStart(HmacPart &h, const uint8_t *key, uint32_t length) {
    uint8_t digest[vc::hash::kMd5DigestLength];
    if (length > kMd5Block) {  // long keys are replaced by their digest
        vc::hash::md5(digest, key, length);
        key = digest, length = sizeof digest;
    }
    uint8_t pad[kMd5Block] = {};
    std::memcpy(pad, key, length);
    for (auto &b : pad) b ^= 0x36;
    vc::hash::md5Init(&h.inner);
    vc::hash::md5Update(&h.inner, pad, kMd5Block);
    for (auto &b : pad) b ^= 0x36 ^ 0x5c;
    vc::hash::md5Init(&h.outer);
    vc::hash::md5Update(&h.outer, pad, kMd5Block);
    vc::secure_wipe(pad, sizeof pad);
    vc::secure_wipe(digest, sizeof digest);
}

int32_t start(CspContextRecord *record, const CspContextRecord *context, uint32_t direction) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    adoptContext(record, context);
    if (record->contextClass != CSP_CLASS_MAC) return CSP_ERR_CLASS;
    if (macLength(record->algorithm) == 0) return CSP_ERR_ALGORITHM;
    const DataBlob *keyBlob = nullptr;
    if (!findBlob(record, CSP_ATTR_KEY, &keyBlob)) return CSP_ERR_MISSING_ATTRIBUTE;
    KeyView key;
    if (openKeyRecord(keyBlob, &key) != 0) return CSP_ERR_INVALID_KEY;
    const bool hmac = record->algorithm == CSP_ALG_MD5;
    if (!hmac && key.header->algorithm != record->algorithm) return CSP_ERR_INVALID_KEY;

    endMac(record);
    auto *s = new (record->work) MacState{};
    s->magic = direction;
    s->algorithm = record->algorithm;
    if (hmac) {
        new (&s->hmac) HmacPart{};
        hmacStart(s->hmac, key.key, key.header->keyBytes);
    } else {
        s->cbc.schedule = key.schedule;
        s->cbc.run = key.modes->cbcEncrypt;
        s->cbc.empty = true;
    }
    return 0;
}

// CBC over whole blocks; the cipher text itself is not needed, only the chain.
void cbcAbsorbBlocks(CbcMacPart &c, const uint8_t *in, uint32_t n) {
    uint8_t scratch[512];
    while (n != 0) {
        const uint32_t take = std::min<uint32_t>(n, sizeof scratch);
        c.run(in, scratch, c.schedule, take, c.chain);
        in += take, n -= take;
    }
    vc::secure_wipe(scratch, sizeof scratch);
}

void cbcAbsorb(CbcMacPart &c, const uint8_t *in, uint32_t n) {
    if (n != 0) c.empty = false;
    if (c.pendingLength != 0) {
        const uint32_t take = std::min(kBlock - c.pendingLength, n);
        std::memcpy(c.pending + c.pendingLength, in, take);
        c.pendingLength += take;
        in += take, n -= take;
        if (c.pendingLength < kBlock) return;
        cbcAbsorbBlocks(c, c.pending, kBlock);
        c.pendingLength = 0;
    }
    const uint32_t whole = n / kBlock * kBlock;
    cbcAbsorbBlocks(c, in, whole);
    std::memcpy(c.pending, in + whole, n - whole);
    c.pendingLength = n - whole;
}

void cbcFinish(CbcMacPart &c, uint8_t *mac) {
    if (c.pendingLength != 0 || c.empty) {  // zero padding; an empty message is one zero block
        std::memset(c.pending + c.pendingLength, 0, kBlock - c.pendingLength);
        cbcAbsorbBlocks(c, c.pending, kBlock);
    }
    std::memcpy(mac, c.chain, kBlock);
}

void hmacFinish(HmacPart &h, uint8_t *mac) {
    uint8_t inner[vc::hash::kMd5DigestLength];
    vc::hash::md5Final(&h.inner, inner);
    vc::hash::md5Update(&h.outer, inner, sizeof inner);
    vc::hash::md5Final(&h.outer, mac);
    vc::secure_wipe(inner, sizeof inner);
}

int32_t update(CspContextRecord *record, uint32_t direction, const DataBlob *data, uint32_t count) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    MacState *s = stateOf(record, direction);
    if (s == nullptr) return CSP_ERR_STATE;
    if (data == nullptr) return CSP_ERR_NULL_BLOB;
    if (count == 0) return CSP_ERR_BLOB_COUNT;
    for (uint32_t i = 0; i < count; ++i)
        if (data[i].Data == nullptr) return CSP_ERR_NULL_DATA;
    for (uint32_t i = 0; i < count; ++i) {
        if (s->algorithm == CSP_ALG_MD5)
            vc::hash::md5Update(&s->hmac.inner, data[i].Data, data[i].Length);
        else
            cbcAbsorb(s->cbc, data[i].Data, data[i].Length);
    }
    return 0;
}

// Computes the MAC into `mac` (kMaxMac bytes) and ends the operation; returns its length.
uint32_t finish(CspContextRecord *record, MacState *s, uint8_t *mac) {
    const uint32_t length = macLength(s->algorithm);
    if (s->algorithm == CSP_ALG_MD5)
        hmacFinish(s->hmac, mac);
    else
        cbcFinish(s->cbc, mac);
    endMac(record);
    return length;
}

int32_t generateFinal(CspContextRecord *record, DataBlob *mac) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    MacState *s = stateOf(record, kGenerating);
    if (s == nullptr) return CSP_ERR_STATE;
    if (mac == nullptr) return CSP_ERR_NULL_BLOB;
    if (mac->Data == nullptr && mac->Length != 0) return CSP_ERR_NULL_DATA;
    const uint32_t length = macLength(s->algorithm);
    if (mac->Data != nullptr && mac->Length < length) return CSP_ERR_OUTPUT_SHORT;
    if (mac->Data == nullptr) {
        mac->Data = static_cast<uint8_t *>(std::malloc(length));
        if (mac->Data == nullptr) return CSP_ERR_ALLOC;
    }
    uint8_t value[kMaxMac];
    finish(record, s, value);
    std::memcpy(mac->Data, value, length);
    mac->Length = length;
    return 0;
}

int32_t verifyFinal(CspContextRecord *record, const DataBlob *mac) {
    if (record == nullptr) return CSP_ERR_NO_CONTEXT;
    MacState *s = stateOf(record, kVerifying);
    if (s == nullptr) return CSP_ERR_STATE;
    if (mac == nullptr) return CSP_ERR_NULL_BLOB;
    if (mac->Data == nullptr && mac->Length != 0) return CSP_ERR_NULL_DATA;
    uint8_t value[kMaxMac];
    const uint32_t length = finish(record, s, value);
    if (mac->Length != length) return CSP_ERR_VERIFY;
    uint8_t diff = 0;  // every byte compared: the time does not tell where a forgery differs
    for (uint32_t i = 0; i < length; ++i) diff |= uint8_t(value[i] ^ mac->Data[i]);
    return diff == 0 ? 0 : CSP_ERR_VERIFY;
}

int32_t report(int32_t reason) { return reason == 0 ? 0 : SetProviderError(reason); }

// A failed one-shot leaves no operation in progress.
int32_t ended(CspContextRecord *record, int32_t reason) {
    if (reason != 0 && record != nullptr) endMac(record);
    return report(reason);
}

}  // namespace

uint32_t macLength(uint32_t algorithm) {
    switch (algorithm) {
    case CSP_ALG_DES: case CSP_ALG_3DES_2KEY: return kBlock;
    case CSP_ALG_MD5: return vc::hash::kMd5DigestLength;
    default: return 0;
    }
}

}  // namespace vc::csp

using namespace vc::csp;

extern "C" {

int32_t CSP_GenerateMacInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    return report(start(handle, context, kGenerating));
}
int32_t CSP_GenerateMacUpdate(uint32_t, CspContextHandle handle, const DataBlob *data, uint32_t count) {
    return report(update(handle, kGenerating, data, count));
}
int32_t CSP_GenerateMacFinal(uint32_t, CspContextHandle handle, DataBlob *mac) {
    return report(generateFinal(handle, mac));
}
int32_t CSP_GenerateMac(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                        const DataBlob *data, uint32_t count, DataBlob *mac) {
    int32_t reason = start(handle, context, kGenerating);
    if (reason == 0) reason = update(handle, kGenerating, data, count);
    if (reason == 0) reason = generateFinal(handle, mac);
    return ended(handle, reason);
}

int32_t CSP_VerifyMacInit(uint32_t, CspContextHandle handle, const CspContextRecord *context) {
    return report(start(handle, context, kVerifying));
}
int32_t CSP_VerifyMacUpdate(uint32_t, CspContextHandle handle, const DataBlob *data, uint32_t count) {
    return report(update(handle, kVerifying, data, count));
}
int32_t CSP_VerifyMacFinal(uint32_t, CspContextHandle handle, const DataBlob *mac) {
    return report(verifyFinal(handle, mac));
}
int32_t CSP_VerifyMac(uint32_t, CspContextHandle handle, const CspContextRecord *context,
                      const DataBlob *data, uint32_t count, const DataBlob *mac) {
    int32_t reason = start(handle, context, kVerifying);
    if (reason == 0) reason = update(handle, kVerifying, data, count);
    if (reason == 0) reason = verifyFinal(handle, mac);
    return ended(handle, reason);
}

}  // extern "C"
