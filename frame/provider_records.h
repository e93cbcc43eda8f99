// The records that the V_ services build to drive the library's own provider: 64-byte context
// holders with a provider context record hung in them, and the symmetric algorithm table that
// turns a service algorithm id into a provider key.
#pragma once

#include <vorelcrypto/common.h>
#include <vorelcrypto/csp.h>

#include <algorithm>
#include <cstdint>

namespace vc::frame {

// A context holder: the provider record's address, then the record's attribute area.
struct ContextHolder {
    CspContextRecord *record;
    CspAttribute attributes[3];
};
inline constexpr uint32_t kHolderSize = std::max<uint32_t>(64, sizeof(ContextHolder));

// Allocates a holder and its zero-filled record of class `contextClass` with no attributes yet
// (the attribute pointer aims at the holder's area). Null when either allocation fails; nothing
// is left allocated then.
ContextHolder *newContextHolder(LibContext *ctx, uint32_t contextClass);
// Frees the record and the holder; null is ignored.
void freeContextHolder(LibContext *ctx, ContextHolder *holder);
// Appends an attribute to the holder's record (at most three).
void addUint32Attribute(ContextHolder *holder, uint32_t type, uint32_t value);
void addBlobAttribute(ContextHolder *holder, uint32_t type, DataBlob *blob);

// One row of the symmetric algorithm table: what the provider path uses for a service id.
struct CipherRow {
    uint32_t providerAlgorithm;
    uint32_t keyBytes;        // the provider takes exactly this many key bytes
    uint32_t keyRecordSize;   // the size callers reserve for the provider key record (a minimum)
    uint32_t ivBytes;         // 0 for RC4
};
// The row of a service algorithm id, or null for an id with no provider algorithm (SEED, GPKI,
// unassigned ids). Id 1 is two-key triple DES here.
const CipherRow *findCipherRow(uint32_t algorithm);

// Fills the key-generation holder `keygen` (made with CSP_CLASS_KEYGEN) for the row and runs
// CSP_GenerateKey on the row's fixed number of key bytes. `keyRecord` must hold
// CSP_KEY_RECORD_MAX bytes; it is announced with that length. Returns the CSP_GenerateKey
// result (0 or -1); a null row gives -1.
int32_t importProviderKey(ContextHolder *keygen, const CipherRow *row, const uint8_t *keyBytes,
                          DataBlob *keyRecord);

}  // namespace vc::frame
