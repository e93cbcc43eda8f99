// The bit-count rule that most of the 64-byte-block hash engines share; byte order and
// rotations come from common/bytes.h.
#pragma once

#include "common/bytes.h"

#include <cstdint>
#include <cstring>

namespace vc::hash {

// Adds a byte length to a 64-bit bit count held as two words: the low word gains length * 8
// (mod 2^32) and carries into the high word when it wraps below its old value; the high word
// also gains length >> 29. SHA-0, SHA-1, HAS-160, MD5 and RIPEMD-160 count this way.
inline void addBitCount(uint32_t &low, uint32_t &high, uint32_t length) {
    uint32_t old = low;
    low += length << 3;
    if (low < old) ++high;
    high += length >> 29;
}

}  // namespace vc::hash
