// The provider key record that CSP_GenerateKey writes into the caller's key buffer: a header,
// the raw key bytes (HMAC-MD5 keys on them), then the cipher's key schedule. The record holds
// no pointers, so it may be copied to another buffer of the same alignment.
#pragma once

#include <vorelcrypto/csp.h>

#include <cstdint>

#include "cipher/block_modes.h"

namespace vc::csp {

inline constexpr uint32_t kKeyRecordMagic = 0x564B5952;  // "VKYR"

struct KeyRecordHeader {
    uint32_t magic;
    uint32_t algorithm;       // CSP_ALG_* of the cipher
    uint32_t keyBytes;        // raw key length
    uint32_t effectiveBits;   // DES 56, two-key triple DES 112, RC2 its effective bits, else 8 * keyBytes
    uint32_t rounds;          // RC5 rounds, else 0
    uint32_t recordSize;      // bytes of the whole record
    uint32_t scheduleOffset;  // from the record's start
    uint32_t keyUsage, keyAttributes;  // recorded, not enforced
    uint32_t reserved;
};

// A checked key record.
struct KeyView {
    const KeyRecordHeader *header;
    const uint8_t *key;                  // header->keyBytes raw key bytes
    const void *schedule;                // the cipher's schedule record
    const vc::cipher::BlockModes *modes; // null for RC4
};

// True for the cipher algorithms that have key records (14, 18, 20, 21, 22, 23, 26).
bool isCipherAlgorithm(uint32_t algorithm);

// Checks the key blob (buffer present and 4-byte aligned, magic, sizes, layout) and fills
// `view`. Returns 0, or the reason CSP_ERR_INVALID_KEY.
int32_t openKeyRecord(const DataBlob *blob, KeyView *view);

}  // namespace vc::csp
